#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace host::shell {

// "contacts", "mail", "other" (any kind that the module does not know) or a number.
std::optional<unsigned long> ParseKind(std::string_view text);

// The type of a field of that kind: it is promised by the interface, while a settings file may list
// another one. Nothing for a kind that has no fields of its own.
std::optional<unsigned long> FieldType(unsigned long kind, const std::string& id);

}  // namespace host::shell
