#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "host/doctor/doctor.h"

// What doctor finds in folders that are not Eudora's. Paths are native, in UTF-8.
namespace host::doctor {

// "12.0 KB", "3.4 MB".
std::string Sized(std::uint64_t bytes);

// The folder of vCards: its mark, how many vCards it holds, and those that a run would stop at.
Finding ContactsFinding(const std::optional<std::string>& folder);
// The Maildir: its mark and the number of mails. `eudora` is the bare Eudora folder, if one is
// named.
Finding MaildirFinding(const std::optional<std::string>& folder,
                       const std::optional<std::string>& eudora);
// The backups in `folder`: their number, their size, and since when they are kept.
Finding BackupsFinding(const std::string& folder);

}  // namespace host::doctor
