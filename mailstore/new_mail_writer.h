#pragma once

#include <span>
#include <string>

#include "mailbox/append.h"
#include "mapi/records.h"
#include "platform/os/clock.h"

namespace mailstore {

// Words of the language bundle that stand in a mailbox.
struct MailLabels {
    std::string from;        // opens the separator line and the sender's line
    std::string attachment;  // opens an attachment line
};

struct NewMail {
    const MapiMessage* record = nullptr;
    std::string messageId;
};

// The in-box, and how mails are written into it.
struct NewMailPlace {
    platform::File& mbx;  // open for reading and writing
    platform::File& toc;
    platform::Clock& clock;
    MailLabels labels;
    unsigned codePage = 1252;
    bool isJapanese = false;
    std::uint32_t highestMsgId = 0;  // its low half goes into the header
};

// Appends the mails. Of the first `uncertain` ones an earlier call could not tell whether they are
// stored: they are looked for. kCorrupt, with both files as they were, if the .toc file is no table
// that we may change.
mailbox::Appended AppendNewMails(const NewMailPlace& place, std::span<const NewMail> mails,
                                 std::size_t uncertain = 0);

}  // namespace mailstore
