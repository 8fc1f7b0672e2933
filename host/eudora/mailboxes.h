#pragma once

#include <string>
#include <vector>

#include "platform/os/files.h"

// The mailboxes of a Eudora folder.
namespace host::eudora {

// A mailbox by its names. Texts are UTF-8.
struct Mailbox {
    std::string name;   // with those of its folders in front, as Eudora shows them: "Work/Offers"
    std::string place;  // its text below Eudora's folder: "Work.fol/Offers.mbx"
    std::string text;   // native path of the .mbx file; as it would be if it is missing
    std::string table;  // and of the .toc file
    bool isUnlisted = false;  // its folder has a list of mailboxes that lacks it
};

struct MailboxTree {
    std::vector<Mailbox> mailboxes;  // in the order of Eudora's lists
    std::vector<std::string> notes;  // what was left out, and what the lists lack
};

// Finds them by Eudora's own lists (descmap.pce); files that no list names come behind, by their
// own names, as do all of a folder without a list. `folder` is a native path, links followed.
// Nothing outside of it is looked at, unless links are to be followed. A list is hostile text: it
// names files in its own folder only, and what it says of others is left out with a note.
MailboxTree FindMailboxes(platform::Files& files, const std::string& folder, unsigned codePage,
                          bool followLinks);

}  // namespace host::eudora
