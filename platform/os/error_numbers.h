#pragma once

#include <algorithm>
#include <array>
#include <span>

#include "platform/os/result.h"

namespace platform {

// The system's numbers (errno or GetLastError) that come to one code.
struct ErrorNumbers {
    ErrorCode code;
    std::array<int, 8> numbers;  // zeros at the end
};

// kIo for a number that is in no row.
inline ErrorCode CodeOf(std::span<const ErrorNumbers> table, int number) {
    const auto found = std::find_if(table.begin(), table.end(), [&](const ErrorNumbers& row) {
        return std::find(row.numbers.begin(), row.numbers.end(), number) != row.numbers.end();
    });
    return number == 0 || found == table.end() ? ErrorCode::kIo : found->code;
}

}  // namespace platform
