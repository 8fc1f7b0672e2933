#include "mailstore/format/mailbox_index.h"

#include <algorithm>
#include <vector>

#include "mailstore/format/message_id_scan.h"

using platform::File;
using platform::Result;

namespace mailstore {

namespace {

constexpr std::size_t kBlocksAtOnce = 1024;
// Most mails have their "To: " in the first piece; each further piece is four times as long.
constexpr std::size_t kFirstPiece = 2048;
constexpr std::size_t kLargestPiece = 128 * 1024;
// What may be read of a .mbx file: sound blocks do not overlap and need its size once.
constexpr std::uint64_t kReadsOfFile = 4;
constexpr std::uint64_t kReadsOfMail = 64 * 1024;

// The blocks of a .toc file one after the other, read many at once.
class BlockReader {
  public:
    explicit BlockReader(File& file) : m_file(file), m_buffer(kBlocksAtOnce * kMsgBlockSize) {}

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

class MailReader {
  public:
    MailReader(File& file, std::uint64_t mayRead)
        : m_file(file), m_mayRead(mayRead), m_buffer(kLargestPiece) {}

    Result<MessageIdScan> Scan(std::uint64_t offset, std::uint64_t length) {
        MessageIdScan scan;
        std::size_t piece = kFirstPiece;
        while (length > 0) {
            const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(piece, length));
            if (wanted > m_mayRead) return MessageIdScan();
            const auto count = m_file.ReadAt(offset, std::span(m_buffer.data(), wanted));
            if (!count) return count.Error();
            m_mayRead -= *count;
            if (scan.Feed(std::string_view(m_buffer.data(), *count)) || *count < wanted) break;
            offset += wanted;
            length -= wanted;
            piece = std::min(piece * 4, kLargestPiece);
        }
        return scan;
    }

  private:
    File& m_file;
    std::uint64_t m_mayRead;
    std::vector<char> m_buffer;
};

}  // namespace

Result<TocHeader> ReadTocHeader(File& toc) {
    char bytes[kTocHeaderSize];
    const auto count = toc.ReadAt(0, bytes);
    if (!count) return count.Error();
    if (const auto at = toc.Seek(kTocHeaderSize, platform::SeekFrom::kBegin); !at) {
        return at.Error();
    }
    return TocHeader::Decode(std::string_view(bytes, *count));
}

Result<std::uint32_t> ReadIndex(File& mbx, File& toc, std::uint32_t count,
                                const IndexedMail& found) {
    const auto size = mbx.Size();
    if (!size) return size.Error();
    BlockReader blocks(toc);
    MailReader mails(mbx, *size * kReadsOfFile + count * kReadsOfMail);
    std::uint32_t lastId = 0;
    for (std::uint32_t i = 0; i < count; ++i) {
        const auto bytes = blocks.Next();
        if (!bytes) return bytes.Error();
        const auto place = MailPlace::Decode(*bytes);
        lastId = place.dwMsgId;
        const auto scan = mails.Scan(place.dwOffset, place.dwLength);
        if (!scan) return scan.Error();
        if (scan->FoundTo()) found(place.dwMsgId, scan->MessageId());
    }
    return lastId;
}

}  // namespace mailstore
