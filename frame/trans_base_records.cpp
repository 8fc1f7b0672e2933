#include "frame/guard.h"
#include "frame/trans_base.h"

using frame::Guarded;
using frame::StringId;

RRETURNCODE CREudoraTransBase::GetRecordCount(long* pCount) {
    return Guarded("GetRecordCount", [&] {
        KV_LOG(5, "Enter CREudoraTransBase::GetRecordCount\n");
        *pCount = -1;
        return RRC_NONE;
    });
}

RRETURNCODE CREudoraTransBase::GoToRecord(LPCTSTR pszRecId) {
    return Guarded("GoToRecord", [&] {
        KV_LOG(5, "Enter CREudoraTransBase::GoToRecord: %s\n", pszRecId);
        return RRC_OK;
    });
}

RRETURNCODE CREudoraTransBase::AddNewRecord(RWORD) {
    return Guarded("AddNewRecord", [&] {
        KV_LOG(5, "Enter CREudoraTransBase::AddNewRecord\n");
        const RRETURNCODE code = PrepareForAdd();
        if (code != RRC_OK) return code;
        m_bAddNewRecord = 1;
        return RRC_FAILED;
    });
}

RRETURNCODE CREudoraTransBase::EditRecord() {
    return Guarded("EditRecord", [&] {
        KV_LOG(5, "Enter CREudoraTransBase::EditRecord\n");
        const RRETURNCODE code = PrepareForEdit();
        if (code != RRC_OK) return code;
        m_bAddNewRecord = 0;
        KV_LOG(5, "Exit CREudoraTransBase::EditRecord\n");
        return RRC_OK;
    });
}

RRETURNCODE CREudoraTransBase::EditRecord(LPCTSTR pszRecId) {
    return Guarded("EditRecord", [&] {
        KV_LOG(5, "Enter CREudoraTransBase::EditRecord: %s\n", pszRecId);
        const RRETURNCODE code = GoToRecord(pszRecId);
        return code != RRC_OK ? code : EditRecord();
    });
}

RRETURNCODE CREudoraTransBase::UpdateRecord(CString& csRecordId, CString& csModifiedInfo) {
    return Guarded("UpdateRecord", [&] {
        KV_LOG(5, "Enter CREudoraTransBase::UpdateRecord\n");
        RRETURNCODE code = PrepareForUpdate();
        if (code == RRC_OK) code = GetRecordID(csRecordId);
        if (code == RRC_OK) code = GetModifiedInfo(csModifiedInfo);
        return code == RRC_OK ? FinishUpdate() : code;
    });
}

RRETURNCODE CREudoraTransBase::DeleteRecord() {
    return Guarded("DeleteRecord", [&] {
        KV_LOG(5, "Enter CREudoraTransBase::DeleteRecord\n");
        return RRC_OK;
    });
}

RRETURNCODE CREudoraTransBase::DeleteRecord(LPCTSTR pszRecId) {
    return Guarded("DeleteRecord", [&] {
        KV_LOG(5, "Enter CREudoraTransBase::DeleteRecord: %s\n", pszRecId);
        const RRETURNCODE code = GoToRecord(pszRecId);
        return code != RRC_OK ? code : DeleteRecord();
    });
}

RRETURNCODE CREudoraTransBase::DeleteAllRecords() {
    return Guarded("DeleteAllRecords", [&] {
        KV_LOG(5, "Enter CREudoraTransBase::DeleteAllRecords\n");
        if (DeleteUntilEnd() != RRC_EOF) {
            KV_LOG(1, "Error while deleting the reocrd\n");
            Util().AddError(StringId::kCannotDelete);
            return RRC_FAILED;
        }
        SetBoxFileOpenFlagRegistry(1);
        return RRC_OK;
    });
}

// Back to the start after each deletion: what was deleted is no longer met there. Any result but
// success ends the loop, which a translator that keeps answering the same would never leave.
RRETURNCODE CREudoraTransBase::DeleteUntilEnd() {
    for (;;) {
        RRETURNCODE code = MoveFirst();
        if (code == RRC_OK) code = DeleteRecord();
        if (code != RRC_OK) return code;
    }
}

RRETURNCODE CREudoraTransBase::GetRecordID(CString& csRecordId) {
    return Guarded("GetRecordID", [&] {
        KV_LOG(5, "Enter CREudoraTransBase::GetRecordID\n");
        csRecordId.Empty();
        return RRC_OK;
    });
}

RRETURNCODE CREudoraTransBase::GetModifiedInfo(CString&) {
    return Guarded("GetModifiedInfo", [&] {
        KV_LOG(5, "Enter CREudoraTransBase::GetModifiedInfo\n");
        return RRC_FAILED;
    });
}
