#include "eumapi/mailbox.h"

#include <algorithm>
#include <limits>
#include <set>

#include "platform/os/little_endian.h"

namespace eumapi {

namespace {

using platform::OpenMode;
using platform::Share;
using platform::Status;

constexpr std::size_t kNameAt = 8, kNameWidth = 32, kTypeAt = 40, kMbxSizeAt = 96;
constexpr std::string_view kSeparator = "From ";
constexpr std::size_t kPlaceAt = 0, kLengthAt = 4;  // in a block

std::string NewHeader(const MailboxKind& kind) {
    std::string bytes = mailbox::NewTocHeader();
    bytes.replace(kNameAt, kNameWidth, kNameWidth, '\0');
    bytes.replace(kNameAt, kind.name.size(), kind.name);
    bytes[kTypeAt] = static_cast<char>(kind.type);
    PutU32(bytes, kMbxSizeAt, 1);
    return bytes;
}

std::uint32_t IdOf(std::string_view block) {
    return mailbox::MailPlace::Decode(block).dwMsgId;
}

}  // namespace

void PutU32(std::string& bytes, std::size_t at, std::uint32_t number) {
    for (int i = 0; i < 4; ++i, number >>= 8) bytes[at + i] = static_cast<char>(number & 0xFF);
}

Status Mailbox::OpenFiles(const MailboxPaths& paths) {
    auto mbx = m_system.files.Open(paths.mbx, OpenMode::kReadWriteOrCreate, Share::kRead);
    if (!mbx) return mbx.Error();
    auto toc = m_system.files.Open(paths.toc, OpenMode::kReadWriteOrCreate, Share::kRead);
    if (!toc) return toc.Error();
    m_mbx = *std::move(mbx);
    m_toc = *std::move(toc);
    const auto size = m_mbx->Size();
    if (!size) return size.Error();
    m_mbxSize = *size;
    return {};
}

Code Mailbox::Open(const std::string& folder, const MailboxKind& kind) {
    const auto paths = PathsOf(folder, kind.name);
    const auto mbx = m_system.files.Stat(paths.mbx), toc = m_system.files.Stat(paths.toc);
    const bool isHalf = (mbx && mbx->size > 0 && (!toc || toc->size < mailbox::kTocHeaderSize)) ||
                        (toc && toc->size > mailbox::kTocHeaderSize && !mbx);
    if (isHalf) return mapi::kFailure;
    if (const Status status = OpenFiles(paths); !status) return CodeOf(status);
    return TakeHeader(kind);
}

Code Mailbox::TakeHeader(const MailboxKind& kind) {
    const auto size = m_toc->Size();
    if (!size) return CodeOf(size.Error());
    if (*size < mailbox::kTocHeaderSize) {
        // New, or begun by somebody who did not get beyond it; there are no mails yet.
        const std::string header = NewHeader(kind);
        m_header = mailbox::TocHeader::Decode(header);
        const Status status = WriteAt(*m_toc, 0, header);
        return CodeOf(status ? m_toc->Flush() : status);
    }
    std::string bytes(mailbox::kTocHeaderSize, '\0');
    auto read = m_toc->ReadAt(0, bytes);
    if (!read) return CodeOf(read.Error());
    if (IsMacintoshToc(bytes)) return mapi::kNotSupported;
    m_header = mailbox::TocHeader::Decode(bytes);
    m_blocks.resize(static_cast<std::size_t>(std::min<std::uint64_t>(
        *size - mailbox::kTocHeaderSize, m_header.wNumberOfMsgs * mailbox::kMsgBlockSize)));
    read = m_toc->ReadAt(mailbox::kTocHeaderSize, m_blocks);
    if (!read) return CodeOf(read.Error());
    m_header.wNumberOfMsgs = static_cast<std::uint16_t>(*read / mailbox::kMsgBlockSize);
    m_blocks.resize(m_header.wNumberOfMsgs * mailbox::kMsgBlockSize);
    return CheckPair();
}

Code Mailbox::CheckPair() const {
    if (Count() == 0) return mapi::kSuccess;
    std::string begin(kSeparator.size(), '\0');
    const auto read = m_mbx->ReadAt(mailbox::MailPlace::Decode(Block(0)).dwOffset, begin);
    if (!read) return CodeOf(read.Error());
    return begin == kSeparator ? mapi::kSuccess : mapi::kFailure;
}

std::string_view Mailbox::Block(std::uint32_t index) const {
    return std::string_view(m_blocks).substr(index * mailbox::kMsgBlockSize,
                                             mailbox::kMsgBlockSize);
}

std::uint32_t Mailbox::FreeId() const {
    std::set<std::uint32_t> ids{0};
    for (std::uint32_t i = 0; i < Count(); ++i) ids.insert(IdOf(Block(i)));
    if (*ids.rbegin() != std::numeric_limits<std::uint32_t>::max()) return *ids.rbegin() + 1;
    std::uint32_t free = 0;
    for (const std::uint32_t id : ids) {
        if (id != free) break;
        ++free;
    }
    return free;
}

platform::Result<bool> Mailbox::Contains(std::uint32_t id, std::string_view text) {
    for (std::uint32_t i = 0; i < Count(); ++i) {
        const auto place = mailbox::MailPlace::Decode(Block(i));
        if (place.dwMsgId != id || place.dwLength != text.size()) continue;
        std::string bytes(text.size(), '\0');
        const auto read = m_mbx->ReadAt(place.dwOffset, bytes);
        if (!read) return read.Error();
        if (*read == bytes.size() && bytes == text) return true;
    }
    return false;
}

Status Mailbox::WriteAt(platform::File& file, std::uint64_t offset, std::string_view bytes) {
    const auto sought = file.Seek(static_cast<std::int64_t>(offset), platform::SeekFrom::kBegin);
    if (!sought) return sought.Error();
    return file.Write(bytes);
}

// A separator line begins a line, also behind what somebody left unfinished.
platform::Result<std::string_view> Mailbox::LineEndBefore() const {
    char last = '\n';
    if (m_mbxSize > 0) {
        const auto read = m_mbx->ReadAt(m_mbxSize - 1, {&last, 1});
        if (!read) return read.Error();
    }
    return std::string_view(last == '\n' ? "" : "\r\n");
}

std::string Mailbox::HeaderWith(std::uint32_t newId, std::uint64_t mbxSize) const {
    auto header = m_header;
    ++header.wNumberOfMsgs;
    header.wHighestMsgId = static_cast<std::uint16_t>(std::max(FreeId() - 1, newId) & 0xFFFF);
    header.dwMbxSize = static_cast<std::uint32_t>(mbxSize + 1);
    return header.Encode();
}

// The mail and its block are on the disk before the header counts them.
Status Mailbox::WriteMail(std::string_view lead, std::string_view text, std::string_view block,
                          std::string_view header) {
    const auto end = mailbox::BlockOffset(Count());
    Status status = WriteAt(*m_mbx, m_mbxSize, lead);
    if (status) status = m_mbx->Write(text);
    if (status) status = m_mbx->Flush();
    if (status) status = m_toc->Truncate(end);
    if (status) status = WriteAt(*m_toc, end, block);
    if (status) status = m_toc->Flush();
    if (status) status = WriteAt(*m_toc, 0, header);
    return status ? m_toc->Flush() : status;
}

// As long as the old header does not stand again, what it might count stays.
void Mailbox::TakeBack(std::string_view header) {
    if (!WriteAt(*m_toc, 0, header) || !m_toc->Flush()) return;
    (void)m_toc->Truncate(mailbox::BlockOffset(Count()));
    (void)m_mbx->Truncate(m_mbxSize);
}

// All memory is taken before the first byte is written.
Code Mailbox::Append(std::string_view text, std::string block) {
    constexpr std::uint64_t kLargest = std::numeric_limits<std::uint32_t>::max() - 2;
    const auto lead = LineEndBefore();
    if (!lead) return CodeOf(lead.Error());
    const std::uint64_t place = m_mbxSize + lead->size();
    if (Count() == mailbox::kMostMsgs || place + text.size() > kLargest) return mapi::kFailure;
    PutU32(block, kPlaceAt, static_cast<std::uint32_t>(place));
    PutU32(block, kLengthAt, static_cast<std::uint32_t>(text.size()));
    const std::string oldHeader = m_header.Encode();
    const Status status =
        WriteMail(*lead, text, block, HeaderWith(IdOf(block), place + text.size()));
    if (!status) TakeBack(oldHeader);
    return CodeOf(status);
}

}  // namespace eumapi
