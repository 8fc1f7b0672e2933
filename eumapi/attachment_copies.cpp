#include "eumapi/attachment_copies.h"

#include <algorithm>

#include "platform/os/path.h"

namespace eumapi {

namespace {

bool IsOnDrive(std::string_view path) {
    if (path.size() < 4 || path[1] != ':' || (path[2] != '\\' && path[2] != '/')) return false;
    const char drive = path[0];
    return (drive >= 'A' && drive <= 'Z') || (drive >= 'a' && drive <= 'z');
}

bool IsFile(platform::Files& files, std::string_view path) {
    const auto info = files.Stat(path);
    return info && !info->isFolder;
}

}  // namespace

std::string PlainFileName(std::string_view path, unsigned codePage) {
    const auto separator = platform::LastSeparator(path, codePage);
    const auto name = separator == path.npos ? path : path.substr(separator + 1);
    const bool isUsable = std::none_of(name.begin(), name.end(), [](char letter) {
        return static_cast<unsigned char>(letter) < ' ' ||
               std::string_view("<>:\"/|?*").find(letter) != std::string_view::npos;
    });
    const bool isDots = name.find_first_not_of(". ") == name.npos;
    return isUsable && !isDots ? std::string(name) : std::string();
}

AttachmentCopies::~AttachmentCopies() {
    if (m_isHandedOver) return;
    for (const auto& copy : m_copies) (void)m_system.files.Delete(copy.path);
}

std::string AttachmentCopies::FindSource(std::string_view linePath) const {
    const auto name = PlainFileName(linePath, m_system.processes.CodePage());
    if (name.empty() || !IsOnDrive(linePath)) return {};
    if (IsFile(m_system.files, linePath)) return std::string(linePath);
    const auto moved = m_folder + "Attach\\" + name;
    return IsFile(m_system.files, moved) ? moved : std::string();
}

platform::Result<std::string> AttachmentCopies::MakeFile(std::string name) {
    const auto folder = m_system.files.TempFolder();
    if (!folder) return folder.Error();
    auto path = m_system.files.CreateTempFile(*folder, "eua");
    if (path) m_copies.push_back({*path, std::move(name)});
    return path;
}

Code AttachmentCopies::Add(std::string_view linePath, bool& isPresent) {
    isPresent = false;
    const auto source = FindSource(linePath);
    if (source.empty()) return mapi::kSuccess;
    const auto copy = MakeFile(PlainFileName(linePath, m_system.processes.CodePage()));
    if (!copy) return mapi::kAttachmentWriteFailure;
    const auto status = platform::CopyInto(m_system.files, source, *copy);
    isPresent = status.HasValue();
    if (status) return mapi::kSuccess;
    // A file that cannot be read is as good as none; all else is worth an error.
    const bool isUnreadable = status.Error().context == source &&
                              status.Error().code != platform::ErrorCode::kIo &&
                              status.Error().code != platform::ErrorCode::kNoSpace;
    if (!isUnreadable) return mapi::kAttachmentWriteFailure;
    (void)m_system.files.Delete(*copy);
    m_copies.pop_back();
    return mapi::kSuccess;
}

Code AttachmentCopies::AddEmpty(std::string name) {
    return MakeFile(std::move(name)) ? mapi::kSuccess : mapi::kAttachmentWriteFailure;
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
