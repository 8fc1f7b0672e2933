#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace mapi {

// The address in an originator's name: what stands between "<" and ">", without brackets the whole
// text, "Name <a@b>" as well as "<a@b>" and "a@b". Brackets in a row count as one, as for strtok.
// Nothing if nothing stands there.
std::optional<std::string> AddressOfName(std::string_view name);

// An address without the "SMTP:" at its start.
std::string_view WithoutTransport(std::string_view address);

}  // namespace mapi
