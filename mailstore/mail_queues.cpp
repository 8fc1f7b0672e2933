#include "mailstore/mail_queues.h"

#include <string>
#include <utility>
#include <vector>

#include "mailstore/draft.h"
#include "mailstore/eudora_access.h"
#include "mailstore/mail_fields.h"

namespace mailstore {

using frame::StringId;
using mailbox::Appended;
using platform::OpenMode;
using platform::Share;

RRETURNCODE MailQueues::Send(CEudoraTransUtil& util) {
    while (!m_lstOutBoxMails.empty()) {
        const BuiltRecord record(m_lstOutBoxMails.front(), FreeRecord{&util.mapi});
        m_lstOutBoxMails.pop_front();
        if (util.mapi.UpdateMail(record.get()) == 1) continue;
        FailOfMapi(util, "Updatation failed in CREudoraMail::Close()\n");
        m_attach.NameOnlyCopies(util, m_lstOutBoxMails);
        m_attach.FreeRecords(util.mapi, m_lstOutBoxMails);
        return RRC_FAILED;
    }
    return RRC_OK;
}

RRETURNCODE MailQueues::WriteNewMails(CEudoraTransUtil& util, MailIds& ids) {
    if (m_lstNewMails.empty()) return RRC_OK;
    const auto open = [&](const char* extension) {
        return OpenInBoxFile(util, extension, OpenMode::kReadWrite, Share::kRead, "WriteNewMails");
    };
    const auto mbx = open(".mbx");
    const auto toc = mbx != nullptr ? open(".toc") : nullptr;
    if (toc == nullptr) return DropNewMails(util);
    std::vector<NewMail> mails;
    for (const MapiMessage* record : m_lstNewMails) {
        const std::string_view indexId = mapi::ViewOf(record->lpszConversationID);
        mails.push_back({record, ids.MessageIdOf(indexId).value_or(std::string(indexId))});
        KV_LOG(1, "********* Write Message-ID = %s\n", mails.back().messageId.c_str());
    }
    const Appended appended =
        AppendNewMails(util, *mbx, *toc, mails, ids.m_dwNextIndexID, m_uncertain);
    m_uncertain = appended.uncertain;
    ReleaseStored(util.mapi, appended.written);
    if (appended.failure) return ReportUnwritten(util, appended);
    return appended.refused == 0 ? RRC_OK : DropBeyondFull(util, ids);
}

// The stored mails name their files in the Attach folder, which stay.
void MailQueues::ReleaseStored(CMapi& mapi, std::size_t count) {
    for (; count > 0; --count) {
        mapi.FreeMessage(m_lstNewMails.front(), true);
        m_lstNewMails.pop_front();
    }
}

// The files of a mail that may be stored stay in any case.
void MailQueues::FreeNewMails(CMapi& mapi) {
    ReleaseStored(mapi, std::exchange(m_uncertain, 0));
    m_attach.FreeRecords(mapi, m_lstNewMails);
}

void MailQueues::FreeAll(CMapi& mapi) {
    m_attach.FreeRecords(mapi, m_lstOutBoxMails);
    FreeNewMails(mapi);
}

RRETURNCODE MailQueues::ReportUnwritten(CEudoraTransUtil& util, const Appended& appended) {
    if (appended.isOutOfMemory) {
        return Fail(util, StringId::kNoMemory, "Out of memory in CREudoraMail::WriteNewMails()\n");
    }
    const platform::Failure& failure = *appended.failure;
    KV_LOG(1, "%s in CREudoraMail::WriteNewMails()\n", failure.Message().c_str());
    ReportInBoxFile(util, failure, appended.isOfToc ? ".toc" : ".mbx");
    return failure.code == platform::ErrorCode::kCorrupt ? DropNewMails(util) : RRC_FAILED;
}

// Drops the waiting mails; messages name the files that are only left as copies.
RRETURNCODE MailQueues::DropNewMails(CEudoraTransUtil& util) {
    m_attach.NameOnlyCopies(util, m_lstNewMails);
    FreeNewMails(util.mapi);
    return RRC_FAILED;
}

RRETURNCODE MailQueues::DropBeyondFull(CEudoraTransUtil& util, MailIds& ids) {
    KV_LOG(1, "No room for %d mails in CREudoraMail::WriteNewMails()\n",
           static_cast<int>(m_lstNewMails.size()));
    for (const MapiMessage* record : m_lstNewMails) {
        const std::string indexId(record->lpszConversationID);
        std::string name = indexId;
        if (record->lpszSubject != nullptr) name += " \"" + std::string(record->lpszSubject) + '"';
        ReportNamed(util, StringId::kMailboxFull, name);
        ids.Forget(indexId);
        m_mapMailStatus.erase(mailbox::MsgIdOf(indexId));
    }
    return DropNewMails(util);
}

// After a mail that waits to be sent the current message is another mail.
void MailQueues::NoteStatus(CMapi& mapi) {
    if (!mapi.NamesCurrent()) return;
    const std::uint32_t flags = mapi.MailFlags();
    const bool isUnread = (flags & mapi::kUnread) != 0;
    const std::uint32_t status = StatusOfFlags(flags) | (isUnread ? 0 : kReadBit);
    const auto noted = m_mapMailStatus.try_emplace(mailbox::MsgIdOf(mapi.MsgID()), status).first;
    if (const auto edited = mapi.FinishEdit()) noted->second = *edited;
}

RRETURNCODE MailQueues::UpdateMailStatus(CEudoraTransUtil& util) {
    const platform::WaitCursor cursor(util.system.dialogs);
    KV_LOG(5, "- Enter - CREudoraMail::UpdateMailStatus MailStatus Count = %d\n",
           static_cast<int>(m_mapMailStatus.size()));
    const RRETURNCODE result = frame::Guarded("UpdateMailStatus", [&] {
        return m_mapMailStatus.empty() ? RRC_OK : StoreMailStatus(util);
    });
    // A mail that still waits needs its state when it is written.
    States waiting;
    for (const MapiMessage* record : m_lstNewMails) {
        waiting.insert(m_mapMailStatus.extract(mailbox::MsgIdOf(record->lpszConversationID)));
    }
    m_mapMailStatus = std::move(waiting);
    return result;
}

RRETURNCODE MailQueues::StoreMailStatus(CEudoraTransUtil& util) {
    const auto toc =
        OpenInBoxFile(util, ".toc", OpenMode::kReadWrite, Share::kRead, "WriteNewMails");
    if (toc == nullptr) return RRC_FAILED;
    KV_LOG(5, "CREudoraMail::UpdateMailStatus  assecnding\n");
    const auto stored = StoreStates(*toc, m_mapMailStatus);
    if (stored) return RRC_OK;
    KV_LOG(1, "%s in CREudoraMail::UpdateMailStatus()\n", stored.Error().Message().c_str());
    ReportInBoxFile(util, stored.Error(), ".toc");
    return RRC_FAILED;
}

}  // namespace mailstore
