#include "platform/mfc/text_case.h"

#include <algorithm>

#include "platform/os/path.h"

namespace platform {

namespace {

char Upper(char letter) {
    return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - ('a' - 'A')) : letter;
}

std::size_t CharacterLength(std::string_view text, std::size_t at, unsigned codePage) {
    return IsLeadByte(static_cast<unsigned char>(text[at]), codePage) && at + 1 < text.size() ? 2
                                                                                              : 1;
}

}  // namespace

bool EqualNoCase(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return Upper(x) == Upper(y); });
}

bool ContainsText(std::string_view text, std::string_view part, unsigned codePage) {
    for (std::size_t i = 0; i < text.size(); i += CharacterLength(text, i, codePage)) {
        if (text.substr(i).starts_with(part)) return true;
    }
    return part.empty();
}

}  // namespace platform
