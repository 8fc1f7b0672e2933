#pragma once

#include <string>

#include <nlohmann/json.hpp>

#include "host/base/terminal_text.h"

namespace host::base {

// JSON on one line, or indented, of texts that may hold anything: bytes that are no UTF-8 become
// U+FFFD, and what would drive a terminal stands as an escape.
template <class Json>
std::string JsonText(const Json& json, int indent = -1) {
    return EscapedJson(json.dump(indent, ' ', false, Json::error_handler_t::replace));
}

}  // namespace host::base
