#pragma once

#include <string_view>

// Media types (RFC 2046) by file extensions, from a table of our own: every machine gives the same.
namespace host::mail {

// The media type of a file by the extension of its name, in any case; application/octet-stream for
// an unknown one.
std::string_view ContentTypeOf(std::string_view fileName);

// An extension (without dot) of files of that media type; empty if none is known.
std::string_view ExtensionOf(std::string_view contentType);

}  // namespace host::mail
