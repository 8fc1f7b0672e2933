#include "mailbox/mailbox_state.h"

#include <algorithm>
#include <vector>

#include "mailbox/append.h"
#include "mailbox/separators.h"
#include "mailbox/toc_file.h"

namespace mailbox {

namespace {

constexpr std::size_t kWidth = 63;  // of a sender or a subject in a block

}  // namespace

platform::Result<std::uint64_t> CountSeparators(platform::File& mbx) {
    std::uint64_t count = 0;
    const auto found = FindSeparators(mbx, 0, [&](std::uint64_t) { ++count; });
    if (!found) return found.Error();
    return count;
}

platform::Result<MailboxState> ExamineMailbox(
    platform::File& mbx, platform::File& toc,
    const std::function<void(std::string_view, bool)>& seen) {
    const auto header = ReadTocHeader(toc);
    if (!header) return header.Error();
    const auto tocSize = toc.Size(), mbxSize = mbx.Size();
    if (!tocSize) return tocSize.Error();
    if (!mbxSize) return mbxSize.Error();
    MailboxState state;
    state.inHeader = header->wNumberOfMsgs;
    state.blocks =
        (std::max<std::uint64_t>(*tocSize, kTocHeaderSize) - kTocHeaderSize) / kMsgBlockSize;
    state.takesMails = CheckLeftovers(toc, *header, *mbxSize).HasValue();
    std::vector<std::uint64_t> starts;
    std::string bytes(kMsgBlockSize, '\0');
    for (std::uint32_t i = 0; i < std::min(state.inHeader, state.blocks); ++i) {
        const auto read = toc.ReadAt(BlockOffset(i), bytes);
        if (!read) return read.Error();
        const auto block = MsgBlock::Decode(bytes);
        for (const std::string& text : {block.szFrom, block.szSubject}) {
            seen(text, text.size() >= kWidth);
        }
        state.unread += block.wStatus == static_cast<std::uint16_t>(MailState::kUnread) ? 1 : 0;
        state.beyond += block.End() > *mbxSize ? 1 : 0;
        starts.push_back(block.dwOffset);
    }
    std::ranges::sort(starts);
    state.misplaced = starts.size();
    auto next = starts.begin();
    const auto found = FindSeparators(mbx, 0, [&](std::uint64_t offset) {
        ++state.separators;
        while (next != starts.end() && *next < offset) ++next;
        // A table of Eudora's tells how long the text was when it was written.
        const bool isLater = header->dwMbxSize != 0 && offset + 1 >= header->dwMbxSize;
        if (isLater && (next == starts.end() || *next != offset)) ++state.unknown;
        for (; next != starts.end() && *next == offset; ++next) --state.misplaced;
    });
    if (!found) return found.Error();
    return state;
}

}  // namespace mailbox
