#pragma once

#include <optional>
#include <string>

#include "addressbook/record_map.h"
#include "platform/os/system.h"

// Loading and saving nickname files (docs/formats/nickname.md). Paths are Windows paths in the
// system code page.
namespace addressbook {

// A loaded file.
struct NicknameFile {
    RecordMap records;
    std::optional<platform::Failure> readError;  // what is here ends with the last line before it
};

// Fails if the file cannot be opened, is larger than 2 GiB or does not fit into memory.
platform::Result<NicknameFile> LoadNicknames(const platform::System& system,
                                             const std::string& path);

// Saves the records in one step: after a failure or a crash the file has its old content or the new
// one. The table of contents beside it is deleted before the new content takes its place, as it
// would no longer fit; a failure after that leaves the old content without it.
platform::Status SaveNicknames(const platform::System& system, const std::string& path,
                               const RecordMap& records);

}  // namespace addressbook
