#include "host/contacts/eudora_limits.h"

#include "platform/os/code_page.h"
#include "text/ascii.h"
#include "text/double_byte.h"

namespace host::contacts {

namespace {

char Replacement(char byte, base::Field field) {
    const bool isControl = static_cast<unsigned char>(byte) < 0x20 && byte != '\t';
    if (isControl) return byte == '\n' && base::HoldsLines(field) ? byte : ' ';
    if (byte == '<' || byte == '>') return ' ';
    if (byte == ',' && (field == base::Field::kNickname || field == base::Field::kEmail))
        return ' ';
    if (byte == '"' && field == base::Field::kNickname) return '\'';
    return byte;
}

std::string CutNickname(const std::string& nickname, std::size_t limit, unsigned codePage) {
    const std::string bytes = platform::FromUtf8(nickname, codePage);
    if (bytes.size() <= limit) return nickname;
    const auto size = text::WholeCharacterPrefix(bytes, limit, codePage);
    return base::Canonical(platform::ToUtf8(std::string_view(bytes).substr(0, size), codePage));
}

}  // namespace

base::Contact HoldInEudora(const base::Contact& contact, unsigned codePage) {
    base::Contact held;
    for (base::Field field : base::kAllFields) {
        std::string text = contact[field];
        for (char& byte : text) byte = Replacement(byte, field);
        held[field] =
            base::Canonical(platform::ToUtf8(platform::FromUtf8(text, codePage), codePage));
    }
    std::string& nickname = held[base::Field::kNickname];
    if (text::StartsWithNoCase(nickname, "group")) nickname.insert(0, "_");
    nickname = CutNickname(nickname, kNicknameLimit, codePage);
    return held;
}

std::string NicknameWithSuffix(const std::string& base, const std::string& suffix,
                               unsigned codePage) {
    return CutNickname(base, kNicknameLimit - suffix.size(), codePage) + suffix;
}

}  // namespace host::contacts
