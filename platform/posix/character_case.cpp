#include "platform/posix/character_case.h"

#include <locale.h>
#include <wctype.h>

#include <functional>
#include <memory>
#include <string>
#include <type_traits>

#include "platform/os/code_page.h"
#include "platform/os/name_pattern.h"
#include "text/ascii.h"
#include "text/utf.h"

namespace platform::posix {

namespace {

struct FreeLocale {
    void operator()(locale_t locale) const { freelocale(locale); }
};

// Null where the system has no such locale. Given back when the library is unloaded.
locale_t Unicode() {
    static const std::unique_ptr<std::remove_pointer_t<locale_t>, FreeLocale> unicode(
        newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr));
    return unicode.get();
}

char32_t Mapped(char32_t character, wint_t (*map)(wint_t, locale_t)) {
    if (Unicode() == nullptr || character == text::kNoCharacter) return character;
    return static_cast<char32_t>(map(static_cast<wint_t>(character), Unicode()));
}

std::u32string Folded(std::string_view text) {
    std::u32string folded;
    while (!text.empty()) folded += FoldCase(text::TakeUtf8(text));
    return folded;
}

// Stops at the first difference: a folder may hold very many names.
bool EqualFolded(std::string_view a, std::string_view b) {
    while (!a.empty() && !b.empty()) {
        const char firstA = a.front(), firstB = b.front();
        const char32_t characterA = text::TakeUtf8(a), characterB = text::TakeUtf8(b);
        if (FoldCase(characterA) != FoldCase(characterB)) return false;
        if (characterA == text::kNoCharacter && firstA != firstB) return false;
    }
    return a.empty() && b.empty();
}

}  // namespace

char32_t FoldCase(char32_t character) {
    return character < 0x80 ? static_cast<char32_t>(text::Lower(static_cast<char>(character)))
                            : Mapped(character, towlower_l);
}

bool MatchesPattern(std::string_view name, std::string_view pattern) {
    if (pattern == "*") return true;
    if (pattern.find_first_of("*?") == std::string_view::npos) return EqualFolded(name, pattern);
    return platform::MatchesPattern<std::u32string_view>(Folded(name), Folded(pattern),
                                                         std::equal_to<>());
}

}  // namespace platform::posix

namespace platform {

char32_t RaiseCase(char32_t character) {
    return character < 0x80 ? static_cast<char32_t>(text::Upper(static_cast<char>(character)))
                            : posix::Mapped(character, towupper_l);
}

}  // namespace platform
