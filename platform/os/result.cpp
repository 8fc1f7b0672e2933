#include "platform/os/result.h"

#include <iterator>

namespace platform {

namespace {

// In the order of ErrorCode.
constexpr const char* kDescriptions[] = {
    "not found",
    "access denied",
    "in use by another program",
    "already exists",
    "is no regular file",
    "no space left on the disk",
    "not enough memory",
    "too large",
    "not a usable name or value",
    "not supported here",
    "damaged",
    "input/output error",
};
static_assert(std::size(kDescriptions) == static_cast<std::size_t>(ErrorCode::kIo) + 1);

}  // namespace

std::string Failure::Message() const {
    std::string text = kDescriptions[static_cast<std::size_t>(code)];
    if (!context.empty()) text.insert(0, context + ": ");
    if (systemError != 0) text += " (error " + std::to_string(systemError) + ")";
    return text;
}

}  // namespace platform
