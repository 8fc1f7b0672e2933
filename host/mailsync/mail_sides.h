#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "host/mail/mail.h"
#include "host/maildir/maildir.h"
#include "host/state/memory.h"

// What a sync of mails works on. Ids and markers are in the system code page, names in UTF-8,
// Message-IDs without angle brackets.
namespace host::mailsync {

// A mail as Eudora has it now.
struct EudoraHead {
    std::string id, marker;                // no marker: the mail cannot be read
    std::optional<std::string> messageId;  // nothing: cannot be told
    std::string name;
    bool isWithinLimits = true;
    // A fingerprint, where more than ids must tell which one it is.
    std::string content = {};
    std::string fileMessageId = {};      // what its file in the Maildir would say
    std::string people = {}, text = {};  // see Traits; where it must be told from others
};

// A file of the Maildir as it stands there.
struct FolderHead {
    std::string messageId;  // the one that Eudora's mail would have
    std::string name;
    std::uint64_t size = 0;              // in bytes
    std::string people = {}, text = {};  // as of EudoraHead
};

// A file in .Outbox with the name of its mail.
struct OutgoingFile {
    maildir::MaildirEntry file;
    std::string name;
    std::size_t lostCharacters = 0;  // that Eudora's code page lacks
};

// What a run that was cut off left of a file: one of two that hold the same mail, a part of one, or
// a name in tmp alone.
struct Leftover {
    std::string unique;
    maildir::MaildirEntry file;  // without name if there is none
};

// What both sides hold now, and held when they were last in step. A file with the flag T is on its
// way out: it counts as removed.
struct MailSides {
    std::vector<EudoraHead> eudora;  // in the mailbox's order; each id once
    std::vector<maildir::MaildirEntry> folder;
    std::vector<state::RememberedMail> remembered;
    // Files that are not remembered, by unique name. Drafts are among them only if a remembered
    // file is missing, which a draft could be under a new name.
    std::unordered_map<std::string, FolderHead> foreign;
    // Files that an interrupted run delivered in part, by unique name.
    std::unordered_set<std::string> torn;
    std::vector<Leftover> leftovers;  // not in `folder`
    // Remembered files that have other sizes than kvsync gave them, by unique name; looked for
    // where one is to be composed again.
    std::unordered_set<std::string> edited;
    std::uint64_t largestAttachment = 0;  // in bytes, that passes Eudora's limits
    // Message-IDs that several mails have, where the mailbox may have been numbered anew: ids are
    // no sign then.
    std::unordered_set<std::string> doubtful;
    std::vector<std::string> leftAlone;          // files that hold nothing, a line each
    std::vector<OutgoingFile> outgoing;          // in .Outbox
    std::vector<state::RememberedMail> sending;  // what is remembered of those
    std::size_t queued = 0;                      // mails in Eudora's out-box
    // The mails and files that cannot be read, a line each.
    std::vector<std::string> unread;
    // Whether one of the unreadable ones may be a remembered mail or file that seems to be gone.
    bool mayMiss = false;
};

// The Message-ID that the file of a remembered mail has.
const std::string& FileMessageIdOf(const state::RememberedMail& row);

// A fingerprint of a mail's sender, recipients, subject, body and date. It does not depend on the
// id, which changes when Eudora rebuilds its table of contents.
std::string ContentOf(const mail::Mail& mail);

// Whether a change marker is that of a read mail, and the flags that the mail's file has for it.
bool IsSeen(const std::string& marker);
std::string FlagsOf(const std::string& marker);
// The same for a file: by its flag, and the marker of such a mail.
bool IsSeen(const maildir::MaildirEntry& file);
std::string MarkerOf(bool isSeen);

std::unordered_set<std::string> UniqueNames(const std::vector<maildir::MaildirEntry>& files);

}  // namespace host::mailsync
