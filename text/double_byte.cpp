#include "text/double_byte.h"

namespace text {

bool IsLeadByte(char byte, unsigned codePage) {
    const auto lies = [value = static_cast<unsigned char>(byte)](int first, int last) {
        return value >= first && value <= last;
    };
    switch (codePage) {
        case 932:
            return lies(0x81, 0x9F) || lies(0xE0, 0xFC);
        case 936:
        case 949:
        case 950:
            return lies(0x81, 0xFE);
        case 1361:
            return lies(0x84, 0xD3) || lies(0xD8, 0xDE) || lies(0xE0, 0xF9);
        default:
            return false;
    }
}

std::size_t CharacterLength(std::string_view text, unsigned codePage) {
    return text.size() > 1 && IsLeadByte(text[0], codePage) ? 2 : 1;
}

std::string_view TakeCharacter(std::string_view& rest, unsigned codePage) {
    const auto character = rest.substr(0, CharacterLength(rest, codePage));
    rest.remove_prefix(character.size());
    return character;
}

std::size_t WholeCharacterPrefix(std::string_view text, std::size_t limit, unsigned codePage) {
    std::size_t end = 0;
    while (end < text.size()) {
        const auto next = end + CharacterLength(text.substr(end), codePage);
        if (next > limit) break;
        end = next;
    }
    return end;
}

bool ContainsText(std::string_view text, std::string_view part, unsigned codePage) {
    for (; !text.empty(); TakeCharacter(text, codePage)) {
        if (text.starts_with(part)) return true;
    }
    return part.empty();
}

std::size_t FindLastOf(std::string_view text, std::string_view letters, unsigned codePage) {
    auto last = std::string_view::npos;
    for (std::size_t at = 0; at < text.size();) {
        const auto length = CharacterLength(text.substr(at), codePage);
        if (length == 1 && letters.find(text[at]) != letters.npos) last = at;
        at += length;
    }
    return last;
}

}  // namespace text
