#pragma once

#include <source_location>
#include <stdexcept>
#include <string>
#include <string_view>

// What a fuzz target defines: throws with Require if what must hold for every input does not hold
// for this one.
void Check(std::string_view input);

inline void Require(bool holds,
                    const std::source_location& where = std::source_location::current()) {
    if (!holds) throw std::logic_error(where.file_name() + (':' + std::to_string(where.line())));
}
