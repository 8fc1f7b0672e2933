#include "platform/os/result.h"

namespace platform {

namespace {

const char* Describe(ErrorCode code) {
    switch (code) {
        case ErrorCode::kNotFound:
            return "not found";
        case ErrorCode::kAccessDenied:
            return "access denied";
        case ErrorCode::kSharingViolation:
            return "in use by another program";
        case ErrorCode::kAlreadyExists:
            return "already exists";
        case ErrorCode::kNotRegular:
            return "is no regular file";
        case ErrorCode::kNoSpace:
            return "no space left on the disk";
        case ErrorCode::kNoMemory:
            return "not enough memory";
        case ErrorCode::kTooLarge:
            return "too large";
        case ErrorCode::kInvalidArgument:
            return "not a usable name or value";
        case ErrorCode::kNotSupported:
            return "not supported here";
        case ErrorCode::kCorrupt:
            return "damaged";
        case ErrorCode::kIo:
            return "input/output error";
    }
    return "unknown error";
}

}  // namespace

std::string Failure::Message() const {
    std::string text = context.empty() ? Describe(code) : context + ": " + Describe(code);
    if (systemError != 0) text += " (error " + std::to_string(systemError) + ")";
    return text;
}

}  // namespace platform
