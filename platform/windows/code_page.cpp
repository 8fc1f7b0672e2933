#include "platform/os/code_page.h"

#include <algorithm>

#include "platform/windows/wide_text.h"
#include "platform/windows/windows_api.h"
#include "text/double_byte.h"

namespace platform {

namespace {

constexpr wchar_t kReplacement = 0xFFFD;

// 0 to 3 name whatever the machine has, which is not what a number of a text's own can mean.
unsigned KnownCodePage(unsigned codePage) {
    CPINFO info;
    const bool isKnown =
        codePage == CP_UTF8 ||
        (codePage > CP_THREAD_ACP && GetCPInfo(codePage, &info) && info.MaxCharSize <= 2);
    return isKnown ? codePage : 1252;
}

std::size_t Utf8Length(unsigned char lead) {
    if (lead < 0xC2) return 1;
    if (lead < 0xE0) return 2;
    return lead < 0xF0 ? 3 : 4;
}

std::size_t CharacterLength(std::string_view text, unsigned codePage) {
    const auto lead = static_cast<unsigned char>(text[0]);
    if (codePage == CP_UTF8) return std::min(Utf8Length(lead), text.size());
    return IsDBCSLeadByteEx(codePage, lead) && text.size() > 1 ? 2 : 1;
}

// Decodes character by character, and hands each byte that begins none to `otherwise`.
template <class Otherwise>
std::wstring Decode(std::string_view text, unsigned codePage, Otherwise otherwise) {
    std::wstring wide = windows::WideName(text, codePage);
    if (!wide.empty() || text.empty()) return wide;
    while (!text.empty()) {
        auto length = CharacterLength(text, codePage);
        const auto one = text[0] == '\0' ? std::wstring(1, L'\0')
                                         : windows::WideName(text.substr(0, length), codePage);
        if (one.empty()) length = 1;
        wide += one.empty() ? otherwise(static_cast<unsigned char>(text[0])) : one;
        text.remove_prefix(length);
    }
    return wide;
}

}  // namespace

std::string ToUtf8(std::string_view text, unsigned codePage) {
    codePage = KnownCodePage(codePage);
    const auto otherwise = [&](unsigned char byte) {
        const bool isControl = codePage != CP_UTF8 && byte >= 0x80 && byte <= 0x9F &&
                               !text::IsLeadByte(static_cast<char>(byte), codePage);
        return std::wstring(1, isControl ? static_cast<wchar_t>(byte) : kReplacement);
    };
    return windows::Narrow(Decode(text, codePage, otherwise), CP_UTF8);
}

std::string FromUtf8(std::string_view text, unsigned codePage, bool* lossy) {
    codePage = KnownCodePage(codePage);
    bool isBroken = false;
    const auto otherwise = [&](unsigned char) {
        isBroken = true;
        return std::wstring(1, L'?');
    };
    bool isLossy = false;
    std::string result =
        windows::NarrowStrict(Decode(text, CP_UTF8, otherwise), codePage, &isLossy);
    if (lossy != nullptr) *lossy = isLossy || isBroken;
    return result;
}

std::string UpperCase(std::string_view text, unsigned codePage) {
    codePage = KnownCodePage(codePage);
    std::string upper;
    while (!text.empty()) {
        auto bytes = text.substr(0, CharacterLength(text, codePage));
        std::wstring wide = windows::WideName(bytes, codePage);
        // What begins no character is one byte; the next may begin one.
        if (wide.empty()) bytes = bytes.substr(0, 1);
        text.remove_prefix(bytes.size());
        CharUpperBuffW(wide.data(), static_cast<DWORD>(wide.size()));
        bool isLossy = false;
        const auto raised = windows::NarrowStrict(wide, codePage, &isLossy);
        upper += wide.empty() || isLossy ? std::string(bytes) : raised;
    }
    return upper;
}

}  // namespace platform
