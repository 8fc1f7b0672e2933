#pragma once

#include <optional>
#include <string_view>

namespace platform {

// The value of a key in the text of an ini file, without surrounding blanks and quotes; a part of
// `text`. Names match in any case, and the first match counts. Nothing if section or key is
// missing.
std::optional<std::string_view> ProfileValue(std::string_view text, std::string_view section,
                                             std::string_view key);

}  // namespace platform
