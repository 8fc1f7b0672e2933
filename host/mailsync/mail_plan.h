#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "host/maildir/maildir.h"
#include "host/state/memory.h"
#include "host/sync/report.h"
#include "host/sync/rules.h"

namespace host::mailsync {

// A mail as Eudora has it now.
struct EudoraHead {
    std::string id, marker;                // no marker: the mail cannot be read
    std::optional<std::string> messageId;  // nothing: cannot be told
    std::string name;                      // of remembered ones and of those within the limits
    bool isWithinLimits = true;
    std::string content;        // a fingerprint, where a mail without Message-ID may be a known one
    std::string fileMessageId;  // what its file in the Maildir would say
};

// A file of the Maildir as it stands there.
struct FolderHead {
    std::string messageId;  // the one that Eudora's mail would have
    std::string name;
};

struct OutgoingFile {
    maildir::MaildirEntry file;
    std::string name;
};

// What both sides hold now, and held when they were last in step. A file with the flag T is on its
// way out: it counts as removed.
struct MailSides {
    std::vector<EudoraHead> eudora;  // in the mailbox's order; each id once
    std::vector<maildir::MaildirEntry> folder;
    std::vector<state::RememberedMail> remembered;
    // What the files are that nobody remembers, by unique name; drafts only where they may matter.
    std::unordered_map<std::string, FolderHead> foreign;
    // Files of which a cut-off run delivered a part only, by unique name.
    std::unordered_set<std::string> torn;
    std::vector<OutgoingFile> outgoing;          // in .Outbox
    std::vector<state::RememberedMail> sending;  // what is remembered of those
    std::size_t queued = 0;                      // mails in Eudora's out-box
    // The mails and files that cannot be read, a line each.
    std::vector<std::string> unread;
    // One of these may be what seems to be gone.
    bool mayMiss = false;
};

// What happens to one mail and its file.
//   In the folder: a new file is added; its flags become those of `row`; it is removed, and the
//   memory of it; a file of .Outbox that was queued before is filed in .Sent.
//   In Eudora: the file becomes a mail of the in-box; the mail gets the read state of `row`; it
//   goes into the Trash, and the memory of it; the file in .Outbox is queued, then filed. In the
//   memory: the row is put, removed, or removed to be delivered anew (kRedo).
struct MailStep {
    sync::Act act;
    state::RememberedMail row;   // as it is remembered afterwards
    maildir::MaildirEntry file;  // where there is one
};

struct MailPlan {
    std::vector<MailStep> steps;      // mails that are added to the folder in the mailbox's order
    std::optional<std::string> stop;  // why nothing of this may be carried out
    sync::Report report;              // of a run that carries all of it out

    std::size_t IndexOf(const MailStep& step) const {
        return static_cast<std::size_t>(&step - steps.data());
    }
};

// What a report tells of a step; nothing of one that changes only the memory.
std::optional<sync::Change> Told(const MailStep& step);

// What brings the Maildir and Eudora's in-box into step. A pure function.
//
// A mail is known again by its record id, unless its Message-ID says that the id was given to
// another mail; a mail whose id changed by its Message-ID, or by its content where it has none; a
// file that is there already, or got another name, by its Message-ID. A mail that vanished from
// one side vanishes from the other, but for files that are flagged or drafts. A read state has two
// values: what changed on both sides changed alike, and only where nothing is remembered yet the
// preference decides; without one a mail that was read anywhere is read. A mail that was removed
// on one side and whose read state changed on the other waits for a preference. While something
// cannot be read that may be what is missing, nothing counts as removed.
MailPlan PlanMail(const MailSides& sides, const sync::Options& options);

// Whether a change marker is that of a read mail.
bool IsSeen(const std::string& marker);

// Which remembered mail each mail of Eudora's is.
struct MailMatching {
    std::vector<std::optional<std::size_t>> rowOf;  // by position in sides.eudora
    // By position in sides.remembered. Lost: the delivery of a cut-off run left no file, or a
    // part of one; such a row is no mail's.
    std::vector<bool> isLost, isGone;
};

MailMatching MatchMails(const MailSides& sides);

}  // namespace host::mailsync
