#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace eumapi {

// One line at the end of a mail's text that names an attachment.
struct AttachmentLine {
    std::size_t start = 0;   // in the text
    std::string_view line;   // without its line end
    std::string_view path;   // as it stands there; empty if there is none
    bool isPresent = false;  // for the caller to fill: whether the file is handed out
};

// The lines are the sender's text: more than these, counted from the end, are text as any other.
inline constexpr std::size_t kMostAttachmentLines = 1000;

// The attachment lines with which a text ends: nothing but them and blank lines follows the first
// of them. The text has bare LF line ends and outlives the result.
std::vector<AttachmentLine> FindAttachmentLines(std::string_view text);

// The text as a reader expects it who takes off, from its end, one attachment line with a blank
// line above it for each file that he was given: the lines of files that are not there stand before
// the others, so that these alone go. What he is left with has no blank line that was not there. A
// text that is so already stays as it is, to the byte.
std::string ArrangedText(std::string text, const std::vector<AttachmentLine>& lines);

}  // namespace eumapi
