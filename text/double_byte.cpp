#include "text/double_byte.h"

#include <algorithm>

namespace text {

bool IsLeadByte(char byte, unsigned codePage) {
    static constexpr struct {
        unsigned codePage;
        int first, last;
    } kLeadBytes[] = {{932, 0x81, 0x9F},  {932, 0xE0, 0xFC}, {936, 0x81, 0xFE},
                      {949, 0x81, 0xFE},  {950, 0x81, 0xFE}, {1361, 0x84, 0xD3},
                      {1361, 0xD8, 0xDE}, {1361, 0xE0, 0xF9}};
    const int value = static_cast<unsigned char>(byte);
    return value > 0x80 && std::ranges::any_of(kLeadBytes, [&](const auto& row) {
               return row.codePage == codePage && value >= row.first && value <= row.last;
           });
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
    std::string_view rest = text;
    while (!rest.empty()) {
        const std::size_t whole = text.size() - rest.size();
        if (whole + TakeCharacter(rest, codePage).size() > limit) return whole;
    }
    return text.size();
}

bool ContainsText(std::string_view text, std::string_view part, unsigned codePage) {
    for (; !text.empty(); TakeCharacter(text, codePage)) {
        if (text.starts_with(part)) return true;
    }
    return part.empty();
}

std::size_t FindLastOf(std::string_view text, std::string_view letters, unsigned codePage) {
    auto last = std::string_view::npos;
    for (std::string_view rest = text; !rest.empty();) {
        const auto at = text.size() - rest.size();
        const auto character = TakeCharacter(rest, codePage);
        if (character.size() == 1 && letters.find(character[0]) != letters.npos) last = at;
    }
    return last;
}

}  // namespace text
