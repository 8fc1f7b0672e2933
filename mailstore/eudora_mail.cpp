#include "mailstore/eudora_mail.h"

#include <algorithm>
#include <cmath>

#include "frame/interface/field_ids.h"
#include "integration/dialogs/eudora_options_dlg.h"
#include "mailbox/toc_records.h"
#include "mailstore/eudora_access.h"
#include "mailstore/mail_date.h"
#include "mailstore/mail_fields.h"
#include "text/ascii.h"

using frame::Entered;
using frame::Guarded;
using frame::StringId;
using mailstore::Fail;
using mailstore::FailOfMapi;

namespace {

constexpr int kModeAfterEmpty = 3;        // of Open, after an empty mailbox
constexpr std::int32_t kReceived = 1;     // a status with this bit is a received mail's
constexpr std::uint32_t kOutBoxMask = 6;  // statuses of mails that do not stay here

}  // namespace

CREudoraMail::~CREudoraMail() {
    m_draft.Drop(Util().mapi);
    m_queues.FreeAll(Util().mapi);
}

RRETURNCODE CREudoraMail::GetAppInfo(BOOL bConfigure, CRHostContext* pHost, CString& csSelection,
                                     RWORD word, CString& csSummary, RWORD) {
    return Guarded("GetAppInfo", [&] {
        if (!m_bAppReady) {
            const RRETURNCODE code = mailstore::BringUp(TransUtil());
            if (code != RRC_OK) return code;
            m_attach.Find(TransUtil());
            m_bAppReady = true;
        }
        return GetAppInfo(bConfigure, pHost, csSelection, word, csSummary);
    });
}

RRETURNCODE CREudoraMail::Open(int nMode, RWORD value2, RWORD value3, RWORD value4, RWORD word,
                               RWORD word2, RWORD value5, RWORD value6, RWORD value7,
                               CEudoraTransUtil* pUtil) {
    return Guarded("Open", [&] {
        KV_LOG(5, "CREudoraMail::Open - Flag =  %d Mode = %d\n", m_bBoxFileOpenFlag, nMode);
        if (pUtil != nullptr) m_pUtil = pUtil;
        SetBoxFileOpenFlagRegistry(0);
        if (m_bBoxFileOpenFlag != 0 && nMode == kModeAfterEmpty) SetBoxFileOpenFlagRegistry(1);
        m_isOpen = true;
        if (m_ids.m_dwNextIndexID != 0) {
            m_bBoxFileOpenFlag = 0;
        } else if (const RRETURNCODE code = IndexMailbox(); code != RRC_OK) {
            return code;
        }
        return CREudoraTransBase::Open(nMode, value2, value3, value4, word, word2, value5, value6,
                                       value7, pUtil);
    });
}

RRETURNCODE CREudoraMail::IndexMailbox() {
    const auto count = m_ids.Read(Util());
    if (!count) return RRC_FAILED;
    m_bBoxFileOpenFlag = *count == 0 ? 1 : 0;
    return RRC_OK;
}

RRETURNCODE CREudoraMail::Close(int) {
    return Guarded("Close", [&] {
        KV_LOG(5, "Enter - CREudoraMail::Close");
        const RRETURNCODE sent = Guarded("Close", [&] { return m_queues.Send(Util()); });
        if (m_isOpen) Util().mapi.DeleteCurrentAttachments();
        m_isOpen = false;
        const RRETURNCODE written =
            Guarded("WriteNewMails", [&] { return m_queues.WriteNewMails(Util(), m_ids); });
        const RRETURNCODE stored = m_queues.UpdateMailStatus(Util());
        mailstore::DeleteAttachFile(Util().system);
        if (m_queues.m_lstNewMails.empty()) m_attach.ForgetOnlyCopies();
        const bool isDone = sent == RRC_OK && written == RRC_OK && stored == RRC_OK;
        return isDone ? RRC_OK : RRC_FAILED;
    });
}

int CREudoraMail::ShowOptions() {
    CEudoraOptionsDlg dialog(&Util());
    static_cast<MailOptions&>(dialog) = m_appInfo;
    if (dialog.DoModal() != CEudoraOptionsDlg::kOk) return RRC_CANCELLED;
    static_cast<MailOptions&>(m_appInfo) = dialog;
    return RRC_OK;
}

