#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

// What a fuzz target defines: throws with Require if what must hold for every input does not hold
// for this one.
void Check(std::string_view input);

// The defaults are the caller's place; clang 14 lacks std::source_location.
inline void Require(bool holds, const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
    if (!holds) throw std::logic_error(file + (':' + std::to_string(line)));
}
