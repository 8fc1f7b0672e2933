#include <set>

#include "fuzz/fuzz.h"
#include "mailbox/rebuild_toc.h"
#include "mailbox/toc_file.h"
#include "platform/os/little_endian.h"
#include "platform/testing/memory_files.h"

// Two bytes of length, an old .toc file of that length, and a .mbx file. The new table has each
// mail of the text once and in full, each with an id of its own, and is what a second rebuilding
// makes of it.
void Check(std::string_view input) {
    if (input.size() < 2) return;
    const auto oldToc = input.substr(2, platform::LittleEndian(input.substr(0, 2)));
    const auto mbx = input.substr(2 + oldToc.size());
    platform::testing::MemoryFiles files;
    const auto open = [&](const char* path, std::string_view bytes) {
        files.Put(path, bytes);
        return *files.Open(path, platform::OpenMode::kRead, platform::Share::kRead);
    };
    const auto text = open("C:\\m", mbx);
    const auto rebuilt = *mailbox::RebuildToc(*text, oldToc, mailbox::kInBox, 1252);
    const auto toc = *mailbox::ReadToc(*open("C:\\t", rebuilt.bytes));
    Require(toc.mails.size() == rebuilt.kept + rebuilt.made && rebuilt.left == 0);
    std::set<std::uint32_t> ids{0};
    for (std::size_t i = 0; i < toc.mails.size(); ++i) {
        const auto& mail = toc.mails[i];
        const bool isLast = i + 1 == toc.mails.size();
        Require(mbx.substr(mail.dwOffset)
                    .starts_with("From ???@??"
                                 "? "));
        Require(mail.End() == (isLast ? mbx.size() : toc.mails[i + 1].dwOffset));
        Require(ids.insert(mail.dwMsgId).second);
    }
    const auto again = *mailbox::RebuildToc(*text, rebuilt.bytes, mailbox::kInBox, 1252);
    Require(again.bytes == rebuilt.bytes && again.made == 0 && again.lost == 0);
}