RRETURNCODE CREudoraMail::SaveSettings(RWORD, tagRAPPINFO* pAppInfo, RWORD) {
    return Entered("Enter CREudoraTransBase::", "SaveSettings", [&] {
        const CString selection(pAppInfo != nullptr ? pAppInfo->pszSelection : nullptr);
        if (!text::EqualNoCase(selection.Str(), m_csSelection.Str())) {
            KV_LOG(1,
                   "ERROR: CREudoraTransBase::SaveSettings, (appInfo.pszSelection != "
                   "m_csSelection) (%s != %s)\n",
                   selection.Str().c_str(), m_csSelection.Str().c_str());
            return RRC_FAILED;
        }
        if (Util().StoreSettings(m_appInfo, m_csSelection)) return RRC_OK;
        return Fail(Util(), StringId::kCannotStoreSettings, "Unable to store AppInfo to file\n");
    });
}

RRETURNCODE CREudoraMail::InitDefaultSettings() {
    return Guarded("BuildFieldList", [&] {
        mailstore::BuildFieldList(m_appInfo.m_fields);
        return RRC_OK;
    });
}

// The walk. The current record is CMapi's current message.

RRETURNCODE CREudoraMail::CheckMove(int result) {
    if (result == 0) return RRC_EOF;
    if (result > 0) return RRC_OK;
    return FailOfMapi(Util(), nullptr);
}

RRETURNCODE CREudoraMail::MoveFirst() {
    return Entered("Enter - RRETURNCODE CREudoraMail::", "MoveFirst", [&] {
        m_passedOver = false;
        RRETURNCODE code = CheckMove(Util().mapi.MoveFirst());
        if (code == RRC_OK) code = EndMove("MoveFirst");
        if (code == RRC_OK && m_passedOver) Util().mapi.ConfirmSeek();
        return code;
    });
}

// While filtered mails are passed over, the seek point moves along with the walk; it becomes valid
// when a mail passes.
RRETURNCODE CREudoraMail::MoveNext() {
    return Entered("Enter - RRETURNCODE CREudoraMail::", "MoveNext", [&] {
        m_passedOver = true;
        Util().mapi.NoteSeek();
        RRETURNCODE code = CheckMove(Util().mapi.MoveNext());
        if (code == RRC_OK) code = EndMove("MoveNext");
        if (code == RRC_OK && !IsFiltering()) Util().mapi.ConfirmSeek();
        return code;
    });
}

RRETURNCODE CREudoraMail::GoToRecord(LPCTSTR pszRecId) {
    return Guarded("GoToRecord", [&] {
        const CString id(pszRecId);
        KV_LOG(1, "- Enter - CREudoraMail::GoToRecord(%s)\n", id.Str().c_str());
        if (pszRecId == nullptr) {
            Util().AddError(StringId::kInvalidRecord);
            return RRC_FAILED;
        }
        m_bOutBoxRecord = id.IsEmpty();
        if (m_bOutBoxRecord) {
            KV_LOG(5, "CREudoraMail::GoToRecord IsOutBox - m_bOutBox = %d\n", m_bOutBox ? 1 : 0);
            return RRC_OK;
        }
        if (Util().mapi.GoToEmail(pszRecId) == 1) return RRC_OK;
        return FailOfMapi(Util(), "Error Occured in CREudoraMail::GoToRecord\n");
    });
}

RRETURNCODE CREudoraMail::GetRecordID(CString& csRecordId) {
    return Entered("CREudoraMail::", "GetRecordID", [&] {
        csRecordId.Empty();
        if (m_bOutBox || m_bOutBoxRecord) {
            KV_LOG(5, "CREudoraMail::GetRecordID IsOutBox\n");
            return RRC_OK;
        }
        csRecordId = Util().mapi.MsgID();
        KV_LOG(5, "CREudoraMail::GetRecordID Success GetRecordId = %s\n", csRecordId.Str().c_str());
        return RRC_OK;
    });
}

