#include "platform/os/large_block.h"

#include <new>

namespace platform {

// Larger pages take a privilege there that people do not have.
LargeBlock AllocateBlock(std::size_t size) {
    void* const block = std::malloc(size | 1);
    if (block == nullptr) throw std::bad_alloc();
    return LargeBlock(static_cast<char*>(block));
}

}  // namespace platform
