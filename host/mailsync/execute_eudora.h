#pragma once

#include "host/mailsync/execute_mail.h"

namespace host::mailsync {

// Carries out the steps of a plan that change Eudora: removals, read states, new mails, and mails
// to be sent. Failures become errors of the ledger's report.
//
// Each kind of step survives an interruption in its own way:
// - A new mail is remembered with its Message-ID before the mailbox gets it; the next run finds it
//   there, or adds it again and takes back the copies of its attachments.
// - A mail to be sent is remembered with the number of mails in the out-box before, and handed over
//   alone; the next run compares the numbers.
// - Removals and read states are remembered afterwards; the next run finds them done.
//
// A failure of one mail passes it over; a failure of storing ends the work, and mails are then not
// sent. What was not done is left to the next run.
void ExecuteOnEudora(const MailPlan& plan, const MailWork& work, Ledger& ledger);

}  // namespace host::mailsync
