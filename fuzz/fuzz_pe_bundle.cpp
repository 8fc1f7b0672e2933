#include "fuzz/fuzz.h"
#include "platform/prefix/pe_strings.h"

// No text of a damaged library is longer than the library, and none is read from outside of it.
void Check(std::string_view input) {
    auto strings = platform::prefix::PeStrings::Parse(std::string(input));
    if (!strings) return;
    for (const unsigned id : {0u, 1u, 20u, 79u, 83u, 65535u, 0xFFFFFFFFu}) {
        Require(strings->Text(id).size() * 2 <= input.size());
    }
}
