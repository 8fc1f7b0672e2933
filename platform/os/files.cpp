#include "platform/os/files.h"

#include <algorithm>
#include <random>

#include "platform/os/little_endian.h"
#include "text/ascii.h"

namespace platform {

namespace {

// The path of a name in a folder.
std::string Inside(const Files& files, std::string_view folder, std::string_view name) {
    std::string path(folder);
    if (!path.ends_with(files.Separator())) path += files.Separator();
    return path.append(name);
}

// The first `most` bytes, or all if there are fewer. With `isWhole`, kTooLarge if there are more.
Result<std::string> ReadUpTo(Files& files, std::string_view path, std::uint64_t most, Share share,
                             bool isWhole) {
    const auto file = files.Open(path, OpenMode::kRead, share);
    if (!file) return file.Error();
    const auto size = (*file)->Size();
    if (!size) return size.Error();
    if (isWhole && *size > most) return Failure{ErrorCode::kTooLarge, std::string(path)};
    std::string content(static_cast<std::size_t>(std::min(*size, most)), '\0');
    const auto count = (*file)->Read(content);
    if (!count) return count.Error();
    content.resize(*count);
    return content;
}

}  // namespace

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

Result<std::string> Files::CreateTempFile(std::string_view folder, std::string_view prefix) {
    constexpr unsigned kNumbers = 0x10000;
    const std::string base = Inside(*this, folder, prefix.substr(0, 3));
    const unsigned first = std::random_device()();
    for (unsigned i = 0;; ++i) {
        std::string path = base + text::Hex(LittleEndianBytes(first + i, 2)) + ".tmp";
        const auto file = Open(path, OpenMode::kCreateNew, Share::kNone);
        if (file) return path;
        if (file.Error().code != ErrorCode::kAlreadyExists || i == kNumbers) return file.Error();
    }
}

Result<std::string> Files::CreateTempFolder(std::string_view folder, std::string_view prefix) {
    std::random_device random;
    for (;;) {
        const auto number = std::uint64_t{random()} << 32 | random();
        std::string path = Inside(*this, folder, prefix);
        path += text::Lowered(text::Hex(LittleEndianBytes(number, 8)));
        const auto status = CreatePrivateFolder(path);
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

Result<std::string> ReadWhole(Files& files, std::string_view path, std::uint64_t limit,
                              Share share) {
    return ReadUpTo(files, path, limit, share, true);
}

Result<std::string> ReadFront(Files& files, std::string_view path, std::uint64_t most) {
    return ReadUpTo(files, path, most, Share::kRead, false);
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
