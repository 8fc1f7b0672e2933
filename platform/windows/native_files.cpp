#include <algorithm>

#include "platform/os/name_pattern.h"
#include "platform/os/system.h"
#include "platform/windows/native_parts.h"
#include "platform/windows/open_file.h"
#include "platform/windows/wide_text.h"

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

// A text from a system function that first gives the size of the buffer; empty if it fails.
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
        }
        info.modified = TimePointOf(data.ftLastWriteTime);
        return info;
    }

    bool IsReadOnly(std::string_view path) override { return windows::IsReadOnly(Name(path)); }

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
        if (IsReadOnly(path)) SetFileAttributesW(Name(path).c_str(), FILE_ATTRIBUTE_NORMAL);
        return Delete(path);
    }

    Status Copy(std::string_view fromPath, std::string_view toPath) override {
        const std::wstring from = Name(fromPath), to = Name(toPath);
        // The system does not tell which of the two files it is about.
        if (const auto source = OpenClaimed(from, fromPath, OpenMode::kRead, Share::kReadWrite);
            !source) {
            return source.Error();
        }
        if (CopyFileW(from.c_str(), to.c_str(), TRUE)) return {};
        return FromLastError(toPath);
    }

    Status Move(std::string_view fromPath, std::string_view toPath) override {
        const std::wstring from = Name(fromPath), to = Name(toPath);
        if (MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_WRITE_THROUGH)) return {};
        const auto failure = FromLastError(fromPath);
        if (failure.code != ErrorCode::kAlreadyExists) return failure;
        return FromError(static_cast<DWORD>(failure.systemError), toPath);
    }

    // The system's own ReplaceFile is no choice: it is not durable when it returns, and it can fail
    // with the old file gone.
    Status Replace(std::string_view fromPath, std::string_view toPath) override {
        const std::wstring from = Name(fromPath), to = Name(toPath);
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
        if (!SetFileAttributesW(from.c_str(), SettableAttributes(to)))
            return FromLastError(fromPath);
        if (MoveFileExW(from.c_str(), to.c_str(),
                        MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) {
            return {};
        }
        const auto failure = FromLastError(toPath);
        SetFileAttributesW(from.c_str(), attributes);
        SetSecurity(from, security);
        return failure;
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
