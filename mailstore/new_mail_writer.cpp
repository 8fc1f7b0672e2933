#include "mailstore/new_mail_writer.h"

#include <algorithm>
#include <limits>
#include <new>
#include <unordered_set>
#include <utility>
#include <vector>

#include "mailbox/toc_file.h"

namespace mailstore {

namespace {

using platform::ErrorCode;
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

// The least number from `from` on that begins with these bytes, little-endian; what may follow them
// is not known.
std::uint64_t LeastFrom(std::uint64_t from, std::string_view lowBytes) {
    std::uint64_t low = 0;
    for (std::size_t i = lowBytes.size(); i-- > 0;) {
        low = low << 8 | static_cast<unsigned char>(lowBytes[i]);
    }
    return from + ((low - from) & ((std::uint64_t{1} << 8 * lowBytes.size()) - 1));
}

// Whether a block, perhaps cut short, can be that of a mail that lies between these places.
bool CanLieBetween(std::uint64_t begin, std::uint64_t end, std::string_view block) {
    constexpr std::uint64_t kMost = std::numeric_limits<std::uint32_t>::max();
    constexpr std::size_t kSize = sizeof(mailbox::MailPlace::dwOffset);
    const std::uint64_t offset = LeastFrom(begin, block.substr(0, kSize));
    const std::uint64_t length =
        LeastFrom(1, block.substr(std::min(block.size(), kSize)).substr(0, kSize));
    return offset <= kMost && length <= kMost && offset + length <= end;
}

std::uint32_t IdOf(const MapiMessage& record) {
    return mailbox::MsgIdOf(record.lpszConversationID != nullptr ? record.lpszConversationID : "");
}

// One run of AppendMails. The counters say how far each file has got.
class Appender {
  public:
    Appender(const AppendPlace& place, std::span<const NewMail> mails, std::size_t uncertain)
        : m_place(place), m_mails(mails) {
        m_result.uncertain = uncertain;
    }

    Appended Run() {
        bool isStarted = false;
        Attempt([&] { isStarted = Start(); });
        if (isStarted) Attempt([&] { Write(); });
        if (m_result.failure && isStarted) Attempt([&] { CutBack(); });
        m_result.written += m_counted;
        return std::move(m_result);
    }

  private:
    bool Start();
    bool LookForUncertain();
    bool IsTailOurs(std::uint64_t tocSize);
    void Write();
    bool Add(std::string& piece, const NewMail& mail);
    void WriteTexts();
    bool WriteTextPiece(std::string_view piece);
    void WriteBlocks();
    bool WriteBlockPiece(std::string_view piece);
    void WriteHeader();
    void RestoreHeader(std::string_view before, std::uint16_t newCount);
    void CutBack();

    // Memory that runs out is a failure among others: what was done is to be told and cut back.
    template <class Step>
    void Attempt(const Step& step) {
        try {
            step();
        } catch (const std::bad_alloc&) {
            if (!m_result.failure) m_result.failure.emplace();
            m_result.isOutOfMemory = true;
        }
    }
    // Notes the first failure, and whose it is.
    template <class Result>
    bool IsDone(const platform::File& file, const Result& result) {
        if (!result && !m_result.failure) {
            m_result.isOfToc = &file == &m_place.toc;
            m_result.failure = result.Error();
        }
        return static_cast<bool>(result);
    }
    bool PutHeader(std::string_view bytes) {
        return IsDone(m_place.toc, WriteAt(m_place.toc, 0, bytes)) &&
               IsDone(m_place.toc, m_place.toc.Flush());
    }
    std::uint64_t TextEnd(std::size_t mails) const {
        if (mails == 0) return m_start;
        return std::uint64_t{m_blocks[mails - 1].dwOffset} + m_blocks[mails - 1].dwLength;
    }
    std::uint64_t BlockEnd(std::size_t mails) const {
        return mailbox::BlockOffset(m_header.wNumberOfMsgs + static_cast<std::uint32_t>(mails));
    }

