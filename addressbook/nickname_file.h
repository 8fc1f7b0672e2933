#pragma once

#include <optional>
#include <string>

#include "addressbook/record_map.h"
#include "platform/os/system.h"

namespace addressbook {

// Paths are Windows paths in the system code page.

struct NicknameFile {
    RecordMap records;
    std::optional<platform::Failure> readError;  // what is here ends with the last line before it
};

// Fails if the file cannot be opened, is larger than 2 GiB or does not fit into memory.
platform::Result<NicknameFile> LoadNicknames(const platform::System& system,
                                             const std::string& path);

// Writes a file that reads as these records. It has its old content or the new one, whatever
// happens; the table of contents beside it is deleted before it could be wrong.
platform::Status SaveNicknames(const platform::System& system, const std::string& path,
                               const RecordMap& records);

}  // namespace addressbook
