#include "addressbook/record_text.h"

#include <algorithm>

#include "text/ascii.h"

namespace addressbook {

namespace {

constexpr ByteSet kLineEndSet("\n\r"), kAddressSet(","), kNoteWordSet(" "), kNoteSet("<>\r\n");
constexpr ByteSet kSpaceSet(kSpaces);

constexpr ByteSet kNoteEndSet("<>\r");  // what a note line cannot hold in a value

// No text begins another but the empty one, which every token begins with.
constexpr std::array<std::string_view, kParts> kTags = {"fax:", "address:", "phone:", "name:", ""};

std::size_t PartOf(std::string_view token) {
    std::size_t part = 0;
    while (part < kNote &&
           (token.empty() || token[0] != kTags[part][0] || !token.starts_with(kTags[part])))
        ++part;
    return part;
}

// A token of that part that says nothing behind its tag.
bool IsTagAlone(std::string_view token, std::size_t part) {
    return token.size() == kTags[part].size();
}

std::string_view Trimmed(std::string_view text) {
    return text::Trimmed(text, kSpaces);
}

std::string_view From(std::string_view text, std::size_t at) {
    return text.substr(std::min(at, text.size()));
}

// The first byte that no value can hold; the size of the text if there is none.
std::size_t FindNoteEnd(std::string_view text) {
    std::size_t at = 0;
    while (at < text.size() && !kNoteEndSet.Has(text[at])) ++at;
    return at;
}

// The part of a nickname that a note line can carry in front of its first delimiter.
std::string_view CarriedName(std::string_view nickname) {
    return nickname.substr(0, FindNoteEnd(nickname));
}

bool EndsWord(std::string_view text, std::size_t at) {
    return at >= text.size() || kSpaceSet.Has(text[at]) || kNoteEndSet.Has(text[at]);
}

// The length of the nickname at the beginning of a head, in one of the forms in which it may stand
// there; npos if it does not, and the head is about something else.
std::size_t NameLength(std::string_view head, std::string_view nickname) {
    const auto size = nickname.size();
    if (head.starts_with(nickname) && EndsWord(head, size)) return size;
    if (head.starts_with('"') && head.substr(1).starts_with(nickname) &&
        head.substr(size + 1).starts_with('"') && EndsWord(head, size + 2)) {
        return size + 2;
    }
    const auto carried = CarriedName(nickname);
    if (carried.size() < size && head.starts_with(carried) && EndsWord(head, carried.size())) {
        return carried.size();
    }
    return std::string_view::npos;
}

// A note line without tags: the note follows the nickname.
void ParsePlain(std::string_view head, std::string_view nickname, RecordText& record,
                Leftover& leftover) {
    const auto size = nickname.size();
    const auto length = NameLength(head, nickname);
    const bool isNamed = length != std::string_view::npos;
    if (head.starts_with(nickname)) {
        record.parts[kNote] = From(head, size + 1);
    } else if (From(head, 1).starts_with(nickname)) {
        record.parts[kNote] = From(head, size + 3);
    } else if (isNamed) {
        leftover.AddToken(From(head, length + 1));
    }
    if (!isNamed) leftover.AddToken(head);
}

// What a token says besides the nickname, which ends at `nameEnd` and may have delimiters in it.
std::string_view Besides(std::string_view token, const char* nameEnd) {
    if (token.data() > nameEnd) return token;
    return From(token, static_cast<std::size_t>(nameEnd - token.data()) + 1);
}

// The last token of a part counts.
void ParseTokens(const char* nameEnd, RecordText& record, Leftover& leftover) {
    const auto& tokens = record.tokens;
    std::array<const std::string_view*, kParts> last{};
    for (const auto& token : tokens) {
        const auto part = PartOf(token);
        if (!IsTagAlone(token, part)) last[part] = &token;
    }
    for (const auto& token : tokens) {
        const auto part = PartOf(token);
        if (last[part] == &token) {
            record.parts[part] = token.substr(kTags[part].size());
        } else if (!IsTagAlone(token, part)) {
            leftover.AddToken(Besides(token, nameEnd));
        }
    }
}

void ParseNoteLine(std::string_view line, std::string_view nickname, RecordText& record,
                   Leftover& leftover) {
    TokenScan scan(line);
    const auto word = text::TrimmedBack(scan.Next(kNoteWordSet), "\r");
    if (word != "note") leftover.AddToken(word);
    auto named = scan.Rest();
    const auto head = scan.Next(kNoteSet);
    auto& tokens = record.tokens;
    tokens.clear();
    for (auto token = scan.Next(kNoteSet); !token.empty(); token = scan.Next(kNoteSet)) {
        tokens.push_back(token);
    }
    if (tokens.empty()) {
        if (!head.empty()) ParsePlain(head, nickname, record, leftover);
        return;
    }
    auto length = NameLength(named, nickname);
    if (length == std::string_view::npos) {
        named = head;
        length = NameLength(head, nickname);
    }
    const auto* nameEnd = length == std::string_view::npos ? nullptr : named.data() + length;
    leftover.AddToken(Besides(head, nameEnd));
    ParseTokens(nameEnd, record, leftover);
}

void AppendContent(std::string& out, const RecordText& record) {
    for (std::size_t part = 0; part < kNote; ++part) {
        const auto value = record.parts[part];
        if (!value.empty()) out.append("<").append(kTags[part]).append(value).append(">");
    }
    out += record.parts[kNote];
}

bool ReadsBack(std::string_view line, std::string_view nickname, const RecordText& record) {
    RecordText read;
    Leftover leftover;
    ParseNoteLine(line, nickname, read, leftover);
    return !leftover.Any() && read.parts == record.parts;
}

void AppendNoteLine(std::string& out, std::string_view nickname, const RecordText& record) {
    const auto begin = out.size();
    AppendHead(out, "note", nickname);
    AppendContent(out, record);
    const auto carried = CarriedName(nickname);
    if (carried.size() == nickname.size() || ReadsBack(From(out, begin), nickname, record)) return;
    out.resize(begin);
    out.append("note ").append(carried).append(" ");
    // Without a tag the note itself would be read as the nickname's.
    const bool hasTags = std::any_of(record.parts.begin(), record.parts.end() - 1,
                                     [](std::string_view value) { return !value.empty(); });
    if (!hasTags) out += '>';
    AppendContent(out, record);
}

// The length of first word, nickname and blank in the normal form; 0 if they are in another.
std::size_t NormalHead(std::string_view line, std::string_view name) {
    const bool hasBlank = name.find(' ') != std::string_view::npos;
    const std::size_t begin = hasBlank ? 7 : 6, end = begin + name.size();
    if (!line.starts_with("alias ") || name.data() != line.data() + begin) return 0;
    const std::string_view behind = hasBlank ? "\" " : " ";
    return From(line, end).starts_with(behind) ? end + behind.size() : 0;
}

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

// The tags in their order, none empty, then the note.
bool IsNormalContent(std::string_view content) {
    if (content.empty()) return false;
    std::size_t next = 0;  // the first tag that may still follow
    while (content.starts_with('<')) {
        const auto end = FindNoteEnd(content.substr(1)) + 1;
        if (end == content.size() || content[end] != '>') return false;
        const auto token = content.substr(1, end - 1);
        const auto part = PartOf(token);
        if (part < next || part == kNote || IsTagAlone(token, part)) return false;
        next = part + 1;
        content.remove_prefix(end + 1);
    }
    return FindNoteEnd(content) == content.size() && (next == 0 || PartOf(content) == kNote);
}

}  // namespace

bool RecordText::HasNoteContent() const {
    return std::ranges::any_of(parts, [](std::string_view value) { return !value.empty(); });
}

void Leftover::AddToken(std::string_view token) {
    if (!Trimmed(token).empty()) tokens.append("<").append(token).append(">");
}

void ParseRecord(const Entry& entry, RecordText& record, Leftover& leftover) {
    record.parts = {};
    record.mails.clear();
    TokenScan scan(entry.head.rest);
    TokenScan list(scan.Next(kLineEndSet));
    if (!Trimmed(scan.Rest()).empty()) leftover.tail = scan.Rest();
    if (leftover.tail.ends_with('\r') && entry.line.ended) leftover.tail.remove_suffix(1);
    for (auto piece = list.Next(kAddressSet); !piece.empty(); piece = list.Next(kAddressSet)) {
        const auto address = Trimmed(piece);
        if (!address.empty()) record.mails.push_back(address);
    }
    if (entry.HasNote()) ParseNoteLine(entry.note.bytes, entry.head.nickname, record, leftover);
}

void AppendRecord(std::string& out, std::string_view nickname, const RecordText& record) {
    AppendHead(out, "alias", nickname);
    for (std::size_t i = 0; i < record.mails.size(); ++i) {
        if (i > 0) out += ',';
        out += record.mails[i];
    }
    if (!record.HasNoteContent()) return;
    out += "\r\n";
    AppendNoteLine(out, nickname, record);
}

std::size_t NormalSize(const Entry& entry) {
    const auto line = entry.line.Text();
    const auto size = NormalHead(line, entry.head.nickname);
    if (size == 0 || !IsNormalAddressList(line.substr(size))) return 0;
    if (!entry.HasNote()) return line.size();
    constexpr std::string_view kWord = "note ";
    constexpr std::size_t kEntryWord = 6;
    const auto note = entry.note.Text(), name = line.substr(kEntryWord, size - kEntryWord);
    const bool isNormal = line.size() < entry.line.bytes.size() && note.starts_with(kWord) &&
                          note.substr(kWord.size()).starts_with(name) &&
                          FindNoteEnd(name) == name.size() &&
                          IsNormalContent(note.substr(kWord.size() + name.size()));
    return isNormal ? entry.line.bytes.size() + 1 + note.size() : 0;
}

}  // namespace addressbook
