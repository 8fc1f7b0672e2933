// What Close carries out in the mailbox files: new mails first, then the noted read states, which
// reach the new mails too.
#include <iterator>
#include <vector>

#include "frame/guard.h"
#include "mailstore/eudora_mail.h"
#include "mailstore/mail_status.h"
#include "mailstore/new_mail_writer.h"

using platform::File;
using platform::OpenMode;
using platform::Share;

namespace {

constexpr long kStrFrom = 41, kStrAttachment = 77;
constexpr unsigned kMsgCannotOpen = 1;

}  // namespace

RRETURNCODE CREudoraMail::WriteNewMails() {
    if (m_lstNewMails.empty()) return RRC_OK;
    const CString mbxPath = MailboxPath(".mbx"), tocPath = MailboxPath(".toc");
    const auto mbx = OpenMailboxFile(mbxPath, OpenMode::kReadWrite, Share::kRead, "WriteNewMails");
    const auto toc = mbx != nullptr ? OpenMailboxFile(tocPath, OpenMode::kReadWrite, Share::kRead,
                                                      "WriteNewMails")
                                    : nullptr;
    if (toc == nullptr) {
        FreeRecords(m_lstNewMails);
        return RRC_FAILED;
    }
    std::vector<mailstore::NewMail> mails;
    for (const MapiMessage* record : m_lstNewMails) mails.push_back({record, MessageIdOf(*record)});
    const mailstore::AppendPlace place{
        *mbx,
        *toc,
        Util().system.clock,
        {Util().GetString(kStrFrom).Str(), Util().GetString(kStrAttachment).Str()},
        Util().system.processes.CodePage(),
        Util().csLanguage == "JP",
        m_dwNextIndexID};
    const mailstore::Appended appended = mailstore::AppendMails(place, mails);
    ReleaseStored(appended.written);
    if (appended.failure) {
        KV_LOG(1, "%s in CREudoraMail::WriteNewMails()\n", appended.failure->Message().c_str());
        Util().AddErrorText(Util().FormatString(kMsgCannotOpen, mbxPath));
        return RRC_FAILED;
    }
    if (appended.refused == 0) return RRC_OK;
    ReportFullMailbox(mbxPath);
    return RRC_FAILED;
}

std::string CREudoraMail::MessageIdOf(const MapiMessage& record) const {
    const std::string_view indexId =
        record.lpszConversationID != nullptr ? record.lpszConversationID : "";
    std::string messageId(m_mapIndexIDToMessageID.Find(indexId).value_or(indexId));
    KV_LOG(1, "********* Write Message-ID = %s\n", messageId.c_str());
    return messageId;
}

// The stored mails name their files in the Attach folder, which stay.
void CREudoraMail::ReleaseStored(std::size_t count) {
    for (; count > 0; --count) {
        Mapi().FreeMessage(m_lstNewMails.front(), true);
        m_lstNewMails.pop_front();
    }
}

void CREudoraMail::ReportFullMailbox(const CString& path) {
    for (const MapiMessage* record : m_lstNewMails) {
        const std::string indexId(record->lpszConversationID);
        if (const auto messageId = m_mapIndexIDToMessageID.Find(indexId)) {
            m_mapMessageIDToIndexID.Erase(*messageId);
        }
        m_mapIndexIDToMessageID.Erase(indexId);
        m_mapMailStatus.erase(indexId);
    }
    const auto count = std::to_string(m_lstNewMails.size());
    FreeRecords(m_lstNewMails);
    KV_LOG(1, "No room for %s mails in CREudoraMail::WriteNewMails()\n", count.c_str());
    Util().AddErrorText(
        (path.Str() + ": the mailbox is full; mails that were not stored: " + count).c_str());
}

RRETURNCODE CREudoraMail::UpdateMailStatus() {
    const platform::WaitCursor cursor(Util().system.dialogs);
    KV_LOG(5, "- Enter - CREudoraMail::UpdateMailStatus MailStatus Count = %d\n",
           static_cast<int>(m_mapMailStatus.size()));
    const RRETURNCODE result = m_mapMailStatus.empty() ? RRC_OK : StoreMailStatus();
    // A mail that still waits needs its state when it is written.
    std::map<std::string, std::string> waiting;
    for (const MapiMessage* record : m_lstNewMails) {
        waiting.insert(m_mapMailStatus.extract(record->lpszConversationID));
    }
    m_mapMailStatus = std::move(waiting);
    return result;
}

RRETURNCODE CREudoraMail::StoreMailStatus() {
    const CString path = MailboxPath(".toc");
    const auto toc = OpenMailboxFile(path, OpenMode::kReadWrite, Share::kRead, "WriteNewMails");
    if (toc == nullptr) return RRC_FAILED;
    KV_LOG(5, "CREudoraMail::UpdateMailStatus  assecnding\n");
    const auto stored = mailstore::StoreStates(*toc, m_mapMailStatus);
    if (stored) return RRC_OK;
    KV_LOG(1, "%s in CREudoraMail::UpdateMailStatus()\n", stored.Error().Message().c_str());
    Util().AddErrorText(Util().FormatString(kMsgCannotOpen, path));
    return RRC_FAILED;
}
