#include "addressbook/record_lines.h"

#include <cstring>

#include "addressbook/token_scan.h"

namespace addressbook {

namespace {

constexpr std::string_view kAlias = "alias ";

bool IsNormalAddressList(std::string_view list) {
    if (list.empty()) return true;
    if (list.find('\r') != std::string_view::npos) return false;
    for (;;) {
        const auto comma = list.find(',');
        const auto piece = list.substr(0, comma);
        if (piece.empty() || Trimmed(piece).size() != piece.size()) return false;
        if (comma == std::string_view::npos) return true;
        list.remove_prefix(comma + 1);
    }
}

// The length of "alias ", nickname and blank in the normal form; 0 if the line is in another.
std::size_t NormalPrefix(std::string_view line, const EntryHead& head) {
    if (!line.starts_with(kAlias)) return 0;
    const bool hasBlank = head.nickname.find(' ') != std::string_view::npos;
    if (hasBlank != head.quoted) return 0;
    const std::size_t begin = kAlias.size() + (head.quoted ? 1 : 0);
    if (static_cast<std::size_t>(head.nickname.data() - line.data()) != begin) return 0;
    std::size_t end = begin + head.nickname.size();
    if (head.quoted) {
        if (end >= line.size() || line[end] != '"') return 0;
        ++end;
    }
    return end < line.size() && line[end] == ' ' ? end + 1 : 0;
}

}  // namespace

void ParseRecord(const Entry& entry, RecordText& record, Leftover& leftover) {
    record.Clear();
    TokenScan scan(entry.line.bytes, entry.head.rest);
    TokenScan list(scan.Next(kLineEndSet));
    if (!Trimmed(scan.Rest()).empty()) leftover.tail = scan.Rest();
    if (leftover.tail.ends_with('\r') && entry.line.ended) leftover.tail.remove_suffix(1);
    for (auto piece = list.Next(kAddressSet); !piece.empty(); piece = list.Next(kAddressSet)) {
        const auto address = Trimmed(piece);
        if (!address.empty()) record.mails.push_back(address);
    }
    if (entry.hasNote) ParseNoteLine(entry.note.bytes, entry.head.nickname, record, leftover);
}

void ReadRecord(const Entry& entry, NicknameRecord& record, Leftover& leftover) {
    const auto nickname = entry.head.nickname.substr(0, kMaxNickname);
    std::memcpy(record.szNickname, nickname.data(), nickname.size());
    RecordText text;
    ParseRecord(entry, text, leftover);
    CopyText(text, record);
}

void AppendRecord(std::string& out, std::string_view key, const RecordText& record) {
    out += kAlias;
    AppendNickname(out, key);
    char separator = ' ';
    for (const auto address : record.mails) {
        out += separator;
        out += address;
        separator = ',';
    }
    if (record.mails.empty()) out += ' ';
    if (!record.HasNoteContent()) return;
    out += "\r\n";
    AppendNoteLine(out, key, record);
}

bool IsNormal(const Entry& entry) {
    const auto line = entry.line.Text();
    const auto prefix = NormalPrefix(line, entry.head);
    if (prefix == 0 || !IsNormalAddressList(line.substr(prefix))) return false;
    if (!entry.hasNote) return true;
    if (line.size() == entry.line.bytes.size()) return false;
    constexpr std::string_view kNote = "note ";
    const auto note = entry.note.Text();
    const auto name = line.substr(kAlias.size(), prefix - kAlias.size());
    return CarriedName(name).size() == name.size() && note.starts_with(kNote) &&
           note.substr(kNote.size()).starts_with(name) &&
           IsNormalNote(note.substr(kNote.size() + name.size()));
}

std::string_view BytesOf(std::string_view text, const Entry& entry) {
    const auto begin = static_cast<std::size_t>(entry.line.bytes.data() - text.data());
    const auto last = entry.hasNote ? entry.note.Text() : entry.line.Text();
    const auto end = static_cast<std::size_t>(last.data() - text.data()) + last.size();
    return text.substr(begin, end - begin);
}

}  // namespace addressbook
