#pragma once

#include <list>

#include "frame/trans_util.h"
#include "mailstore/attachments.h"
#include "mailstore/in_box_writer.h"
#include "mailstore/mail_ids.h"

namespace mailstore {

// The host's changes until Close carries them out: mails for the out-box and for the in-box, which
// the queues own, and read states. Results are RRC_OK, or RRC_FAILED with a queued message.
class MailQueues {
  public:
    // The folder outlives this object.
    explicit MailQueues(AttachFolder& attach) : m_attach(attach) {}

    // Hands the mails for the out-box to the library. At the first refusal that mail and those
    // behind it are dropped.
    RRETURNCODE Send(CEudoraTransUtil& util);

    // Appends the mails for the in-box to its files. After a failed write the unwritten mails stay
    // queued. If the files do not open, or are no mailbox that we may change, the mails are
    // dropped. Mails beyond a full mailbox are dropped with their ids and states, and messages name
    // them.
    RRETURNCODE WriteNewMails(CEudoraTransUtil& util, MailIds& ids);

    // Stores the noted read states in the .toc file. States of mails that stay queued stay noted;
    // all others are forgotten, also after a failure.
    RRETURNCODE UpdateMailStatus(CEudoraTransUtil& util);

    // Notes the state of the current message after an edit: the one that the host set, else the one
    // of an earlier edit, else that of the message.
    void NoteStatus(CMapi& mapi);

    // Drops all waiting mails; files of mails that may be stored already stay.
    void FreeAll(CMapi& mapi);

    std::list<MapiMessage*> m_lstOutBoxMails, m_lstNewMails;
    States m_mapMailStatus;

  private:
    void ReleaseStored(CMapi& mapi, std::size_t count);
    void FreeNewMails(CMapi& mapi);
    RRETURNCODE ReportUnwritten(CEudoraTransUtil& util, const mailbox::Appended& appended);
    RRETURNCODE DropNewMails(CEudoraTransUtil& util);
    RRETURNCODE DropBeyondFull(CEudoraTransUtil& util, MailIds& ids);
    RRETURNCODE StoreMailStatus(CEudoraTransUtil& util);

    AttachFolder& m_attach;
    std::size_t m_uncertain = 0;  // the first of m_lstNewMails, which may be stored already
};

}  // namespace mailstore
