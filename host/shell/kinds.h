#pragma once

#include <charconv>
#include <optional>
#include <string_view>

#include "host/module/translator_session.h"

namespace host {

// "contacts", "mail", "other" (any kind that the module does not know) or a number.
inline std::optional<unsigned long> ParseKind(std::string_view text) {
    if (text == "contacts") return kContactsKind;
    if (text == "mail") return kMailKind;
    if (text == "other") return 2;
    unsigned long kind = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), kind);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return kind;
}

}  // namespace host