RRETURNCODE CREudoraMail::GetModifiedInfo(CString& csModifiedInfo) {
    return Entered("Enter - CREudoraMail::", "GetModifiedInfo", [&] {
        csModifiedInfo.Empty();
        if (m_bOutBox || m_bOutBoxRecord) return RRC_OK;
        std::int32_t status = 0;
        if (const auto code = GetField(FieldId(MailField::kStatus).c_str(), nullptr, &status);
            code != RRC_OK) {
            KV_LOG(1, "Error while reading the field [%d]\n", static_cast<int>(MailField::kStatus));
            Util().AddError(StringId::kNoStatus);
            return code;
        }
        csModifiedInfo = std::to_string(status);
        KV_LOG(5, "                      GetField(EMAIL_STATUS)->%d(0x%x)\n", status, status);
        return RRC_OK;
    });
}

// A mail whose size or date cannot be read passes, so that the host sees it.
int CREudoraMail::PassesFilters() {
    return IsTooLarge() || IsTooOld() ? 0 : 1;
}

bool CREudoraMail::IsTooLarge() {
    if (m_appInfo.m_bLimitMailSize == 0) return false;
    std::int32_t size = 0;
    if (GetField(FieldId(MailField::kSize).c_str(), nullptr, &size) != RRC_OK) return false;
    return size > std::int64_t{m_appInfo.m_nMailLimitKB} * 1024;
}

bool CREudoraMail::IsTooOld() {
    if (m_appInfo.m_bLimitMailAge == 0) return false;
    double date = kNoDate;
    const auto code = GetField(FieldId(MailField::kDate).c_str(), nullptr, &date);
    if (code != RRC_OK || date == kNoDate) return false;
    return std::trunc(date) < mailstore::LocalNow(Util().system.clock) - m_appInfo.m_nMailAgeDays;
}

// Fields of the current record.

RRETURNCODE CREudoraMail::GetField(LPCTSTR pszFieldId, unsigned long*, void* pCell) {
    return Guarded("GetField", [&]() -> RRETURNCODE {
        KV_LOG(5, "Enter : CREudoraMail::GetField , Field Name = [%s]\n",
               std::string(mapi::ViewOf(pszFieldId)).c_str());
        const auto field = FieldOfId<MailField>(pszFieldId);
        if (field < MailField::kFrom || field > MailField::kMessageId) return RRC_OK;
        if (field == MailField::kMessageId) return GiveMessageId(*static_cast<char**>(pCell));
        if (field == MailField::kAttachment) return GiveAttachments(*static_cast<char**>(pCell));
        MapiMessage* message = nullptr;
        if (Util().mapi.GetCurrentMessage(message) != 1) return mailstore::FailOfNoMail(Util());
        return mailstore::GiveField(Util(), field, *message, pCell);
    });
}

RRETURNCODE CREudoraMail::GiveAttachments(char*& cell) {
    CString list;
    if (m_appInfo.m_bAttachments != 0) {
        MapiMessage* message = nullptr;
        if (Util().mapi.GetCurrentMessage(message) != 1) {
            KV_LOG(1, "Invalid Message Pointer in CREudoraMail::GetAttachments\n");
            Util().AddError(StringId::kNoMessage);
            return RRC_FAILED;
        }
        const auto code = mailstore::GetAttachments(Util(), m_appInfo, *message, list);
        if (code != RRC_OK) return code;
    }
    return mailstore::GiveText(Util(), list.Str(), cell);
}

RRETURNCODE CREudoraMail::GiveMessageId(char*& cell) {
    const char* const indexId = Util().mapi.MsgID();
    KV_LOG(1, "pData = %s\n", indexId);
    if (const auto messageId = m_ids.MessageIdOf(indexId)) {
        KV_LOG(1, "*** GetField(EMAIL_MESSAGEID): pData = %s, csMsgID = %s\n", indexId,
               messageId->c_str());
        return mailstore::GiveText(Util(), messageId, cell);
    }
    m_ids.LogAll();
    return Fail(Util(), StringId::kInvalidRecord, "Invalid Index Id in  CREudoraMail::GetField\n");
}

