#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "platform/os/files.h"

// The two files of a mailbox, held against each other.
namespace mailbox {

// What the table of contents says and what the text holds. Numbers are of mails.
struct MailboxState {
    std::uint64_t inHeader = 0;    // as the table's header counts them
    std::uint64_t blocks = 0;      // whole blocks in the file, counted or not
    std::uint64_t separators = 0;  // separator lines in the text
    std::uint64_t misplaced = 0;   // counted blocks that lead to no separator line
    std::uint64_t beyond = 0;      // counted blocks whose mail goes on behind the end of the text
    std::uint64_t unread = 0;      // counted blocks of unread mails
    std::uint64_t unknown = 0;     // mails that came to the text after the table, which lacks them
    bool takesMails = true;        // what stands behind the counted blocks may be overwritten

    bool AgreesInAll() const {
        return inHeader == blocks && blocks == separators && misplaced == 0 && beyond == 0;
    }
};

// Reads both files, in pieces and in time of their size. `seen` gets the sender and the subject of
// each counted block, bytes in the system code page; texts of the block's whole width may be cut
// within a character. Files of Eudora for Macintosh make no sense here.
platform::Result<MailboxState> ExamineMailbox(
    platform::File& mbx, platform::File& toc,
    const std::function<void(std::string_view text, bool isCut)>& seen);

// How many separator lines a text has: its mails, whatever a table says.
platform::Result<std::uint64_t> CountSeparators(platform::File& mbx);

}  // namespace mailbox
