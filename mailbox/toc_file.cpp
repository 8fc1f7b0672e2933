#include "mailbox/toc_file.h"

#include <algorithm>
#include <vector>

using platform::ErrorCode;
using platform::Failure;
using platform::File;
using platform::Result;
using platform::Status;

namespace mailbox {

namespace {

constexpr std::uint32_t kBlocksAtOnce = 1024;
constexpr std::uint16_t kHighestVersion = 0xFF;

}  // namespace

Result<TocHeader> ReadTocHeader(File& toc) {
    char bytes[kTocHeaderSize];
    const auto count = toc.ReadAt(0, bytes);
    if (!count) return count.Error();
    return TocHeader::Decode(std::string_view(bytes, *count));
}

// A version of Eudora for Windows is a small number; the Macintosh writes its own with the high
// byte first. What fits to the byte is a table whatever the version says.
Result<TocHeader> ReadTocHeaderToChange(File& toc) {
    auto header = ReadTocHeader(toc);
    if (!header) return header;
    const auto size = toc.Size();
    if (!size) return size.Error();
    const bool fits = *size == BlockOffset(header->wNumberOfMsgs);
    if (!fits && header->Version() > kHighestVersion) return Failure{ErrorCode::kCorrupt, ""};
    return header;
}

Result<Toc> ReadToc(File& toc) {
    auto header = ReadTocHeader(toc);
    if (!header) return header.Error();
    if (header->IsMacintosh()) return Failure{ErrorCode::kNotSupported, {}};
    const auto size = toc.Size();
    if (!size) return size.Error();
    const std::uint64_t blocks =
        (std::max<std::uint64_t>(*size, kTocHeaderSize) - kTocHeaderSize) / kMsgBlockSize;
    header->wNumberOfMsgs =
        static_cast<std::uint16_t>(std::min<std::uint64_t>(header->wNumberOfMsgs, blocks));
    auto mails = ReadPlaces(toc, header->wNumberOfMsgs);
    if (!mails) return mails.Error();
    return Toc{*std::move(header), *std::move(mails)};
}

Result<std::size_t> CountMails(platform::Files& files, std::string_view tocPath) {
    const auto toc = files.Open(tocPath, platform::OpenMode::kRead, platform::Share::kReadWrite);
    if (!toc && toc.Error().code == ErrorCode::kNotFound) return std::size_t{0};
    if (!toc) return toc.Error();
    const auto header = ReadTocHeader(**toc);
    if (!header) return header.Error();
    return std::size_t{header->wNumberOfMsgs};
}

Result<bool> BelongTogether(File& mbx, File& toc, std::string_view separator) {
    const auto header = ReadTocHeader(toc);
    if (!header) return header.Error();
    if (header->wNumberOfMsgs == 0) return true;
    char block[kMsgBlockSize];
    const auto count = toc.ReadAt(kTocHeaderSize, block);
    if (!count) return count.Error();
    if (*count < sizeof(MailPlace::dwOffset)) return true;
    std::string begin(separator.size(), '\0');
    const auto place = MailPlace::Decode(std::string_view(block, *count));
    const auto read = mbx.ReadAt(place.dwOffset, begin);
    if (!read) return read.Error();
    return begin == separator;
}

// Missing bytes stay zero in the cleared buffer.
Result<std::vector<MailPlace>> ReadPlaces(File& toc, std::uint32_t count) {
    std::vector<MailPlace> places;
    places.reserve(count);
    std::vector<char> buffer;
    while (places.size() < count) {
        const auto done = static_cast<std::uint32_t>(places.size());
        buffer.assign(std::min(count - done, kBlocksAtOnce) * kMsgBlockSize, '\0');
        if (const auto read = toc.ReadAt(BlockOffset(done), buffer); !read) return read.Error();
        for (std::size_t at = 0; at < buffer.size(); at += kMsgBlockSize) {
            places.push_back(MailPlace::Decode({buffer.data() + at, kMsgBlockSize}));
        }
    }
    return places;
}

Status WriteAt(File& file, std::uint64_t position, std::string_view bytes) {
    const auto moved = file.Seek(static_cast<std::int64_t>(position), platform::SeekFrom::kBegin);
    return moved ? file.Write(bytes) : Status(moved.Error());
}

}  // namespace mailbox
