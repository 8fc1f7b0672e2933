#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace host::mail {

// In quotes, with a backslash in front of each quote and backslash.
std::string Quoted(std::string_view text);

// The header of a message, field after field, lines folded. Nothing in a value can end its field.
class HeaderBlock {
  public:
    // A text of any characters. A field without value or with an empty one is left out.
    void AddText(std::string_view name, const std::optional<std::string>& text);
    // Addresses as the translator joins them ("; " between them).
    void AddAddresses(std::string_view name, const std::optional<std::string>& text);
    // A value that is known to fit one line of ASCII.
    void AddToken(std::string_view name, std::string_view value);

    const std::string& Str() const { return m_block; }

  private:
    std::string m_block;
};

}  // namespace host::mail
