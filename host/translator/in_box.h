#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "host/base/failure.h"
#include "host/eudora/setup.h"
#include "host/translator/translator_session.h"

// Eudora's in-box and the translator's settings for mails.
namespace host::translator {

// The translator's limits for mails, as its dialog shows them. Ages are in days, sizes in KB of
// 1024 bytes. A limit that is off keeps its number.
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

// A change of the limits. Each value is "off" or a number, which switches the limit on;
// `attachments` is "on" or "off". What has no value stays.
struct MailLimitChanges {
    std::optional<std::string> age, size, attachments, attachmentSize;
    bool IsEmpty() const { return !age && !size && !attachments && !attachmentSize; }
};

// Whether there is an in-box, if only one of its two files.
bool HasInBox(const eudora::Setup& setup);
// kRefused, with advice, unless In.mbx and In.toc exist, no other program writes them, and the
// table of contents has a header that is not of Eudora for Macintosh. To be called before the
// translator, which makes missing files.
base::Status CheckInBox(const eudora::Setup& setup);

// kRefused, with advice, if the mailbox has no mail where the table of contents says that the first
// one begins: the two files belong to different mailboxes. To be called after CheckInBox.
base::Status CheckInBoxPair(const eudora::Setup& setup);

// Selects the settings of a session of kMailKind, which can then be opened. Gives the selection, a
// Windows path in the system code page, for SaveSettings. The first run on an Eudora makes the
// settings file; with `writesNothing` it works with the default settings instead.
base::Result<std::string> SelectMail(TranslatorSession& session, const eudora::Setup& setup,
                                     bool writesNothing);

// A session with the mail settings selected, not opened yet, after CheckInBox.
base::Result<TranslatorSession> SelectInBox(TranslatorHost& host, const eudora::Setup& setup,
                                            bool writesNothing, std::string& selection);

// The limits of a session after SelectMail, read from the translator's dialog, which is cancelled.
base::Result<MailLimits> ReadMailLimits(TranslatorSession& session, const std::string& selection);
// Changes them for this session by answering the dialog; SaveSettings keeps them.
base::Status ChangeMailLimits(TranslatorSession& session, const std::string& selection,
                              const MailLimitChanges& changes);

// What decides the limits: a text that changes when they do.
std::string LimitsPrint(const eudora::Setup& setup, const MailLimitChanges& changes);

// "mails of the last 7 days, up to 32 KB, without attachments".
std::string DescribeLimits(const MailLimits& limits);

}  // namespace host::translator
