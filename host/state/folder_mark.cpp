#include "host/state/folder_mark.h"

namespace host::state {

namespace {

using platform::ErrorCode;
using platform::OpenMode;
using platform::Share;

constexpr std::size_t kIdLength = 36;
constexpr std::string_view kRemark =
    "\n# By the line above kvsync knows this folder again. Leave this file where it is.\n";

base::Failure Busy(const std::string& path) {
    return base::RefusedFor(path, "another run is under way", "wait until it has ended");
}

std::string MarkOf(const platform::Files& files, const std::string& folder) {
    return folder + files.Separator() + kMarkName;
}

std::string IdIn(std::string_view text) {
    const std::string_view id = text.substr(0, text.find_first_of("\r\n"));
    const bool isId = id.size() == kIdLength && text.size() > id.size() &&
                      id.find_first_not_of("0123456789abcdef-") == id.npos;
    return std::string(isId ? id : std::string_view());
}

}  // namespace

base::Result<Lock> Lock::Take(platform::Files& files, const std::string& path, bool mayWrite) {
    auto file = mayWrite ? files.Open(path, OpenMode::kReadWriteOrCreate, Share::kNone)
                         : files.Open(path, OpenMode::kRead, Share::kRead);
    if (file) return Lock(*std::move(file));
    if (!mayWrite && file.Error().code == ErrorCode::kNotFound) return Lock(nullptr);
    if (file.Error().code == ErrorCode::kSharingViolation) return Busy(path);
    return file.Error();
}

base::Result<FolderMark> FolderMark::Take(platform::Files& files, const std::string& folder,
                                          bool mayWrite) {
    FolderMark mark(files, MarkOf(files, folder));
    auto file = mayWrite ? files.Open(mark.m_path, OpenMode::kReadWrite, Share::kNone)
                         : files.Open(mark.m_path, OpenMode::kRead, Share::kRead);
    if (!file && mayWrite && file.Error().code == ErrorCode::kAccessDenied) {
        file = files.Open(mark.m_path, OpenMode::kRead, Share::kRead);
    }
    if (!file && file.Error().code == ErrorCode::kNotFound) return mark;
    if (!file && file.Error().code == ErrorCode::kSharingViolation) return Busy(mark.m_path);
    if (!file) return file.Error();
    std::string text(kIdLength + 1, '\0');
    const auto count = (*file)->Read(text);
    if (!count) return count.Error();
    mark.m_id = IdIn(text.substr(0, *count));
    mark.m_file = *std::move(file);
    return mark;
}

std::string FolderMark::Of(platform::Files& files, const std::string& folder) {
    return IdIn(platform::ReadFront(files, MarkOf(files, folder), kIdLength + 1).ValueOr(""));
}

base::Status FolderMark::Set(const std::string& id) {
    if (m_file == nullptr) {
        auto made = m_files.Open(m_path, OpenMode::kCreateNew, Share::kNone);
        if (!made && made.Error().code == ErrorCode::kAlreadyExists) return Busy(m_path);
        if (!made) return made.Error();
        m_file = *std::move(made);
    }
    // What is cut off in between is no mark.
    platform::Status written = m_file->Truncate(0);
    if (written) {
        const auto moved = m_file->Seek(0, platform::SeekFrom::kBegin);
        if (!moved) written = moved.Error();
    }
    if (written) written = m_file->Write(id + std::string(kRemark));
    if (written) written = m_file->Flush();
    if (!written) return written;
    m_id = id;
    return {};
}

}  // namespace host::state
