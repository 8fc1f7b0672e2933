#include <algorithm>

#include "platform/os/name_pattern.h"
#include "platform/os/system.h"
#include "platform/windows/claimed_file.h"
#include "platform/windows/file_time.h"
#include "platform/windows/native_parts.h"
#include "platform/windows/placement.h"
#include "platform/windows/wide_text.h"
#include "platform/windows/windows_error.h"

namespace platform::windows {

namespace {

Status Checked(BOOL success, std::string_view path) {
    if (!success) return FromLastError(path);
    return {};
}

DWORD PieceOf(std::size_t size) {
    constexpr std::size_t kLargest = std::size_t{1} << 30;
    return static_cast<DWORD>(std::min(size, kLargest));
}

class NativeFile : public File {
  public:
    explicit NativeFile(std::string_view path) : m_path(path) {}

    void Take(Handle handle) { m_handle = std::move(handle); }

    Result<std::size_t> Read(std::span<char> buffer) override {
        std::size_t filled = 0;
        while (filled < buffer.size()) {
            DWORD count = 0;
            if (!ReadFile(m_handle.Get(), buffer.data() + filled, PieceOf(buffer.size() - filled),
                          &count, nullptr)) {
                return FromLastError(m_path);
            }
            if (count == 0) break;
            filled += count;
        }
        return filled;
    }

    Status Write(std::string_view bytes) override {
        while (!bytes.empty()) {
            DWORD count = 0;
            if (!WriteFile(m_handle.Get(), bytes.data(), PieceOf(bytes.size()), &count, nullptr)) {
                return FromLastError(m_path);
            }
            if (count == 0) return FromError(ERROR_DISK_FULL, m_path);
            bytes.remove_prefix(count);
        }
        return {};
    }

    Result<std::uint64_t> Seek(std::int64_t offset, SeekFrom from) override {
        const DWORD method = from == SeekFrom::kBegin     ? FILE_BEGIN
                             : from == SeekFrom::kCurrent ? FILE_CURRENT
                                                          : FILE_END;
        LARGE_INTEGER distance, position;
        distance.QuadPart = offset;
        // The system takes a distance from the beginning as a number without sign.
        if (from == SeekFrom::kBegin && offset < 0) return FromError(ERROR_NEGATIVE_SEEK, m_path);
        if (!SetFilePointerEx(m_handle.Get(), distance, &position, method)) {
            return FromLastError(m_path);
        }
        return static_cast<std::uint64_t>(position.QuadPart);
    }

    Result<std::uint64_t> Size() override {
        LARGE_INTEGER size;
        if (!GetFileSizeEx(m_handle.Get(), &size)) return FromLastError(m_path);
        return static_cast<std::uint64_t>(size.QuadPart);
    }

    Status Truncate(std::uint64_t size) override {
        FILE_END_OF_FILE_INFO info;
        info.EndOfFile.QuadPart = static_cast<LONGLONG>(size);
        return Checked(
            SetFileInformationByHandle(m_handle.Get(), FileEndOfFileInfo, &info, sizeof info),
            m_path);
    }

    Status Flush() override { return Checked(FlushFileBuffers(m_handle.Get()), m_path); }

    Status Close() override { return Checked(CloseHandle(m_handle.Release()), m_path); }

  private:
    Handle m_handle;
    std::string m_path;
};

// Memory comes first: a file that was made must not stay behind for want of it.
Result<std::unique_ptr<File>> OpenNativeFile(const std::wstring& name, std::string_view path,
                                             OpenMode mode, Share share) {
    auto file = std::make_unique<NativeFile>(path);
    auto handle = OpenClaimed(name, path, mode, share);
    if (!handle) return handle.Error();
    file->Take(*std::move(handle));
    return std::unique_ptr<File>(std::move(file));
}

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

// What the system writes into a buffer of the size that it asks for first; empty if it fails.
template <class Ask>
std::wstring Told(const Ask& ask) {
    std::wstring text(ask(nullptr, 0), L'\0');
    const DWORD length = ask(text.data(), static_cast<DWORD>(text.size()));
    text.resize(length < text.size() ? length : 0);
    return text;
}

// The system's search alone will not do: it also answers with files whose short name matches,
// "c.txtx" for "*.txt".
bool IsMatch(std::wstring_view name, std::wstring_view pattern) {
    return MatchesPattern(name, pattern, [](wchar_t a, wchar_t b) {
        return CompareStringOrdinal(&a, 1, &b, 1, TRUE) == CSTR_EQUAL;
    });
}

// By Windows paths in a code page: CP_UTF8, or CP_ACP for the system's.
class WindowsFiles : public Files {
  public:
    explicit WindowsFiles(unsigned codePage) : m_codePage(codePage) {}

