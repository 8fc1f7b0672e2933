#include "platform/windows/wide_text.h"

#include "platform/windows/windows_api.h"

namespace platform::windows {

namespace {

std::wstring Widen(std::string_view text, unsigned codePage, DWORD flags) {
    const int length = static_cast<int>(text.size());
    // No code page gives more UTF-16 units than it has bytes.
    std::wstring wide(text.size(), L'\0');
    wide.resize(static_cast<std::size_t>(
        MultiByteToWideChar(codePage, flags, text.data(), length, wide.data(), length)));
    return wide;
}

std::string Convert(std::wstring_view wide, unsigned codePage, DWORD flags, BOOL* lossy) {
    // Four bytes for a unit suffice in every code page that can be the system's.
    std::string text(wide.size() * 4, '\0');
    text.resize(static_cast<std::size_t>(WideCharToMultiByte(
        codePage, flags, wide.data(), static_cast<int>(wide.size()), text.data(),
        static_cast<int>(text.size()), lossy != nullptr ? "?" : nullptr, lossy)));
    return text;
}

std::size_t UnitsOfCharacter(std::wstring_view wide) {
    const bool isPair = wide.size() > 1 && IS_HIGH_SURROGATE(wide[0]) && IS_LOW_SURROGATE(wide[1]);
    return isPair ? 2 : 1;
}

}  // namespace

std::wstring Wide(std::string_view text, unsigned codePage) {
    return Widen(text, codePage, 0);
}

std::string Narrow(std::wstring_view wide, unsigned codePage) {
    return Convert(wide, codePage, 0, nullptr);
}

std::string NarrowStrict(std::wstring_view wide, unsigned codePage, bool* lossy) {
    if (lossy != nullptr) *lossy = false;
    if (codePage == CP_UTF8) return Narrow(wide, codePage);
    BOOL isReplaced = FALSE;
    std::string text = Convert(wide, codePage, WC_NO_BEST_FIT_CHARS, &isReplaced);
    if (!isReplaced) return text;
    if (lossy != nullptr) *lossy = true;
    // The system writes one "?" for each unit, which is two for a character beyond U+FFFF.
    text.clear();
    while (!wide.empty()) {
        const auto units = UnitsOfCharacter(wide);
        const std::string one =
            Convert(wide.substr(0, units), codePage, WC_NO_BEST_FIT_CHARS, &isReplaced);
        text += isReplaced ? "?" : one;
        wide.remove_prefix(units);
    }
    return text;
}

std::wstring WideName(std::string_view text, unsigned codePage) {
    if (text.find('\0') != std::string_view::npos) return {};
    return Widen(text, codePage, MB_ERR_INVALID_CHARS);
}

}  // namespace platform::windows
