#include "eumapi/attachment_lines.h"

#include <algorithm>

namespace eumapi {

namespace {

// The same in Eudora of every language.
constexpr std::string_view kMarker = "Attachment Converted:";
constexpr std::string_view kBlanks = " \t\r";

std::string_view PathIn(std::string_view line) {
    line.remove_prefix(kMarker.size());
    line.remove_prefix(std::min(line.find_first_not_of(kBlanks), line.size()));
    if (line.starts_with('"')) {
        line.remove_prefix(1);
        return line.substr(0, line.find('"'));
    }
    return line.substr(0, line.find_last_not_of(kBlanks) + 1);
}

// Whether the reader finds each of the last lines, as many as files are handed out, by the blank
// line above it.
bool IsArranged(std::string_view text, const std::vector<AttachmentLine>& lines) {
    bool mustBePresent = false;
    for (const auto& line : lines) {
        if (mustBePresent && !line.isPresent) return false;
        if (!line.isPresent) continue;
        mustBePresent = true;
        if (line.start < 2 || text.substr(line.start - 2, 2) != "\n\n") return false;
    }
    return true;
}

}  // namespace

std::vector<AttachmentLine> FindAttachmentLines(std::string_view text) {
    std::vector<AttachmentLine> lines;
    for (std::size_t end = text.size(); end > 0;) {
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

std::string ArrangedText(std::string text, const std::vector<AttachmentLine>& lines) {
    if (IsArranged(text, lines)) return text;
    // The text above, up to its last line end.
    const auto last = lines.front().start == 0
                          ? text.npos
                          : text.find_last_not_of(" \t\r\n", lines.front().start - 1);
    std::string arranged = last == text.npos ? "" : text.substr(0, last + 1) + '\n';
    for (const bool isPresent : {false, true}) {
        for (const auto& line : lines) {
            if (line.isPresent == isPresent) arranged.append("\n\n").append(line.line);
        }
    }
    return arranged + '\n';
}

}  // namespace eumapi
