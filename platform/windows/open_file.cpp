#include "platform/windows/open_file.h"

#include <algorithm>

namespace platform::windows {

namespace {

// In the order of Share.
constexpr DWORD kShareFlags[] = {0, FILE_SHARE_READ, FILE_SHARE_READ | FILE_SHARE_WRITE};

// 0 if there is nothing of that name.
DWORD AttributesOf(const std::wstring& name) {
    const DWORD attributes = GetFileAttributesW(name.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES ? attributes : 0;
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

// Memory comes first: a file that was made must not stay behind for want of it.
Result<std::unique_ptr<File>> OpenNativeFile(const std::wstring& name, std::string_view path,
                                             OpenMode mode, Share share) {
    auto file = std::make_unique<NativeFile>(path);
    auto handle = OpenClaimed(name, path, mode, share);
    if (!handle) return handle.Error();
    file->Take(*std::move(handle));
    return std::unique_ptr<File>(std::move(file));
}

}  // namespace platform::windows
