#include "eumapi/mail_index.h"

#include <algorithm>
#include <new>
#include <unordered_set>

#include "mailbox/toc_file.h"

namespace eumapi {

namespace {

using platform::File;
using platform::OpenMode;
using platform::Share;

// File systems tell times in steps: two changes within one of them look like one.
constexpr std::chrono::milliseconds kTimeStep(50);

platform::Result<std::vector<IndexedMail>> ReadMails(File& file) {
    const auto toc = mailbox::ReadToc(file);
    if (!toc) return toc.Error();
    std::vector<IndexedMail> mails;
    mails.reserve(toc->mails.size());
    std::unordered_set<std::uint32_t> seen;
    std::uint32_t block = 0;
    for (const auto& mail : toc->mails) {
        if (seen.insert(mail.dwMsgId).second) mails.push_back({mail, block});
        ++block;
    }
    return mails;
}

platform::Result<std::string> ReadBlockOf(File& toc, const IndexedMail& mail) {
    std::string bytes(mailbox::kMsgBlockSize, '\0');
    const auto read = toc.ReadAt(mailbox::BlockOffset(mail.block), bytes);
    if (!read) return read.Error();
    if (*read < bytes.size() || mailbox::MailPlace::Decode(bytes).dwMsgId != mail.dwMsgId) {
        return platform::Failure{platform::ErrorCode::kCorrupt, {}};
    }
    return bytes;
}

}  // namespace

// Nothing if there is no file or it cannot be looked at; `code` tells them apart.
std::optional<MailIndex::Stamp> MailIndex::Look(Code& code) const {
    const auto info = m_system.files.Stat(m_path);
    code = mapi::kSuccess;
    if (info) return Stamp{info->size, info->modified};
    if (info.Error().code != platform::ErrorCode::kNotFound) code = CodeOf(info.Error());
    return std::nullopt;
}

Code MailIndex::Refresh() {
    Code code;
    const auto stamp = Look(code);
    if (code != mapi::kSuccess) return code;
    if (stamp && stamp == m_stamp && m_isSettled) return mapi::kSuccess;
    if (stamp) {
        const auto age = m_system.clock.Now() - stamp->modified;
        if (code = Load(); code != mapi::kSuccess) return code;
        m_isSettled = age < age.zero() || age > kTimeStep;
    } else {
        Take({});
    }
    m_stamp = stamp;
    return mapi::kSuccess;
}

Code MailIndex::Load() {
    const auto toc = m_system.files.Open(m_path, OpenMode::kRead, Share::kRead);
    if (!toc) return CodeOf(toc.Error());
    auto mails = ReadMails(**toc);
    if (!mails) return CodeOf(mails.Error());
    Take(*std::move(mails));
    return mapi::kSuccess;
}

void MailIndex::Take(std::vector<IndexedMail> mails) {
    std::unordered_map<std::uint32_t, std::size_t> positions;
    positions.reserve(mails.size());
    for (std::size_t i = 0; i < mails.size(); ++i) positions.emplace(mails[i].dwMsgId, i);
    std::optional<std::uint32_t> before;
    for (const auto& mail : m_mails) {
        if (positions.contains(mail.dwMsgId)) {
            before = mail.dwMsgId;
        } else {
            m_gone[mail.dwMsgId] = before;
        }
    }
    if (!m_gone.empty()) {
        for (const auto& mail : mails) m_gone.erase(mail.dwMsgId);
    }
    ++m_version;
    m_mails = std::move(mails);
    m_positions = std::move(positions);
}

const IndexedMail* MailIndex::Find(std::uint32_t id) const {
    const auto found = m_positions.find(id);
    return found == m_positions.end() ? nullptr : &m_mails[found->second];
}

// The mail before a gone one was there when that one went, so the search moves on in time and ends.
std::optional<std::size_t> MailIndex::Behind(std::uint32_t id) const {
    for (;;) {
        const auto found = m_positions.find(id);
        if (found != m_positions.end()) return found->second + 1;
        const auto gone = m_gone.find(id);
        if (gone == m_gone.end()) return std::nullopt;
        if (!gone->second) return 0;
        id = *gone->second;
    }
}

platform::Result<std::string> MailIndex::ReadBlock(const IndexedMail& mail) const {
    const auto toc = m_system.files.Open(m_path, OpenMode::kRead, Share::kRead);
    if (!toc) return toc.Error();
    return ReadBlockOf(**toc, mail);
}

Code MailIndex::MarkRead(const IndexedMail& mail) {
    constexpr auto kUnread = static_cast<std::uint16_t>(mailbox::MailState::kUnread);
    if (mail.wStatus != kUnread) return mapi::kSuccess;
    {
        const auto toc = m_system.files.Open(m_path, OpenMode::kReadWrite, Share::kRead);
        if (!toc) return CodeOf(toc.Error());
        const auto block = ReadBlockOf(**toc, mail);
        if (!block) return CodeOf(block.Error());
        platform::Status written;
        if (mailbox::MailPlace::Decode(*block).wStatus == kUnread) {
            const auto at = mailbox::BlockOffset(mail.block) + mailbox::kStatusOffset;
            written = mailbox::WriteAt(**toc, at, std::string_view("\x01\x00", 2));
        }
        if (written) written = (*toc)->Close();
        if (!written) return CodeOf(written);
    }
    m_mails[m_positions.at(mail.dwMsgId)].wStatus = 1;
    // Our own change is no reason to read the file again, unless memory runs out.
    try {
        Code code;
        m_stamp = Look(code);
    } catch (const std::bad_alloc&) {
        m_stamp.reset();
    }
    return mapi::kSuccess;
}

}  // namespace eumapi
