#include "host/mail/header_block.h"

#include "host/mail/address_list.h"
#include "host/mail/encoded_words.h"

namespace host::mail {

namespace {

constexpr std::size_t kLineWidth = 76;

// Breaks lines in front of blanks, so that unfolding gives the text back.
std::string Folded(std::string_view text, std::size_t column) {
    std::string folded;
    while (!text.empty()) {
        const auto word = std::min(text.find_first_not_of(' '), text.size());
        const auto end = std::min(text.find(' ', word), text.size());
        if (column + end > kLineWidth && !folded.empty()) {
            folded += '\n';
            column = 0;
        }
        folded += text.substr(0, end);
        column += end;
        text.remove_prefix(end);
    }
    return folded;
}

}  // namespace

void HeaderBlock::AddToken(std::string_view name, std::string_view value) {
    m_block += name;
    m_block += ": ";
    m_block += value;
    m_block += '\n';
}

void HeaderBlock::AddText(std::string_view name, const std::optional<std::string>& text) {
    if (!text) return;
    const std::string value = HeaderText(*text);
    if (value.empty()) return;
    AddToken(name, NeedsEncoding(value) ? EncodeWords(value) : Folded(value, name.size() + 2));
}

void HeaderBlock::AddAddresses(std::string_view name, const std::optional<std::string>& text) {
    if (!text) return;
    std::string value;
    std::size_t column = name.size() + 2;
    for (const std::string& address : HeaderAddresses(*text)) {
        if (!value.empty()) {
            const bool fits = column + 2 + address.size() <= kLineWidth;
            value += fits ? ", " : ",\n ";
            column = fits ? column + 2 : 1;
        }
        value += address;
        column += address.size();
    }
    if (!value.empty()) AddToken(name, value);
}

}  // namespace host::mail
