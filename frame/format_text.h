#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace frame {

// Replaces the conversions of `format`, which must be exactly one "%s" and, where `number` is
// given, one "%d" behind it; "%%" gives a percent sign. A format with any other conversion is not
// ours to interpret: it stands as it is.
std::string FormatText(std::string_view format, std::string_view text, std::optional<int> number);

}  // namespace frame
