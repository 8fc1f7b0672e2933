#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// Whether texts are ones of a code page.
namespace host::doctor {

// Counts texts, and those among them that are none of the code page: they hold bytes without a
// character there, or control characters, which stand for such bytes in a page of single bytes.
class TextCheck {
  public:
    explicit TextCheck(unsigned codePage) : m_codePage(codePage) {}

    // The last character of a text that is cut may be half of one.
    void Add(std::string_view text, bool isCut = false);

    // "2 of 40".
    std::string Share() const {
        return std::to_string(m_strange) + " of " + std::to_string(m_texts);
    }
    std::size_t Texts() const { return m_texts; }
    std::size_t Strange() const { return m_strange; }

  private:
    bool IsText(std::string_view text) const;

    unsigned m_codePage;
    std::size_t m_texts = 0, m_strange = 0;
};

}  // namespace host::doctor
