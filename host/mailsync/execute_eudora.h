#pragma once

#include "host/mailsync/execute_mail.h"

namespace host::mailsync {

// The part of a plan that changes Eudora: removals, read states, new mails, and mails to be sent.
//
// A new mail is remembered, with the id and the Message-ID that it will have, before the mailbox
// gets it: the next run finds it there, or adds it again. A mail to be sent is remembered with the
// number of mails in the out-box before, and handed over alone. Removals and read states can be
// found done and are then only remembered.
void ExecuteOnEudora(const MailPlan& plan, const MailWork& work, Ledger& ledger);

}  // namespace host::mailsync
