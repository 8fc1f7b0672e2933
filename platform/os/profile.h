#pragma once

#include <optional>
#include <string_view>

namespace platform {

// The value of a key in the text of an ini file, without blanks and a pair of quotes around it. The
// first one counts; case does not. Nothing if the section or the key is not there.
std::optional<std::string_view> ProfileValue(std::string_view text, std::string_view section,
                                             std::string_view key);

}  // namespace platform
