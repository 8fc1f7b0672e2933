#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "platform/prefix/pe_strings.h"

// No text of a damaged library is longer than the library, and none is read from outside of it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    auto strings = platform::prefix::PeStrings::Parse({reinterpret_cast<const char*>(data), size});
    if (!strings) return 0;
    for (const unsigned id : {0u, 1u, 20u, 79u, 83u, 65535u, 0xFFFFFFFFu}) {
        if (strings->Text(id).size() * 2 > size) std::abort();
    }
    return 0;
}
