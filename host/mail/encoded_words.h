#pragma once

#include <string>
#include <string_view>

namespace host::mail {

// Whether a header can hold the text only in encoded words: it is not ASCII, holds control
// characters, would be taken for an encoded word, or has a word too long for a line.
bool NeedsEncoding(std::string_view text);

// The text as encoded words of UTF-8 (RFC 2047), a line for each.
std::string EncodeWords(std::string_view text);

// Finds encoded words one after the other.
class EncodedWordScan {
  public:
    explicit EncodedWordScan(std::string_view text) : m_rest(text) {}

    bool Next();
    std::string_view Before() const { return m_before; }  // the text up to the word
    std::string_view Word() const { return m_word; }
    std::string_view Behind() const { return m_rest; }
    std::string_view Charset() const { return m_charset; }
    std::string Bytes() const;

  private:
    bool Accept(std::size_t at);

    std::string_view m_rest, m_before, m_word, m_charset, m_payload;
    bool m_isBase64 = false;
};

// A text of UTF-8 with its encoded words decoded, those side by side as one: each of them may end
// in the padding of base64, and a character may be cut between two. Words in a charset that is not
// known count as of the code page.
std::string DecodeWords(std::string_view text, unsigned codePage);
std::string DecodeWords(std::string_view text);

// Control characters become blanks, blanks at both ends go, encoded words are decoded.
std::string HeaderText(const std::string& text);

}  // namespace host::mail