    const AppendPlace& m_place;
    std::span<const NewMail> m_mails;
    Appended m_result;
    mailbox::TocHeader m_header;  // as it was
    std::uint64_t m_start = 0;    // of the first new text
    std::size_t m_room = 0;       // how many of the mails the mailbox takes
    std::vector<mailbox::MsgBlock> m_blocks;
    bool m_isTocOpen = false;   // for blocks: its end is where they begin
    std::size_t m_texts = 0;    // mails whose text is in its file
    std::size_t m_whole = 0;    // of these, mails whose block is in its file
    std::size_t m_counted = 0;  // of these, mails that the header counts
};

bool Appender::Start() {
    auto header = mailbox::ReadTocHeaderToChange(m_place.toc);
    if (!IsDone(m_place.toc, header)) return false;
    m_header = *std::move(header);
    const auto tocSize = m_place.toc.Size();
    const auto mbxSize = m_place.mbx.Seek(0, SeekFrom::kEnd);
    if (!IsDone(m_place.toc, tocSize) || !IsDone(m_place.mbx, mbxSize)) return false;
    m_start = *mbxSize;
    if (!LookForUncertain() || !IsTailOurs(*tocSize)) return false;
    m_room = std::min<std::size_t>(m_mails.size(), mailbox::kMostMsgs - m_header.wNumberOfMsgs);
    m_blocks.reserve(m_room);
    return true;
}

// The header counted them all or none.
bool Appender::LookForUncertain() {
    if (m_result.uncertain == 0) return true;
    std::unordered_set<std::uint32_t> ids;
    for (const NewMail& mail : m_mails.first(m_result.uncertain)) ids.insert(IdOf(*mail.record));
    bool isThere = false;
    const auto look = [&](const mailbox::MailPlace& place) -> Status {
        isThere = isThere || ids.contains(place.dwMsgId);
        return {};
    };
    const auto looked = mailbox::ForEachBlock(m_place.toc, m_header.wNumberOfMsgs, look);
    if (!IsDone(m_place.toc, looked)) return false;
    const std::size_t count = std::exchange(m_result.uncertain, 0);
    if (!isThere) return true;
    m_result.written = count;
    m_mails = m_mails.subspan(count);
    return IsDone(m_place.toc, m_place.toc.Flush());
}

// What lies behind the counted blocks gives way only if a run of ours left it there: blocks of
// mails behind all counted ones that are in the file, which may stand in any order, the last block
// perhaps cut short at any byte. Zeros are nothing.
bool Appender::IsTailOurs(std::uint64_t tocSize) {
    if (tocSize <= BlockEnd(0)) return true;
    constexpr std::uint64_t kMost = std::uint64_t{mailbox::kMostMsgs} * mailbox::kMsgBlockSize;
    std::string tail(static_cast<std::size_t>(std::min(tocSize - BlockEnd(0), kMost)), '\0');
    const auto read = m_place.toc.ReadAt(BlockEnd(0), tail);
    std::uint64_t lastEnd = 0;
    const auto last = [&](const mailbox::MailPlace& place) -> Status {
        const std::uint64_t end = std::uint64_t{place.dwOffset} + place.dwLength;
        if (end <= m_start) lastEnd = std::max(lastEnd, end);
        return {};
    };
    const auto counted = mailbox::ForEachBlock(m_place.toc, m_header.wNumberOfMsgs, last);
    if (!IsDone(m_place.toc, read) || !IsDone(m_place.toc, counted)) return false;
    bool isOurs = tocSize - BlockEnd(0) <= kMost;
    tail.resize(tail.find_last_not_of('\0') + 1);
    for (std::string_view rest = tail; !rest.empty();
         rest.remove_prefix(std::min(rest.size(), mailbox::kMsgBlockSize))) {
        isOurs = isOurs && CanLieBetween(lastEnd, m_start, rest.substr(0, mailbox::kMsgBlockSize));
    }
    return IsDone(m_place.toc, isOurs ? Status() : Status(Failure{ErrorCode::kCorrupt, ""}));
}

void Appender::Write() {
    WriteTexts();
    m_result.refused = m_mails.size() - m_room;
    WriteBlocks();
    WriteHeader();
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
    mailbox::MsgBlock block = MakeMsgBlock(record, date, m_place.codePage);
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
    if (m_texts > 0 && !IsDone(m_place.mbx, m_place.mbx.Flush())) m_texts = 0;
}

// The file is cut back at once, for the blocks need the room of a text that is not whole.
bool Appender::WriteTextPiece(std::string_view piece) {
    const std::uint64_t at = TextEnd(m_texts);
    if (IsDone(m_place.mbx, m_place.mbx.Write(piece))) {
        m_texts = m_blocks.size();
        return true;
    }
    const std::uint64_t end = at + Arrived(m_place.mbx, at, piece);
    while (m_texts < m_blocks.size() && TextEnd(m_texts + 1) <= end) ++m_texts;
    IsDone(m_place.mbx, m_place.mbx.Truncate(TextEnd(m_texts)));
    return false;
}

void Appender::WriteBlocks() {
    if (m_texts == 0) return;
    m_isTocOpen = IsDone(m_place.toc, m_place.toc.Truncate(BlockEnd(0)));
    if (!m_isTocOpen) return;
    const auto begin = static_cast<std::int64_t>(BlockEnd(0));
    if (!IsDone(m_place.toc, m_place.toc.Seek(begin, SeekFrom::kBegin))) return;
    std::string piece;
    for (std::size_t i = 0; i < m_texts; ++i) {
        piece += m_blocks[i].Encode();
        if (piece.size() < kPiece && i + 1 < m_texts) continue;
        if (!WriteBlockPiece(piece)) break;
        piece.clear();
    }
    if (m_whole > 0 && !IsDone(m_place.toc, m_place.toc.Flush())) m_whole = 0;
}

bool Appender::WriteBlockPiece(std::string_view piece) {
    const bool isWritten = IsDone(m_place.toc, m_place.toc.Write(piece));
    m_whole += (isWritten ? piece.size() : Arrived(m_place.toc, BlockEnd(m_whole), piece)) /
               mailbox::kMsgBlockSize;
    return isWritten;
}

// From the first byte of a new header on the mails may be stored, until it is known better.
void Appender::WriteHeader() {
    if (m_whole == 0) return;
    mailbox::TocHeader header = m_header;
    header.wNumberOfMsgs = static_cast<std::uint16_t>(m_header.wNumberOfMsgs + m_whole);
    header.wHighestMsgId = static_cast<std::uint16_t>(m_place.highestMsgId & 0xFFFF);
    const std::string before = m_header.Encode(), after = header.Encode();
    m_result.uncertain = m_whole;
    if (!PutHeader(after)) return RestoreHeader(before, header.wNumberOfMsgs);
    m_counted = m_whole;
    m_result.uncertain = 0;
}

void Appender::RestoreHeader(std::string_view before, std::uint16_t newCount) {
    const bool isRestored = PutHeader(before);
    const auto header = mailbox::ReadTocHeader(m_place.toc);
    if (!header) return;
    if (header->wNumberOfMsgs == newCount) m_counted = m_whole;
    if (isRestored || m_counted > 0) m_result.uncertain = 0;
}

// The blocks go first: as long as one of them stands behind the counted ones, so does its text, by
// which the next run knows it.
void Appender::CutBack() {
    if (m_result.uncertain > 0) return;
    if (m_isTocOpen && !IsDone(m_place.toc, m_place.toc.Truncate(BlockEnd(m_counted)))) return;
    if (m_isTocOpen && !IsDone(m_place.toc, m_place.toc.Flush())) return;
    IsDone(m_place.mbx, m_place.mbx.Truncate(TextEnd(m_counted)));
}

}  // namespace

Appended AppendMails(const AppendPlace& place, std::span<const NewMail> mails,
                     std::size_t uncertain) {
    return Appender(place, mails, uncertain).Run();
}

}  // namespace mailstore
