#include "mailbox/mailbox_index.h"

#include <algorithm>
#include <vector>

#include "mailbox/message_id_scan.h"
#include "mailbox/toc_file.h"

using platform::File;
using platform::Result;
using platform::Status;

namespace mailbox {

namespace {

// The first piece of a mail is what the mails before it have needed, and each further piece of it
// is four times as long.
constexpr std::size_t kShortestPiece = 1024;
constexpr std::size_t kFewMails = 16;  // enough to judge the first piece by
constexpr std::size_t kLongestFirstPiece = 8 * 1024;
constexpr std::size_t kLongestPiece = 128 * 1024;
// What may be read of a .mbx file: sound blocks do not overlap and need its size once.
constexpr std::uint64_t kReadsOfFile = 4;
constexpr std::uint64_t kReadsOfMail = 64 * 1024;

class MailReader {
  public:
    MailReader(File& file, std::uint64_t size, std::uint64_t mayRead)
        : m_file(file),
          m_mayRead(mayRead),
          m_buffer(static_cast<std::size_t>(std::min<std::uint64_t>(size + 1, kLongestPiece))) {}

    Result<MessageIdScan> Scan(std::uint64_t offset, std::uint64_t length) {
        MessageIdScan scan;
        ++m_mails;
        for (std::size_t piece = m_firstPiece; length > 0;
             piece = std::min(piece * 4, kLongestPiece)) {
            const auto wanted =
                static_cast<std::size_t>(std::min<std::uint64_t>({piece, length, m_buffer.size()}));
            if (wanted > m_mayRead) return MessageIdScan();
            const auto count = m_file.ReadAt(offset, std::span(m_buffer.data(), wanted));
            if (!count) return count.Error();
            m_mayRead -= *count;
            if (scan.Feed(std::string_view(m_buffer.data(), *count)) || *count < wanted) break;
            if (piece == m_firstPiece) NoteShortPiece();
            offset += wanted;
            length -= wanted;
        }
        return scan;
    }

  private:
    // Too short for more than every eighth mail: the mails of this box have longer heads.
    void NoteShortPiece() {
        if (++m_tooShort < kFewMails) return;
        if (m_mails < kFewMails * 8 && m_firstPiece < kLongestFirstPiece) m_firstPiece *= 2;
        m_mails = m_tooShort = 0;
    }

    File& m_file;
    std::uint64_t m_mayRead;
    std::size_t m_firstPiece = kShortestPiece;
    std::size_t m_mails = 0, m_tooShort = 0;  // since the first piece was last looked at
    std::vector<char> m_buffer;               // longer than the file, so that its end is seen
};

}  // namespace

Result<std::uint32_t> ReadIndex(File& mbx, File& toc, std::uint32_t count,
                                const IndexedMail& found) {
    const auto size = mbx.Size();
    if (!size) return size.Error();
    MailReader mails(mbx, *size, *size * kReadsOfFile + count * kReadsOfMail);
    std::uint32_t lastId = 0;
    const Status status = ForEachBlock(toc, count, [&](const MailPlace& place) -> Status {
        lastId = place.dwMsgId;
        const auto scan = mails.Scan(place.dwOffset, place.dwLength);
        if (!scan) return scan.Error();
        found(place.dwMsgId, scan->FoundTo() ? std::optional(scan->MessageId()) : std::nullopt);
        return {};
    });
    if (!status) return status.Error();
    return lastId;
}

}  // namespace mailbox
