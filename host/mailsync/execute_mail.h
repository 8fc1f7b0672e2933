#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "host/base/progress.h"
#include "host/mail/attach_folder.h"
#include "host/mailsync/load_mail.h"
#include "host/mailsync/mail_plan.h"
#include "host/mailsync/mail_source.h"
#include "platform/os/clock.h"
#include "platform/os/files.h"

namespace host::mailsync {

struct MailOutcome {
    std::vector<std::string> errors;  // one line for each step that failed
    std::vector<std::string> notes;   // fields of composed mails that could not be read
    std::vector<bool> done;           // which of the plan's steps
};

// What a plan is carried out on. The objects outlive the call.
struct MailWork {
    MailSource& source;
    MailFolders& folders;
    state::MailMemory& memory;
    platform::Files& files;           // for attachments
    mail::AttachFolder& attachments;  // of Eudora
    platform::Clock& clock;
    base::Progress& progress;
    // Reads a file for Eudora; the name is what a refusal calls it.
    std::function<platform::Result<mail::NewMail>(std::string_view, const std::string&)> parse;
    // How many mails lie in Eudora's out-box.
    std::function<platform::Result<std::size_t>()> queued;
    // Called once before the first change of Eudora's side; its failure ends the run there.
    std::function<platform::Status()> backup;
};

// Carries out a plan, the Maildir first. The order makes a run that is cut off at any point
// harmless, by a kill or by the loss of power: before a batch of mails is composed it is remembered
// under which names, and before it is delivered with which sizes; what the next run finds of it
// whole is in step, what it does not is composed again. All other changes can be found half done
// and are planned again or found to be equal. The memory of finished work is kept only when that
// work is on the disk.
MailOutcome ExecuteMail(const MailPlan& plan, const MailWork& work);

}  // namespace host::mailsync
