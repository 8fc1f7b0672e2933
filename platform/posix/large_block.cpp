#include "platform/os/large_block.h"

#include <sys/mman.h>

#include <new>

namespace platform {

namespace {

constexpr std::size_t kLargePage = 2 << 20;  // bytes

}  // namespace

LargeBlock AllocateBlock(std::size_t size) {
    const bool isLarge = size >= 2 * kLargePage;
    const std::size_t whole = isLarge ? (size + kLargePage - 1) & ~(kLargePage - 1) : size;
    void* const block = isLarge ? std::aligned_alloc(kLargePage, whole) : std::malloc(whole | 1);
    if (block == nullptr) throw std::bad_alloc();
    // Advice: without larger pages the block is as good, and slower.
    if (isLarge) (void)madvise(block, whole, MADV_HUGEPAGE);
    return LargeBlock(static_cast<char*>(block));
}

}  // namespace platform
