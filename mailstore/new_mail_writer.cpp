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

// One run of AppendMails. The counters say how far each file has got.
class Appender {
  public:
    Appender(const AppendPlace& place, std::span<const NewMail> mails)
        : m_place(place), m_mails(mails) {}

    Appended Run() {
        Appended result;
        auto started = Start();
        if (!started) return {0, 0, started.Error()};
        WriteTexts();
        result.refused = m_mails.size() - m_room;
        WriteBlocks();
        WriteHeader();
        result.written = m_counted;
        result.failure = m_failure;
        return result;
    }

  private:
    Status Start();
    void WriteTexts();
    void WriteBlocks();
    void WriteHeader();
    bool Add(std::string& piece, const NewMail& mail);
    void KeepFailure(const Status& status) {
        if (!status && !m_failure) m_failure = status.Error();
    }
    std::uint64_t TextEnd(std::size_t mails) const {
        if (mails == 0) return m_start;
        return std::uint64_t{m_blocks[mails - 1].dwOffset} + m_blocks[mails - 1].dwLength;
    }
    std::uint64_t BlockEnd(std::size_t mails) const {
        return BlockOffset(m_header.wNumberOfMsgs + static_cast<std::uint32_t>(mails));
    }
    void CutBack(std::size_t mails);
    bool IsCounted(std::size_t mails);

    const AppendPlace& m_place;
    std::span<const NewMail> m_mails;
    TocHeader m_header;         // as it was
    std::uint64_t m_start = 0;  // of the first new text
    std::size_t m_room = 0;     // how many of the mails the mailbox takes
    std::vector<MsgBlock> m_blocks;
    std::size_t m_whole = 0;  // mails with text, then with text and block, on the disk
    std::size_t m_counted = 0;
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
    m_blocks.reserve(m_room);
    std::string piece;
    for (std::size_t i = 0; i < m_room; ++i) {
        if (!Add(piece, m_mails[i])) m_room = i;
        if (piece.size() < kPiece && i + 1 < m_room) continue;
        const Status written = m_place.mbx.Write(piece);
        KeepFailure(written);
        if (!written) break;
        m_whole = m_blocks.size();
        piece.clear();
    }
    const Status flushed = m_place.mbx.Flush();
    KeepFailure(flushed);
    if (!flushed) m_whole = 0;
}

void Appender::WriteBlocks() {
    const std::size_t texts = m_whole;
    m_whole = 0;
    // What lies behind the last counted block was left by a run that did not come to its end.
    const Status cut = m_place.toc.Truncate(BlockEnd(0));
    if (!cut) return KeepFailure(cut);
    const auto moved = m_place.toc.Seek(static_cast<std::int64_t>(BlockEnd(0)), SeekFrom::kBegin);
    if (!moved) return KeepFailure(moved.Error());
    std::string piece;
    for (std::size_t i = 0; i < texts; ++i) {
        piece += m_blocks[i].Encode();
        if (piece.size() < kPiece && i + 1 < texts) continue;
        const Status written = m_place.toc.Write(piece);
        KeepFailure(written);
        if (!written) break;
        m_whole = i + 1;
        piece.clear();
    }
    const Status flushed = m_place.toc.Flush();
    KeepFailure(flushed);
    if (!flushed) m_whole = 0;
}

void Appender::WriteHeader() {
    if (m_whole == 0) return CutBack(0);
    TocHeader header = m_header;
    header.wNumberOfMsgs = static_cast<std::uint16_t>(m_header.wNumberOfMsgs + m_whole);
    header.wHighestMsgId = static_cast<std::uint16_t>(m_place.highestMsgId & 0xFFFF);
    Status written = WriteAt(m_place.toc, 0, header.Encode());
    if (written) written = m_place.toc.Flush();
    KeepFailure(written);
    m_counted = m_whole;
    if (!written) {
        KeepFailure(WriteAt(m_place.toc, 0, m_header.Encode()));
        KeepFailure(m_place.toc.Flush());
        if (!IsCounted(m_whole)) m_counted = 0;
    }
    if (m_failure) CutBack(m_counted);
}

// Whether the header, as it reads now, counts the new mails.
bool Appender::IsCounted(std::size_t mails) {
    const auto header = ReadTocHeader(m_place.toc);
    return header && header->wNumberOfMsgs == m_header.wNumberOfMsgs + mails;
}

// A text and a block behind the counted ones do no harm: the next run writes over them.
void Appender::CutBack(std::size_t mails) {
    KeepFailure(m_place.mbx.Truncate(TextEnd(mails)));
    KeepFailure(m_place.toc.Truncate(BlockEnd(mails)));
}

}  // namespace

Appended AppendMails(const AppendPlace& place, std::span<const NewMail> mails) {
    return Appender(place, mails).Run();
}

}  // namespace mailstore
