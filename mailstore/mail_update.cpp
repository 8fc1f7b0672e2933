// Where a finished record goes: to the out-box, into the mailbox, or among the noted states. And
// deletions, which are the only change that does not wait for Close.
#include <utility>
#include <vector>

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

void CREudoraMail::QueueForSending() {
    mailstore::SetSingleRecipients(*m_lpNewMessage, {m_pszTo, m_pszCc, m_pszBcc});
    m_lstOutBoxMails.push_back(m_lpNewMessage);
    m_lpNewMessage = nullptr;
}

void CREudoraMail::QueueForMailbox() {
    MapiMessage& record = *m_lpNewMessage;
    mailstore::SetJoinedRecipients(record, {m_pszTo, m_pszCc, m_pszBcc});
    if (*Mapi().MsgID() == '\0') GiveId("");
    const std::string indexId = Mapi().MsgID();
    mailstore::Assign(record.lpszConversationID, indexId);
    const std::string status = StatusText(record.flFlags);
    KV_LOG(5, "CREudoraMail::PrepareForUpdate csIndexID = %s, MailStatus = %s(%d)\n",
           indexId.c_str(), status.c_str(), static_cast<int>(record.flFlags));
    m_mapMailStatus[indexId] = status;
    m_lstNewMails.push_back(m_lpNewMessage);
    m_lpNewMessage = nullptr;
    (void)Mapi().UpdateMail(&record);
}

// An edit that gave no status notes what the mail has, unless an earlier edit noted more.
void CREudoraMail::NoteStatus() {
    const std::string indexId = Mapi().MsgID();
    if (m_bOutBoxRecord || indexId.empty()) return;
    if (m_isStatusSet) {
        m_mapMailStatus[indexId] = StatusText(static_cast<std::uint32_t>(Mapi().GetMailStatus()));
        return;
    }
    MapiMessage* message = nullptr;
    if (Mapi().GetCurrentMessage(message) != 1) return;
    m_mapMailStatus.try_emplace(indexId, StatusText(mailstore::StatusOfFlags(message->flFlags)));
}

RRETURNCODE CREudoraMail::DeleteRecord() {
    return Guarded("DeleteRecord", [&] {
        KV_LOG(5, "Enter - CREudoraMail::DeleteRecord\n");
        // A mail in the out-box has no id: what happens to be current is another mail.
        const std::string indexId = Mapi().MsgID();
        if (m_bOutBoxRecord || Mapi().DeleteMail() != 1) {
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

RRETURNCODE CREudoraMail::DeleteAllRecords() {
    return Guarded("DeleteAllRecords", [&] {
        m_dwNextIndexID = 0;
        m_bOutBoxRecord = false;
        if (const auto code = CREudoraTransBase::DeleteAllRecords(); code != RRC_OK) return code;
        ForgetAllIds();
        return RRC_OK;
    });
}

// But for those of the mails that wait: their texts and the numbers after them need them.
void CREudoraMail::ForgetAllIds() {
    std::vector<std::pair<std::string, std::string>> waiting;
    for (const MapiMessage* record : m_lstNewMails) {
        const std::string indexId(record->lpszConversationID);
        if (auto messageId = m_mapIndexIDToMessageID.Find(indexId)) {
            waiting.emplace_back(indexId, *messageId);
        }
    }
    m_mapMessageIDToIndexID.Clear();
    m_mapIndexIDToMessageID.Clear();
    for (const auto& [indexId, messageId] : waiting) {
        m_mapMessageIDToIndexID.Set(messageId, indexId);
        m_mapIndexIDToMessageID.Set(indexId, messageId);
    }
}
