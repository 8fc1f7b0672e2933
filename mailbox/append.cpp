#include "mailbox/append.h"

#include <algorithm>
#include <limits>
#include <new>
#include <string_view>
#include <utility>

#include "mailbox/toc_file.h"
#include "platform/os/little_endian.h"

namespace mailbox {

namespace {

using platform::ErrorCode;
using platform::Failure;
using platform::File;
using platform::Status;

constexpr std::size_t kPiece = 1 << 20;  // bytes of texts written with one call, about
constexpr std::uint64_t kMost = std::numeric_limits<std::uint32_t>::max();

// How many of the bytes stand in the file, from `position` on, after a write of them that failed.
std::size_t Arrived(File& file, std::uint64_t position, std::string_view bytes) {
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
    Appender(const AppendPlace& place, const MakeMail& make)
        : m_place(place), m_mbx(place.mbx), m_toc(place.toc), m_make(make) {}

    Appended Run(std::size_t count) {
        Attempt([&] {
            WriteTexts(count);
            WriteBlocks();
            WriteHeader();
        });
        if (m_result.failure) Attempt([&] { CutBack(); });
        return std::move(m_result);
    }

  private:
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
    bool IsDone(const File& file, const Status& status) {
        if (!status && !m_result.failure) {
            m_result.isOfToc = &file == &m_toc;
            m_result.failure = status.Error();
        }
        return status.HasValue();
    }
    bool PutHeader(std::string_view bytes) {
        return IsDone(m_toc, WriteAt(m_toc, 0, bytes)) && IsDone(m_toc, m_toc.Flush());
    }
    std::uint64_t TextEnd(std::size_t mails) const {
        if (mails == 0) return m_place.mbxSize;
        const std::string_view blocks = m_blocks;
        return MailPlace::Decode(blocks.substr((mails - 1) * kMsgBlockSize)).End();
    }
    std::uint64_t BlockEnd(std::size_t mails) const {
        return BlockOffset(m_place.header.wNumberOfMsgs + static_cast<std::uint32_t>(mails));
    }

    // False if the mail cannot be had, or if its end has no room in the 32 bits of a block.
    bool Add(std::size_t mail, std::string& piece) {
        const std::size_t before = piece.size();
        if (m_made == 0) piece += m_place.lead;
        const std::size_t begin = piece.size();
        std::string block = m_make(mail, piece);
        const std::uint64_t offset = TextEnd(m_made) + begin - before,
                            length = piece.size() - begin;
        // The size of the .mbx file and 1 must be told, too.
        if (block.empty() || offset + length > kMost - (m_place.tellsMbxSize ? 1 : 0)) {
            piece.resize(before);
            return false;
        }
        MailPlace{static_cast<std::uint32_t>(offset), static_cast<std::uint32_t>(length)}.PutInto(
            block);
        m_blocks += block;
        ++m_made;
        return true;
    }

    void WriteTexts(std::size_t count) {
        std::size_t room = std::min<std::size_t>(count, kMostMsgs - m_place.header.wNumberOfMsgs);
        std::string piece;
        for (std::size_t i = 0; i < room; ++i) {
            if (!Add(i, piece)) room = i;
            if (piece.size() < kPiece && i + 1 < room) continue;
            if (!WriteTextPiece(piece)) break;
            piece.clear();
        }
        m_result.refused = count - room;
        if (m_texts > 0 && !IsDone(m_mbx, m_mbx.Flush())) m_texts = 0;
    }

    // The file is cut back at once, for the blocks need the room of a text that is not whole.
    bool WriteTextPiece(std::string_view piece) {
        const std::uint64_t at = TextEnd(m_texts);
        if (IsDone(m_mbx, WriteAt(m_mbx, at, piece))) {
            m_texts = m_made;
            return true;
        }
        const std::uint64_t end = at + Arrived(m_mbx, at, piece);
        while (m_texts < m_made && TextEnd(m_texts + 1) <= end) ++m_texts;
        IsDone(m_mbx, m_mbx.Truncate(TextEnd(m_texts)));
        return false;
    }

    void WriteBlocks() {
        if (m_texts == 0) return;
        m_isTocOpen = IsDone(m_toc, m_toc.Truncate(BlockEnd(0)));
        if (!m_isTocOpen) return;
        const auto bytes = std::string_view(m_blocks).substr(0, m_texts * kMsgBlockSize);
        const bool isWritten = IsDone(m_toc, WriteAt(m_toc, BlockEnd(0), bytes));
        m_whole = isWritten ? m_texts : Arrived(m_toc, BlockEnd(0), bytes) / kMsgBlockSize;
        if (m_whole > 0 && !IsDone(m_toc, m_toc.Flush())) m_whole = 0;
    }

    // Writes the header that counts the new mails. While it is being written they may be stored or
    // not.
    void WriteHeader() {
        if (m_whole == 0) return;
        TocHeader header = m_place.header;
        header.wNumberOfMsgs = static_cast<std::uint16_t>(header.wNumberOfMsgs + m_whole);
        header.wHighestMsgId = static_cast<std::uint16_t>(m_place.highestId & 0xFFFF);
        if (m_place.tellsMbxSize)
            header.dwMbxSize = static_cast<std::uint32_t>(TextEnd(m_whole) + 1);
        const std::string before = m_place.header.Encode(), after = header.Encode();
        m_result.uncertain = m_whole;
        if (!PutHeader(after)) return RestoreHeader(before, header.wNumberOfMsgs);
        m_result.written = std::exchange(m_result.uncertain, 0);
    }

    void RestoreHeader(std::string_view before, std::uint16_t newCount) {
        const bool isRestored = PutHeader(before);
        const auto header = ReadTocHeader(m_toc);
        if (!header) return;
        if (header->wNumberOfMsgs == newCount) m_result.written = m_whole;
        if (isRestored || m_result.written > 0) m_result.uncertain = 0;
    }

    // The blocks go first: as long as one of them stands behind the counted ones, so does its text,
    // by which the next run knows it.
    void CutBack() {
        if (m_result.uncertain > 0) return;
        if (m_isTocOpen && !IsDone(m_toc, m_toc.Truncate(BlockEnd(m_result.written)))) return;
        if (m_isTocOpen && !IsDone(m_toc, m_toc.Flush())) return;
        IsDone(m_mbx, m_mbx.Truncate(TextEnd(m_result.written)));
    }

    const AppendPlace& m_place;
    File &m_mbx, &m_toc;
    const MakeMail& m_make;
    Appended m_result;
    std::string m_blocks;
    std::size_t m_made = 0;    // mails that have a block
    std::size_t m_texts = 0;   // of these, mails whose text is in its file
    std::size_t m_whole = 0;   // of these, mails whose block is in its file
    bool m_isTocOpen = false;  // for blocks: its end is where they begin
};

// The least number from `from` on that begins with these bytes, little-endian; what may follow them
// is not known.
std::uint64_t LeastFrom(std::uint64_t from, std::string_view lowBytes) {
    const std::uint64_t low = platform::LittleEndian(lowBytes);
    return from + ((low - from) & ((std::uint64_t{1} << 8 * lowBytes.size()) - 1));
}

// Whether a block, perhaps cut short, can be that of a mail that lies between these places.
bool CanLieBetween(std::uint64_t begin, std::uint64_t end, std::string_view block) {
    constexpr std::size_t kSize = sizeof(MailPlace::dwOffset);
    const std::uint64_t offset = LeastFrom(begin, block.substr(0, kSize));
    const std::uint64_t length =
        LeastFrom(1, block.substr(std::min(block.size(), kSize)).substr(0, kSize));
    return offset <= kMost && length <= kMost && offset + length <= end;
}

}  // namespace

Appended AppendMails(const AppendPlace& place, std::size_t count, const MakeMail& make) {
    return Appender(place, make).Run(count);
}

Status CheckLeftovers(File& toc, const TocHeader& header, std::uint64_t mbxSize) {
    const auto tocSize = toc.Size();
    if (!tocSize) return tocSize.Error();
    const std::uint64_t begin = BlockOffset(header.wNumberOfMsgs);
    if (*tocSize <= begin) return {};
    constexpr std::uint64_t kLongest = std::uint64_t{kMostMsgs} * kMsgBlockSize;
    if (*tocSize - begin > kLongest) return Failure{ErrorCode::kCorrupt, ""};
    std::string tail(static_cast<std::size_t>(*tocSize - begin), '\0');
    const auto read = toc.ReadAt(begin, tail);
    if (!read) return read.Error();
    const auto counted = ReadPlaces(toc, header.wNumberOfMsgs);
    if (!counted) return counted.Error();
    std::uint64_t lastEnd = 0;
    for (const MailPlace& place : *counted) {
        if (place.End() <= mbxSize) lastEnd = std::max(lastEnd, place.End());
    }
    tail.resize(tail.find_last_not_of('\0') + 1);
    for (std::string_view rest = tail; !rest.empty();
         rest.remove_prefix(std::min(rest.size(), kMsgBlockSize))) {
        if (!CanLieBetween(lastEnd, mbxSize, rest.substr(0, kMsgBlockSize))) {
            return Failure{ErrorCode::kCorrupt, ""};
        }
    }
    return {};
}

}  // namespace mailbox
