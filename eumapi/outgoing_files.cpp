#include "eumapi/outgoing_files.h"

#include <new>

#include "text/path.h"

namespace eumapi {

namespace {

using platform::ErrorCode;
using platform::Failure;
using platform::Status;

bool IsTaken(const Status& status) {
    return !status && status.Error().code == ErrorCode::kAlreadyExists;
}

}  // namespace

OutgoingFiles::~OutgoingFiles() {
    if (m_isKept) return;
    try {
        for (const auto& path : m_paths) (void)m_system.files.Delete(path);
        for (const auto& folder : m_ownFolders) (void)m_system.files.RemoveFolder(folder);
    } catch (const std::bad_alloc&) {
        // As good as files that cannot be deleted.
    }
}

Code OutgoingFiles::Add(const MapiFileDesc& file) {
    const std::string source = file.lpszPathName;
    const auto info = m_system.files.Stat(source);
    if (!info || info->isFolder) return mapi::kAttachmentNotFound;
    const unsigned codePage = m_system.codePage;
    const char* wanted = file.lpszFileName == nullptr ? "" : file.lpszFileName;
    auto name = text::PlainNameIn(wanted, codePage);
    if (name.empty()) name = text::PlainNameIn(source, codePage);
    if (name.empty() || !MakeFile(name)) return mapi::kAttachmentWriteFailure;
    const auto status = platform::CopyInto(m_system.files, source, m_paths.back());
    if (status) return mapi::kSuccess;
    return status.Error().context == source ? mapi::kAttachmentOpenFailure
                                            : mapi::kAttachmentWriteFailure;
}

Status OutgoingFiles::MakeFile(const std::string& name) {
    (void)m_system.files.CreateFolder(m_attach);
    Status status = MakeFileIn(m_attach, name);
    for (std::size_t i = 0; IsTaken(status); ++i) {
        if (i == m_ownFolders.size()) status = MakeOwnFolder();
        if (i < m_ownFolders.size()) status = MakeFileIn(m_ownFolders[i], name);
    }
    return status;
}

// What is made must be remembered even if memory runs out, and what others made must not be.
Status OutgoingFiles::MakeFileIn(const std::string& folder, const std::string& name) {
    std::string path = folder + name;
    if (path.size() > text::kLongestPath) return Failure{ErrorCode::kTooLarge, path};
    m_paths.reserve(m_paths.size() + 1);
    const auto file =
        m_system.files.Open(path, platform::OpenMode::kCreateNew, platform::Share::kNone);
    if (!file) return file.Error();
    m_paths.push_back(std::move(path));
    return {};
}

// A number that no other mail's folder is likely to have.
Status OutgoingFiles::MakeOwnFolder() {
    m_ownFolders.reserve(m_ownFolders.size() + 1);
    for (auto number = std::chrono::system_clock::to_time_t(m_system.clock.Now());; ++number) {
        std::string folder = m_attach + std::to_string(number) + '\\';
        Status status = m_system.files.CreateFolder(folder);
        if (IsTaken(status)) continue;
        if (status) m_ownFolders.push_back(std::move(folder));
        return status;
    }
}

}  // namespace eumapi
