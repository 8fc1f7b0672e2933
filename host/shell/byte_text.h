#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace host::shell {

// Bytes of the translator interface in JSON: the characters U+0000 to U+00FF stand for the bytes 0
// to 255. The JSON side is UTF-8.
std::string JsonTextFromBytes(std::string_view bytes);
// Nothing if the text holds a character above U+00FF or is no UTF-8.
std::optional<std::string> BytesFromJsonText(std::string_view utf8);

}  // namespace host::shell
