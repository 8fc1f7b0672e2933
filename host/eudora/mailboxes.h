#pragma once

#include <string>
#include <vector>

#include "host/base/failure.h"
#include "host/eudora/setup.h"
#include "platform/os/files.h"

// The mailboxes of a Eudora folder.
namespace host::eudora {

// A mailbox and its files. Texts are UTF-8.
struct Mailbox {
    std::vector<std::string> names;  // those of its folders and its own, as Eudora shows them
    std::string place;               // its text below Eudora's folder: "Work.fol/Offers.mbx"
    std::string text;         // native path of the .mbx file; as it would be if it is missing
    std::string table;        // and of the .toc file
    bool isUnlisted = false;  // its folder has a list of mailboxes that lacks it

    // "Work/Offers"
    std::string Name() const;
    // Whether it is the in-box, which the translator serves wherever it runs.
    bool IsInBox() const;
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

// The mailbox that a person names as FindMailboxes has it or by its place, in any case; null if
// there is none.
const Mailbox* FindByName(const MailboxTree& tree, const std::string& name);
// The refusal of such a name.
base::Failure NoSuchMailbox(const Setup& setup, const std::string& name);

}  // namespace host::eudora
