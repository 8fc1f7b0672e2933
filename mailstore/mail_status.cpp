#include "mailstore/mail_status.h"

#include <algorithm>
#include <span>
#include <utility>
#include <vector>

#include "mailbox/toc_file.h"
#include "mapi/records.h"
#include "platform/kvutil/kvutil.h"

namespace mailstore {

namespace {

using platform::Status;

constexpr std::size_t kBlocksOfPiece = 4096;  // blocks read with one call

// The states again, in a form that a block without one costs little.
using SortedStates = std::vector<std::pair<std::uint32_t, std::uint32_t>>;

bool ApplyState(char* block, const SortedStates& states) {
    const std::string_view bytes(block, mailbox::kMsgBlockSize);
    const std::uint32_t msgId = mailbox::MailPlace::Decode(bytes).dwMsgId;
    KV_LOG(5, "              MsgBlock.dwMsgId = %d(0x%08x)\n", static_cast<int>(msgId), msgId);
    const auto state =
        std::ranges::lower_bound(states, msgId, {}, &SortedStates::value_type::first);
    if (state == states.end() || state->first != msgId) return false;
    KV_LOG(5, "              - UpDate MailID(%s) Status = %d\n", mailbox::IndexIdOf(msgId).c_str(),
           static_cast<int>(state->second));
    block[mailbox::kStatusOffset] = (state->second & kReadBit) != 0 ? 1 : 0;
    block[mailbox::kStatusOffset + 1] = 0;
    return true;
}

// Writes each run of changed blocks with one call. The last block may be cut short.
Status StorePiece(platform::File& toc, std::uint64_t at, std::span<char> piece,
                  const SortedStates& states) {
    std::size_t begin = 0, end = 0;  // of the run in hand
    const auto writeRun = [&]() -> Status {
        if (begin == end) return {};
        return mailbox::WriteAt(toc, at + begin, {piece.data() + begin, end - begin});
    };
    for (std::size_t block = 0; block + mailbox::kMsgBlockSize <= piece.size();
         block += mailbox::kMsgBlockSize) {
        if (!ApplyState(piece.data() + block, states)) continue;
        if (block != end) {
            if (Status written = writeRun(); !written) return written;
            begin = block;
        }
        end = block + mailbox::kMsgBlockSize;
    }
    return writeRun();
}

}  // namespace

std::uint32_t StatusOfFlags(std::uint32_t flags) {
    if ((flags & mapi::kSent) != 0) return kStatusSent;
    return (flags & mapi::kUnread) != 0 ? kStatusUnread : kStatusRead;
}

Status StoreStates(platform::File& toc, const States& states) {
    if (const auto header = mailbox::ReadTocHeaderToChange(toc); !header) return header.Error();
    for (const auto& [msgId, status] : states) {
        KV_LOG(5, "              csRecordId = %s, csStatus = %d\n",
               mailbox::IndexIdOf(msgId).c_str(), static_cast<int>(status));
    }
    KV_LOG(5, "CREudoraMail::UpdateMailStatus  quick sort\n");
    const SortedStates sorted(states.begin(), states.end());
    std::vector<char> piece(kBlocksOfPiece * mailbox::kMsgBlockSize);
    for (std::uint64_t at = mailbox::kTocHeaderSize;; at += piece.size()) {
        const auto count = toc.ReadAt(at, piece);
        if (!count) return count.Error();
        const auto read = std::span(piece).first(*count);
        if (Status stored = StorePiece(toc, at, read, sorted); !stored) return stored;
        if (*count < piece.size()) return toc.Flush();
    }
}

}  // namespace mailstore
