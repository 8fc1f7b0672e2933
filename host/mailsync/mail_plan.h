#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "host/mailsync/mail_sides.h"
#include "host/sync/report.h"
#include "host/sync/rules.h"

// Planning a sync of mails: no file is read or written here.
namespace host::mailsync {

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

}  // namespace host::mailsync
