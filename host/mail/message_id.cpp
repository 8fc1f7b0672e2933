#include "host/mail/message_id.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>

namespace host::mail {

namespace {

constexpr std::size_t kLongestId = 900;  // a line of a header holds 998 bytes

}  // namespace

bool CanBeMessageId(std::string_view id) {
    return !id.empty() && id.size() <= kLongestId && std::ranges::all_of(id, [](char letter) {
        return letter > ' ' && letter < 0x7F && letter != '<' && letter != '>';
    });
}

bool IsIndexId(std::string_view id) {
    return id.size() == 10 && id.starts_with("0x") &&
           id.find_first_not_of("0123456789ABCDEF", 2) == std::string_view::npos;
}

std::string Fingerprint(std::span<const std::string_view> pieces) {
    std::uint64_t hash = 0xCBF29CE484222325;  // FNV-1a
    for (const std::string_view piece : pieces) {
        for (const char letter : piece) {
            hash = (hash ^ static_cast<unsigned char>(letter)) * 0x100000001B3;
        }
    }
    char digits[17];
    std::snprintf(digits, sizeof digits, "%08x%08x", static_cast<unsigned>(hash >> 32),
                  static_cast<unsigned>(hash));
    return digits;
}

std::string Fingerprint(std::string_view text) {
    return Fingerprint(std::span(&text, 1));
}

std::string MessageIdOf(const Mail& mail) {
    const std::string& own = mail.messageId ? *mail.messageId : mail.id;
    if (CanBeMessageId(own) && !IsIndexId(own)) return own;
    std::string told = own;
    for (const auto* text : {&mail.from, &mail.to, &mail.subject}) {
        told += '\n' + text->value_or("");
    }
    told += '\n' + std::to_string(mail.date.value_or(0)) + '\n' + std::to_string(mail.size);
    return (IsIndexId(own) ? own + '.' : std::string()) + Fingerprint(told) + ".eudora@localhost";
}

}  // namespace host::mail