RRETURNCODE CREudoraMail::SetField(LPCTSTR pszFieldId, unsigned long*, void* pCell) {
    return Guarded("SetField", [&] {
        const auto field = FieldOfId<MailField>(pszFieldId);
        KV_LOG(5, "CREudoraMail::SetField-%s\n", pszFieldId != nullptr ? pszFieldId : "");
        if (pCell == nullptr) return RRC_OK;
        const bool isNew = m_bAddNewRecord == 1;
        if (field == MailField::kStatus) {
            SetStatus(static_cast<std::uint32_t>(*static_cast<std::int32_t*>(pCell)));
        } else if (!isNew || !m_draft.Exists()) {
            return RRC_OK;
        } else if (field == MailField::kMessageId) {
            GiveId(mailstore::TextOf(pCell));
        } else if (field == MailField::kAttachment) {
            // A failure leaves the mail without the files behind the failed one.
            (void)Guarded("NewAttachments", [&] {
                return m_attach.NewAttachments(Util(), *static_cast<char**>(pCell),
                                               *m_draft.m_lpNewMessage);
            });
        } else {
            m_draft.Set(field, pCell);
        }
        return RRC_OK;
    });
}

void CREudoraMail::SetStatus(std::uint32_t status) {
    if (m_bAddNewRecord == 1) {
        if (!m_draft.Exists()) return;
        m_draft.m_lpNewMessage->flFlags = status;
        m_bOutBox = (status & kOutBoxMask) != 0;
        KV_LOG(5, "CREudoraMail::SetField New MailStatus = %x\n", status);
        return;
    }
    KV_LOG(5, "CREudoraMail::SetField MailStatus = %x\n", status);
    // After a mail that waits to be sent the current message is another mail.
    if (Util().mapi.NamesCurrent()) Util().mapi.SetMailStatus(status);
}

void CREudoraMail::GiveId(std::string_view messageId) {
    KV_LOG(5, "              m_bAddNewRecord = %d\n", m_bAddNewRecord);
    KV_LOG(5, "CREudoraMail::SetField NewRecord's MessageIdField\n");
    const std::string indexId = m_ids.Give(messageId);
    Util().mapi.SetMsgID(indexId.c_str());
    if (messageId.empty()) {
        KV_LOG(5, "*** SetField(EMAIL_MESSAGEID): csIndexID = %s\n", indexId.c_str());
    } else {
        KV_LOG(5, "*** SetField(EMAIL_MESSAGEID): fldData.pszFld = %s\n",
               std::string(messageId).c_str());
    }
}

// Records on their way to Eudora.

RRETURNCODE CREudoraMail::InitLocalVars() {
    return Guarded("InitLocalVars", [&] {
        KV_LOG(1, "- Enter - CREudoraMail::InitLocalVars()\n");
        m_draft.ForgetRecipients();
        KV_LOG(1, "          m_bOutBox = %d, m_bAddNewRecord = %d\n", m_bOutBox ? 1 : 0,
               m_bAddNewRecord);
        if (!m_bOutBox && m_bAddNewRecord == 0) m_draft.Drop(Util().mapi);
        m_bOutBox = false;
        KV_LOG(1, "- Exit - CREudoraMail::InitLocalVars()\n");
        return RRC_OK;
    });
}

RRETURNCODE CREudoraMail::IsOkToSetRecord(RWORD, RFIELDCALLBACK pfnGetValue, void* pContext,
                                          BOOL* pbOk) {
    return Guarded("IsOkToSetRecord", [&]() -> RRETURNCODE {
        *pbOk = 0;
        void* cell = nullptr;
        BOOL hasField = 0;
        const auto ask = [&](MailField field, unsigned long type) {
            cell = nullptr;
            hasField = 0;
            return pfnGetValue(pContext, FieldId(field).c_str(), &cell, &type, &hasField);
        };
        if (const auto code = ask(MailField::kStatus, kFieldInteger); code != RRC_OK) return code;
        const auto* status = static_cast<const std::int32_t*>(cell);
        if (status != nullptr && (*status & kReceived) != 0) {
            const auto code = ask(MailField::kFrom, kFieldText);
            if (hasField == 1 && mailstore::TextOf(cell).empty()) {
                return Fail(Util(), StringId::kNoSender,
                            "From Address is Empty in CREudoraMail::IsOkToSetRecord\n");
            }
            if (code != RRC_OK) return code;
        }
        *pbOk = 1;
        return RRC_OK;
    });
}

