#include "host/mailsync/eudora_outbox.h"

#include <array>

namespace host::mailsync {

platform::Result<std::size_t> CountQueued(platform::Files& files, const std::string& outToc) {
    constexpr std::uint64_t kCountAt = 102;  // two bytes, the lower one first
    auto file = files.Open(outToc, platform::OpenMode::kRead, platform::Share::kReadWrite);
    if (!file && file.Error().code == platform::ErrorCode::kNotFound) return std::size_t{0};
    if (!file) return file.Error();
    std::array<char, 2> bytes{};
    const auto read = (*file)->ReadAt(kCountAt, bytes);
    if (!read) return read.Error();
    if (*read < bytes.size()) return std::size_t{0};
    const auto at = [&](std::size_t i) {
        return std::size_t{static_cast<unsigned char>(bytes[i])};
    };
    return at(0) | at(1) << 8;
}

}  // namespace host::mailsync
