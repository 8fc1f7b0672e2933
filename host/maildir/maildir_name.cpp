#include "host/maildir/maildir_name.h"

#include <algorithm>

namespace host::maildir {

namespace {

// Where the info part begins: at the colon, or at an exclamation mark that introduces flags (a
// unique name may hold others).
std::size_t InfoStart(std::string_view name) {
    const auto colon = name.find(':');
    return colon != std::string_view::npos ? colon : name.rfind("!2,");
}

}  // namespace

MaildirName ParseMaildirName(std::string_view name) {
    const auto start = InfoStart(name);
    MaildirName result{std::string(name.substr(0, start)), {}};
    if (start == std::string_view::npos) return result;
    const auto info = name.substr(start + 1);
    if (info.starts_with("2,")) result.flags = SortedFlags(info.substr(2));
    return result;
}

std::string SortedFlags(std::string_view flags) {
    std::string sorted(flags);
    std::ranges::sort(sorted);
    sorted.erase(std::unique(sorted.begin(), sorted.end()), sorted.end());
    return sorted;
}

bool HasFlag(std::string_view flags, char flag) {
    return flags.find(flag) != std::string_view::npos;
}

std::string WithFlag(std::string_view flags, char flag, bool isSet) {
    std::string result(flags);
    std::erase(result, flag);
    if (isSet) result += flag;
    return SortedFlags(result);
}

}  // namespace host::maildir
