#include "platform/windows/claimed_file.h"

#include "platform/windows/windows_error.h"

namespace platform::windows {

namespace {

// In the order of Share.
constexpr DWORD kShareFlags[] = {0, FILE_SHARE_READ, FILE_SHARE_READ | FILE_SHARE_WRITE};

// 0 if there is nothing of that name.
DWORD AttributesOf(const std::wstring& name) {
    const DWORD attributes = GetFileAttributesW(name.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES ? attributes : 0;
}

}  // namespace

bool IsFolder(const std::wstring& name) {
    return (AttributesOf(name) & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool IsReadOnly(const std::wstring& name) {
    constexpr DWORD kBoth = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_DIRECTORY;
    return (AttributesOf(name) & kBoth) == FILE_ATTRIBUTE_READONLY;
}

Result<Handle> OpenClaimed(const std::wstring& name, std::string_view path, OpenMode mode,
                           Share share) {
    const DWORD access = mode == OpenMode::kRead ? GENERIC_READ : GENERIC_READ | GENERIC_WRITE;
    const bool changes = mode != OpenMode::kRead && mode != OpenMode::kCreateNew;
    if (changes && IsReadOnly(name)) return FromError(ERROR_ACCESS_DENIED, path);
    const auto open = [&](DWORD disposition, DWORD flags) {
        return Handle(CreateFileW(name.c_str(), access, kShareFlags[static_cast<int>(share)],
                                  nullptr, disposition, flags, nullptr));
    };
    const Failure notRegular{ErrorCode::kNotRegular, std::string(path)};
    if (mode != OpenMode::kCreateNew) {
        if (IsFolder(name)) return notRegular;
        Handle handle = open(OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL);
        if (handle && GetFileType(handle.Get()) != FILE_TYPE_DISK) return notRegular;
        if (handle) return handle;
        const bool isMissing = GetLastError() == ERROR_FILE_NOT_FOUND;
        if (mode != OpenMode::kReadWriteOrCreate || !isMissing) return FromLastError(path);
    }
    // A link that leads nowhere is taken for what it is, not for where it leads.
    Handle handle = open(CREATE_NEW, FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT);
    if (handle) return handle;
    const auto failure = FromLastError(path);
    const bool wasFree = mode == OpenMode::kCreateNew || failure.code != ErrorCode::kAlreadyExists;
    return wasFree ? failure : notRegular;
}

}  // namespace platform::windows
