#pragma once

#include <cstddef>
#include <string_view>

#include "text/ascii.h"

namespace addressbook {

// A set of bytes that end a token.
class ByteSet {
  public:
    constexpr explicit ByteSet(std::string_view bytes) {
        for (const char byte : bytes) m_has[static_cast<unsigned char>(byte)] = true;
    }
    constexpr bool Has(char byte) const { return m_has[static_cast<unsigned char>(byte)]; }

  private:
    bool m_has[256] = {};
};

// The first byte of the set at or behind `at`; npos if there is none.
inline std::size_t FindIn(std::string_view text, const ByteSet& set, std::size_t at = 0) {
    while (at < text.size() && !set.Has(text[at])) ++at;
    return at < text.size() ? at : std::string_view::npos;
}

// A cursor over one line. Every scan may use another set; the byte that ended a token is consumed
// by the scan that found it.
class TokenScan {
  public:
    explicit TokenScan(std::string_view line, std::size_t at = 0) : m_line(line), m_at(at) {}

    // Skips bytes of the set and takes those up to the next one. Empty: the line ended first.
    std::string_view Next(const ByteSet& set) {
        while (m_at < m_line.size() && set.Has(m_line[m_at])) ++m_at;
        const std::size_t begin = m_at;
        while (m_at < m_line.size() && !set.Has(m_line[m_at])) ++m_at;
        const auto token = m_line.substr(begin, m_at - begin);
        if (m_at < m_line.size()) ++m_at;
        return token;
    }
    // What is behind the cursor.
    std::string_view Rest() const { return m_line.substr(m_at); }

  private:
    std::string_view m_line;
    std::size_t m_at;
};

inline constexpr ByteSet kFirstWordSet(" \"");
inline constexpr ByteSet kPlainNameSet(" ");
inline constexpr ByteSet kQuotedNameSet("\"");
inline constexpr ByteSet kLineEndSet("\n\r");
inline constexpr ByteSet kAddressSet(",");
inline constexpr ByteSet kNoteWordSet(" ");
inline constexpr ByteSet kNoteSet("<>\r\n");
inline constexpr std::string_view kSpaces = " \t\r\n\v\f";
inline constexpr ByteSet kSpaceSet(kSpaces);
// What a note line cannot hold in a value.
inline constexpr ByteSet kNoteEndSet("<>\r");

// Without white space at both ends.
inline std::string_view Trimmed(std::string_view text) {
    return text::Trimmed(text, kSpaces);
}

}  // namespace addressbook