RRETURNCODE CREudoraMail::AddNewRecord(RWORD) {
    return Guarded("AddNewRecord", [&] {
        m_bAddNewRecord = 1;
        (void)InitLocalVars();
        // Frees an unfinished record; a queued one belongs to its queue.
        m_draft.Drop(Util().mapi);
        Util().mapi.ClearMsgID();
        if (!m_ids.CanGive()) {
            mailstore::ReportNamed(Util(), StringId::kMailboxUnread,
                                   mailstore::InBoxPath(Util(), ".mbx"));
            return RRC_FAILED;
        }
        if (m_draft.Begin()) return RRC_OK;
        return Fail(Util(), StringId::kNoMemory,
                    "Failed to Allocate the memory in CREudoraMail::AddNewRecord\n");
    });
}

RRETURNCODE CREudoraMail::EditRecord() {
    return Entered("Enter CREudoraMail::", "EditRecord", [&] {
        m_bAddNewRecord = 0;
        Util().mapi.BeginEdit();
        return InitLocalVars();
    });
}

RRETURNCODE CREudoraMail::PrepareForUpdate() {
    return Guarded("PrepareForUpdate", [&] {
        KV_LOG(5, "- Enter - CREudoraMail::PrepareForUpdate m_bOutBox = %d\n", m_bOutBox ? 1 : 0);
        if (m_bAddNewRecord != 1) {
            m_queues.NoteStatus(Util().mapi);
        } else if (m_draft.Exists()) {
            m_bOutBox ? m_draft.Queue(m_queues.m_lstOutBoxMails, true) : QueueForMailbox();
        }
        return RRC_OK;
    });
}

void CREudoraMail::QueueForMailbox() {
    CMapi& mapi = Util().mapi;
    MapiMessage& record = *m_draft.m_lpNewMessage;
    if (*mapi.MsgID() == '\0') GiveId("");
    const std::string indexId = mapi.MsgID();
    const std::uint32_t status = record.flFlags;
    KV_LOG(5, "CREudoraMail::PrepareForUpdate csIndexID = %s, MailStatus = %d(%d)\n",
           indexId.c_str(), static_cast<int>(status), static_cast<int>(status));
    mailstore::Assign(record.lpszConversationID, indexId);
    mailstore::States noted{{mailbox::MsgIdOf(indexId), status}};
    m_draft.Queue(m_queues.m_lstNewMails, false);
    m_queues.m_mapMailStatus.merge(noted);
    (void)mapi.UpdateMail(&record);
}

RRETURNCODE CREudoraMail::DeleteRecord() {
    return Entered("Enter - CREudoraMail::", "DeleteRecord", [&] {
        const std::string indexId = Util().mapi.MsgID();
        if (Util().mapi.DeleteMail() != 1) {
            return FailOfMapi(Util(), "Error in CREudoraMail::DeleteRecord\n");
        }
        m_ids.Forget(indexId);
        m_queues.m_mapMailStatus.erase(mailbox::MsgIdOf(indexId));
        return RRC_OK;
    });
}

// Mails that the limits hide are still there, with their ids: the mailbox is read anew then.
RRETURNCODE CREudoraMail::DeleteAllRecords() {
    return Guarded("DeleteAllRecords", [&] {
        m_ids.m_dwNextIndexID = 0;
        if (const auto code = CREudoraTransBase::DeleteAllRecords(); code != RRC_OK) return code;
        m_ids.ForgetAllBut(m_queues.m_lstNewMails);
        if (!m_passedOver) return RRC_OK;
        if (const auto code = IndexMailbox(); code != RRC_OK) return code;
        m_ids.GoOnBehindAll();
        return RRC_OK;
    });
}
