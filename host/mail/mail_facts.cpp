#include "host/mail/mail_facts.h"

#include <algorithm>

#include "text/calendar.h"
#include "text/fingerprint.h"
#include "text/mail_view.h"

namespace host::mail {

namespace {

using platform::OpenMode;
using platform::Share;

constexpr std::uint64_t kLargestTable = 64u << 20;
constexpr std::uint64_t kLargestMail = 256u << 20;

constexpr std::string_view kSeparatorStart = "From ???@??? ";

std::string FlagsOf(const mailbox::MsgBlock& block) {
    std::string flags;
    if (block.wLabel != 0 || block.wPriority == 1 || block.wPriority == 2) flags += 'F';
    if (block.wStatus == 3 || block.wStatus == 4) flags += 'P';
    if (block.wStatus == 2) flags += 'R';
    if (block.wStatus != 0) flags += 'S';
    return flags;
}

}  // namespace

MailboxFiles::MailboxFiles(std::unique_ptr<platform::File> mbx, std::string toc)
    : m_mbx(std::move(mbx)), m_toc(std::move(toc)) {
    const auto count = mailbox::TocHeader::Decode(m_toc).wNumberOfMsgs;
    for (std::uint32_t i = 0; i < count && mailbox::BlockOffset(i + 1) <= m_toc.size(); ++i) {
        const auto block = std::string_view(m_toc).substr(mailbox::BlockOffset(i));
        m_blocks.emplace(mailbox::MailPlace::Decode(block).dwMsgId, i);
    }
}

base::Result<MailboxFiles> MailboxFiles::Open(platform::Files& files, const std::string& text,
                                              const std::string& table,
                                              const std::optional<std::string>& made) {
    auto mbx = files.Open(text, OpenMode::kRead, Share::kReadWrite);
    if (!mbx) return mbx.Error();
    if (made) return MailboxFiles(*std::move(mbx), *made);
    auto toc = platform::ReadWhole(files, table, kLargestTable, Share::kReadWrite);
    if (!toc) return toc.Error();
    return MailboxFiles(*std::move(mbx), *std::move(toc));
}

base::Result<std::optional<MailFacts>> MailboxFiles::Of(const std::string& id) {
    const auto found = m_blocks.find(mailbox::MsgIdOf(id));
    if (found == m_blocks.end()) return std::optional<MailFacts>();
    const auto block = mailbox::MsgBlock::Decode(
        std::string_view(m_toc).substr(mailbox::BlockOffset(found->second)));
    std::string bytes(
        static_cast<std::size_t>(std::min<std::uint64_t>(block.dwLength, kLargestMail)), '\0');
    const auto count = m_mbx->ReadAt(block.dwOffset, bytes);
    if (!count) return count.Error();
    bytes.resize(*count);
    // Eudora writes local time there; which zone that was in nobody knows.
    const auto line = text::MailView(bytes).Separator();
    const auto date =
        text::ReadMailDate(line.substr(std::min(line.size(), kSeparatorStart.size())));
    const std::chrono::sys_seconds separator(date ? date->time.time_since_epoch()
                                                  : std::chrono::seconds(0));
    MailFacts facts;
    facts.arrival = separator;
    if (block.dwSeconds != 0) {
        facts.arrival = std::chrono::sys_seconds(std::chrono::seconds(block.dwSeconds));
    }
    // By the text alone, so that a mail keeps its name when its table is built anew.
    const std::string print = text::QuickFingerprint(bytes);
    const int number = ++m_seen[print];
    facts.unique = std::to_string(separator.time_since_epoch().count()) + '.' + print +
                   (number > 1 ? '-' + std::to_string(number) : "") + kExported;
    facts.flags = FlagsOf(block);
    if (block.wLabel != 0) facts.label = std::to_string(block.wLabel);
    return std::optional(std::move(facts));
}

std::string MailboxFiles::HeaderOf(const std::string& id) {
    constexpr std::size_t kShort = 4096, kLongest = 64 * 1024;
    const auto found = m_blocks.find(mailbox::MsgIdOf(id));
    if (found == m_blocks.end()) return {};
    const auto place = mailbox::MailPlace::Decode(
        std::string_view(m_toc).substr(mailbox::BlockOffset(found->second)));
    std::string bytes;
    for (std::size_t most = kShort; most <= kLongest; most *= 4) {
        bytes.resize(std::min<std::size_t>(most, place.dwLength));
        const auto count = m_mbx->ReadAt(place.dwOffset, bytes);
        if (!count) return {};
        bytes.resize(*count);
        const text::MailView view(bytes);
        if (!view.Separator().starts_with(kSeparatorStart)) return {};
        if (view.HasBody()) return std::string(view.Header());
        if (*count < most) break;
    }
    return {};
}

}  // namespace host::mail
