#pragma once

#include <array>
#include <cstddef>

#include "frame/interface/translators.h"

namespace host::shell {

inline constexpr std::size_t kReservedOperations = 33;
inline constexpr std::size_t kMostReservedWords = 5;

// Calls the reserved operation of that number, from 1 to kReservedOperations, with as many of the
// words as it takes.
RRETURNCODE CallReserved(CRRecordTranslator& translator, std::size_t number,
                         const std::array<RWORD, kMostReservedWords>& words);

}  // namespace host::shell
