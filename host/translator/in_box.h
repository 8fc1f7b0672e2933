#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "host/base/failure.h"
#include "host/eudora/setup.h"
#include "host/translator/translator_session.h"

namespace host::translator {

// What of Eudora's mail the translator lets pass, as its own dialog shows it.
struct MailLimits {
    bool limitsAge = false;
    std::int32_t ageDays = 0;
    bool limitsSize = false;
    std::int32_t sizeKB = 0;
    bool attachments = false;
    bool limitsAttachments = false;
    std::int32_t attachmentKB = 0;
    bool operator==(const MailLimits&) const = default;
};

// A change of the limits, each "on", "off" or a number, which switches the limit on; what has no
// value stays. `attachments` has no number.
struct MailLimitChanges {
    std::optional<std::string> age, size, attachments, attachmentSize;
    bool IsEmpty() const { return !age && !size && !attachments && !attachmentSize; }
};

// kRefused, with the way out, unless both files of the in-box are there, nobody is writing them,
// and the table of contents is one that Eudora for Windows wrote. The translator would make what is
// missing.
base::Status CheckInBox(const eudora::Setup& setup);

// After CheckInBox: kRefused if the first mail of the table of contents is none in the mailbox, so
// that the two belong to different boxes and nothing may be added to them.
base::Status CheckInBoxPair(const eudora::Setup& setup);

// Selects the settings of a session of kMailKind, which can be opened then. The first run on an
// Eudora makes the settings file; with `writesNothing` it works on the usual settings instead.
// Gives the selection, which SaveSettings wants.
base::Result<std::string> SelectMail(TranslatorSession& session, const eudora::Setup& setup,
                                     bool writesNothing);

// A session, after CheckInBox, with the settings of the mails selected, not opened yet.
base::Result<TranslatorSession> SelectInBox(TranslatorHost& host, const eudora::Setup& setup,
                                            bool writesNothing, std::string& selection);

// The limits that hold in a session after SelectMail.
base::Result<MailLimits> ReadMailLimits(TranslatorSession& session, const std::string& selection);
// Answers the translator's dialog in a person's place. Nothing is saved.
base::Status ChangeMailLimits(TranslatorSession& session, const std::string& selection,
                              const MailLimitChanges& changes);

// "mails of the last 7 days, up to 32 KB, without attachments".
std::string DescribeLimits(const MailLimits& limits);

}  // namespace host::translator
