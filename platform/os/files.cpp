#include "platform/os/files.h"

#include <algorithm>
#include <random>

namespace platform {

Result<std::size_t> File::ReadAt(std::uint64_t offset, std::span<char> buffer) {
    const auto at = Seek(static_cast<std::int64_t>(offset), SeekFrom::kBegin);
    if (!at) return at.Error();
    return Read(buffer);
}

Result<std::string> Files::ShortPath(std::string_view path) {
    if (auto info = Stat(path); !info) return info.Error();
    return std::string(path);
}

bool Files::IsFree(std::string_view path) {
    const auto info = Stat(path);
    return !info && info.Error().code == ErrorCode::kNotFound;
}

Result<std::string> Files::CreateTempFolder(std::string_view folder, std::string_view prefix) {
    std::random_device random;
    for (;;) {
        std::string path(folder);
        if (!path.ends_with(Separator())) path += Separator();
        path += prefix;
        for (int i = 0; i < 16; ++i) path += "0123456789abcdef"[random() % 16];
        auto status = CreatePrivateFolder(path);
        if (status) return path;
        if (status.Error().code != ErrorCode::kAlreadyExists) return status.Error();
    }
}

bool LiesIn(Files& files, std::string_view path, std::string_view folder) {
    const auto real = files.RealPath(path);
    auto root = files.RealPath(folder);
    if (!real || !root) return false;
    if (!root->ends_with('/')) *root += '/';
    return real->size() > root->size() && real->starts_with(*root);
}

namespace {

Result<std::string> ReadOpened(File& file, std::uint64_t size) {
    std::string content(static_cast<std::size_t>(size), '\0');
    std::size_t filled = 0;
    while (filled < content.size()) {
        auto count = file.Read(std::span(content).subspan(filled));
        if (!count) return count.Error();
        if (*count == 0) break;
        filled += *count;
    }
    content.resize(filled);
    return content;
}

}  // namespace

Result<std::string> ReadWhole(Files& files, std::string_view path, std::uint64_t limit,
                              Share share) {
    auto file = files.Open(path, OpenMode::kRead, share);
    if (!file) return file.Error();
    auto size = (*file)->Size();
    if (!size) return size.Error();
    if (*size > limit) return Failure{ErrorCode::kTooLarge, std::string(path)};
    return ReadOpened(**file, *size);
}

Result<std::string> ReadFront(Files& files, std::string_view path, std::uint64_t most) {
    auto file = files.Open(path, OpenMode::kRead, Share::kRead);
    if (!file) return file.Error();
    auto size = (*file)->Size();
    if (!size) return size.Error();
    return ReadOpened(**file, std::min(*size, most));
}

Status CopyInto(Files& files, std::string_view from, std::string_view to) {
    const auto source = files.Open(from, OpenMode::kRead, Share::kReadWrite);
    if (!source) return source.Error();
    const auto target = files.Open(to, OpenMode::kReadWrite, Share::kNone);
    if (!target) return target.Error();
    if (auto status = (*target)->Truncate(0); !status) return status;
    const auto size = (*source)->Size();
    if (!size) return size.Error();
    std::vector<char> buffer(1 << 16);
    for (auto left = *size; left > 0;) {
        const auto count = (*source)->Read(std::span(buffer).first(
            static_cast<std::size_t>(std::min<std::uint64_t>(left, buffer.size()))));
        if (!count) return count.Error();
        if (*count == 0) break;
        if (auto status = (*target)->Write({buffer.data(), *count}); !status) return status;
        left -= *count;
    }
    return (*target)->Close();
}

}  // namespace platform
