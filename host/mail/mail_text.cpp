#include "host/mail/mail_text.h"

#include <algorithm>
#include <iterator>

#include "text/ascii.h"

namespace host::mail {

namespace {

constexpr auto kNone = std::string_view::npos;
constexpr std::size_t kNarrowestWrap = 60;  // columns that a wrapping writer fills at least
constexpr std::size_t kWidestWrap = 79;

struct Mark {
    std::string_view begin, end;
    TextPiece::Kind kind;
};

constexpr Mark kMarks[] = {
    {"<x-html>", "</x-html>", TextPiece::Kind::kHtml},
    {"<x-rich>", "</x-rich>", TextPiece::Kind::kEnriched},
};

std::size_t Find(std::string_view text, std::string_view mark, std::size_t from) {
    for (auto at = text.find('<', from); at != kNone; at = text.find('<', at + 1)) {
        if (text::StartsWithNoCase(text.substr(at), mark)) return at;
    }
    return kNone;
}

std::string_view TakeLine(std::string_view& text) {
    const std::string_view line = text::TakeLine(text);
    return line.substr(0, line.find('\n'));
}

std::size_t QuoteDepth(std::string_view line) {
    return std::min(line.find_first_not_of('>'), line.size());
}

// A writer stuffs a blank in front of a blank, of ">" and of "From " only; any line of a quotation
// has one.
bool IsStuffedRight(std::string_view line) {
    if (!line.starts_with(' ')) return true;
    line.remove_prefix(1);
    return line.empty() || line.starts_with(' ') || line.starts_with('>') ||
           line.starts_with("From ");
}

bool IsWrapped(std::string_view line, std::string_view next) {
    const std::size_t depth = QuoteDepth(line);
    if (line.size() > kWidestWrap || depth != QuoteDepth(next)) return false;
    next = text::TrimmedFront(next.substr(depth), " ");
    const std::size_t word = std::min(next.find(' '), next.size());
    return word > 0 && line.size() + word > kNarrowestWrap;
}

// Whether a plain text has the form of format=flowed (RFC 3676). The translator removes Eudora's
// mark for it, so the lines must tell: each one that ends in a blank is broken where a wrapping
// writer breaks it, and a leading blank is one that such a writer adds. A wrong guess only changes
// the width of lines.
bool LooksFlowed(std::string_view text) {
    bool isFlowed = false;
    while (!text.empty()) {
        const std::string_view line = TakeLine(text);
        const std::string_view content = line.substr(QuoteDepth(line));
        if (content == line && !IsStuffedRight(line)) return false;
        if (!content.ends_with(' ') || content == "-- " || content == " ") continue;
        std::string_view rest = text;
        if (!IsWrapped(line, TakeLine(rest))) return false;
        isFlowed = true;
    }
    return isFlowed;
}

void AddPlain(std::vector<TextPiece>& pieces, std::string_view text) {
    if (text.find_first_not_of(" \t\n") == kNone) return;
    pieces.push_back({LooksFlowed(text) ? TextPiece::Kind::kFlowed : TextPiece::Kind::kPlain,
                      std::string(text)});
}

}  // namespace

std::vector<TextPiece> SplitText(std::string_view text) {
    std::vector<TextPiece> pieces;
    // The place of the next end of each mark: many beginnings without an end cost one search.
    std::size_t ends[std::size(kMarks)] = {};
    std::size_t done = 0;
    for (auto at = text.find('<'); at != kNone; at = text.find('<', at + 1)) {
        const auto* const mark = std::ranges::find_if(kMarks, [&](const Mark& one) {
            return text::StartsWithNoCase(text.substr(at), one.begin);
        });
        if (mark == std::end(kMarks)) continue;
        const std::size_t begin = at + mark->begin.size();
        std::size_t& end = ends[mark - kMarks];
        if (end < begin) end = Find(text, mark->end, begin);
        const bool beginsLine = at == 0 || text[at - 1] == '\n';
        if (end == kNone && !beginsLine) continue;
        AddPlain(pieces, text.substr(done, at - done));
        pieces.push_back({mark->kind, std::string(text.substr(begin, end - begin))});
        done = end == kNone ? text.size() : end + mark->end.size();
        at = done - 1;
    }
    AddPlain(pieces, text.substr(done));
    if (pieces.empty()) pieces.push_back({TextPiece::Kind::kPlain, std::string(text)});
    return pieces;
}

}  // namespace host::mail
