#pragma once

#include <algorithm>
#include <random>
#include <string>
#include <string_view>

namespace host::testing {

// One of the texts that '|' parts in `choices`.
inline std::string OneOf(std::mt19937& random, std::string_view choices) {
    auto skip = random() % static_cast<unsigned>(1 + std::ranges::count(choices, '|'));
    for (; skip > 0; --skip) choices.remove_prefix(choices.find('|') + 1);
    return std::string(choices.substr(0, choices.find('|')));
}

}  // namespace host::testing
