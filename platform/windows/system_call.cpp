#include "platform/windows/system_call.h"

#include <algorithm>
#include <iterator>
#include <string>

namespace platform::windows {

namespace {

using enum ErrorCode;

constexpr std::pair<int, ErrorCode> kCodes[] = {{ERROR_FILE_NOT_FOUND, kNotFound},
                                                {ERROR_PATH_NOT_FOUND, kNotFound},
                                                {ERROR_MOD_NOT_FOUND, kNotFound},
                                                {ERROR_INVALID_DRIVE, kNotFound},
                                                {ERROR_BAD_NETPATH, kNotFound},
                                                {ERROR_BAD_NET_NAME, kNotFound},
                                                {ERROR_NOT_READY, kNotFound},
                                                {ERROR_DIRECTORY, kNotFound},
                                                {ERROR_ACCESS_DENIED, kAccessDenied},
                                                {ERROR_WRITE_PROTECT, kAccessDenied},
                                                {ERROR_DIR_NOT_EMPTY, kAccessDenied},
                                                {ERROR_PRIVILEGE_NOT_HELD, kAccessDenied},
                                                {ERROR_SHARING_VIOLATION, kSharingViolation},
                                                {ERROR_LOCK_VIOLATION, kSharingViolation},
                                                {ERROR_USER_MAPPED_FILE, kSharingViolation},
                                                {ERROR_BUSY, kSharingViolation},
                                                {ERROR_CURRENT_DIRECTORY, kSharingViolation},
                                                {ERROR_ALREADY_EXISTS, kAlreadyExists},
                                                {ERROR_FILE_EXISTS, kAlreadyExists},
                                                {ERROR_DISK_FULL, kNoSpace},
                                                {ERROR_HANDLE_DISK_FULL, kNoSpace},
                                                {ERROR_NOT_ENOUGH_MEMORY, kNoMemory},
                                                {ERROR_OUTOFMEMORY, kNoMemory},
                                                {ERROR_FILE_TOO_LARGE, kTooLarge},
                                                {ERROR_INVALID_NAME, kInvalidArgument},
                                                {ERROR_BAD_PATHNAME, kInvalidArgument},
                                                {ERROR_FILENAME_EXCED_RANGE, kInvalidArgument},
                                                {ERROR_INVALID_PARAMETER, kInvalidArgument},
                                                {ERROR_NEGATIVE_SEEK, kInvalidArgument},
                                                {ERROR_NO_UNICODE_TRANSLATION, kInvalidArgument},
                                                {ERROR_NOT_SUPPORTED, kNotSupported},
                                                {ERROR_CALL_NOT_IMPLEMENTED, kNotSupported},
                                                {ERROR_INVALID_FUNCTION, kNotSupported},
                                                {ERROR_NOT_SAME_DEVICE, kNotSupported},
                                                {ERROR_BAD_EXE_FORMAT, kCorrupt},
                                                {ERROR_BAD_FORMAT, kCorrupt},
                                                {ERROR_INVALID_EXE_SIGNATURE, kCorrupt},
                                                {ERROR_EXE_MACHINE_TYPE_MISMATCH, kCorrupt},
                                                {ERROR_FILE_CORRUPT, kCorrupt}};

}  // namespace

Failure FromError(DWORD number, std::string_view context) {
    const int code = static_cast<int>(number);
    const auto found = std::ranges::find(kCodes, code, &std::pair<int, ErrorCode>::first);
    return {found == std::end(kCodes) ? kIo : found->second, std::string(context), code};
}

Failure FromLastError(std::string_view context) {
    return FromError(GetLastError(), context);
}

}  // namespace platform::windows
