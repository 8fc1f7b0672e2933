#include "host/base/json_text.h"

#include <nlohmann/json.hpp>

#include "host/base/terminal_text.h"

namespace host::base {

namespace {

template <class Json>
std::string TextOf(const Json& json, int indent) {
    return EscapedJson(json.dump(indent, ' ', false, Json::error_handler_t::replace));
}

}  // namespace

std::string JsonText(const nlohmann::json& json, int indent) {
    return TextOf(json, indent);
}

std::string JsonText(const nlohmann::ordered_json& json, int indent) {
    return TextOf(json, indent);
}

}  // namespace host::base
