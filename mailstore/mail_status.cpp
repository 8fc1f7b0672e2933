#include "mailstore/mail_status.h"

#include <algorithm>
#include <cstdlib>
#include <span>
#include <vector>

#include "mailbox/toc_file.h"
#include "mapi/records.h"
#include "platform/kvutil/kvutil.h"

namespace mailstore {

namespace {

using platform::SeekFrom;
using platform::Status;

constexpr std::size_t kBlocksOfPiece = 4096;  // blocks read with one call

struct NotedState {
    std::uint32_t msgId = 0;
    const std::string* status = nullptr;
};

std::vector<NotedState> Sorted(const std::map<std::string, std::string>& states) {
    std::vector<NotedState> noted;
    noted.reserve(states.size());
    for (const auto& [indexId, status] : states) {
        KV_LOG(5, "              csRecordId = %s, csStatus = %s\n", indexId.c_str(),
               status.c_str());
        noted.push_back({mailbox::MsgIdOf(indexId), &status});
    }
    std::ranges::stable_sort(noted, {}, &NotedState::msgId);
    return noted;
}

const NotedState* Find(const std::vector<NotedState>& noted, std::uint32_t msgId) {
    const auto found = std::ranges::lower_bound(noted, msgId, {}, &NotedState::msgId);
    return found != noted.end() && found->msgId == msgId ? &*found : nullptr;
}

bool ApplyState(char* block, const std::vector<NotedState>& noted) {
    const std::string_view bytes(block, mailbox::kMsgBlockSize);
    const std::uint32_t msgId = mailbox::MailPlace::Decode(bytes).dwMsgId;
    KV_LOG(5, "              MsgBlock.dwMsgId = %d(0x%08x)\n", static_cast<int>(msgId), msgId);
    const NotedState* state = Find(noted, msgId);
    if (state == nullptr) return false;
    KV_LOG(5, "              - UpDate MailID(%s) Status = %s\n", mailbox::IndexIdOf(msgId).c_str(),
           state->status->c_str());
    const auto status =
        static_cast<std::uint32_t>(std::strtoul(state->status->c_str(), nullptr, 10));
    block[mailbox::kStatusOffset] = (status & kReadBit) != 0 ? 1 : 0;
    block[mailbox::kStatusOffset + 1] = 0;
    return true;
}

// Writes the runs of changed blocks of one piece, each with one call.
class RunWriter {
  public:
    RunWriter(platform::File& toc, std::uint64_t at, std::string_view piece)
        : m_toc(toc), m_at(at), m_piece(piece) {}

    Status Changed(std::size_t block) {
        if (m_end == block) {
            ++m_end;
            return {};
        }
        Status written = Finish();
        m_begin = block;
        m_end = block + 1;
        return written;
    }

    Status Finish() {
        if (m_begin == m_end) return {};
        const auto moved = m_toc.Seek(
            static_cast<std::int64_t>(m_at + m_begin * mailbox::kMsgBlockSize), SeekFrom::kBegin);
        if (!moved) return moved.Error();
        return m_toc.Write(m_piece.substr(m_begin * mailbox::kMsgBlockSize,
                                          (m_end - m_begin) * mailbox::kMsgBlockSize));
    }

  private:
    platform::File& m_toc;
    std::uint64_t m_at;
    std::string_view m_piece;
    std::size_t m_begin = 0, m_end = 0;  // the run in hand, empty at first
};

Status StorePiece(platform::File& toc, std::uint64_t at, std::span<char> piece,
                  const std::vector<NotedState>& noted) {
    RunWriter writer(toc, at, {piece.data(), piece.size()});
    for (std::size_t block = 0; (block + 1) * mailbox::kMsgBlockSize <= piece.size(); ++block) {
        if (!ApplyState(piece.data() + block * mailbox::kMsgBlockSize, noted)) continue;
        if (auto status = writer.Changed(block); !status) return status;
    }
    return writer.Finish();
}

}  // namespace

std::uint32_t StatusOfFlags(std::uint32_t flags) {
    if ((flags & mapi::kSent) != 0) return kStatusSent;
    return (flags & mapi::kUnread) != 0 ? kStatusUnread : kStatusRead;
}

platform::Status StoreStates(platform::File& toc,
                             const std::map<std::string, std::string>& states) {
    if (const auto header = mailbox::ReadTocHeaderToChange(toc); !header) return header.Error();
    const std::vector<NotedState> noted = Sorted(states);
    KV_LOG(5, "CREudoraMail::UpdateMailStatus  quick sort\n");
    std::vector<char> piece(kBlocksOfPiece * mailbox::kMsgBlockSize);
    for (std::uint64_t at = mailbox::kTocHeaderSize;; at += piece.size()) {
        const auto moved = toc.Seek(static_cast<std::int64_t>(at), SeekFrom::kBegin);
        if (!moved) return moved.Error();
        const auto count = toc.Read(piece);
        if (!count) return count.Error();
        if (auto status = StorePiece(toc, at, std::span(piece).first(*count), noted); !status) {
            return status;
        }
        if (*count < piece.size()) return toc.Flush();
    }
}

}  // namespace mailstore
