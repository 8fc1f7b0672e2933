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

// Planning a sync of mails: no file is read or written here. Ids and markers are in the system code
// page, names in UTF-8, Message-IDs without angle brackets.
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

// One change of a mail or its file, by the side and the verb of `act`:
//   Folder, kAdd:     a new file is delivered.
//   Folder, kChange:  the file gets the flags of `row`.
//   Folder, kRemove:  the file is deleted, and its row.
//   Folder, kRedo:    the file is replaced by one that is composed anew, with the same flags.
//   Folder, kFile:    a file of .Outbox that is queued already moves to .Sent.
//   Eudora, kAdd:     the file becomes a mail of the in-box.
//   Eudora, kChange:  the mail gets the read state of `row`.
//   Eudora, kRemove:  the mail goes into the Trash, and its row is deleted.
//   Eudora, kQueue:   the file of .Outbox is queued in Eudora's out-box and moves to .Sent.
//   Memory, kChange:  the row is stored.
//   Memory, kRemove:  the row is deleted.
//   Memory, kRedo:    the row of a lost delivery is deleted, and what is left of its file. Without
//   a
//                     key: a leftover is deleted.
struct MailStep {
    sync::Act act;
    state::RememberedMail row;   // as it is remembered afterwards
    maildir::MaildirEntry file;  // where there is one
};

// Steps for both sides, and the report of a run in which all of them succeed.
struct MailPlan {
    std::vector<MailStep> steps;  // mails that are added to the folder in the mailbox's order
    sync::Report report;          // of a run that carries all of it out; its `stop` forbids that

    std::size_t IndexOf(const MailStep& step) const {
        return static_cast<std::size_t>(&step - steps.data());
    }
};

// The line of a report for a step; nothing for a step that changes only the memory.
std::optional<sync::Change> Told(const MailStep& step);

// The plan that brings the Maildir and Eudora's in-box into step. A pure function.
// - Mails are recognised as MatchMails does; a file that is not remembered is recognised by its
//   Message-ID, of several of one Message-ID as TellApart does. What stays unclear is left alone.
// - A mail removed on one side is removed on the other, but for files with the flag F or D.
// - A read state changed on one side goes to the other. For a pair that is not remembered yet the
//   preference for a side decides; without one the mail is read if it is read anywhere.
// - A mail removed on one side whose read state changed on the other is a conflict, unless a side
//   is preferred. A mail that would lose characters when it is sent is one, unless that is allowed.
//   With a conflict to be resolved nothing else is done.
// - A file that lacks something which could be had now is composed again, unless it was edited.
// - What the direction forbids is left out: it is found again by a later run.
// - Nothing is removed while `mayMiss` is set; such removals are counted as held.
// The report's `stop` is set if one side holds none of the remembered mails, or if more would be
// removed on a side than the limit allows (one that was given and suffices permits both), or more
// added to Eudora.
MailPlan PlanMail(const MailSides& sides, const sync::Options& options);

// The Message-ID that the file of a remembered mail has.
const std::string& FileMessageIdOf(const state::RememberedMail& row);

// Whether a change marker is that of a read mail.
bool IsSeen(const std::string& marker);

}  // namespace host::mailsync
