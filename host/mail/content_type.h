#pragma once

#include <string_view>

namespace host {

// The media type of a file by the extension of its name; application/octet-stream for one that is
// not known. The same on every machine.
std::string_view ContentTypeOf(std::string_view fileName);

}  // namespace host
