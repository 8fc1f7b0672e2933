#include "mailstore/new_mail_writer.h"

#include <algorithm>
#include <limits>
#include <vector>

#include "mailstore/format/mailbox_index.h"

namespace mailstore {

namespace {

using platform::Failure;
using platform::SeekFrom;
using platform::Status;

constexpr std::size_t kPiece = 1 << 20;  // bytes written with one call, about

Status WriteAt(platform::File& file, std::uint64_t position, std::string_view bytes) {
    const auto moved = file.Seek(static_cast<std::int64_t>(position), SeekFrom::kBegin);
    return moved ? file.Write(bytes) : Status(moved.Error());
}

// How many of the bytes stand in the file, from `position` on, after a write of them that failed.
std::size_t Arrived(platform::File& file, std::uint64_t position, std::string_view bytes) {
    std::string found(bytes.size(), '\0');
    const auto count = file.ReadAt(position, found);
    if (!count) return 0;
    const auto wanted = bytes.substr(0, *count);
    const auto end = std::mismatch(wanted.begin(), wanted.end(), found.begin()).first;
    return static_cast<std::size_t>(end - wanted.begin());
}

// One run of AppendMails. The counters say how far each file has got.
class Appender {
  public:
    Appender(const AppendPlace& place, std::span<const NewMail> mails)
        : m_place(place), m_mails(mails) {}

    Appended Run() {
        if (const Status started = Start(); !started) return {0, 0, started.Error()};
        WriteTexts();
        const std::size_t refused = m_mails.size() - m_room;
        WriteBlocks();
        WriteHeader();
        return {m_counted, refused, m_failure};
    }

  private:
    Status Start();
    bool Add(std::string& piece, const NewMail& mail);
    void WriteTexts();
    bool WriteTextPiece(std::string_view piece);
    void WriteBlocks();
    bool WriteBlockPiece(std::string_view piece);
    void WriteHeader();
    void RestoreHeader(std::uint16_t newCount);
    void CutBack(std::size_t mails);

    bool IsDone(const Status& status) {
        if (!status && !m_failure) m_failure = status.Error();
        return static_cast<bool>(status);
    }
    std::uint64_t TextEnd(std::size_t mails) const {
        if (mails == 0) return m_start;
        return std::uint64_t{m_blocks[mails - 1].dwOffset} + m_blocks[mails - 1].dwLength;
    }
    std::uint64_t BlockEnd(std::size_t mails) const {
        return BlockOffset(m_header.wNumberOfMsgs + static_cast<std::uint32_t>(mails));
    }

