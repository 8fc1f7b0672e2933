#pragma once

#include <cstdlib>
#include <string>
#include <string_view>

// What a fuzz target defines: ends the program with Require if what must hold for every input does
// not hold for this one.
void Check(std::string_view input);

inline void Require(bool holds) {
    if (!holds) std::abort();
}
