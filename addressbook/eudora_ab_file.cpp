#include <algorithm>
#include <new>
#include <span>
#include <string>
#include <utility>

#include "addressbook/eudora_ab.h"
#include "addressbook/nickname_writer.h"
#include "frame/trans_util.h"
#include "platform/kvutil/kvutil.h"
#include "platform/os/safe_write.h"
#include "text/path.h"

using addressbook::FileBytes;
using platform::ErrorCode;
using platform::Failure;
using platform::Result;
using platform::Status;

namespace {

constexpr const char* kCannotOpenLog =
    "Eudora File [%s] Could not opend in CREudora4::OpenEudoraFile\n";

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
        const auto size = std::min(kPiece, buffer.size() - bytes.size);
        const auto piece = buffer.subspan(bytes.size, size);
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

}  // namespace

CEudoraTransUtil& CEudoraAB::Util() const {
    return m_util != nullptr ? *m_util : TransUtil();
}

unsigned CEudoraAB::CodePage() const {
    return Util().system.codePage;
}

// Runs what uses m_File, which is closed afterwards in any case. Memory for the failure comes
// first: where it has run out, the caller must still get to what it has to clean up.
template <class Operation>
Status CEudoraAB::WithFile(std::string_view path, Operation operation) {
    auto code = ErrorCode::kIo;
    std::string context;
    try {
        context = path;
        Status status = operation();
        m_File.reset();
        return status;
    } catch (const std::bad_alloc&) {
        code = ErrorCode::kNoMemory;
    } catch (...) {
        // Whatever it is, the file was not read or written.
    }
    m_File.reset();
    if (context.empty()) context = path;
    return Failure{code, std::move(context)};
}

RRETURNCODE CEudoraAB::Open(LPCTSTR path) {
    KV_LOG(5, "Enter - CEudoraAB::Open");
    if (m_csFilePath == path) {
        // What is half there must not pass for whole the second time.
        if (m_incomplete) Util().AddError(frame::StringId::kNicknameFileUnread);
        return RRC_OK;
    }
    const auto status = WithFile(path, [&]() -> Status {
        auto bytes = OpenFile(path);
        if (!bytes) return bytes.Error();
        ReadAllRecords(path, *std::move(bytes));
        return {};
    });
    if (status) return RRC_OK;
    KV_LOG(1, kCannotOpenLog, path);
    KV_LOG(1, "%s", status.Error().Message().c_str());
    return RRC_FAILED;
}

// Opens the file and makes room for its content.
Result<FileBytes> CEudoraAB::OpenFile(LPCTSTR path) {
    auto file = Util().system.files.Open(path, platform::OpenMode::kRead, platform::Share::kRead);
    if (!file) return file.Error();
    m_File = std::move(*file);
    const auto size = m_File->Size();
    if (!size) return size.Error();
    if (*size > addressbook::kMaxFileBytes) return Failure{ErrorCode::kTooLarge, path};
    const auto count = static_cast<std::size_t>(*size);
    return FileBytes{platform::AllocateBlock(count), count};
}

// Takes over the path together with the records, when nothing can fail any more.
void CEudoraAB::ReadAllRecords(CString path, FileBytes bytes) {
    const platform::WaitCursor cursor(Util().system.dialogs);
    const auto status = ReadBytes(*m_File, bytes);
    addressbook::RecordMap records;
    records.Load(std::move(bytes));
    if (!status) {
        KV_LOG(1, "Error While Reading Records in CEudoraAB::GetRecord\n");
        KV_LOG(1, "%s", status.Error().Message().c_str());
        Util().AddError(frame::StringId::kNicknameFileUnread);
    }
    ClearRecords();
    m_mapRecords = std::move(records);
    std::swap(m_csFilePath, path);
    m_incomplete = !status;
}

RRETURNCODE CEudoraAB::SaveRecords() {
    KV_LOG(5, "Enter - CREudora4::SaveRecords\n");
    const auto status = WithFile(m_csFilePath.Str(), [&] { return WriteFile(); });
    if (status) return RRC_OK;
    KV_LOG(1, kCannotOpenLog, m_csFilePath.Str().c_str());
    KV_LOG(1, "%s", status.Error().Message().c_str());
    Util().AddFileError(status.Error());
    if (m_incomplete) Util().AddError(frame::StringId::kNicknameFileUnread);
    return RRC_FAILED;
}

Status CEudoraAB::WriteFile() {
    const auto& path = m_csFilePath.Str();
    if (path.empty()) return Failure{ErrorCode::kInvalidArgument, path};
    if (m_incomplete) return Failure{ErrorCode::kIo, path};
    // The side file's name must not look like that of a nickname file, or Eudora's folder would
    // seem to have two.
    platform::SafeWrite write(Util().system.files, path);
    auto status = write.Begin();
    if (status) {
        status = addressbook::WriteNicknames(
            m_mapRecords, [&](std::string_view bytes) { return write.Write(bytes); });
    }
    if (status) status = write.Finish();
    if (!status) return status;
    // Eudora's table must never stand beside a file that it does not fit.
    DeleteTableOfContents();
    return write.Commit();
}

// Eudora keeps places inside the nickname file there, which are wrong now; it makes a new one.
void CEudoraAB::DeleteTableOfContents() {
    const auto codePage = CodePage();
    auto parts = text::SplitPath(m_csFilePath.Str(), codePage);
    const bool isItself = parts.extension.size() == 4 && (parts.extension[1] | 0x20) == 't' &&
                          (parts.extension[2] | 0x20) == 'o' && (parts.extension[3] | 0x20) == 'c';
    if (isItself) return;
    parts.extension = ".TOC";
    const auto path = text::JoinPath(parts);
    auto& files = Util().system.files;
    if (files.Exists(path)) (void)files.Delete(path);
}
