#pragma once

#include "platform/os/libraries.h"

namespace platform::windows {

// Loads a code library by a path in that code page; what lies beside it is found for it too.
Result<std::unique_ptr<Library>> LoadCode(std::string_view path, unsigned codePage);

// Libraries by Windows paths in the system code page.
class NativeLibraries : public Libraries {
  public:
    Result<std::unique_ptr<Library>> Load(std::string_view path) override;
    Result<std::unique_ptr<StringResources>> LoadResources(std::string_view path) override;
};

}  // namespace platform::windows
