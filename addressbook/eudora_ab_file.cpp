#include <new>
#include <span>
#include <string>

#include "addressbook/eudora_ab.h"
#include "addressbook/nickname_writer.h"
#include "frame/trans_util.h"
#include "platform/kvutil/kvutil.h"
#include "platform/os/path.h"

using addressbook::FileBytes;
using platform::ErrorCode;
using platform::Failure;
using platform::Status;

namespace {

constexpr unsigned kMsgCannotOpen = 1;
constexpr unsigned kMsgReadError = 13;
constexpr const char* kCannotOpenLog =
    "Eudora File [%s] Could not opend in CREudora4::OpenEudoraFile\n";

// Reads up to the end; after a failure `bytes` ends with the last whole line before it.
Status ReadBytes(platform::File& file, FileBytes& bytes) {
    const std::span<char> buffer(bytes.data.get(), bytes.size);
    std::size_t filled = 0;
    while (filled < buffer.size()) {
        const auto count = file.Read(buffer.subspan(filled));
        if (!count) {
            bytes.size = filled;
            bytes.size = bytes.View().rfind('\n') + 1;
            return count.Error();
        }
        if (*count == 0) break;
        filled += *count;
    }
    bytes.size = filled;
    return {};
}

}  // namespace

CEudoraTransUtil& CEudoraAB::Util() const {
    return m_util != nullptr ? *m_util : TransUtil();
}

unsigned CEudoraAB::CodePage() const {
    return Util().system.processes.CodePage();
}

RRETURNCODE CEudoraAB::Open(LPCTSTR path) {
    KV_LOG(5, "Enter - CEudoraAB::Open");
    if (m_csFilePath == path) return RRC_OK;
    FileBytes bytes;
    if (const auto status = OpenFile(path, bytes); !status) {
        m_File.reset();
        KV_LOG(1, kCannotOpenLog, path);
        KV_LOG(1, "%s", status.Error().Message().c_str());
        return RRC_FAILED;
    }
    m_csFilePath = path;
    return ReadAllRecords(std::move(bytes));
}

// Opens the file and makes room for its content.
Status CEudoraAB::OpenFile(LPCTSTR path, FileBytes& bytes) {
    auto file = Util().system.files.Open(path, platform::OpenMode::kRead, platform::Share::kRead);
    if (!file) return file.Error();
    m_File = std::move(*file);
    const auto size = m_File->Size();
    if (!size) return size.Error();
    if (*size > addressbook::kMaxFileBytes) return Failure{ErrorCode::kTooLarge, path};
    bytes.size = static_cast<std::size_t>(*size);
    try {
        bytes.data = platform::AllocateBlock(bytes.size);
    } catch (const std::bad_alloc&) {
        return Failure{ErrorCode::kTooLarge, path};
    }
    return {};
}

RRETURNCODE CEudoraAB::ReadAllRecords(FileBytes bytes) {
    ClearRecords();
    const auto status = ReadBytes(*m_File, bytes);
    m_File.reset();
    m_incomplete = !status;
    if (m_incomplete) {
        KV_LOG(1, "Error While Reading Records in CEudoraAB::GetRecord\n");
        Util().AddError(kMsgReadError);
    }
    m_mapRecords.Load(std::move(bytes));
    return RRC_OK;
}

RRETURNCODE CEudoraAB::SaveRecords() {
    KV_LOG(5, "Enter - CREudora4::SaveRecords\n");
    const auto status = WriteFile();
    m_File.reset();
    if (status) {
        DeleteTableOfContents();
        return RRC_OK;
    }
    KV_LOG(1, kCannotOpenLog, m_csFilePath.Str().c_str());
    KV_LOG(1, "%s", status.Error().Message().c_str());
    Util().AddErrorText(Util().FormatString(kMsgCannotOpen, m_csFilePath));
    return RRC_FAILED;
}

Status CEudoraAB::WriteFile() {
    const auto& path = m_csFilePath.Str();
    if (path.empty()) return Failure{ErrorCode::kInvalidArgument, "no nickname file is open"};
    if (m_incomplete) return Failure{ErrorCode::kIo, path + " was not read to its end"};
    auto& files = Util().system.files;
    auto old = files.Open(path, platform::OpenMode::kReadWrite, platform::Share::kNone);
    if (!old && old.Error().code != ErrorCode::kNotFound) return old.Error();
    if (old) {
        if (auto status = (*old)->Close(); !status) return status;
    }
    // The name must not look like a nickname file, or Eudora's folder would seem to have two.
    const auto side = path + ".kvnew";
    auto status = WriteSide(side);
    if (status) status = old ? files.Replace(side, path) : files.Move(side, path);
    if (!status) (void)files.Delete(side);
    return status;
}

Status CEudoraAB::WriteSide(const std::string& path) {
    auto file = platform::CreateAfresh(Util().system.files, path);
    if (!file) return file.Error();
    m_File = std::move(*file);
    auto status = addressbook::WriteNicknames(
        m_mapRecords, [&](std::string_view bytes) { return m_File->Write(bytes); });
    if (status) status = m_File->Flush();
    if (status) status = m_File->Close();
    m_File.reset();
    return status;
}

// Eudora keeps places inside the nickname file there, which are wrong now; it makes a new one.
void CEudoraAB::DeleteTableOfContents() {
    const auto codePage = CodePage();
    auto parts = platform::SplitPath(m_csFilePath.Str(), codePage);
    const bool isItself = parts.extension.size() == 4 && (parts.extension[1] | 0x20) == 't' &&
                          (parts.extension[2] | 0x20) == 'o' && (parts.extension[3] | 0x20) == 'c';
    if (isItself) return;
    parts.extension = ".TOC";
    const auto path = platform::JoinPath(parts);
    auto& files = Util().system.files;
    if (files.Exists(path)) (void)files.Delete(path);
}
