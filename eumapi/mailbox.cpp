#include "eumapi/mailbox.h"

#include <algorithm>
#include <new>
#include <set>

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

Code Mailbox::Open(const std::string& folder, const mailbox::MailboxKind& kind) {
    if (const Code code = OpenFiles(folder, kind); code != mapi::kSuccess) return code;
    const auto mbxSize = m_mbx->Size(), tocSize = m_toc->Size();
    if (!mbxSize) return CodeOf(mbxSize.Error());
    if (!tocSize) return CodeOf(tocSize.Error());
    m_mbxSize = *mbxSize;
    return *tocSize < mailbox::kTocHeaderSize ? BeginTable(kind) : ReadTable();
}

Code Mailbox::OpenFiles(const std::string& folder, const mailbox::MailboxKind& kind) {
    const std::string base = folder + std::string(kind.name), mbxPath = base + ".mbx",
                      tocPath = base + ".toc";
    const auto mbx = m_system.files.Stat(mbxPath), toc = m_system.files.Stat(tocPath);
    const bool isHalf = (mbx && mbx->size > 0 && (!toc || toc->size < mailbox::kTocHeaderSize)) ||
                        (toc && toc->size > mailbox::kTocHeaderSize && !mbx);
    if (isHalf) return mapi::kFailure;
    for (auto [path, file] : {std::pair{&mbxPath, &m_mbx}, {&tocPath, &m_toc}}) {
        auto opened = m_system.files.Open(*path, OpenMode::kReadWriteOrCreate, Share::kRead);
        if (!opened) return CodeOf(opened.Error());
        *file = *std::move(opened);
    }
    return mapi::kSuccess;
}

// The file is new, or begun by somebody who did not get beyond its header; there are no mails yet.
Code Mailbox::BeginTable(const mailbox::MailboxKind& kind) {
    m_header = mailbox::TocHeader::Decode(mailbox::NewTocHeader(kind));
    m_header.dwMbxSize = 1;
    const auto status = mailbox::WriteAt(*m_toc, 0, m_header.Encode());
    return CodeOf(status ? m_toc->Flush() : status);
}

Code Mailbox::ReadTable() {
    auto table = mailbox::ReadToc(*m_toc);
    if (!table) return CodeOf(table.Error());
    m_header = std::move(table->header);
    m_mails = std::move(table->mails);
    const auto belong = mailbox::BelongTogether(*m_mbx, *m_toc, kSeparator);
    if (!belong) return CodeOf(belong.Error());
    return *belong ? mapi::kSuccess : mapi::kFailure;
}

std::uint32_t Mailbox::FreeId() const {
    std::set<std::uint32_t> ids{0};
    for (const auto& mail : m_mails) ids.insert(mail.dwMsgId);
    std::uint32_t free = *ids.rbegin() + 1;  // 0 behind the highest number of all
    while (ids.contains(free)) ++free;
    return free;
}

platform::Result<bool> Mailbox::Contains(std::uint32_t id, std::string_view text) {
    for (const auto& mail : m_mails) {
        if (mail.dwMsgId != id || mail.dwLength != text.size()) continue;
        std::string bytes(text.size(), '\0');
        const auto read = m_mbx->ReadAt(mail.dwOffset, bytes);
        if (!read) return read.Error();
        if (*read == bytes.size() && bytes == text) return true;
    }
    return false;
}

Code Mailbox::Append(std::string_view text, const std::string& block) {
    auto lead = LineEndBehind(*m_mbx, m_mbxSize);
    if (!lead) return CodeOf(lead.Error());
    const auto newId = mailbox::MailPlace::Decode(block).dwMsgId;
    const mailbox::AppendPlace place{
        *m_mbx, *m_toc, m_header, m_mbxSize, *std::move(lead), std::max(FreeId() - 1, newId), true};
    const auto appended = mailbox::AppendMails(place, 1, [&](std::size_t, std::string& out) {
        out += text;
        return block;
    });
    if (appended.written == 1) return mapi::kSuccess;
    if (appended.isOutOfMemory) throw std::bad_alloc();
    return appended.failure ? CodeOf(*appended.failure) : mapi::kFailure;
}

}  // namespace eumapi
