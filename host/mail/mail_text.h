#pragma once

#include <string>
#include <string_view>
#include <vector>

// The text of a mail of Eudora, taken apart into plain and formatted pieces. Texts are UTF-8.
namespace host::mail {

// A stretch of a mail's text in one format.
struct TextPiece {
    enum class Kind { kPlain, kFlowed, kHtml, kEnriched };
    Kind kind = Kind::kPlain;
    std::string text;
};

// Splits a text with LF line ends at Eudora's marks <x-html> and <x-rich>, in any case. A mark
// without its end mark counts only at the beginning of a line; its piece reaches to the end of the
// text. Plain pieces of white space alone are left out. There is always one piece.
std::vector<TextPiece> SplitText(std::string_view text);

}  // namespace host::mail
