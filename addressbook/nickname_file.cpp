#include "addressbook/nickname_file.h"

#include <algorithm>
#include <new>
#include <span>
#include <utility>

#include "platform/os/safe_write.h"
#include "text/ascii.h"
#include "text/path.h"

using platform::ErrorCode;
using platform::Failure;
using platform::Result;
using platform::Status;

namespace addressbook {

namespace {

// Memory for the failure comes first: where it has run out, the caller must still get to what it
// has to clean up.
template <class Outcome, class Operation>
Outcome Attempt(const std::string& path, Operation operation) {
    auto code = ErrorCode::kIo;
    std::string context;
    try {
        context = path;
        return operation();
    } catch (const std::bad_alloc&) {
        code = ErrorCode::kNoMemory;
    } catch (...) {
        // Whatever it is, the file was not read or written.
    }
    if (context.empty()) context = path;
    return Failure{code, std::move(context)};
}

// Reads sector by sector up to one that cannot be read.
std::size_t ReadSectors(platform::File& file, std::size_t at, std::span<char> buffer) {
    constexpr std::size_t kSector = 512;
    std::size_t filled = 0;
    while (filled < buffer.size()) {
        const auto size = std::min(kSector, buffer.size() - filled);
        const auto count = file.ReadAt(at + filled, buffer.subspan(filled, size));
        if (!count || *count == 0) break;
        filled += *count;
    }
    return filled;
}

// Reads up to the end; after a failure `bytes` ends with the last whole line before it.
Status ReadBytes(platform::File& file, FileBytes& bytes) {
    constexpr std::size_t kPiece = 1 << 18;
    const std::span<char> buffer(bytes.data.get(), std::exchange(bytes.size, 0));
    while (bytes.size < buffer.size()) {
        const auto piece = buffer.subspan(bytes.size, std::min(kPiece, buffer.size() - bytes.size));
        const auto count = file.Read(piece);
        if (!count) {
            bytes.size += ReadSectors(file, bytes.size, piece);
            bytes.size = bytes.View().rfind('\n') + 1;
            return count.Error();
        }
        if (*count == 0) break;
        bytes.size += *count;
    }
    return {};
}

// Deletes Eudora's table of offsets into the nickname file, which no longer fit; Eudora makes a new
// one.
void DeleteTableOfContents(const platform::System& system, const std::string& path) {
    auto parts = text::SplitPath(path, system.codePage);
    if (text::EqualNoCase(parts.extension, ".toc")) return;
    parts.extension = ".TOC";
    const auto table = text::JoinPath(parts);
    if (system.files.Exists(table)) (void)system.files.Delete(table);
}

}  // namespace

Result<NicknameFile> LoadNicknames(const platform::System& system, const std::string& path) {
    return Attempt<Result<NicknameFile>>(path, [&]() -> Result<NicknameFile> {
        const auto file =
            system.files.Open(path, platform::OpenMode::kRead, platform::Share::kRead);
        if (!file) return file.Error();
        const auto size = (*file)->Size();
        if (!size) return size.Error();
        if (*size > kMaxFileBytes) return Failure{ErrorCode::kTooLarge, path};
        const auto count = static_cast<std::size_t>(*size);
        FileBytes bytes{platform::AllocateBlock(count), count};
        const platform::WaitCursor cursor(system.dialogs);
        const auto status = ReadBytes(**file, bytes);
        NicknameFile read;
        if (!status) read.readError = status.Error();
        read.records.Load(std::move(bytes));
        return read;
    });
}

Status SaveNicknames(const platform::System& system, const std::string& path,
                     const RecordMap& records) {
    return Attempt<Status>(path, [&]() -> Status {
        // The side file's name must not look like that of a nickname file, or Eudora's folder would
        // seem to have two.
        platform::SafeWrite write(system.files, path);
        auto status = write.Begin();
        if (status) {
            status = records.Write([&](std::string_view bytes) { return write.Write(bytes); });
        }
        if (status) status = write.Finish();
        if (!status) return status;
        // Eudora's table must never stand beside a file that it does not fit.
        DeleteTableOfContents(system, path);
        return write.Commit();
    });
}

}  // namespace addressbook