    const AppendPlace& m_place;
    std::span<const NewMail> m_mails;
    TocHeader m_header;         // as it was
    std::uint64_t m_start = 0;  // of the first new text
    std::size_t m_room = 0;     // how many of the mails the mailbox takes
    std::vector<MsgBlock> m_blocks;
    std::size_t m_texts = 0;    // mails whose text is in its file
    std::size_t m_whole = 0;    // of these, mails whose block is in its file
    std::size_t m_counted = 0;  // of these, mails that the header counts
    std::optional<Failure> m_failure;
};

Status Appender::Start() {
    auto header = ReadTocHeader(m_place.toc);
    if (!header) return header.Error();
    m_header = *std::move(header);
    const auto size = m_place.mbx.Seek(0, SeekFrom::kEnd);
    if (!size) return size.Error();
    m_start = *size;
    m_room = std::min<std::size_t>(m_mails.size(), kMostMsgs - m_header.wNumberOfMsgs);
    m_blocks.reserve(m_room);
    return {};
}

// False if the mail would reach beyond what a block can tell.
bool Appender::Add(std::string& piece, const NewMail& mail) {
    const MapiMessage& record = *mail.record;
    const MailDate date =
        ConvertMailDate(record.lpszDateReceived, m_place.clock, m_place.isJapanese);
    const std::size_t before = piece.size();
    AppendMailText(piece, record, mail.messageId, date, m_place.labels);
    const std::uint64_t offset = TextEnd(m_blocks.size()), length = piece.size() - before;
    if (offset + length > std::numeric_limits<std::uint32_t>::max()) {
        piece.resize(before);
        return false;
    }
    MsgBlock block = MakeMsgBlock(record, date, m_place.codePage);
    block.dwOffset = static_cast<std::uint32_t>(offset);
    block.dwLength = static_cast<std::uint32_t>(length);
    m_blocks.push_back(std::move(block));
    return true;
}

void Appender::WriteTexts() {
    std::string piece;
    for (std::size_t i = 0; i < m_room; ++i) {
        if (!Add(piece, m_mails[i])) m_room = i;
        if (piece.size() < kPiece && i + 1 < m_room) continue;
        if (!WriteTextPiece(piece)) break;
        piece.clear();
    }
    if (m_texts > 0 && !IsDone(m_place.mbx.Flush())) m_texts = 0;
}

// The file is cut back at once, for the blocks need the room of a text that is not whole.
bool Appender::WriteTextPiece(std::string_view piece) {
    const std::uint64_t at = TextEnd(m_texts);
    if (IsDone(m_place.mbx.Write(piece))) {
        m_texts = m_blocks.size();
        return true;
    }
    const std::uint64_t end = at + Arrived(m_place.mbx, at, piece);
    while (m_texts < m_blocks.size() && TextEnd(m_texts + 1) <= end) ++m_texts;
    IsDone(m_place.mbx.Truncate(TextEnd(m_texts)));
    return false;
}

void Appender::WriteBlocks() {
    if (m_texts == 0) return;
    // What lies behind the last counted block was left by a run that did not come to its end.
    if (!IsDone(m_place.toc.Truncate(BlockEnd(0)))) return;
    const auto moved = m_place.toc.Seek(static_cast<std::int64_t>(BlockEnd(0)), SeekFrom::kBegin);
    if (!IsDone(moved ? Status() : Status(moved.Error()))) return;
    std::string piece;
    for (std::size_t i = 0; i < m_texts; ++i) {
        piece += m_blocks[i].Encode();
        if (piece.size() < kPiece && i + 1 < m_texts) continue;
        if (!WriteBlockPiece(piece)) break;
        piece.clear();
    }
    if (m_whole > 0 && !IsDone(m_place.toc.Flush())) m_whole = 0;
}

bool Appender::WriteBlockPiece(std::string_view piece) {
    const bool isWritten = IsDone(m_place.toc.Write(piece));
    m_whole +=
        (isWritten ? piece.size() : Arrived(m_place.toc, BlockEnd(m_whole), piece)) / kMsgBlockSize;
    return isWritten;
}

void Appender::WriteHeader() {
    if (m_whole == 0) return CutBack(0);
    TocHeader header = m_header;
    header.wNumberOfMsgs = static_cast<std::uint16_t>(m_header.wNumberOfMsgs + m_whole);
    header.wHighestMsgId = static_cast<std::uint16_t>(m_place.highestMsgId & 0xFFFF);
    Status written = WriteAt(m_place.toc, 0, header.Encode());
    if (written) written = m_place.toc.Flush();
    if (!IsDone(written)) return RestoreHeader(header.wNumberOfMsgs);
    m_counted = m_whole;
    if (m_failure) CutBack(m_counted);
}

// What the header counts now decides what the mails behind it are.
void Appender::RestoreHeader(std::uint16_t newCount) {
    if (IsDone(WriteAt(m_place.toc, 0, m_header.Encode()))) IsDone(m_place.toc.Flush());
    const auto header = ReadTocHeader(m_place.toc);
    if (!header) return;
    if (header->wNumberOfMsgs == newCount) m_counted = m_whole;
    if (m_counted > 0 || header->wNumberOfMsgs == m_header.wNumberOfMsgs) CutBack(m_counted);
}

// Only after a failure. A text and a block behind the counted ones do no harm: the next run writes
// blocks over blocks, and no block leads to the text.
void Appender::CutBack(std::size_t mails) {
    if (!m_failure) return;
    IsDone(m_place.mbx.Truncate(TextEnd(mails)));
    IsDone(m_place.toc.Truncate(BlockEnd(mails)));
}

}  // namespace

Appended AppendMails(const AppendPlace& place, std::span<const NewMail> mails) {
    return Appender(place, mails).Run();
}

}  // namespace mailstore
