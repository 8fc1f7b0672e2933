#pragma once

#include <string>

#include <nlohmann/json_fwd.hpp>

namespace host::base {

// JSON on one line, or indented, of texts that may hold anything: bytes that are no UTF-8 become
// U+FFFD, and what would drive a terminal stands as an escape.
std::string JsonText(const nlohmann::json& json, int indent = -1);
std::string JsonText(const nlohmann::ordered_json& json, int indent = -1);

}  // namespace host::base
