#include "eumapi/mail_index.h"

#include <algorithm>
#include <new>
#include <unordered_set>

#include "eumapi/eudora_folder.h"
#include "mailbox/toc_records.h"
#include "platform/os/little_endian.h"

namespace eumapi {

namespace {

using platform::File;
using platform::OpenMode;
using platform::Share;

constexpr std::size_t kBlocksAtOnce = 1024;
// File systems tell times in steps: two changes within one of them look like one.
constexpr std::chrono::milliseconds kTimeStep(50);

IndexedMail DecodeMail(std::string_view bytes, std::uint32_t block) {
    const auto place = mailbox::MailPlace::Decode(bytes);
    return {block, place.dwOffset, place.dwLength, place.dwMsgId,
            platform::ReadU16(bytes, mailbox::kStatusOffset).value_or(0)};
}

platform::Result<std::vector<IndexedMail>> ReadMails(File& toc) {
    std::string bytes(mailbox::kTocHeaderSize, '\0');
    auto read = toc.Read(bytes);
    if (!read) return read.Error();
    bytes.resize(*read);
    if (IsMacintoshToc(bytes)) return platform::Failure{platform::ErrorCode::kNotSupported, {}};
    const std::uint32_t count = mailbox::TocHeader::Decode(bytes).wNumberOfMsgs;
    std::vector<IndexedMail> mails;
    mails.reserve(count);
    std::unordered_set<std::uint32_t> seen;
    for (std::uint32_t block = 0; block < count;) {
        bytes.resize(mailbox::kMsgBlockSize * std::min<std::size_t>(kBlocksAtOnce, count - block));
        read = toc.Read(bytes);
        if (!read) return read.Error();
        const std::string_view whole(bytes.data(), *read - *read % mailbox::kMsgBlockSize);
        for (std::size_t at = 0; at < whole.size(); at += mailbox::kMsgBlockSize, ++block) {
            const auto mail = DecodeMail(whole.substr(at, mailbox::kMsgBlockSize), block);
            if (seen.insert(mail.id).second) mails.push_back(mail);
        }
        if (*read < bytes.size()) break;
    }
    return mails;
}

platform::Result<std::string> ReadBlockOf(File& toc, const IndexedMail& mail) {
    std::string bytes(mailbox::kMsgBlockSize, '\0');
    const auto read = toc.ReadAt(mailbox::BlockOffset(mail.block), bytes);
    if (!read) return read.Error();
    if (*read < bytes.size() || mailbox::MailPlace::Decode(bytes).dwMsgId != mail.id) {
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
    for (std::size_t i = 0; i < mails.size(); ++i) positions.emplace(mails[i].id, i);
    std::optional<std::uint32_t> before;
    for (const auto& mail : m_mails) {
        if (positions.contains(mail.id)) {
            before = mail.id;
        } else {
            m_gone[mail.id] = before;
        }
    }
    if (!m_gone.empty()) {
        for (const auto& mail : mails) m_gone.erase(mail.id);
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
    if (mail.state != kUnread) return mapi::kSuccess;
    {
        const auto toc = m_system.files.Open(m_path, OpenMode::kReadWrite, Share::kRead);
        if (!toc) return CodeOf(toc.Error());
        const auto block = ReadBlockOf(**toc, mail);
        if (!block) return CodeOf(block.Error());
        const auto at = mailbox::BlockOffset(mail.block) + mailbox::kStatusOffset;
        const auto sought = (*toc)->Seek(static_cast<std::int64_t>(at), platform::SeekFrom::kBegin);
        if (!sought) return CodeOf(sought.Error());
        if (platform::ReadU16(*block, mailbox::kStatusOffset) == kUnread) {
            const auto written = (*toc)->Write(std::string_view("\x01\x00", 2));
            if (!written) return CodeOf(written.Error());
        }
        if (const auto closed = (*toc)->Close(); !closed) return CodeOf(closed.Error());
    }
    m_mails[m_positions.at(mail.id)].state = 1;
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
