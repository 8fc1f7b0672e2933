#include "addressbook/nickname_lines.h"

#include "text/ascii.h"

namespace addressbook {

namespace {

constexpr ByteSet kFirstWordSet(" \""), kPlainNameSet(" "), kQuotedNameSet("\"");

Line LineAt(std::string_view text, std::size_t at) {
    const auto end = text.find('\n', at);
    return {text.substr(at, end - at), end != std::string_view::npos};
}

std::size_t Behind(std::size_t at, const Line& line) {
    return at + line.bytes.size() + (line.ended ? 1 : 0);
}

}  // namespace

std::string_view Line::Text() const {
    return bytes.substr(0, bytes.size() - (ended && bytes.ends_with('\r') ? 1 : 0));
}

bool EntryHead::TakesNote() const {
    return !nickname.empty() && (quoted || !IsGroupName(nickname));
}

EntryHead ScanEntryHead(std::string_view line) {
    EntryHead head;
    head.quoted = line.size() > 6 && line[6] == '"';
    TokenScan scan(line);
    scan.Next(kFirstWordSet);
    head.nickname = scan.Next(head.quoted ? kQuotedNameSet : kPlainNameSet);
    head.rest = scan.Rest();
    if (head.nickname.starts_with('\r') &&
        head.nickname.find_first_not_of('\r') == std::string_view::npos) {
        head.nickname = {};
    }
    return head;
}

Entry EntryAt(std::string_view text, std::size_t at) {
    Entry entry;
    entry.at = at;
    entry.line = LineAt(text, at);
    entry.next = Behind(at, entry.line);
    entry.head = ScanEntryHead(entry.line.bytes);
    if (IsNoteLine(text.substr(entry.next)) && entry.head.TakesNote()) {
        entry.note = LineAt(text, entry.next);
        entry.next = Behind(entry.next, entry.note);
    }
    return entry;
}

bool IsGroupName(std::string_view nickname) {
    return text::StartsWithNoCase(nickname, "group");
}

bool FitsRecord(std::string_view nickname) {
    return nickname.size() <= kMaxNickname && nickname.find('\0') == std::string_view::npos;
}

bool IsNoteLine(std::string_view line) {
    return line.starts_with("note");
}

void AppendHead(std::string& out, std::string_view word, std::string_view nickname) {
    const std::string_view quote = nickname.find(' ') != std::string_view::npos ? "\"" : "";
    out.append(word).append(" ").append(quote).append(nickname).append(quote).append(" ");
}

}  // namespace addressbook
