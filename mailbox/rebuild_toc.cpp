#include "mailbox/rebuild_toc.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "mailbox/separators.h"
#include "text/calendar.h"
#include "text/mail_view.h"

namespace mailbox {

namespace {

constexpr std::size_t kHead =
    4096;  // bytes of a mail in which its sender and subject are looked for
constexpr std::uint64_t kMostBytes = std::numeric_limits<std::uint32_t>::max();

// The bytes of the blocks that an old table counts and has, by where their mails begin. Of several
// for one place the first counts.
class OldBlocks {
  public:
    explicit OldBlocks(std::string_view toc) {
        const auto header = TocHeader::Decode(toc);
        if (header.IsMacintosh()) return;
        for (std::uint32_t i = 0; i < header.wNumberOfMsgs && BlockOffset(i + 1) <= toc.size();
             ++i) {
            const auto block = toc.substr(static_cast<std::size_t>(BlockOffset(i)), kMsgBlockSize);
            m_byPlace.try_emplace(MailPlace::Decode(block).dwOffset, block);
            ++m_count;
        }
    }
    std::size_t Count() const { return m_count; }
    // The block for a mail at that place; empty if there is none.
    std::string_view At(std::uint64_t place) const {
        const auto found = m_byPlace.find(place);
        return found == m_byPlace.end() ? std::string_view() : found->second;
    }
    std::uint32_t HighestId() const {
        std::uint32_t highest = 0;
        for (const auto& [place, block] : m_byPlace) {
            highest = std::max(highest, MailPlace::Decode(block).dwMsgId);
        }
        return highest;
    }

  private:
    std::unordered_map<std::uint64_t, std::string_view> m_byPlace;
    std::size_t m_count = 0;
};

class Rebuilder {
  public:
    Rebuilder(platform::File& mbx, std::string_view oldToc, MailState newState, unsigned codePage)
        : m_mbx(mbx),
          m_old(oldToc),
          m_newState(newState),
          m_codePage(codePage),
          m_nextId(m_old.HighestId()) {}

    platform::Result<RebuiltToc> Run(TocHeader header) {
        const auto size = m_mbx.Size();
        if (!size) return size.Error();
        std::vector<std::uint64_t> starts;
        const auto found =
            FindSeparators(m_mbx, 0, [&](std::uint64_t at) { starts.push_back(at); });
        if (!found) return found.Error();
        starts.push_back(*size);
        std::string blocks;
        std::uint32_t count = 0;
        for (std::size_t i = 0; i + 1 < starts.size();) {
            const std::size_t next = EndOf(starts, i);
            if (count == kMostMsgs || starts[next] > kMostBytes) {
                ++m_result.left;
            } else if (auto added = Append(starts[i], starts[next], blocks); !added) {
                return added.Error();
            } else {
                ++count;
            }
            i = next;
        }
        m_result.lost = m_old.Count() - m_result.kept;
        header.wNumberOfMsgs = static_cast<std::uint16_t>(count);
        std::uint32_t highest = 0;
        for (const std::uint32_t id : m_ids) highest = std::max(highest, id);
        header.wHighestMsgId = static_cast<std::uint16_t>(highest & 0xFFFF);
        header.dwMbxSize = static_cast<std::uint32_t>(std::min(*size + 1, kMostBytes));
        m_result.bytes = header.Encode() + blocks;
        return std::move(m_result);
    }

  private:
    // The start at which the mail of that start ends: where its old block says, if a mail begins
    // there, else at the next one.
    std::size_t EndOf(const std::vector<std::uint64_t>& starts, std::size_t mail) const {
        const auto block = m_old.At(starts[mail]);
        if (!block.empty()) {
            const auto end = std::ranges::lower_bound(starts, MailPlace::Decode(block).End());
            const auto place = static_cast<std::size_t>(end - starts.begin());
            if (end != starts.end() && *end == MailPlace::Decode(block).End() && place > mail) {
                return place;
            }
        }
        return mail + 1;
    }

    platform::Status Append(std::uint64_t begin, std::uint64_t end, std::string& blocks) {
        MailPlace place{static_cast<std::uint32_t>(begin), static_cast<std::uint32_t>(end - begin)};
        std::string block(m_old.At(begin));
        if (block.empty()) {
            auto made = MakeBlock(begin, end);
            if (!made) return made.Error();
            block = *std::move(made);
            ++m_result.made;
        } else {
            ++m_result.kept;
            place.dwMsgId = MailPlace::Decode(block).dwMsgId;
            const bool isSound = place.dwMsgId != 0 && m_ids.insert(place.dwMsgId).second;
            if (!isSound) place.dwMsgId = NewId();
            place.PutIdInto(block);
        }
        place.PutInto(block);
        blocks += block;
        return {};
    }

    std::uint32_t NewId() {
        while (++m_nextId == 0 || m_ids.contains(m_nextId)) {
        }
        m_ids.insert(m_nextId);
        return m_nextId;
    }

    platform::Result<std::string> MakeBlock(std::uint64_t begin, std::uint64_t end) {
        std::string head(static_cast<std::size_t>(std::min<std::uint64_t>(end - begin, kHead)),
                         '\0');
        const auto count = m_mbx.ReadAt(begin, head);
        if (!count) return count.Error();
        head.resize(*count);
        const text::MailView mail(head);
        auto block = NewMsgBlock(mail.Field("From").value_or(""),
                                 mail.Field("Subject").value_or(""), false, m_codePage);
        block.wStatus = static_cast<std::uint16_t>(m_newState);
        block.dwMsgId = NewId();
        if (const auto date = text::ReadMailDate(mail.Separator().substr(kDateAt))) {
            block.szDate = text::Format("%I:%M %m/%d/%Y", date->time);
            block.dwSeconds =
                static_cast<std::uint32_t>(date->time.time_since_epoch().count() & 0xFFFFFFFF);
        }
        return block.Encode();
    }

    static constexpr std::size_t kDateAt = std::string_view("From ???@??? ").size();

    platform::File& m_mbx;
    const OldBlocks m_old;
    const MailState m_newState;
    const unsigned m_codePage;
    std::uint32_t m_nextId;
    std::unordered_set<std::uint32_t> m_ids;
    RebuiltToc m_result;
};

}  // namespace

platform::Result<RebuiltToc> RebuildToc(platform::File& mbx, std::string_view oldToc,
                                        const MailboxKind& kind, unsigned codePage) {
    auto header = TocHeader::Decode(oldToc);
    const bool isOurs = oldToc.size() >= kTocHeaderSize && !header.IsMacintosh();
    if (!isOurs) header = TocHeader::Decode(NewTocHeader(kind));
    // No mail of the out-box is sent a second time.
    const auto newState = kind.type == kOutBox.type ? MailState::kSent : MailState::kUnread;
    return Rebuilder(mbx, isOurs ? oldToc : std::string_view(), newState, codePage)
        .Run(std::move(header));
}

}  // namespace mailbox
