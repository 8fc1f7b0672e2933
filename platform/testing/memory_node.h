#pragma once

#include <algorithm>
#include <chrono>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/os/files.h"

namespace platform::testing {

// What an open file does, and what it leaves to others.
struct MemoryAccess {
    bool write = false;
    bool denyRead = false;
    bool denyWrite = false;

    bool Excludes(const MemoryAccess& other) const {
        return denyRead || other.denyRead || (denyWrite && other.write) ||
               (other.denyWrite && write);
    }
};

struct MemoryNode {
    std::string name, shortName;
    bool isFolder = false;
    bool isReadOnly = false;
    std::string content, durable;
    std::uint64_t badFrom = ~std::uint64_t{0};  // what lies behind cannot be read
    std::chrono::system_clock::time_point modified;
    std::vector<std::shared_ptr<MemoryNode>> children;
    std::vector<MemoryAccess> opens;

    bool IsFree(const MemoryAccess& access) const {
        return std::none_of(opens.begin(), opens.end(),
                            [&](const MemoryAccess& open) { return open.Excludes(access); });
    }
};

char Lower(char letter);
std::string Folded(std::string_view text);  // in small letters
bool SameName(std::string_view a, std::string_view b);

}  // namespace platform::testing
