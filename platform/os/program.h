#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/os/libraries.h"
#include "platform/os/result.h"

namespace platform {

// What a program asks the machine for, without the Wine prefix. Paths are native; all texts are
// UTF-8.

// Loads a code library of the machine. The caller owns it.
Result<std::unique_ptr<Library>> LoadNativeLibrary(std::string_view path);

// The full path of the running program; empty if the system does not tell.
std::string ProgramPath();

// The arguments without the program's name, as UTF-8 whatever encoding the system uses.
std::vector<std::string> ProgramArguments(int argc, char** argv);

// A variable of the environment; nothing if it is not set or empty. SetEnvironment changes it for
// this process.
std::optional<std::string> Environment(const std::string& name);
Status SetEnvironment(const std::string& name, const std::string& value);

enum class Stream { kInput, kOutput, kError };

bool IsTerminal(Stream stream);
// The width of the terminal that standard output is; nothing if it is none or does not tell.
std::optional<std::size_t> TerminalColumns();
// Bytes pass through standard input and output unchanged, line ends included.
void UseBinaryStreams();

// Whether the path is that of a folder of the user's own; a link to one is none.
bool IsOwnFolder(const std::string& path);

// The number of this process; no other running process has it.
unsigned long ProcessNumber();

struct FreeBlock {
    void operator()(char* block) const { std::free(block); }
};

// Uninitialised memory for the content of a large file. It has larger pages where the system offers
// them, since the first touch of a page costs about as much as reading a file into it.
using LargeBlock = std::unique_ptr<char[], FreeBlock>;

// Allocates `size` bytes, which may be 0. Throws std::bad_alloc.
LargeBlock AllocateBlock(std::size_t size);

}  // namespace platform
