#include <algorithm>
#include <map>

#include "fuzz/fuzz.h"
#include "mailbox/mailbox_index.h"
#include "mailbox/toc_file.h"
#include "platform/os/little_endian.h"
#include "platform/testing/memory_files.h"
#include "tests/mailstore/mailbox_builder.h"

// Two bytes of length, a .toc file of that length, and a .mbx file: the index must be what a plain
// reading of each mail gives.
void Check(std::string_view input) {
    if (input.size() < 2) return;
    const std::size_t tocSize = platform::LittleEndian(input.substr(0, 2));
    const auto toc = input.substr(2, tocSize);
    const auto mbx = input.substr(2 + toc.size());
    platform::testing::MemoryFiles files;
    files.Put("C:\\t", toc);
    files.Put("C:\\m", mbx);
    const auto open = [&](const char* path) {
        return *files.Open(path, platform::OpenMode::kRead, platform::Share::kRead);
    };
    const auto tocFile = open("C:\\t"), mbxFile = open("C:\\m");
    // Blocks that the file lacks are all alike: a few of them are enough, tens of thousands slow.
    const auto blocks = static_cast<std::uint32_t>(toc.size() / mailbox::kMsgBlockSize);
    const std::uint32_t count =
        std::min<std::uint32_t>(mailbox::ReadTocHeader(*tocFile)->wNumberOfMsgs, blocks + 4);
    std::map<std::uint32_t, std::string> ids, plain;
    const auto note = [&](std::uint32_t id, std::optional<std::string_view> messageId) {
        if (messageId) ids[id] = *messageId;
    };
    const auto last = mailbox::ReadIndex(*mbxFile, *tocFile, count, note);
    std::uint32_t lastId = 0;
    for (std::uint32_t i = 0; i < count; ++i) {
        const auto at = mailbox::BlockOffset(i);
        const auto block =
            mailbox::MsgBlock::Decode(at < toc.size() ? toc.substr(at) : std::string_view());
        lastId = block.dwMsgId;
        if (block.dwOffset >= mbx.size()) continue;
        const auto id = PlainMessageId(std::string(mbx.substr(block.dwOffset, block.dwLength)));
        if (id) plain[block.dwMsgId] = *id;
    }
    Require(last && *last == lastId && ids == plain);
}
