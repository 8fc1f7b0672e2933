#include <algorithm>

#include "fuzz/fuzz.h"
#include "host/eudora/mailboxes.h"
#include "platform/testing/memory_files.h"

// A list of mailboxes. Whatever it says, what is found are files of its own folder, each once.
void Check(std::string_view input) {
    platform::testing::MemoryFiles files;
    files.Put("C:\\out.mbx", "x");
    for (const char* name : {"In.mbx", "In.toc", "b.mbx", "c.toc", "Work.fol\\a.mbx"}) {
        files.Put(std::string("C:\\E\\") + name, "x");
    }
    files.Put("C:\\E\\descmap.pce", input);
    const auto tree =
        host::eudora::FindMailboxes(files, "C:\\E", input.size() % 2 == 0 ? 1252 : 932, false);
    std::vector<std::string> texts;
    for (const auto& mailbox : tree.mailboxes) {
        Require(mailbox.text.starts_with("C:\\E\\") &&
                mailbox.text.find("..") == std::string::npos);
        Require(files.Exists(mailbox.text) || files.Exists(mailbox.table));
        texts.push_back(mailbox.text);
    }
    for (const char* name : {"In.mbx", "b.mbx", "Work.fol\\a.mbx"}) {
        Require(std::ranges::count(texts, std::string("C:\\E\\") + name) == 1);
    }
}
