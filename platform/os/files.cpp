#include "platform/os/files.h"

namespace platform {

Result<std::size_t> File::ReadAt(std::uint64_t offset, std::span<char> buffer) {
    const auto at = Seek(static_cast<std::int64_t>(offset), SeekFrom::kBegin);
    if (!at) return at.Error();
    return Read(buffer);
}

Result<std::string> ReadWhole(Files& files, std::string_view path, std::uint64_t limit,
                              Share share) {
    auto file = files.Open(path, OpenMode::kRead, share);
    if (!file) return file.Error();
    auto size = (*file)->Size();
    if (!size) return size.Error();
    if (*size > limit) return Failure{ErrorCode::kTooLarge, std::string(path)};
    std::string content(static_cast<std::size_t>(*size), '\0');
    std::size_t filled = 0;
    while (filled < content.size()) {
        auto count = (*file)->Read(std::span(content).subspan(filled));
        if (!count) return count.Error();
        if (*count == 0) break;
        filled += *count;
    }
    content.resize(filled);
    return content;
}

namespace {

Status WriteFlushed(Files& files, std::string_view path, std::string_view content) {
    auto file = files.Open(path, OpenMode::kCreate, Share::kNone);
    if (!file) return file.Error();
    if (auto status = (*file)->Write(content); !status) return status;
    if (auto status = (*file)->Flush(); !status) return status;
    return (*file)->Close();
}

}  // namespace

Status WriteWhole(Files& files, std::string_view path, std::string_view content) {
    const std::string side = std::string(path) + ".kvnew";
    Status status = WriteFlushed(files, side, content);
    if (status) {
        status = files.Exists(path) ? files.Replace(side, path) : files.Move(side, path);
    }
    if (!status) (void)files.Delete(side);
    return status;
}

}  // namespace platform
