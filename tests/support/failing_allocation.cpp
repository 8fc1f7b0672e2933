#include "tests/support/failing_allocation.h"

#include <cstdlib>

namespace test {

namespace {

// The refused request is the one that finds 1; 0 is off.
long countdown = 0;
std::size_t bytesRequested = 0;
bool isLasting = false, hasFailed = false;

bool IsRefused() {
    if (countdown == 1) {
        if (!isLasting) countdown = 0;
        return hasFailed = true;
    }
    if (countdown > 1) --countdown;
    return false;
}

void* Take(std::size_t size) noexcept {
    bytesRequested += size;
    return IsRefused() ? nullptr : std::malloc(size > 0 ? size : 1);
}

void* TakeOrThrow(std::size_t size) {
    if (void* block = Take(size)) return block;
    throw std::bad_alloc();
}

}  // namespace

ArmedAllocation::ArmedAllocation(long number, Shortage shortage) {
    isLasting = shortage == Shortage::kLasting;
    hasFailed = false;
    countdown = number;
}

ArmedAllocation::~ArmedAllocation() {
    countdown = 0;
}

std::size_t BytesRequested() {
    return bytesRequested;
}

bool ArmedAllocation::HasFailed() {
    return hasFailed;
}

}  // namespace test

// All of the plain forms, so that none of them meets a block of the library's own (or of
// AddressSanitizer's) other form.
void* operator new(std::size_t size) {
    return test::TakeOrThrow(size);
}
void* operator new[](std::size_t size) {
    return test::TakeOrThrow(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return test::Take(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return test::Take(size);
}
void operator delete(void* block) noexcept {
    std::free(block);
}
void operator delete[](void* block) noexcept {
    std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
}
void operator delete[](void* block, std::size_t) noexcept {
    std::free(block);
}
void operator delete(void* block, const std::nothrow_t&) noexcept {
    std::free(block);
}
void operator delete[](void* block, const std::nothrow_t&) noexcept {
    std::free(block);
}
