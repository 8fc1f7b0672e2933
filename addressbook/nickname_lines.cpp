#include "addressbook/nickname_lines.h"

#include <algorithm>
#include <cstring>

#include "addressbook/nickname_record.h"
#include "addressbook/token_scan.h"

namespace addressbook {

std::string_view Line::Text() const {
    const bool hasCr = ended && !bytes.empty() && bytes.back() == '\r';
    return bytes.substr(0, bytes.size() - (hasCr ? 1 : 0));
}

Line LineAt(std::string_view text, std::size_t at) {
    const char* begin = text.data() + at;
    const auto* end = static_cast<const char*>(std::memchr(begin, '\n', text.size() - at));
    if (end == nullptr) return {text.substr(at), false, text.size()};
    const auto size = static_cast<std::size_t>(end - begin);
    return {std::string_view(begin, size), true, at + size + 1};
}

EntryHead ScanEntryHead(std::string_view line) {
    EntryHead head;
    head.quoted = line.size() > 6 && line[6] == '"';
    TokenScan scan(line);
    scan.Next(kFirstWordSet);
    head.nickname = scan.Next(head.quoted ? kQuotedNameSet : kPlainNameSet);
    head.rest = line.size() - scan.Rest().size();
    if (!head.nickname.empty() && head.nickname.front() == '\r' &&
        head.nickname.find_first_not_of('\r') == std::string_view::npos) {
        head.nickname = {};
    }
    return head;
}

bool IsGroupName(std::string_view nickname) {
    constexpr std::string_view kGroup = "group";
    return text::StartsWithNoCase(nickname, kGroup);
}

bool FitsRecord(std::string_view nickname) {
    return nickname.size() <= kMaxNickname && nickname.find('\0') == std::string_view::npos;
}

bool IsNoteLine(std::string_view line) {
    return line.starts_with("note");
}

Entry EntryAt(std::string_view text, std::size_t at) {
    Entry entry;
    entry.line = LineAt(text, at);
    entry.head = ScanEntryHead(entry.line.bytes);
    const auto& head = entry.head;
    const bool takesNote = !head.nickname.empty() && (head.quoted || !IsGroupName(head.nickname));
    entry.hasNote = takesNote && IsNoteLine(text.substr(entry.line.next));
    if (entry.hasNote) entry.note = LineAt(text, entry.line.next);
    return entry;
}

void AppendNickname(std::string& out, std::string_view nickname) {
    const bool quoted = nickname.find(' ') != std::string_view::npos;
    if (quoted) out += '"';
    out += nickname;
    if (quoted) out += '"';
}

}  // namespace addressbook
