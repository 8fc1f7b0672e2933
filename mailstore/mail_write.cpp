// What Close carries out in the mailbox files: new mails first, then the noted read states, which
// reach the new mails too.
#include <vector>

#include "frame/guard.h"
#include "mailstore/eudora_mail.h"
#include "mailstore/mail_status.h"

using frame::Guarded;
using platform::ErrorCode;
using platform::OpenMode;
using platform::Share;

namespace {

constexpr long kStrFrom = 41, kStrAttachment = 77;
constexpr unsigned kMsgNoMemory = 20;
constexpr long kMsgCannotOpen = 1, kMsgFull = 85, kMsgKeptFile = 86, kMsgForeignToc = 87;

}  // namespace

RRETURNCODE CREudoraMail::WriteNewMails() {
    return Guarded("WriteNewMails", [&] {
        if (m_lstNewMails.empty()) return RRC_OK;
        constexpr const char* kOperation = "WriteNewMails";
        const auto open = [&](const char* extension) {
            return OpenMailboxFile(MailboxPath(extension), OpenMode::kReadWrite, Share::kRead,
                                   kOperation);
        };
        const auto mbx = open(".mbx");
        const auto toc = mbx != nullptr ? open(".toc") : nullptr;
        if (toc == nullptr) return DropNewMails();
        std::vector<mailstore::NewMail> mails;
        for (const MapiMessage* record : m_lstNewMails) {
            mails.push_back({record, MessageIdOf(*record)});
        }
        const mailstore::NewMailPlace place{
            *mbx,
            *toc,
            Util().system.clock,
            {Util().GetString(kStrFrom).Str(), Util().GetString(kStrAttachment).Str()},
            Util().system.processes.CodePage(),
            Util().csLanguage == "JP",
            m_dwNextIndexID};
        const mailbox::Appended appended = mailstore::AppendNewMails(place, mails, m_uncertain);
        m_uncertain = appended.uncertain;
        ReleaseStored(appended.written);
        if (appended.failure) return ReportUnwritten(appended);
        return appended.refused == 0 ? RRC_OK : DropBeyondFull();
    });
}

std::string CREudoraMail::MessageIdOf(const MapiMessage& record) const {
    const std::string_view indexId =
        record.lpszConversationID != nullptr ? record.lpszConversationID : "";
    std::string messageId(m_mapIndexIDToMessageID.Find(indexId).value_or(indexId));
    KV_LOG(1, "********* Write Message-ID = %s\n", messageId.c_str());
    return messageId;
}

// The stored mails name their files in the Attach folder, which stay.
void CREudoraMail::ReleaseStored(std::size_t count) noexcept {
    for (; count > 0; --count) {
        Mapi().FreeMessage(m_lstNewMails.front(), true);
        m_lstNewMails.pop_front();
    }
}

RRETURNCODE CREudoraMail::ReportUnwritten(const mailbox::Appended& appended) {
    if (appended.isOutOfMemory) {
        KV_LOG(1, "Out of memory in CREudoraMail::WriteNewMails()\n");
        Util().AddError(kMsgNoMemory);
        return RRC_FAILED;
    }
    KV_LOG(1, "%s in CREudoraMail::WriteNewMails()\n", appended.failure->Message().c_str());
    ReportFile(*appended.failure, MailboxPath(appended.isOfToc ? ".toc" : ".mbx"));
    return appended.failure->code == ErrorCode::kCorrupt ? DropNewMails() : RRC_FAILED;
}

void CREudoraMail::ReportFile(const platform::Failure& failure, const CString& path) {
    if (failure.code == ErrorCode::kCorrupt) return ReportNamed(kMsgForeignToc, path);
    Util().AddErrorText(Util().FormatString(kMsgCannotOpen, path));
    Util().AddCause(failure);
}

// A bundle without the text still names the thing.
void CREudoraMail::ReportNamed(long id, const CString& name) {
    const CString text = Util().FormatString(id, name);
    Util().AddErrorText(text.IsEmpty() ? name : text);
}

// Mails that are not going to be stored, with all that is known of them.
RRETURNCODE CREudoraMail::DropNewMails() {
    NameOnlyCopies(m_lstNewMails);
    FreeNewMails();
    return RRC_FAILED;
}

RRETURNCODE CREudoraMail::DropBeyondFull() {
    KV_LOG(1, "No room for %d mails in CREudoraMail::WriteNewMails()\n",
           static_cast<int>(m_lstNewMails.size()));
    for (const MapiMessage* record : m_lstNewMails) {
        std::string name(record->lpszConversationID);
        if (record->lpszSubject != nullptr) name += " \"" + std::string(record->lpszSubject) + '"';
        ReportNamed(kMsgFull, name);
    }
    NameOnlyCopies(m_lstNewMails);
    for (const MapiMessage* record : m_lstNewMails) {
        const std::string indexId(record->lpszConversationID);
        if (const auto messageId = m_mapIndexIDToMessageID.Find(indexId)) {
            m_mapMessageIDToIndexID.Erase(*messageId);
        }
        m_mapIndexIDToMessageID.Erase(indexId);
        m_mapMailStatus.erase(indexId);
    }
    FreeNewMails();
    return RRC_FAILED;
}

void CREudoraMail::NameOnlyCopies(const std::list<MapiMessage*>& records) {
    for (const MapiMessage* record : records) {
        for (std::uint32_t i = 0; i < record->nFileCount; ++i) {
            const MapiFileDesc& file = record->lpFiles[i];
            if (IsOnlyCopy(file)) ReportNamed(kMsgKeptFile, file.lpszPathName);
        }
    }
}

RRETURNCODE CREudoraMail::UpdateMailStatus() {
    const platform::WaitCursor cursor(Util().system.dialogs);
    KV_LOG(5, "- Enter - CREudoraMail::UpdateMailStatus MailStatus Count = %d\n",
           static_cast<int>(m_mapMailStatus.size()));
    const RRETURNCODE result = m_mapMailStatus.empty()
                                   ? RRC_OK
                                   : Guarded("UpdateMailStatus", [&] { return StoreMailStatus(); });
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
    ReportFile(stored.Error(), path);
    return RRC_FAILED;
}
