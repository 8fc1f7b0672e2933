#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>

namespace platform {

struct FreeBlock {
    void operator()(char* block) const { std::free(block); }
};

// Memory for the content of a large file, not filled. The first touch of a page costs about as
// much as reading a file into it, so where the system has larger pages it is asked for them.
using LargeBlock = std::unique_ptr<char[], FreeBlock>;

// Throws std::bad_alloc. `size` may be 0.
LargeBlock AllocateBlock(std::size_t size);

}  // namespace platform
