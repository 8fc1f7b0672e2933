#pragma once

#include <new>

#include "host/base/failure.h"

namespace host::base {

// Does a piece of work that can take much memory: where memory runs out, that is its failure.
template <class Work>
auto OrOutOfMemory(const Work& work) -> decltype(work()) {
    try {
        return work();
    } catch (const std::bad_alloc&) {
        return Failed("memory ran out");
    }
}

}  // namespace host::base
