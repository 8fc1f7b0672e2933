#include "platform/windows/system_call.h"

#include <string>

namespace platform::windows {

namespace {

using enum ErrorCode;

constexpr ErrorGroup kGroups[] = {
    {kNotFound,
     {ERROR_FILE_NOT_FOUND, ERROR_PATH_NOT_FOUND, ERROR_MOD_NOT_FOUND, ERROR_INVALID_DRIVE,
      ERROR_BAD_NETPATH, ERROR_BAD_NET_NAME, ERROR_NOT_READY, ERROR_DIRECTORY}},
    {kAccessDenied,
     {ERROR_ACCESS_DENIED, ERROR_WRITE_PROTECT, ERROR_DIR_NOT_EMPTY, ERROR_PRIVILEGE_NOT_HELD}},
    {kSharingViolation,
     {ERROR_SHARING_VIOLATION, ERROR_LOCK_VIOLATION, ERROR_USER_MAPPED_FILE, ERROR_BUSY,
      ERROR_CURRENT_DIRECTORY}},
    {kAlreadyExists, {ERROR_ALREADY_EXISTS, ERROR_FILE_EXISTS}},
    {kNoSpace, {ERROR_DISK_FULL, ERROR_HANDLE_DISK_FULL}},
    {kNoMemory, {ERROR_NOT_ENOUGH_MEMORY, ERROR_OUTOFMEMORY}},
    {kTooLarge, {ERROR_FILE_TOO_LARGE}},
    {kInvalidArgument,
     {ERROR_INVALID_NAME, ERROR_BAD_PATHNAME, ERROR_FILENAME_EXCED_RANGE, ERROR_INVALID_PARAMETER,
      ERROR_NEGATIVE_SEEK, ERROR_NO_UNICODE_TRANSLATION}},
    {kNotSupported,
     {ERROR_NOT_SUPPORTED, ERROR_CALL_NOT_IMPLEMENTED, ERROR_INVALID_FUNCTION,
      ERROR_NOT_SAME_DEVICE}},
    {kCorrupt,
     {ERROR_BAD_EXE_FORMAT, ERROR_BAD_FORMAT, ERROR_INVALID_EXE_SIGNATURE,
      ERROR_EXE_MACHINE_TYPE_MISMATCH, ERROR_FILE_CORRUPT}}};

}  // namespace

Failure FromError(DWORD number, std::string_view context) {
    const int code = static_cast<int>(number);
    return {CodeIn(kGroups, code), std::string(context), code};
}

Failure FromLastError(std::string_view context) {
    return FromError(GetLastError(), context);
}

}  // namespace platform::windows
