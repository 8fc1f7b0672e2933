#include "host/base/uuid.h"

#include <cstdio>
#include <random>

namespace host::base {

std::string NewUuid() {
    std::random_device device;
    char text[40];
    std::snprintf(text, sizeof text, "%08x-%04x-4%03x-%04x-%04x%08x", device(), device() & 0xFFFF,
                  device() & 0xFFF, (device() & 0x3FFF) | 0x8000, device() & 0xFFFF, device());
    return text;
}

}  // namespace host::base
