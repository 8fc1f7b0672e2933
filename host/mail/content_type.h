#pragma once

#include <string_view>

namespace host::mail {

// The media type of a file by the extension of its name; application/octet-stream for one that is
// not known. The same on every machine.
std::string_view ContentTypeOf(std::string_view fileName);

// An extension (without dot) of files of that media type; empty if none is known.
std::string_view ExtensionOf(std::string_view contentType);

}  // namespace host::mail
