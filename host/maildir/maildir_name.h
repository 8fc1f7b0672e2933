#pragma once

#include <string>
#include <string_view>

namespace host::maildir {

// The name of a file in a Maildir, taken apart: "UNIQUE:2,FLAGS", with "!2," on systems whose names
// take no colon. A name with another info part has no flags.
struct MaildirName {
    std::string unique;
    std::string flags;  // in ASCII order, each once
};
MaildirName ParseMaildirName(std::string_view name);

// The flags in ASCII order, each once.
std::string SortedFlags(std::string_view flags);
bool HasFlag(std::string_view flags, char flag);
// The flags with one of them set or not.
std::string WithFlag(std::string_view flags, char flag, bool isSet);

}  // namespace host::maildir
