#include "mailbox/mailbox_index.h"

#include <algorithm>
#include <vector>

#include "mailbox/toc_file.h"

using platform::File;
using platform::Result;

namespace mailbox {

namespace {

constexpr std::string_view kTo = "To: ";
constexpr std::size_t kHeld = std::string_view("Message-ID: <").size() - 1;

// The first piece of a mail is what the mails before it have needed, and each further piece of it
// is four times as long.
constexpr std::size_t kShortestPiece = 1024;
constexpr std::size_t kFewMails = 16;  // enough to judge the first piece by
constexpr std::size_t kLongestFirstPiece = 8 * 1024;
constexpr std::size_t kLongestPiece = 128 * 1024;
// How often the .mbx file may be read over: sound blocks do not overlap and need its size once.
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

void MessageIdScan::Line::Append(std::string_view bytes) {
    if (text.empty()) bytes.remove_prefix(std::min(bytes.find_first_not_of('>'), bytes.size()));
    const auto end = bytes.find('>');
    text += bytes.substr(0, end);
    ended = end != std::string_view::npos;
}

// The first `heldBefore` bytes of the window were in the last one too; the bytes from `safe` on may
// belong to a "To: ", which would end the text.
void MessageIdScan::Line::Scan(std::string_view window, std::size_t heldBefore, std::size_t safe) {
    std::size_t from = heldBefore - pending;
    if (!seen) {
        const auto at = window.find(marker);
        if (at == std::string_view::npos) return;
        seen = true;
        from = at + marker.size();
    }
    if (!ended && from < safe) Append(window.substr(from, safe - from));
    pending = window.size() - std::max(from, safe);
}

bool MessageIdScan::ScanWindow(std::string_view window) {
    const std::size_t heldBefore = m_held.size();
    const auto to = window.find(kTo);
    const auto zero = window.substr(0, to).find('\0');
    m_foundTo = to != std::string_view::npos && zero == std::string_view::npos;
    const bool isLast = m_foundTo || zero != std::string_view::npos;
    if (isLast) window = window.substr(0, std::min(to, zero));
    const std::size_t safe =
        isLast ? window.size() : window.size() - std::min(window.size(), kTo.size() - 1);
    // Nothing can take the place of a first spelling that was seen.
    m_upper.Scan(window, heldBefore, safe);
    if (!m_upper.seen) m_lower.Scan(window, heldBefore, safe);
    return isLast;
}

bool MessageIdScan::Feed(std::string_view bytes) {
    std::string joined;
    if (!m_held.empty()) bytes = joined = m_held + std::string(bytes);
    if (ScanWindow(bytes)) return true;
    m_held = bytes.substr(bytes.size() - std::min(bytes.size(), kHeld));
    return false;
}

std::string_view MessageIdScan::MessageId() const {
    return m_upper.seen ? m_upper.text : m_lower.text;
}

Result<std::uint32_t> ReadIndex(File& mbx, File& toc, std::uint32_t count,
                                const IndexedMail& found) {
    const auto size = mbx.Size();
    if (!size) return size.Error();
    const auto places = ReadPlaces(toc, count);
    if (!places) return places.Error();
    MailReader mails(mbx, *size, *size * kReadsOfFile + count * kReadsOfMail);
    for (const MailPlace& place : *places) {
        const auto scan = mails.Scan(place.dwOffset, place.dwLength);
        if (!scan) return scan.Error();
        found(place.dwMsgId, scan->FoundTo() ? std::optional(scan->MessageId()) : std::nullopt);
    }
    return places->empty() ? 0 : places->back().dwMsgId;
}

}  // namespace mailbox
