#include "text/double_byte.h"

namespace text {

namespace {

std::size_t CharacterLength(std::string_view text, std::size_t at, unsigned codePage) {
    return IsLeadByte(static_cast<unsigned char>(text[at]), codePage) && at + 1 < text.size() ? 2
                                                                                              : 1;
}

}  // namespace

bool IsLeadByte(unsigned char byte, unsigned codePage) {
    switch (codePage) {
        case 932:
            return (byte >= 0x81 && byte <= 0x9F) || (byte >= 0xE0 && byte <= 0xFC);
        case 936:
        case 949:
        case 950:
            return byte >= 0x81 && byte <= 0xFE;
        case 1361:
            return (byte >= 0x84 && byte <= 0xD3) || (byte >= 0xD8 && byte <= 0xDE) ||
                   (byte >= 0xE0 && byte <= 0xF9);
        default:
            return false;
    }
}

std::string_view::size_type WholeCharacterPrefix(std::string_view text,
                                                 std::string_view::size_type limit,
                                                 unsigned codePage) {
    std::string_view::size_type end = 0;
    while (end < text.size()) {
        const bool pair =
            IsLeadByte(static_cast<unsigned char>(text[end]), codePage) && end + 1 < text.size();
        const auto next = end + (pair ? 2 : 1);
        if (next > limit) break;
        end = next;
    }
    return end;
}

bool ContainsText(std::string_view text, std::string_view part, unsigned codePage) {
    for (std::size_t i = 0; i < text.size(); i += CharacterLength(text, i, codePage)) {
        if (text.substr(i).starts_with(part)) return true;
    }
    return part.empty();
}

}  // namespace text
