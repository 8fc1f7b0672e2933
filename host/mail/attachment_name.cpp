#include "host/mail/attachment_name.h"

#include <algorithm>
#include <string_view>

#include "host/mail/eudora_text.h"
#include "host/mail/mime_entity.h"
#include "platform/os/code_page.h"
#include "text/double_byte.h"
#include "text/path.h"

namespace host::mail {

namespace {

constexpr std::size_t kLongestName = 100, kLongestExtension = 20;  // bytes of the code page
constexpr std::string_view kForbidden = "\\/:*?\"<>|";
constexpr std::string_view kDevices[] = {"CON", "PRN", "AUX", "NUL", "CONIN$", "CONOUT$", "CLOCK$"};

bool IsDevice(std::string_view name) {
    std::string_view stem = name.substr(0, name.find('.'));
    stem = stem.substr(0, stem.find_last_not_of(' ') + 1);
    const bool isNumbered =
        stem.size() >= 4 && (BeginsNoCase(stem, "COM") || BeginsNoCase(stem, "LPT"));
    return (isNumbered && stem.size() <= 5) ||
           std::ranges::any_of(kDevices, [&](auto device) { return EqualsNoCase(stem, device); });
}

// Of the UTF-8 name, where every forbidden letter is itself.
std::string WithoutForbidden(std::string_view name) {
    std::string plain(name.substr(name.find_last_of("/\\") + 1));
    for (char& letter : plain) {
        const bool isControl = static_cast<unsigned char>(letter) < ' ' || letter == 0x7F;
        if (isControl || kForbidden.find(letter) != std::string_view::npos) letter = '_';
    }
    return plain;
}

// Windows drops them at an end, and at the front they hide a file.
std::string_view Trimmed(std::string_view name) {
    const auto begin = name.find_first_not_of(" .");
    if (begin == std::string_view::npos) return {};
    return name.substr(begin, name.find_last_not_of(" .") - begin + 1);
}

std::string Shortened(const std::string& name, unsigned codePage) {
    if (name.size() <= kLongestName) return name;
    auto parts = text::SplitPath(name, codePage);
    if (parts.extension.size() > kLongestExtension) {
        parts.name += parts.extension;
        parts.extension.clear();
    }
    const auto room = kLongestName - parts.extension.size();
    parts.name.resize(text::WholeCharacterPrefix(parts.name, room, codePage));
    return std::string(Trimmed(parts.name + parts.extension));
}

}  // namespace

std::string PlainAttachmentName(const std::string& name, const std::string& fallback,
                                unsigned codePage) {
    std::string plain = WithoutForbidden(Composed(name));
    plain = platform::FromUtf8(Trimmed(plain), codePage);
    // What the code page lacks.
    std::ranges::replace(plain, '?', '_');
    plain = Shortened(plain, codePage);
    if (plain.find_first_not_of("_ .") == std::string::npos) plain = fallback;
    return IsDevice(plain) ? '_' + plain : plain;
}

}  // namespace host::mail
