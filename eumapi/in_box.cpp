#include "eumapi/in_box.h"

#include <algorithm>
#include <new>
#include <numeric>
#include <span>
#include <utility>

#include "eumapi/mailbox.h"
#include "mailbox/toc_file.h"
#include "platform/os/safe_write.h"

namespace eumapi {

namespace {

using platform::File;
using platform::OpenMode;
using platform::Share;

// File systems tell times in steps: two changes within one of them look like one.
constexpr std::chrono::milliseconds kTimeStep(50);
// A count of blocks as large as it can be, and room for what may lie behind them.
constexpr std::uint64_t kLargestToc = 1u << 26;

// All but the `removed` ones.
platform::Result<std::vector<IndexedMail>> ReadMails(platform::Files& files,
                                                     const std::string& tocPath,
                                                     std::unordered_set<std::uint32_t> removed) {
    const auto file = files.Open(tocPath, OpenMode::kRead, Share::kRead);
    if (!file) return file.Error();
    const auto toc = mailbox::ReadToc(**file);
    if (!toc) return toc.Error();
    std::vector<IndexedMail> mails;
    mails.reserve(toc->mails.size());
    std::unordered_set<std::uint32_t> seen;
    std::uint32_t block = 0;
    for (const auto& mail : toc->mails) {
        const bool isRemoved = removed.erase(mail.dwMsgId) > 0;
        if (!isRemoved && seen.insert(mail.dwMsgId).second) mails.push_back({mail, block});
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

// The bytes of a .toc file without the blocks that begin there, with a count that is as much less.
std::string WithoutBlocks(const std::string& toc, const std::vector<std::size_t>& places) {
    auto header = mailbox::TocHeader::Decode(toc);
    header.wNumberOfMsgs = static_cast<std::uint16_t>(header.wNumberOfMsgs - places.size());
    std::string left = header.Encode();
    std::size_t from = left.size();
    for (const std::size_t place : places) {
        left.append(toc, from, place - from);
        from = place + mailbox::kMsgBlockSize;
    }
    return left.append(toc, from);
}

}  // namespace

Code InBox::Refresh() {
    const auto info = m_system.files.Stat(m_tocPath);
    if (!info) {
        if (info.Error().code != platform::ErrorCode::kNotFound) return CodeOf(info.Error());
        Take({});
        m_stamp.reset();
        return mapi::kSuccess;
    }
    const Stamp stamp(info->size, info->modified);
    if (stamp == m_stamp && m_isSettled) return mapi::kSuccess;
    const auto age = m_system.clock.Now() - info->modified;
    auto mails = ReadMails(m_system.files, m_tocPath, m_removed);
    if (!mails) return CodeOf(mails.Error());
    Take(*std::move(mails));
    m_isSettled = age < age.zero() || age > kTimeStep;
    m_stamp = stamp;
    return mapi::kSuccess;
}

void InBox::Take(std::vector<IndexedMail> mails) {
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
    LetGo();
    m_mails = std::move(mails);
    m_positions = std::move(positions);
    m_next.clear();
}

const IndexedMail* InBox::Find(std::uint32_t id) const {
    const auto found = m_positions.find(id);
    if (found == m_positions.end() || !IsStaying(found->second)) return nullptr;
    return &m_mails[found->second];
}

// The mail before a gone one was there when that one went, so the search moves on in time and ends.
std::optional<std::size_t> InBox::Behind(std::uint32_t id) const {
    for (;;) {
        const auto found = m_positions.find(id);
        if (found != m_positions.end()) return found->second + 1;
        const auto gone = m_gone.find(id);
        if (gone == m_gone.end()) return std::nullopt;
        if (!gone->second) return 0;
        id = *gone->second;
    }
}

platform::Result<std::string> InBox::ReadBlock(const IndexedMail& mail) const {
    const auto toc = m_system.files.Open(m_tocPath, OpenMode::kRead, Share::kRead);
    if (!toc) return toc.Error();
    return ReadBlockOf(**toc, mail);
}

Code InBox::MarkRead(const IndexedMail& mail) {
    constexpr auto kUnread = static_cast<std::uint16_t>(mailbox::MailState::kUnread);
    if (mail.wStatus != kUnread) return mapi::kSuccess;
    {
        const auto toc = m_system.files.Open(m_tocPath, OpenMode::kReadWrite, Share::kRead);
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
    // Our own change is no reason to read the file again.
    m_stamp.reset();
    try {
        if (const auto info = m_system.files.Stat(m_tocPath)) {
            m_stamp.emplace(info->size, info->modified);
        }
    } catch (const std::bad_alloc&) {
        // Then it is read again.
    }
    return mapi::kSuccess;
}

platform::Result<std::uint64_t> InBox::LengthOf(const IndexedMail& mail) {
    if (!m_mbx) {
        auto file = m_system.files.Open(m_mbxPath, OpenMode::kRead, Share::kReadWrite);
        if (!file) return file.Error();
        m_mbx = *std::move(file);
    }
    const auto size = m_mbx->Size();
    if (!size) return size.Error();
    if (mail.dwOffset >= *size) return std::uint64_t{0};
    if (mail.dwLength <= *size - mail.dwOffset) return std::uint64_t{mail.dwLength};
    std::uint64_t end = *size;
    for (const auto& other : m_mails) {
        if (other.dwOffset > mail.dwOffset) end = std::min<std::uint64_t>(end, other.dwOffset);
    }
    return end - mail.dwOffset;
}

platform::Result<std::string> InBox::ReadBytes(const IndexedMail& mail, std::uint64_t most) {
    const auto length = LengthOf(mail);
    if (!length) return length.Error();
    if (*length > kLargestMail) return platform::Failure{platform::ErrorCode::kTooLarge, m_mbxPath};
    std::string bytes(static_cast<std::size_t>(std::min(*length, most)), '\0');
    const auto read = m_mbx->ReadAt(mail.dwOffset, bytes);
    if (!read) return read.Error();
    bytes.resize(*read);
    return bytes;
}

Code InBox::Remove(const IndexedMail& mail) {
    const auto block = ReadBlock(mail);
    if (!block) return CodeOf(block.Error());
    const auto length = LengthOf(mail);
    if (!length) return CodeOf(length.Error());
    if (*length > kLargestMail) return mapi::kTextTooLarge;
    if (m_removed.empty()) {
        Mailbox trash(m_system, m_folder, mailbox::kTrash);
        if (const Code code = trash.Open(); code != mapi::kSuccess) return code;
    }
    if (m_next.empty()) {
        m_next.resize(m_mails.size() + 1);
        std::iota(m_next.begin(), m_next.end(), std::size_t{0});
    }
    m_removed.insert(mail.dwMsgId);
    ++m_next[m_positions.at(mail.dwMsgId)];
    return mapi::kSuccess;
}

// Each look shortens the ways, so a run of removed mails is not passed one by one again and again.
std::size_t InBox::StayingFrom(std::size_t position) {
    if (m_next.empty()) return position;
    while (m_next[position] != position) {
        m_next[position] = m_next[m_next[position]];
        position = m_next[position];
    }
    return position;
}

Code InBox::PutIntoTrash(const std::vector<std::string>& blocks, std::vector<bool>& isThere) {
    const auto readText = [&](std::size_t n) {
        return ReadBytes({mailbox::MailPlace::Decode(blocks[n]), 0});
    };
    Mailbox trash(m_system, m_folder, mailbox::kTrash);
    Code result = trash.Open();
    if (result != mapi::kSuccess) return result;
    std::vector<std::string> waiting;
    std::vector<std::size_t> places;  // of the waiting ones
    for (std::size_t n = 0; n < blocks.size(); ++n) {
        const auto id = mailbox::MailPlace::Decode(blocks[n]).dwMsgId;
        if (trash.HasId(id)) {
            const auto text = readText(n);
            const auto contains = text ? trash.Contains(id, *text) : text.Error();
            if (!contains) result = CodeOf(contains.Error());
            if (!contains) continue;
            isThere[n] = *contains;
        }
        if (isThere[n]) continue;
        waiting.push_back(blocks[n]);
        places.push_back(n);
    }
    for (std::size_t begin = 0; begin < waiting.size(); ++begin) {
        const auto appended =
            trash.Append(std::span(waiting).subspan(begin), [&](std::size_t n, std::string& out) {
                const auto text = readText(places[begin + n]);
                if (!text) return CodeOf(text.Error());
                out += *text;
                return Code{mapi::kSuccess};
            });
        for (const auto end = begin + appended.count; begin < end; ++begin) {
            isThere[places[begin]] = true;
        }
        if (appended.code != mapi::kSuccess) result = appended.code;
        if (begin == waiting.size() || !appended.isOfText) break;
        // One that cannot be read does not hold up those behind it.
        trash.Close();
        if (const Code code = trash.Open(); code != mapi::kSuccess) return code;
    }
    return result;
}

Code InBox::CarryOutRemovals() {
    if (m_removed.empty()) return mapi::kSuccess;
    auto removed = std::exchange(m_removed, {});
    m_next.clear();
    m_stamp.reset();
    const auto toc = platform::ReadWhole(m_system.files, m_tocPath, kLargestToc);
    if (!toc) return CodeOf(toc.Error());
    std::vector<std::size_t> places;
    std::vector<std::string> blocks;
    const auto count = mailbox::TocHeader::Decode(*toc).wNumberOfMsgs;
    for (std::uint32_t n = 0; n < count && mailbox::BlockOffset(n + 1) <= toc->size(); ++n) {
        const auto at = static_cast<std::size_t>(mailbox::BlockOffset(n));
        auto block = toc->substr(at, mailbox::kMsgBlockSize);
        if (removed.erase(mailbox::MailPlace::Decode(block).dwMsgId) == 0) continue;
        places.push_back(at);
        blocks.push_back(std::move(block));
    }
    std::vector<bool> isMoved(blocks.size());
    const Code code = PutIntoTrash(blocks, isMoved);
    std::size_t n = 0;
    std::erase_if(places, [&](std::size_t) { return !isMoved[n++]; });
    LetGo();
    if (places.empty()) return code;
    const auto written =
        platform::WriteWhole(m_system.files, m_tocPath, WithoutBlocks(*toc, places));
    return code != mapi::kSuccess ? code : CodeOf(written);
}

}  // namespace eumapi
