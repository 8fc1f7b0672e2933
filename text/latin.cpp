#include "text/latin.h"

#include <unordered_map>

#include "text/utf.h"

namespace text {

namespace {

struct Row {
    std::string_view plain, characters;  // the second in UTF-8
};

// clang-format off
constexpr Row kRows[] = {
    {"A", "ÀÁÂÃÄÅĀĂĄǍǞǠǺȀȂȦḀẠẢẤẦẨẪẬẮẰẲẴẶ"},
    {"a", "àáâãäåāăąǎǟǡǻȁȃȧḁạảấầẩẫậắằẳẵặ"},
    {"B", "ḂḄḆ"},
    {"b", "ḃḅḇ"},
    {"C", "ÇĆĈĊČḈ"},
    {"c", "çćĉċčḉ"},
    {"D", "ĎḊḌḎḐḒĐÐ"},
    {"d", "ďḋḍḏḑḓđð"},
    {"E", "ÈÉÊËĒĔĖĘĚȄȆȨḔḖḘḚḜẸẺẼẾỀỂỄỆ"},
    {"e", "èéêëēĕėęěȅȇȩḕḗḙḛḝẹẻẽếềểễệ"},
    {"F", "Ḟ"},
    {"f", "ḟ"},
    {"G", "ĜĞĠĢǦǴḠ"},
    {"g", "ĝğġģǧǵḡ"},
    {"H", "ĤȞḢḤḦḨḪĦ"},
    {"h", "ĥȟḣḥḧḩḫẖħ"},
    {"I", "ÌÍÎÏĨĪĬĮİǏȈȊḬḮỈỊ"},
    {"i", "ìíîïĩīĭįǐȉȋḭḯỉịı"},
    {"J", "Ĵ"},
    {"j", "ĵǰ"},
    {"K", "ĶǨḰḲḴ"},
    {"k", "ķǩḱḳḵĸ"},
    {"L", "ĹĻĽḶḸḺḼŁ"},
    {"l", "ĺļľḷḹḻḽł"},
    {"M", "ḾṀṂ"},
    {"m", "ḿṁṃ"},
    {"N", "ÑŃŅŇǸṄṆṈṊŊ"},
    {"n", "ñńņňǹṅṇṉṋŋ"},
    {"O", "ÒÓÔÕÖŌŎŐƠǑǪǬȌȎȪȬȮȰṌṎṐṒỌỎỐỒỔỖỘỚỜỞỠỢØǾ"},
    {"o", "òóôõöōŏőơǒǫǭȍȏȫȭȯȱṍṏṑṓọỏốồổỗộớờởỡợøǿ"},
    {"P", "ṔṖ"},
    {"p", "ṕṗ"},
    {"R", "ŔŖŘȐȒṘṚṜṞ"},
    {"r", "ŕŗřȑȓṙṛṝṟ"},
    {"S", "ŚŜŞŠȘṠṢṤṦṨ"},
    {"s", "śŝşšșṡṣṥṧṩſ"},
    {"T", "ŢŤȚṪṬṮṰŦ"},
    {"t", "ţťțṫṭṯṱẗŧ"},
    {"U", "ÙÚÛÜŨŪŬŮŰŲƯǓǕǗǙǛȔȖṲṴṶṸṺỤỦỨỪỬỮỰ"},
    {"u", "ùúûüũūŭůűųưǔǖǘǚǜȕȗṳṵṷṹṻụủứừửữự"},
    {"V", "ṼṾ"},
    {"v", "ṽṿ"},
    {"W", "ŴẀẂẄẆẈ"},
    {"w", "ŵẁẃẅẇẉẘ"},
    {"X", "ẊẌ"},
    {"x", "ẋẍ"},
    {"Y", "ÝŶŸȲẎỲỴỶỸ"},
    {"y", "ýÿŷȳẏẙỳỵỷỹ"},
    {"Z", "ŹŻŽẐẒẔ"},
    {"z", "źżžẑẓẕ"},
    {"AE", "ÆǼ"},
    {"ae", "æǽ"},
    {"OE", "Œ"},
    {"oe", "œ"},
    {"SS", "ẞ"},
    {"ss", "ß"},
    {"Th", "Þ"},
    {"th", "þ"},
    {"IJ", "Ĳ"},
    {"ij", "ĳ"},
    {"'n", "ŉ"},
    {"ff", "ﬀ"},
    {"fi", "ﬁ"},
    {"fl", "ﬂ"},
    {"ffi", "ﬃ"},
    {"ffl", "ﬄ"},
    {"st", "ﬅﬆ"},
    {"DZ", "Ǆ"},
    {"Dz", "ǅ"},
    {"dz", "ǆ"},
    {"LJ", "Ǉ"},
    {"Lj", "ǈ"},
    {"lj", "ǉ"},
    {"NJ", "Ǌ"},
    {"Nj", "ǋ"},
    {"nj", "ǌ"},
    {"'", "‘’‚‛‹›′"},
    {"\"", "“”„‟«»″"},
    {"-", "‐‑‒–—―−"},
    {"...", "…"},
    {"*", "•"},
    {"x", "×"},
    {"EUR", "€"},
    {"No", "№"},
    {"TM", "™"},
};
// clang-format on

std::unordered_map<char32_t, std::string_view> PlainForms() {
    std::unordered_map<char32_t, std::string_view> forms;
    for (auto [plain, characters] : kRows) {
        while (!characters.empty()) forms[TakeUtf8(characters)] = plain;
    }
    return forms;
}

}  // namespace

std::optional<std::string_view> PlainForm(char32_t character) {
    static const auto kForms = PlainForms();
    const bool isMark = character >= 0x300 && character < 0x370;
    const bool isInvisible = (character >= 0x200B && character < 0x2010) || character == 0xFEFF;
    if (isMark || isInvisible) return "";
    if (character == 0xA0 || (character >= 0x2000 && character < 0x200B)) return " ";
    const auto found = kForms.find(character);
    return found != kForms.end() ? std::optional(found->second) : std::nullopt;
}

}  // namespace text
