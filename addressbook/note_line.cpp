#include "addressbook/note_line.h"

#include <algorithm>
#include <array>
#include <vector>

#include "addressbook/nickname_lines.h"
#include "addressbook/token_scan.h"

namespace addressbook {

namespace {

struct Tag {
    std::string_view text;
    std::string_view RecordText::*field;
};

// In the order in which they are written. No text begins another, so any order serves reading.
constexpr std::array<Tag, 4> kTags = {{{"fax:", &RecordText::fax},
                                       {"address:", &RecordText::address},
                                       {"phone:", &RecordText::phone},
                                       {"name:", &RecordText::name}}};
constexpr std::size_t kNoTag = kTags.size();

std::size_t TagOf(std::string_view token) {
    std::size_t i = 0;
    while (i < kTags.size() && !token.starts_with(kTags[i].text)) ++i;
    return i;
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

std::string_view From(std::string_view text, std::size_t at) {
    return at < text.size() ? text.substr(at) : std::string_view();
}

// A note line without tags: the note follows the nickname.
void ParsePlain(std::string_view head, std::string_view nickname, RecordText& record,
                Leftover& leftover) {
    const auto size = nickname.size();
    bool isNote = true;
    if (head.starts_with(nickname)) {
        record.note = From(head, size + 1);
    } else if (From(head, 1).starts_with(nickname)) {
        record.note = From(head, size + 3);
    } else {
        isNote = false;
    }
    const auto length = NameLength(head, nickname);
    if (length == std::string_view::npos) {
        leftover.AddToken(head);
    } else if (!isNote) {
        leftover.AddToken(From(head, length + 1));
    }
}

// What a token says besides the nickname, which ends at `nameEnd` and may have delimiters in it.
std::string_view Besides(std::string_view token, const char* nameEnd) {
    if (token.data() > nameEnd) return token;
    return From(token, static_cast<std::size_t>(nameEnd - token.data()) + 1);
}

void ParseTokens(const std::vector<std::string_view>& tokens, const char* nameEnd,
                 RecordText& record, Leftover& leftover) {
    std::array<std::size_t, kTags.size() + 1> last;  // place of the token that counts, by kind
    last.fill(tokens.size());
    const auto isEmptyTag = [](std::string_view token, std::size_t tag) {
        return tag != kNoTag && token.size() == kTags[tag].text.size();
    };
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        const auto tag = TagOf(tokens[i]);
        if (!isEmptyTag(tokens[i], tag)) last[tag] = i;
    }
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        const auto tag = TagOf(tokens[i]);
        if (isEmptyTag(tokens[i], tag)) continue;
        if (last[tag] != i) {
            leftover.AddToken(Besides(tokens[i], nameEnd));
        } else if (tag == kNoTag) {
            record.note = tokens[i];
        } else {
            record.*kTags[tag].field = tokens[i].substr(kTags[tag].text.size());
        }
    }
}

bool HasTags(const RecordText& record) {
    return std::any_of(kTags.begin(), kTags.end(),
                       [&](const Tag& tag) { return !(record.*tag.field).empty(); });
}

void AppendContent(std::string& out, const RecordText& record) {
    for (const auto& tag : kTags) {
        const auto value = record.*tag.field;
        if (value.empty()) continue;
        out += '<';
        out += tag.text;
        out += value;
        out += '>';
    }
    out += record.note;
}

bool ReadsBack(std::string_view line, std::string_view nickname, const RecordText& record) {
    RecordText read;
    Leftover leftover;
    ParseNoteLine(line, nickname, read, leftover);
    return !leftover.Any() && read.note == record.note &&
           std::all_of(kTags.begin(), kTags.end(),
                       [&](const Tag& tag) { return read.*tag.field == record.*tag.field; });
}

}  // namespace

void Leftover::AddToken(std::string_view token) {
    if (Trimmed(token).empty()) return;
    tokens += '<';
    tokens += token;
    tokens += '>';
}

std::string_view CarriedName(std::string_view nickname) {
    return nickname.substr(0, FindIn(nickname, kNoteEndSet));
}

void ParseNoteLine(std::string_view line, std::string_view nickname, RecordText& record,
                   Leftover& leftover) {
    TokenScan scan(line);
    auto word = scan.Next(kNoteWordSet);
    while (word.ends_with('\r')) word.remove_suffix(1);
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
    ParseTokens(tokens, nameEnd, record, leftover);
}

void AppendNoteLine(std::string& out, std::string_view nickname, const RecordText& record) {
    const auto begin = out.size();
    out += "note ";
    const auto name = out.size();
    AppendNickname(out, nickname);
    out += ' ';
    AppendContent(out, record);
    const auto carried = CarriedName(nickname);
    if (carried.size() == nickname.size()) return;
    if (ReadsBack(std::string_view(out).substr(begin), nickname, record)) return;
    out.resize(name);
    out += carried;
    out += ' ';
    // Without a tag the note itself would be read as the nickname's.
    if (!HasTags(record)) out += '>';
    AppendContent(out, record);
}

bool IsNormalNote(std::string_view content) {
    if (content.empty()) return false;
    std::size_t next = 0;  // the first tag that may still follow
    bool hasTags = false;
    while (content.front() == '<') {
        const auto end = FindIn(content, kNoteEndSet, 1);
        if (end == std::string_view::npos || content[end] != '>') return false;
        const auto token = content.substr(1, end - 1);
        const auto tag = TagOf(token);
        if (tag < next || tag == kNoTag || token.size() == kTags[tag].text.size()) return false;
        next = tag + 1;
        hasTags = true;
        content.remove_prefix(end + 1);
        if (content.empty()) return true;
    }
    return FindIn(content, kNoteEndSet) == std::string_view::npos &&
           (!hasTags || TagOf(content) == kNoTag);
}

}  // namespace addressbook
