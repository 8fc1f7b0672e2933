// How the host walks and addresses mails. The current record is CMapi's current message.
#include <cmath>
#include <cstdlib>

#include "frame/guard.h"
#include "frame/interface/field_ids.h"
#include "mailstore/eudora_mail.h"
#include "mailstore/mail_fields_date.h"

using frame::Guarded;
using frame::StringId;

RRETURNCODE CREudoraMail::CheckMove(int result) {
    if (result == 0) return RRC_EOF;
    if (result > 0) return RRC_OK;
    ReportMapiError();
    return RRC_FAILED;
}

RRETURNCODE CREudoraMail::MoveFirst() {
    return Guarded("MoveFirst", [&] {
        KV_LOG(5, "Enter - RRETURNCODE CREudoraMail::MoveFirst\n");
        m_passedOver = false;
        RRETURNCODE code = CheckMove(Mapi().MoveFirst());
        if (code == RRC_OK) code = CREudoraTransBase::MoveFirst();
        if (code == RRC_OK && m_passedOver) Mapi().ConfirmSeek();
        return code;
    });
}

// While filtered mails are passed over, the seek point moves along with the walk; it becomes valid
// when a mail passes.
RRETURNCODE CREudoraMail::MoveNext() {
    return Guarded("MoveNext", [&] {
        KV_LOG(5, "Enter - RRETURNCODE CREudoraMail::MoveNext\n");
        m_passedOver = true;
        Mapi().NoteSeek();
        RRETURNCODE code = CheckMove(Mapi().MoveNext());
        if (code == RRC_OK) code = CREudoraTransBase::MoveNext();
        if (code == RRC_OK && !IsFiltering()) Mapi().ConfirmSeek();
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
        if (Mapi().GoToEmail(pszRecId) == 1) return RRC_OK;
        ReportMapiError();
        KV_LOG(1, "Error Occured in CREudoraMail::GoToRecord\n");
        return RRC_FAILED;
    });
}

RRETURNCODE CREudoraMail::GetRecordID(CString& csRecordId) {
    return Guarded("GetRecordID", [&] {
        KV_LOG(5, "CREudoraMail::GetRecordID\n");
        csRecordId.Empty();
        if (m_bOutBox || m_bOutBoxRecord) {
            KV_LOG(5, "CREudoraMail::GetRecordID IsOutBox\n");
            return RRC_OK;
        }
        csRecordId = Mapi().MsgID();
        KV_LOG(5, "CREudoraMail::GetRecordID Success GetRecordId = %s\n", csRecordId.Str().c_str());
        return RRC_OK;
    });
}

RRETURNCODE CREudoraMail::GetModifiedInfo(CString& csModifiedInfo) {
    return Guarded("GetModifiedInfo", [&] {
        KV_LOG(5, "Enter - CREudoraMail::GetModifiedInfo\n");
        csModifiedInfo.Empty();
        if (m_bOutBox || m_bOutBoxRecord) return RRC_OK;
        std::int32_t status = 0;
        unsigned long type = kFieldInteger;
        if (const auto code = GetField(FieldId(MailField::kStatus).c_str(), &type, &status);
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

// What cannot be read passes: a mail is not kept from the host because of a fault in it.
int CREudoraMail::PassesFilters() {
    return IsTooLarge() || IsTooOld() ? 0 : 1;
}

bool CREudoraMail::IsTooLarge() {
    if (m_appInfo.m_bLimitMailSize == 0) return false;
    std::int32_t size = 0;
    unsigned long type = kFieldInteger;
    if (GetField(FieldId(MailField::kSize).c_str(), &type, &size) != RRC_OK) return false;
    return size > std::int64_t{m_appInfo.m_nMailLimitKB} * 1024;
}

bool CREudoraMail::IsTooOld() {
    if (m_appInfo.m_bLimitMailAge == 0) return false;
    double date = kNoDate;
    unsigned long type = kFieldDateLast;
    if (GetField(FieldId(MailField::kDate).c_str(), &type, &date) != RRC_OK || date == kNoDate)
        return false;
    return std::trunc(date) < mailstore::LocalNow(Util().system.clock) - m_appInfo.m_nMailAgeDays;
}
