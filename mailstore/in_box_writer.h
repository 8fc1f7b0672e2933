#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <string>

#include "frame/trans_util.h"
#include "mailbox/append.h"

// What goes into the files of the in-box: new mails and read states.
namespace mailstore {

struct NewMail {
    const MapiMessage* record = nullptr;
    std::string messageId;
};

// Appends mails to the in-box, whose files are open for reading and writing; the low half of
// `highestId` goes into the header. Of the first `uncertain` mails an earlier call could not tell
// whether they are stored: they are looked for. kCorrupt, with both files as they were, if the .toc
// file is no table that we may change.
mailbox::Appended AppendNewMails(CEudoraTransUtil& util, platform::File& mbx, platform::File& toc,
                                 std::span<const NewMail> mails, std::uint32_t highestId,
                                 std::size_t uncertain);

// Statuses by the numbers of mails.
using States = std::map<std::uint32_t, std::uint32_t>;

// Stores read states in a .toc file that is open for reading and writing: one pass over its
// blocks, of which only those are written that have a state here. A block that the end of the file
// cuts short is left alone, and so is, with kCorrupt, a file that is no table of contents of Eudora
// for Windows.
platform::Status StoreStates(platform::File& toc, const States& states);

}  // namespace mailstore
