#include "mapi/address_text.h"

namespace mapi {

namespace {

constexpr std::string_view kTransport = "SMTP:";

// Cuts as strtok does: takes the next token that `delimiter` ends, with that delimiter, off `rest`.
std::optional<std::string_view> CutToken(std::string_view& rest, char delimiter) {
    const auto start = rest.find_first_not_of(delimiter);
    if (start == std::string_view::npos) {
        rest = {};
        return std::nullopt;
    }
    rest.remove_prefix(start);
    const std::string_view token = rest.substr(0, rest.find(delimiter));
    rest.remove_prefix(token.size() < rest.size() ? token.size() + 1 : token.size());
    return token;
}

}  // namespace

std::optional<std::string> AddressOfName(std::string_view name) {
    auto outside = CutToken(name, '<');
    if (!outside) return std::nullopt;
    auto address = CutToken(name, '>');
    if (!address) address = CutToken(*outside, '>');
    if (!address) return std::nullopt;
    return std::string(*address);
}

std::string_view WithoutTransport(std::string_view address) {
    if (address.starts_with(kTransport)) address.remove_prefix(kTransport.size());
    return address;
}

}  // namespace mapi
