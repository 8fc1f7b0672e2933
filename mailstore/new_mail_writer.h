#pragma once

#include <optional>
#include <span>
#include <string>

#include "mailstore/new_mail_text.h"
#include "platform/os/clock.h"
#include "platform/os/files.h"

namespace mailstore {

struct NewMail {
    const MapiMessage* record = nullptr;
    std::string messageId;
};

struct AppendPlace {
    platform::File& mbx;  // open for reading and writing
    platform::File& toc;
    platform::Clock& clock;
    MailLabels labels;
    unsigned codePage = 1252;
    bool isJapanese = false;
    std::uint32_t highestMsgId = 0;  // its low half goes into the header
};

// What became of the mails, in their order: the first `written` are stored, then come those of
// which nobody can tell, then the others.
struct Appended {
    std::size_t written = 0;
    std::size_t uncertain = 0;
    std::size_t refused = 0;  // for which a mailbox has no room: the last ones
    // kCorrupt: the .toc file is no table that we may change. Both files are as they were.
    std::optional<platform::Failure> failure;
    bool isOfToc = false;  // the failure, not the .mbx file's
    bool isOutOfMemory = false;
};

// Appends mails to a mailbox: their texts, then their blocks behind the last one that the header
// counts, and the header last, each on the disk before the next. Whatever fails, the header counts
// whole mails only; then the files are cut back behind the last mail that it counts. Of the first
// `uncertain` mails an earlier call could not tell whether they are stored: they are looked for.
Appended AppendMails(const AppendPlace& place, std::span<const NewMail> mails,
                     std::size_t uncertain = 0);

}  // namespace mailstore
