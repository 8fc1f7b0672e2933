#pragma once

#include <string>

namespace host::base {

// A random name in the form of a UUID (RFC 9562, version 4).
std::string NewUuid();

}  // namespace host::base
