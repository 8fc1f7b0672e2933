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

}  // namespace

std::wstring Wide(std::string_view text, unsigned codePage) {
    return Widen(text, codePage, 0);
}

std::string Narrow(std::wstring_view wide, unsigned codePage) {
    return Convert(wide, codePage, 0, nullptr);
}

std::string NarrowExactly(std::wstring_view wide, unsigned codePage) {
    BOOL isReplaced = FALSE;
    const std::string text = Convert(wide, codePage, WC_NO_BEST_FIT_CHARS, &isReplaced);
    return isReplaced ? std::string() : text;
}

std::wstring WideName(std::string_view text, unsigned codePage) {
    if (text.find('\0') != std::string_view::npos) return {};
    return Widen(text, codePage, MB_ERR_INVALID_CHARS);
}

}  // namespace platform::windows
