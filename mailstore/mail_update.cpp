// Where a finished record goes: to the out-box, into the mailbox, or among the noted states. And
// deletions, which are the only change that does not wait for Close.
#include <algorithm>
#include <utility>

#include "frame/guard.h"
#include "mailstore/eudora_mail.h"
#include "mailstore/mail_status.h"
#include "mailstore/recipients.h"
#include "mailstore/record_text.h"

using frame::Guarded;

namespace {

std::string StatusText(std::uint32_t status) {
    return std::to_string(static_cast<std::int32_t>(status));
}

}  // namespace

RRETURNCODE CREudoraMail::PrepareForUpdate() {
    return Guarded("PrepareForUpdate", [&] {
        KV_LOG(5, "- Enter - CREudoraMail::PrepareForUpdate m_bOutBox = %d\n", m_bOutBox ? 1 : 0);
        if (m_bAddNewRecord != 1) {
            NoteStatus();
        } else if (m_lpNewMessage != nullptr) {
            m_bOutBox ? QueueForSending() : QueueForMailbox();
            m_pszTo.clear();
            m_pszCc.clear();
            m_pszBcc.clear();
        }
        return RRC_OK;
    });
}

// What needs memory comes before anything changes hands.
void CREudoraMail::QueueForSending() {
    std::list<MapiMessage*> queued{m_lpNewMessage};
    mailstore::SetSingleRecipients(*m_lpNewMessage, {m_pszTo, m_pszCc, m_pszBcc});
    m_lpNewMessage = nullptr;
    m_lstOutBoxMails.splice(m_lstOutBoxMails.end(), queued);
}

void CREudoraMail::QueueForMailbox() {
    MapiMessage& record = *m_lpNewMessage;
    std::list<MapiMessage*> queued{&record};
    if (*Mapi().MsgID() == '\0') GiveId("");
    const std::string indexId = Mapi().MsgID(), status = StatusText(record.flFlags);
    KV_LOG(5, "CREudoraMail::PrepareForUpdate csIndexID = %s, MailStatus = %s(%d)\n",
           indexId.c_str(), status.c_str(), static_cast<int>(record.flFlags));
    mailstore::Assign(record.lpszConversationID, indexId);
    std::map<std::string, std::string> noted{{indexId, status}};
    mailstore::SetJoinedRecipients(record, {m_pszTo, m_pszCc, m_pszBcc});
    m_lpNewMessage = nullptr;
    m_lstNewMails.splice(m_lstNewMails.end(), queued);
    m_mapMailStatus.merge(noted);
    (void)Mapi().UpdateMail(&record);
}

// An edit that gave no status notes whether the mail is read, unless an earlier edit noted it.
// Behind a mail that waits to be sent, what happens to be current is another mail.
void CREudoraMail::NoteStatus() {
    if (!Mapi().NamesCurrent()) return;
    const std::string indexId = Mapi().MsgID();
    std::string& noted = m_mapMailStatus[indexId];
    const std::uint32_t flags = Mapi().MailFlags();
    if (const auto status = Mapi().FinishEdit()) {
        noted = StatusText(*status);
    } else if (noted.empty()) {
        const bool isUnread = (flags & mapi::kUnread) != 0;
        noted = StatusText(mailstore::StatusOfFlags(flags) | (isUnread ? 0 : mailstore::kReadBit));
    }
}

RRETURNCODE CREudoraMail::DeleteRecord() {
    return Guarded("DeleteRecord", [&] {
        KV_LOG(5, "Enter - CREudoraMail::DeleteRecord\n");
        const std::string indexId = Mapi().MsgID();
        if (Mapi().DeleteMail() != 1) {
            ReportMapiError();
            KV_LOG(1, "Error in CREudoraMail::DeleteRecord\n");
            return RRC_FAILED;
        }
        if (const auto messageId = m_mapIndexIDToMessageID.Find(indexId)) {
            m_mapMessageIDToIndexID.Erase(*messageId);
            m_mapIndexIDToMessageID.Erase(indexId);
        }
        m_mapMailStatus.erase(indexId);
        return RRC_OK;
    });
}

// Mails that the limits hide are still there, with their ids: the mailbox is read anew then.
RRETURNCODE CREudoraMail::DeleteAllRecords() {
    return Guarded("DeleteAllRecords", [&] {
        m_dwNextIndexID = 0;
        if (const auto code = CREudoraTransBase::DeleteAllRecords(); code != RRC_OK) return code;
        ForgetAllIds();
        if (!m_passedOver) return RRC_OK;
        if (const auto code = IndexMailbox(); code != RRC_OK) return code;
        for (const std::uint32_t id : m_idsOfTable) m_dwNextIndexID = std::max(m_dwNextIndexID, id);
        return RRC_OK;
    });
}

// But for those of the mails that wait: their texts and the numbers after them need them.
void CREudoraMail::ForgetAllIds() {
    mailstore::IdMap toIndexId, toMessageId;
    for (const MapiMessage* record : m_lstNewMails) {
        const std::string indexId(record->lpszConversationID);
        if (const auto messageId = m_mapIndexIDToMessageID.Find(indexId)) {
            toIndexId.Set(*messageId, indexId);
            toMessageId.Set(indexId, *messageId);
        }
    }
    m_mapMessageIDToIndexID = std::move(toIndexId);
    m_mapIndexIDToMessageID = std::move(toMessageId);
    m_idsOfTable.clear();
}
