#include "eumapi/mailbox.h"

#include <algorithm>
#include <new>
#include <utility>

#include "mailbox/append.h"
#include "mailbox/toc_file.h"

namespace eumapi {

namespace {

using platform::OpenMode;
using platform::Share;

constexpr std::string_view kSeparator = "From ";

// A separator line begins a line, also behind what somebody left unfinished.
platform::Result<std::string> LineEndBehind(platform::File& mbx, std::uint64_t size) {
    char last = '\n';
    if (size > 0) {
        const auto read = mbx.ReadAt(size - 1, {&last, 1});
        if (!read) return read.Error();
    }
    return std::string(last == '\n' ? "" : "\r\n");
}

}  // namespace

Code Mailbox::Open() {
    const bool isAsLeft = m_isKnown && m_left && ReadStamp() == m_left;
    m_isKnown = false;
    if (const Code code = OpenFiles(); code != mapi::kSuccess) return code;
    const auto mbxSize = m_mbx->Size(), tocSize = m_toc->Size();
    if (!mbxSize) return CodeOf(mbxSize.Error());
    if (!tocSize) return CodeOf(tocSize.Error());
    m_mbxSize = *mbxSize;
    Code code = mapi::kSuccess;
    if (!isAsLeft) {
        m_mails.clear();
        m_highestId = 0;
        code = *tocSize < mailbox::kTocHeaderSize ? BeginTable() : ReadTable();
    }
    m_isKnown = code == mapi::kSuccess;
    return code;
}

void Mailbox::Close() noexcept {
    m_mbx.reset();
    m_toc.reset();
    m_left.reset();
    try {
        m_left = ReadStamp();
    } catch (const std::bad_alloc&) {
        // Then they are read again.
    }
}

std::optional<Mailbox::Stamp> Mailbox::ReadStamp() const {
    const auto mbx = m_system.files.Stat(m_mbxPath), toc = m_system.files.Stat(m_tocPath);
    if (!mbx || !toc) return std::nullopt;
    return Stamp{mbx->size, toc->size, toc->modified};
}

Code Mailbox::OpenFiles() {
    const auto mbx = m_system.files.Stat(m_mbxPath), toc = m_system.files.Stat(m_tocPath);
    const bool isHalf = (mbx && mbx->size > 0 && (!toc || toc->size < mailbox::kTocHeaderSize)) ||
                        (toc && toc->size > mailbox::kTocHeaderSize && !mbx);
    if (isHalf) return mapi::kFailure;
    for (auto [path, file] : {std::pair{&m_mbxPath, &m_mbx}, {&m_tocPath, &m_toc}}) {
        auto opened = m_system.files.Open(*path, OpenMode::kReadWriteOrCreate, Share::kRead);
        if (!opened) return CodeOf(opened.Error());
        *file = *std::move(opened);
    }
    return mapi::kSuccess;
}

// The file is new, or begun by somebody who did not get beyond its header; there are no mails yet.
Code Mailbox::BeginTable() {
    m_header = mailbox::TocHeader::Decode(mailbox::NewTocHeader(m_kind));
    m_header.dwMbxSize = 1;
    const auto status = mailbox::WriteAt(*m_toc, 0, m_header.Encode());
    return CodeOf(status ? m_toc->Flush() : status);
}

Code Mailbox::ReadTable() {
    auto table = mailbox::ReadToc(*m_toc);
    if (!table) return CodeOf(table.Error());
    m_header = std::move(table->header);
    m_mails.reserve(table->mails.size());
    for (const auto& mail : table->mails) Take(mail);
    const auto belong = mailbox::BelongTogether(*m_mbx, *m_toc, kSeparator);
    if (!belong) return CodeOf(belong.Error());
    return *belong ? mapi::kSuccess : mapi::kFailure;
}

void Mailbox::Take(const mailbox::MailPlace& mail) {
    m_mails.emplace(mail.dwMsgId, Place{mail.dwOffset, mail.dwLength});
    m_highestId = std::max(m_highestId, mail.dwMsgId);
}

std::uint32_t Mailbox::FreeId() const {
    std::uint32_t free = m_highestId + 1;  // 0 behind the highest number of all
    while (free == 0 || m_mails.contains(free)) ++free;
    return free;
}

platform::Result<bool> Mailbox::Contains(std::uint32_t id, std::string_view text) {
    const auto [begin, end] = m_mails.equal_range(id);
    for (auto mail = begin; mail != end; ++mail) {
        if (mail->second.length != text.size()) continue;
        std::string bytes(text.size(), '\0');
        const auto read = m_mbx->ReadAt(mail->second.offset, bytes);
        if (!read) return read.Error();
        if (*read == bytes.size() && bytes == text) return true;
    }
    return false;
}

Mailbox::Appended Mailbox::Append(std::span<const std::string> blocks, const MakeText& makeText) {
    m_isKnown = false;
    const auto lead = LineEndBehind(*m_mbx, m_mbxSize);
    if (!lead) return {0, CodeOf(lead.Error())};
    std::uint32_t highest = m_highestId;
    for (const auto& block : blocks) {
        highest = std::max(highest, mailbox::MailPlace::Decode(block).dwMsgId);
    }
    Appended result;
    std::vector<mailbox::MailPlace> made;
    std::uint64_t end = m_mbxSize + lead->size();
    const auto make = [&](std::size_t n, std::string& out) {
        const std::size_t begin = out.size();
        result.code = makeText(n, out);
        result.isOfText = result.code != mapi::kSuccess;
        if (result.isOfText) return std::string();
        made.push_back(mailbox::MailPlace::Decode(blocks[n]));
        made.back().dwOffset = static_cast<std::uint32_t>(end);
        made.back().dwLength = static_cast<std::uint32_t>(out.size() - begin);
        end += made.back().dwLength;
        return blocks[n];
    };
    const auto appended = mailbox::AppendMails(
        {*m_mbx, *m_toc, m_header, m_mbxSize, *lead, highest, true}, blocks.size(), make);
    if (appended.isOutOfMemory) throw std::bad_alloc();
    result.count = appended.written;
    if (appended.failure) return {result.count, CodeOf(*appended.failure)};
    if (result.count < blocks.size()) {
        return result.isOfText ? result : Appended{result.count, mapi::kFailure};
    }
    TakeAll(made);
    return result;
}

// The mails are stored: what fails here only lets the next Open read the table.
void Mailbox::TakeAll(const std::vector<mailbox::MailPlace>& mails) noexcept {
    try {
        auto header = mailbox::ReadTocHeader(*m_toc);
        if (!header) return;
        m_header = *std::move(header);
        for (const auto& mail : mails) Take(mail);
        m_isKnown = true;
    } catch (const std::bad_alloc&) {
    }
}

}  // namespace eumapi
