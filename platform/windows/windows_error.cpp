#include "platform/windows/windows_error.h"

namespace platform::windows {

namespace {

ErrorCode CodeOf(DWORD number) {
    switch (number) {
        case ERROR_FILE_NOT_FOUND:
        case ERROR_PATH_NOT_FOUND:
        case ERROR_MOD_NOT_FOUND:
        case ERROR_INVALID_DRIVE:
        case ERROR_BAD_NETPATH:
        case ERROR_BAD_NET_NAME:
        case ERROR_NOT_READY:
        case ERROR_DIRECTORY:
            return ErrorCode::kNotFound;
        case ERROR_ACCESS_DENIED:
        case ERROR_WRITE_PROTECT:
        case ERROR_DIR_NOT_EMPTY:
        case ERROR_PRIVILEGE_NOT_HELD:
            return ErrorCode::kAccessDenied;
        case ERROR_SHARING_VIOLATION:
        case ERROR_LOCK_VIOLATION:
        case ERROR_USER_MAPPED_FILE:
        case ERROR_BUSY:
        case ERROR_CURRENT_DIRECTORY:
            return ErrorCode::kSharingViolation;
        case ERROR_ALREADY_EXISTS:
        case ERROR_FILE_EXISTS:
            return ErrorCode::kAlreadyExists;
        case ERROR_DISK_FULL:
        case ERROR_HANDLE_DISK_FULL:
            return ErrorCode::kNoSpace;
        case ERROR_NOT_ENOUGH_MEMORY:
        case ERROR_OUTOFMEMORY:
            return ErrorCode::kNoMemory;
        case ERROR_FILE_TOO_LARGE:
            return ErrorCode::kTooLarge;
        case ERROR_INVALID_NAME:
        case ERROR_BAD_PATHNAME:
        case ERROR_FILENAME_EXCED_RANGE:
        case ERROR_INVALID_PARAMETER:
        case ERROR_NEGATIVE_SEEK:
        case ERROR_NO_UNICODE_TRANSLATION:
            return ErrorCode::kInvalidArgument;
        case ERROR_NOT_SUPPORTED:
        case ERROR_CALL_NOT_IMPLEMENTED:
        case ERROR_INVALID_FUNCTION:
        case ERROR_NOT_SAME_DEVICE:
            return ErrorCode::kNotSupported;
        case ERROR_BAD_EXE_FORMAT:
        case ERROR_BAD_FORMAT:
        case ERROR_INVALID_EXE_SIGNATURE:
        case ERROR_EXE_MACHINE_TYPE_MISMATCH:
        case ERROR_FILE_CORRUPT:
            return ErrorCode::kCorrupt;
        default:
            return ErrorCode::kIo;
    }
}

}  // namespace

Failure FromError(DWORD number, std::string_view context) {
    return {CodeOf(number), std::string(context), static_cast<int>(number)};
}

Failure FromLastError(std::string_view context) {
    return FromError(GetLastError(), context);
}

}  // namespace platform::windows
