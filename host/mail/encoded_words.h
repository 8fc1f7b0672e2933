#pragma once

#include <string>
#include <string_view>

namespace host {

// Whether a header can hold the text only in encoded words: it is not ASCII, holds control
// characters, would be taken for an encoded word, or has a word too long for a line.
bool NeedsEncoding(std::string_view text);

// The text as encoded words of UTF-8 (RFC 2047), a line for each.
std::string EncodeWords(std::string_view text);

// Control characters become blanks, blanks at both ends go, encoded words are decoded.
std::string HeaderText(const std::string& text);

}  // namespace host
