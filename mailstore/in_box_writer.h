#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <string>

#include "frame/trans_util.h"
#include "mailbox/append.h"

// What goes into the files of the in-box: new mails and read states.
namespace mailstore {

// A record to be stored and the Message-ID that it gets. The record is the caller's.
struct NewMail {
    const MapiMessage* record = nullptr;
    std::string messageId;
};

// Appends mails to the in-box, whose files are open for reading and writing; the low half of
// `highestId` goes into the header. The first `uncertain` mails may be stored already, as an
// earlier call reported; those that are found are not stored again. kCorrupt, with both files
// unchanged, if the .toc file is no table of contents of Eudora for Windows.
mailbox::Appended AppendNewMails(CEudoraTransUtil& util, platform::File& mbx, platform::File& toc,
                                 std::span<const NewMail> mails, std::uint32_t highestId,
                                 std::size_t uncertain);

// Statuses by the numbers of mails.
using States = std::map<std::uint32_t, std::uint32_t>;

// Stores read states in a .toc file that is open for reading and writing, in one pass that writes
// only the blocks with a state here; an incomplete last block stays. kCorrupt, with nothing
// written, for a file that is no table of contents of Eudora for Windows. After another failure any
// part of the states may be stored.
platform::Status StoreStates(platform::File& toc, const States& states);

}  // namespace mailstore