    Result<std::unique_ptr<File>> Open(std::string_view path, OpenMode mode, Share share) override {
        return OpenNativeFile(Name(path), path, mode, share);
    }

    Result<FileInfo> Stat(std::string_view path) override {
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

    Result<std::vector<FolderEntry>> List(std::string_view folder,
                                          std::string_view pattern) override {
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
            if (IsDots(data.cFileName) || !IsMatch(data.cFileName, widePattern)) continue;
            entries.push_back(
                {Narrow(data.cFileName, m_codePage), IsFolder(data.dwFileAttributes)});
        } while (FindNextFileW(search.get(), &data));
        if (GetLastError() != ERROR_NO_MORE_FILES) return FromLastError(folder);
        return entries;
    }

    Status Delete(std::string_view path) override {
        return Checked(DeleteFileW(Name(path).c_str()), path);
    }

    Status DeleteEvenReadOnly(std::string_view path) override {
        if (const auto name = Name(path); IsReadOnly(name)) {
            SetFileAttributesW(name.c_str(), FILE_ATTRIBUTE_NORMAL);
        }
        return Delete(path);
    }

    Status Copy(std::string_view from, std::string_view to) override {
        return CopyFile(Name(from), Name(to), from, to);
    }

    Status Move(std::string_view from, std::string_view to) override {
        return MoveFile(Name(from), Name(to), from, to);
    }

    Status Replace(std::string_view from, std::string_view to) override {
        return ReplaceFile(Name(from), Name(to), from, to);
    }

    Status CreateFolder(std::string_view path) override {
        return Checked(CreateDirectoryW(Name(path).c_str(), nullptr), path);
    }

    Status RemoveFolder(std::string_view path) override {
        return Checked(RemoveDirectoryW(Name(path).c_str()), path);
    }

    Result<std::string> RealPath(std::string_view path) override {
        const Handle handle(CreateFileW(Name(path).c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                        nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS,
                                        nullptr));
        if (!handle) return FromLastError(path);
        auto real = Told([&](wchar_t* buffer, DWORD size) {
            return GetFinalPathNameByHandleW(handle.Get(), buffer, size, 0);
        });
        if (real.empty()) return FromLastError(path);
        std::replace(real.begin(), real.end(), L'\\', L'/');
        return Narrow(real, CP_UTF8);
    }

    Result<std::string> ShortPath(std::string_view path) override {
        const std::wstring name = Name(path);
        const auto shorter = Told([&](wchar_t* buffer, DWORD size) {
            return GetShortPathNameW(name.c_str(), buffer, size);
        });
        if (shorter.empty()) return FromLastError(path);
        return Narrow(shorter, m_codePage);
    }

    Result<std::string> TempFolder() override {
        std::wstring folder(MAX_PATH + 1, L'\0');
        folder.resize(GetTempPathW(static_cast<DWORD>(folder.size()), folder.data()));
        if (folder.empty()) return FromLastError("temporary folder");
        return Narrow(folder, m_codePage);
    }

    Result<std::uint64_t> FreeSpace(std::string_view folder) override {
        ULARGE_INTEGER available;
        if (!GetDiskFreeSpaceExW(Name(folder).c_str(), &available, nullptr, nullptr)) {
            return FromLastError(folder);
        }
        return available.QuadPart;
    }

    Result<std::string> CreateTempFile(std::string_view folder, std::string_view prefix) override {
        std::wstring path(MAX_PATH, L'\0');
        if (GetTempFileNameW(Name(folder).c_str(), Wide(prefix, m_codePage).c_str(), 0,
                             path.data()) == 0) {
            return FromLastError(folder);
        }
        return Narrow(path.c_str(), m_codePage);
    }

    char Separator() const override { return '\\'; }

  private:
    // A name that cannot be one becomes a name that every system call refuses.
    std::wstring Name(std::string_view path) const {
        auto name = WideName(path, m_codePage);
        if (name.empty() && !path.empty()) name = L"<>";
        return name;
    }

    unsigned m_codePage;
};

}  // namespace

Files& SystemFiles() {
    static WindowsFiles files(CP_ACP);
    return files;
}

}  // namespace platform::windows

namespace platform {

Files& NativeFiles() {
    static windows::WindowsFiles files(CP_UTF8);
    return files;
}

void KeepNewFilesPrivate() {}

}  // namespace platform
