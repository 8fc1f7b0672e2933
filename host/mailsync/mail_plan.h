#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "host/engine/commands.h"
#include "host/maildir/maildir.h"
#include "host/state/mail_memory.h"

namespace host {

// A mail as Eudora has it now.
struct EudoraHead {
    std::string id, marker;
    std::optional<std::string> messageId;  // nothing: cannot be told
    std::string name;                      // of mails that are not remembered
    bool isWithinLimits = true;
    std::string content;        // a fingerprint, where a mail without Message-ID may be a known one
    std::string fileMessageId;  // what its file in the Maildir would say
};

// What both sides hold now.
struct MailSides {
    std::vector<EudoraHead> eudora;  // in the mailbox's order; each id once
    std::vector<MaildirEntry> folder;
    // The Message-IDs of files that nobody remembers, by unique name, where they may matter.
    std::unordered_map<std::string, std::string> messageIds;
    // Files of which a cut-off run delivered a part only, by unique name.
    std::unordered_set<std::string> torn;
};

// What happens to one mail and its file.
enum class MailAct {
    kCompose,   // a new file
    kSetFlags,  // the file gets the flags of `row`
    kRemove,    // the file goes, and the memory of it
    kRemember,  // only the memory changes
    kForget,
    kRedo,  // forgets a delivery that came to nothing, before the mail is composed again
};

struct MailStep {
    MailAct act = MailAct::kRemember;
    RememberedMail row;  // as it is remembered afterwards
    MaildirEntry file;   // of kSetFlags and kRemove
};

struct MailPlan {
    std::vector<MailStep> steps;  // composed mails in the mailbox's order
    std::size_t hidden = 0;       // not remembered mails that the limits leave out, as far as seen
    std::size_t removedInFolder = 0;  // newly found removed
    std::size_t dropped = 0;          // all mails of Eudora's whose files were removed
    std::size_t kept = 0;             // marked files of mails that are gone from Eudora
    std::size_t readInFolder = 0;     // read states that only the folder has
    std::size_t foreign = 0;          // files that belong to no mail of Eudora's
    std::optional<std::string> stop;  // why nothing of this may be carried out

    std::size_t Count(MailAct act) const;
    bool ChangesFolder() const;
};

struct MailPlanOptions {
    Prefer prefer = Prefer::kBoth;
    std::optional<DeleteLimit> maxDelete;
};

// What brings the Maildir into step with Eudora's in-box, from what both hold and what they held
// when they last were. A pure function.
//
// A mail is known again by its record id, unless its Message-ID says that the id was given to
// another mail; a mail whose id changed by its Message-ID, or by its content where it has none; a
// file that is there already by its Message-ID. A mail that vanished from Eudora takes its file
// with it, but for files that are flagged or drafts. A file that the person removed stays away.
MailPlan PlanMail(const MailSides& sides, const std::vector<RememberedMail>& remembered,
                  const MailPlanOptions& options);

// Whether a change marker is that of a read mail.
bool IsSeen(const std::string& marker);

}  // namespace host
