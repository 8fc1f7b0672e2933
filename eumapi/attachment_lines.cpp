#include "eumapi/attachment_lines.h"

#include <algorithm>

#include "text/ascii.h"

namespace eumapi {

namespace {

// The same in Eudora of every language.
constexpr std::string_view kMarker = "Attachment Converted:";
constexpr std::string_view kBlanks = " \t\r";
constexpr std::string_view kBlankLine = "\n\n";

std::string_view PathIn(std::string_view line) {
    line = text::TrimmedFront(line.substr(kMarker.size()), kBlanks);
    if (line.starts_with('"')) {
        line.remove_prefix(1);
        return line.substr(0, line.find('"'));
    }
    return text::TrimmedBack(line, kBlanks);
}

// Whether the reader finds each of the last lines, as many as files are handed out, by the blank
// line above it.
bool IsArranged(std::string_view text, const std::vector<AttachmentLine>& lines) {
    bool mustBePresent = false;
    for (const auto& line : lines) {
        if (mustBePresent && !line.isPresent) return false;
        if (!line.isPresent) continue;
        mustBePresent = true;
        if (!text.substr(0, line.start).ends_with(kBlankLine)) return false;
    }
    return true;
}

}  // namespace

std::vector<AttachmentLine> FindAttachmentLines(std::string_view text) {
    std::vector<AttachmentLine> lines;
    for (std::size_t end = text.size(); end > 0 && lines.size() < kMostAttachmentLines;) {
        // A line end belongs to the line before it.
        if (text[end - 1] == '\n') --end;
        const auto before = end == 0 ? text.npos : text.rfind('\n', end - 1);
        const std::size_t start = before == text.npos ? 0 : before + 1;
        const auto line = text.substr(start, end - start);
        if (line.starts_with(kMarker)) {
            lines.push_back({start, line, PathIn(line)});
        } else if (line.find_first_not_of(kBlanks) != line.npos) {
            break;
        }
        end = start;
    }
    std::reverse(lines.begin(), lines.end());
    return lines;
}

// The places of the lines that stay keep what stands before them: of n lines, the first n places.
std::string ArrangedText(std::string text, const std::vector<AttachmentLine>& lines) {
    if (IsArranged(text, lines)) return text;
    const std::size_t first = lines.front().start;
    const bool hasBlank = std::string_view(text).substr(0, first).ends_with(kBlankLine);
    std::size_t from = hasBlank ? first - kBlankLine.size() : first;
    std::string arranged = text.substr(0, from);
    auto place = lines.begin();
    for (const auto& line : lines) {
        if (line.isPresent) continue;
        arranged.append(text, from, place->start - from).append(line.line);
        from = place->start + place->line.size();
        ++place;
    }
    for (const auto& line : lines) {
        if (line.isPresent) arranged.append(kBlankLine).append(line.line);
    }
    return arranged + '\n';
}

}  // namespace eumapi
