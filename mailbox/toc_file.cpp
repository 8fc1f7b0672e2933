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

constexpr std::size_t kBlocksAtOnce = 1024;
constexpr std::uint16_t kHighestVersion = 0xFF;

// The blocks of a .toc file one after the other, read many at once.
class BlockReader {
  public:
    BlockReader(File& file, std::size_t count)
        : m_file(file), m_buffer(std::min(count, kBlocksAtOnce) * kMsgBlockSize) {}

    // Valid until the next call; shorter than a block at the end of the file.
    Result<std::string_view> Next() {
        if (m_at == m_filled) {
            const auto count = m_file.Read(m_buffer);
            if (!count) return count.Error();
            m_filled = *count;
            m_at = 0;
        }
        const std::size_t size = std::min(kMsgBlockSize, m_filled - m_at);
        m_at += size;
        return std::string_view(m_buffer.data() + m_at - size, size);
    }

  private:
    File& m_file;
    std::vector<char> m_buffer;
    std::size_t m_at = 0, m_filled = 0;
};

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
    const auto count = std::min<std::uint64_t>(header->wNumberOfMsgs, blocks);
    header->wNumberOfMsgs = static_cast<std::uint16_t>(count);
    Toc table{*std::move(header), {}};
    table.mails.reserve(static_cast<std::size_t>(count));
    const Status read =
        ForEachBlock(toc, static_cast<std::uint32_t>(count), [&](const MailPlace& place) -> Status {
            table.mails.push_back(place);
            return {};
        });
    return read ? Result<Toc>(std::move(table)) : read.Error();
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

Status ForEachBlock(File& toc, std::uint32_t count, const VisitBlock& visit) {
    const auto at = toc.Seek(kTocHeaderSize, platform::SeekFrom::kBegin);
    if (!at) return at.Error();
    BlockReader blocks(toc, count);
    for (std::uint32_t i = 0; i < count; ++i) {
        const auto bytes = blocks.Next();
        if (!bytes) return bytes.Error();
        if (Status status = visit(MailPlace::Decode(*bytes)); !status) return status;
    }
    return {};
}

Status WriteAt(File& file, std::uint64_t position, std::string_view bytes) {
    const auto moved = file.Seek(static_cast<std::int64_t>(position), platform::SeekFrom::kBegin);
    return moved ? file.Write(bytes) : Status(moved.Error());
}

}  // namespace mailbox
