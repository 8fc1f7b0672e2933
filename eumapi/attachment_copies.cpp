#include "eumapi/attachment_copies.h"

#include "eumapi/temporary_files.h"

namespace eumapi {

AttachmentCopies::~AttachmentCopies() {
    while (!m_isHandedOver && !m_copies.empty()) DropLast();
}

void AttachmentCopies::DropLast() {
    DeleteQuietly(m_system.files, m_copies.back().path);
    m_copies.pop_back();
}

Code AttachmentCopies::AddEmpty(std::string name) {
    const auto folder = m_system.files.TempFolder();
    if (!folder) return mapi::kAttachmentWriteFailure;
    // The place first: a file without one would stay behind.
    m_copies.push_back({{}, std::move(name)});
    auto path = m_system.files.CreateTempFile(*folder, kTemporaryPrefix);
    if (!path) {
        m_copies.pop_back();
        return mapi::kAttachmentWriteFailure;
    }
    m_copies.back().path = *std::move(path);
    return mapi::kSuccess;
}

Code AttachmentCopies::Add(const std::string& source, std::string name, bool& isPresent) {
    isPresent = false;
    if (const Code code = AddEmpty(std::move(name)); code != mapi::kSuccess) return code;
    const auto status = platform::CopyInto(m_system.files, source, m_copies.back().path);
    isPresent = status.HasValue();
    if (status) return mapi::kSuccess;
    if (status.Error().context != source) return mapi::kAttachmentWriteFailure;
    DropLast();
    return mapi::kSuccess;
}

Code AttachmentCopies::WriteTo(std::size_t file, std::string_view content) {
    const auto open = m_system.files.Open(m_copies[file].path, platform::OpenMode::kReadWrite,
                                          platform::Share::kNone);
    if (!open || !(*open)->Write(content) || !(*open)->Close()) {
        return mapi::kAttachmentWriteFailure;
    }
    return mapi::kSuccess;
}

}  // namespace eumapi
