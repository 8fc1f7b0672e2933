#pragma once

#include <array>
#include <string>
#include <string_view>
#include <unordered_map>

namespace platform::prefix {

// One system code page as a table, built once from the C library's converter. Lookups are pure, so
// any number of threads may use one.
class CodePageTable {
  public:
    // Lives until the process ends.
    static const CodePageTable& Of(unsigned codePage);

    // Takes the first character off `rest`, which is not empty. kNoCharacter if it is none.
    char32_t Take(std::string_view& rest) const;
    // False, and nothing appended, if the code page lacks the character.
    bool Append(char32_t character, std::string& out) const;

  private:
    explicit CodePageTable(unsigned codePage);
    void Enter(char32_t character, unsigned bytes);

    unsigned m_codePage;
    std::array<char32_t, 256> m_single;
    std::unordered_map<unsigned, char32_t> m_pairs;
    std::unordered_map<char32_t, unsigned> m_bytes;
};

std::u16string ToUtf16(std::string_view text, unsigned codePage);
// A character that the code page lacks becomes "?".
std::string FromUtf16(std::u16string_view text, unsigned codePage);

}  // namespace platform::prefix
