#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "platform/os/result.h"

// The calling convention of the published functions of Windows libraries.
#if defined(__i386__)
#define KV_LIBRARY_CALL __attribute__((stdcall))
#else
#define KV_LIBRARY_CALL
#endif

// Loading libraries at run time. Paths are in the form that the implementation states: the module's
// are Windows paths in the system code page.
namespace platform {

// A loaded code library; unloaded by the destructor.
class Library {
  public:
    virtual ~Library() = default;
    // The address of an exported name, null if there is none.
    virtual void* Symbol(const char* name) = 0;
};

// The string resources of a PE library; unloaded by the destructor.
class StringResources {
  public:
    virtual ~StringResources() = default;
    // The text of string `id` in the system code page, cut at `limit` bytes on a character
    // boundary; empty if there is none. A character that the code page lacks becomes "?".
    virtual std::string Text(unsigned id, std::size_t limit) = 0;
};

class Libraries {
  public:
    virtual ~Libraries() = default;

    // A path without a folder is looked for where the system looks for libraries.
    virtual Result<std::unique_ptr<Library>> Load(std::string_view path) = 0;
    // Loads a PE library for its resources alone, of whatever machine type; no code of it runs.
    // A path without a folder is looked for beside this library and where the system looks.
    // kCorrupt if the file is no PE library.
    virtual Result<std::unique_ptr<StringResources>> LoadResources(std::string_view path) = 0;
};

}  // namespace platform
