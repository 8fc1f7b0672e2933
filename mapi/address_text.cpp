#include "mapi/address_text.h"

#include "text/ascii.h"

namespace mapi {

std::optional<std::string> AddressOfName(std::string_view name) {
    auto outside = text::TakeToken(name, "<");
    if (!outside) return std::nullopt;
    auto address = text::TakeToken(name, ">");
    if (!address) address = text::TakeToken(*outside, ">");
    if (!address) return std::nullopt;
    return std::string(*address);
}

std::string_view WithoutTransport(std::string_view address) {
    constexpr std::string_view kTransport = "SMTP:";
    return address.starts_with(kTransport) ? address.substr(kTransport.size()) : address;
}

}  // namespace mapi
