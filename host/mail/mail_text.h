#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace host::mail {

// A stretch of a mail's text that is of one kind.
struct TextPiece {
    enum class Kind { kPlain, kFlowed, kHtml, kEnriched };
    Kind kind = Kind::kPlain;
    std::string text;
};

// Takes a text with LF line ends apart by Eudora's marks <x-html> and <x-rich>, in any case, in the
// order in which the pieces stand. A mark counts if its end follows, or if it begins a line: then
// the piece reaches to the end. Plain pieces of white space alone are left out, but there is always
// one piece.
std::vector<TextPiece> SplitText(std::string_view text);

}  // namespace host::mail
