#include "platform/windows/placement.h"

#include <vector>

#include "platform/windows/claimed_file.h"
#include "platform/windows/windows_error.h"

namespace platform::windows {

namespace {

using SecurityDescriptor = std::vector<unsigned char>;

// Who may do what with the file; empty if the file system keeps no such thing.
SecurityDescriptor SecurityOf(const std::wstring& name) {
    DWORD size = 0;
    GetFileSecurityW(name.c_str(), DACL_SECURITY_INFORMATION, nullptr, 0, &size);
    SecurityDescriptor security(size);
    if (!GetFileSecurityW(name.c_str(), DACL_SECURITY_INFORMATION, security.data(), size, &size)) {
        security.clear();
    }
    return security;
}

void SetSecurity(const std::wstring& name, SecurityDescriptor& security) {
    if (security.empty()) return;
    SetFileSecurityW(name.c_str(), DACL_SECURITY_INFORMATION, security.data());
}

// The attributes that a user sets; the system alone sets the others.
DWORD SettableAttributes(const std::wstring& name) {
    constexpr DWORD kSettable = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN |
                                FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_ARCHIVE |
                                FILE_ATTRIBUTE_NOT_CONTENT_INDEXED;
    const DWORD attributes = GetFileAttributesW(name.c_str()) & kSettable;
    return attributes != 0 ? attributes : FILE_ATTRIBUTE_NORMAL;
}

}  // namespace

Status CopyFile(const std::wstring& from, const std::wstring& to, std::string_view fromPath,
                std::string_view toPath) {
    // The system does not tell which of the two files it is about.
    if (const auto source = OpenClaimed(from, fromPath, OpenMode::kRead, Share::kReadWrite);
        !source) {
        return source.Error();
    }
    if (CopyFileW(from.c_str(), to.c_str(), TRUE)) return {};
    return FromLastError(toPath);
}

Status MoveFile(const std::wstring& from, const std::wstring& to, std::string_view fromPath,
                std::string_view toPath) {
    if (MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_WRITE_THROUGH)) return {};
    const auto failure = FromLastError(fromPath);
    if (failure.code != ErrorCode::kAlreadyExists) return failure;
    return FromError(static_cast<DWORD>(failure.systemError), toPath);
}

// The system's own ReplaceFile is no choice: it is not durable when it returns, and it can fail
// with the old file gone.
Status ReplaceFile(const std::wstring& from, const std::wstring& to, std::string_view fromPath,
                   std::string_view toPath) {
    // A read-only file, or one that somebody has open, stays as it is.
    if (auto target = OpenClaimed(to, toPath, OpenMode::kReadWrite, Share::kNone); !target) {
        return target.Error();
    }
    if (auto source = OpenClaimed(from, fromPath, OpenMode::kRead, Share::kNone); !source) {
        return source.Error();
    }
    const DWORD attributes = SettableAttributes(from);
    auto security = SecurityOf(from);
    auto wanted = SecurityOf(to);
    SetSecurity(from, wanted);
    if (!SetFileAttributesW(from.c_str(), SettableAttributes(to))) return FromLastError(fromPath);
    if (MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) {
        return {};
    }
    const auto failure = FromLastError(toPath);
    SetFileAttributesW(from.c_str(), attributes);
    SetSecurity(from, security);
    return failure;
}

}  // namespace platform::windows
