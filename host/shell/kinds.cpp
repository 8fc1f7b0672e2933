#include "host/shell/kinds.h"

#include <charconv>
#include <cstdlib>

#include "host/shell/cell.h"
#include "host/translator/translator_session.h"

namespace host::shell {

std::optional<unsigned long> ParseKind(std::string_view text) {
    if (text == "contacts") return translator::kContactsKind;
    if (text == "mail") return translator::kMailKind;
    if (text == "other") return 2;
    unsigned long kind = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), kind);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return kind;
}

std::optional<unsigned long> FieldType(unsigned long kind, const std::string& id) {
    constexpr int kDate = 6, kSize = 9, kStatus = 10;
    if (kind == translator::kContactsKind) return kTextCell;
    if (kind != translator::kMailKind) return std::nullopt;
    // The translator reads an id just so, whatever stands behind the number.
    const int field = std::atoi(id.c_str());
    if (field == kDate) return kDateCell;
    return field == kSize || field == kStatus ? kNumberCell : kTextCell;
}

}  // namespace host::shell
