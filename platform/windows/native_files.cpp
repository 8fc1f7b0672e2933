#include "platform/windows/native_files.h"

#include <algorithm>

#include "platform/windows/file_time.h"
#include "platform/windows/name_pattern.h"
#include "platform/windows/native_file.h"
#include "platform/windows/placement.h"
#include "platform/windows/wide_text.h"
#include "platform/windows/windows_error.h"

namespace platform::windows {

namespace {

struct SearchCloser {
    using pointer = HANDLE;
    void operator()(HANDLE search) const { FindClose(search); }
};
using Search = std::unique_ptr<HANDLE, SearchCloser>;

bool IsFolder(DWORD attributes) {
    return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool IsDots(std::wstring_view name) {
    return name == L"." || name == L"..";
}

Status Checked(BOOL success, std::string_view path) {
    if (!success) return FromLastError(path);
    return {};
}

}  // namespace

// A name that cannot be one becomes a name that every system call refuses.
std::wstring WindowsFiles::Name(std::string_view path) const {
    auto name = WideName(path, m_codePage);
    if (name.empty() && !path.empty()) name = L"<>";
    return name;
}

Result<std::unique_ptr<File>> WindowsFiles::Open(std::string_view path, OpenMode mode,
                                                 Share share) {
    return OpenNativeFile(Name(path), path, mode, share);
}

Result<FileInfo> WindowsFiles::Stat(std::string_view path) {
    WIN32_FILE_ATTRIBUTE_DATA data;
    if (!GetFileAttributesExW(Name(path).c_str(), GetFileExInfoStandard, &data)) {
        auto failure = FromLastError(path);
        if (failure.code == ErrorCode::kInvalidArgument) failure.code = ErrorCode::kNotFound;
        return failure;
    }
    FileInfo info;
    info.isFolder = IsFolder(data.dwFileAttributes);
    if (!info.isFolder) {
        info.size = std::uint64_t{data.nFileSizeHigh} << 32 | data.nFileSizeLow;
        info.copySize = info.size;  // the system's copies have no holes
        info.isReadOnly = (data.dwFileAttributes & FILE_ATTRIBUTE_READONLY) != 0;
    }
    info.modified = TimePointOf(data.ftLastWriteTime);
    return info;
}

Result<std::vector<FolderEntry>> WindowsFiles::List(std::string_view folder,
                                                    std::string_view pattern) {
    std::wstring query = Name(folder);
    if (!query.empty() && query.back() != L'\\' && query.back() != L'/') query += L'\\';
    const std::wstring widePattern = Name(pattern);
    query += widePattern;
    std::vector<FolderEntry> entries;
    WIN32_FIND_DATAW data;
    const HANDLE first = FindFirstFileW(query.c_str(), &data);
    if (first == INVALID_HANDLE_VALUE) {
        if (GetLastError() == ERROR_FILE_NOT_FOUND) return entries;
        return FromLastError(folder);
    }
    const Search search(first);
    do {
        if (IsDots(data.cFileName) || !MatchesPattern(data.cFileName, widePattern)) continue;
        entries.push_back({Narrow(data.cFileName, m_codePage), IsFolder(data.dwFileAttributes)});
    } while (FindNextFileW(search.get(), &data));
    if (GetLastError() != ERROR_NO_MORE_FILES) return FromLastError(folder);
    return entries;
}

Status WindowsFiles::Delete(std::string_view path) {
    return Checked(DeleteFileW(Name(path).c_str()), path);
}

Status WindowsFiles::DeleteEvenReadOnly(std::string_view path) {
    if (const auto name = Name(path); IsReadOnly(name)) {
        SetFileAttributesW(name.c_str(), FILE_ATTRIBUTE_NORMAL);
    }
    return Delete(path);
}

Status WindowsFiles::Copy(std::string_view from, std::string_view to) {
    return CopyFile(Name(from), Name(to), from, to);
}

Status WindowsFiles::Move(std::string_view from, std::string_view to) {
    return MoveFile(Name(from), Name(to), from, to);
}

Status WindowsFiles::Replace(std::string_view from, std::string_view to) {
    return ReplaceFile(Name(from), Name(to), from, to);
}

Status WindowsFiles::CreateFolder(std::string_view path) {
    return Checked(CreateDirectoryW(Name(path).c_str(), nullptr), path);
}

Status WindowsFiles::RemoveFolder(std::string_view path) {
    return Checked(RemoveDirectoryW(Name(path).c_str()), path);
}

Result<std::string> WindowsFiles::RealPath(std::string_view path) {
    const Handle handle(CreateFileW(Name(path).c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                    nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    if (!handle) return FromLastError(path);
    std::wstring real(GetFinalPathNameByHandleW(handle.Get(), nullptr, 0, 0), L'\0');
    const DWORD length =
        GetFinalPathNameByHandleW(handle.Get(), real.data(), static_cast<DWORD>(real.size()), 0);
    if (length == 0 || length >= real.size()) return FromLastError(path);
    real.resize(length);
    std::replace(real.begin(), real.end(), L'\\', L'/');
    return Narrow(real, CP_UTF8);
}

Result<std::string> WindowsFiles::ShortPath(std::string_view path) {
    const std::wstring name = Name(path);
    std::wstring result(GetShortPathNameW(name.c_str(), nullptr, 0), L'\0');
    if (result.empty()) return FromLastError(path);
    const DWORD length =
        GetShortPathNameW(name.c_str(), result.data(), static_cast<DWORD>(result.size()));
    if (length == 0 || length >= result.size()) return FromLastError(path);
    result.resize(length);
    return Narrow(result, m_codePage);
}

Result<std::string> WindowsFiles::TempFolder() {
    std::wstring folder(MAX_PATH + 1, L'\0');
    folder.resize(GetTempPathW(static_cast<DWORD>(folder.size()), folder.data()));
    if (folder.empty()) return FromLastError("temporary folder");
    return Narrow(folder, m_codePage);
}

Result<std::uint64_t> WindowsFiles::FreeSpace(std::string_view folder) {
    ULARGE_INTEGER available;
    if (!GetDiskFreeSpaceExW(Name(folder).c_str(), &available, nullptr, nullptr)) {
        return FromLastError(folder);
    }
    return available.QuadPart;
}

Result<std::string> WindowsFiles::CreateTempFile(std::string_view folder, std::string_view prefix) {
    std::wstring path(MAX_PATH, L'\0');
    if (GetTempFileNameW(Name(folder).c_str(), Wide(prefix, m_codePage).c_str(), 0, path.data()) ==
        0) {
        return FromLastError(folder);
    }
    return Narrow(path.c_str(), m_codePage);
}

}  // namespace platform::windows
