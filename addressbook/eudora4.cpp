#include "addressbook/eudora4.h"

#include <array>
#include <cstdlib>

#include "frame/guard.h"
#include "frame/interface/field_ids.h"
#include "integration/dialogs/eudora_file_dlg.h"
#include "platform/kvutil/kvutil.h"

using frame::Guarded;
using frame::StringId;

namespace {

struct FieldRow {
    ContactField id;
    StringId name;
    std::uint32_t tag;
};

constexpr std::uint32_t kAddressBookTag = 0x40000000;
constexpr std::array<FieldRow, 7> kFields = {
    {{ContactField::kNickname, StringId::kContactNickname, 348},
     {ContactField::kName, StringId::kContactName, 0x80000130},
     {ContactField::kAddress, StringId::kContactAddress, 318},
     {ContactField::kPhone, StringId::kContactPhone, 319},
     {ContactField::kFax, StringId::kContactFax, 321},
     {ContactField::kEmail, StringId::kContactEmail, 323},
     {ContactField::kNote, StringId::kContactNote, 21}}};

}  // namespace

CEudoraTransUtil& CREudora4::Util() const {
    return m_pUtil != nullptr ? *m_pUtil : TransUtil();
}

RRETURNCODE CREudora4::GetAppProperties(unsigned long* pProperties) {
    return Guarded("GetAppProperties", [&] {
        const auto result = CREudoraTransBase::GetAppProperties(pProperties);
        *pProperties |= 4;
        return result;
    });
}

RRETURNCODE CREudora4::GetAppInfo(BOOL bConfigure, RWORD, RWORD, RWORD, CString& csSelection, RWORD,
                                  CString& csSummary, CEudoraTransUtil* pUtil) {
    return Guarded("GetAppInfo", [&] {
        KV_LOG(5, "Exnter CREudora4::GetAppInfo\n");
        m_pUtil = pUtil;
        m_AddressBook.UseUtil(pUtil);
        Util().ClearErrors();
        if (csSelection.IsEmpty()) csSelection = Util().csNicknamePath;
        m_csNicknameFile = csSelection;
        if (bConfigure != 0) {
            if (const auto result = ChooseFile(csSelection); result != RRC_OK) return result;
        } else if (!Util().system.files.Exists(m_csNicknameFile.Str())) {
            KV_LOG(1, "Invalid file in CREudora4::GetAppInfo\n");
            Util().AddError(StringId::kNoNicknameFile);
            return RRC_FAILED;
        }
        FormatFilename(csSelection, -1, csSummary);
        KV_LOG(5, "Exit CREudora4::GetAppInfo\n");
        return RRC_OK;
    });
}

RRETURNCODE CREudora4::ChooseFile(CString& csSelection) {
    CEudoraFileDlg dialog(Util().system, csSelection);
    if (dialog.DoModal() != CEudoraFileDlg::kOk) return RRC_CANCELLED;
    csSelection = dialog.m_csPathName;
    m_csNicknameFile = csSelection;
    return RRC_OK;
}

RRETURNCODE CREudora4::Open(int, RWORD, RWORD, RWORD, RWORD, RWORD, RWORD, RWORD, RWORD,
                            CEudoraTransUtil*) {
    return Guarded("Open", [&] {
        KV_LOG(5, "Enter CREudora4::Open\n");
        Util().ClearErrors();
        auto result = m_AddressBook.Open(m_csNicknameFile);
        if (result == RRC_OK) {
            result = BuildFieldList();
        } else {
            const auto text = Util().FormatString(StringId::kCannotOpenFile, m_csNicknameFile);
            KV_LOG(1, "%s", text.Str().c_str());
            Util().AddErrorText(text);
            result = RRC_FAILED;
        }
        KV_LOG(5, "Exit CREudora4::Open\n");
        return result;
    });
}

RRETURNCODE CREudora4::BuildFieldList() {
    return Guarded("BuildFieldList", [&] {
        KV_LOG(5, "Enter - CREudora4::BuildFieldList\n");
        CREudoraFieldArray fields;
        for (const auto& row : kFields) {
            CREudoraField field;
            const auto stringId = static_cast<std::int32_t>(row.name);
            field.Set(FieldId(row.id).c_str(), stringId, stringId, Util().GetString(row.name),
                      kFieldText, row.tag | kAddressBookTag, false);
            fields.Add(field);
        }
        m_appInfo.m_fields = std::move(fields);
        return RRC_OK;
    });
}

RRETURNCODE CREudora4::Close(int) {
    return RRC_OK;
}

RRETURNCODE CREudora4::GetRecordCount(long*) {
    KV_LOG(5, "Enter - CREudora4::GetRecordCount\n");
    return RRC_NOT_SUPPORTED;
}

RRETURNCODE CREudora4::AddNewRecord(RWORD) {
    return Guarded("AddNewRecord", [&] {
        KV_LOG(5, "Enter - CREudora4::AddNewRecord\n");
        return m_AddressBook.NewRecord();
    });
}

RRETURNCODE CREudora4::EditRecord() {
    KV_LOG(5, "Enter - CREudora4::EditRecord()");
    return m_AddressBook.BeginEdit();
}

RRETURNCODE CREudora4::EditRecord(LPCTSTR pszRecId) {
    return Guarded("EditRecord", [&] {
        KV_LOG(5, "Enter - CREudora4::EditRecord\n");
        if (GoToRecord(pszRecId) != RRC_OK) {
            KV_LOG(1, "Error in CREudora4::EditRecord(LPCTSTR pszRecId)");
            return RRC_FAILED;
        }
        return EditRecord();
    });
}

RRETURNCODE CREudora4::UpdateRecord(CString& csRecordId, CString& csModifiedInfo) {
    return Guarded("UpdateRecord", [&] {
        KV_LOG(5, "Enter - CREudora4::UpdateRecord\n");
        csModifiedInfo.Empty();
        // Room first: nothing may fail between storing a record and noting it for the host.
        CString noted;
        m_arrUpdatedIDs.MakeRoom();
        for (auto* id : {&noted, &csRecordId}) id->Str().reserve(addressbook::kMaxNickname);
        if (const auto result = m_AddressBook.StoreRecord(); result != RRC_OK) return result;
        csRecordId = m_AddressBook.CurrentKey();
        noted = csRecordId;
        m_arrUpdatedIDs.Add(std::move(noted));
        return RRC_OK;
    });
}

RRETURNCODE CREudora4::DeleteRecord() {
    return Guarded("DeleteRecord", [&] {
        KV_LOG(5, "Enter - CREudora4::DeleteRecord\n");
        m_AddressBook.RemoveRecord();
        return RRC_OK;
    });
}

RRETURNCODE CREudora4::DeleteRecord(LPCTSTR pszRecId) {
    return Guarded("DeleteRecord", [&] {
        KV_LOG(5, "Enter - CREudora4::DeleteRecord\n");
        CString id(pszRecId);
        m_arrDeletedIDs.MakeRoom();
        if (m_AddressBook.RemoveRecord(id.Str()) == RRC_OK) m_arrDeletedIDs.Add(std::move(id));
        return RRC_OK;
    });
}

RRETURNCODE CREudora4::DeleteAllRecords() {
    return Guarded("DeleteAllRecords", [&] {
        KV_LOG(5, "Enter - CREudora4::DeleteAllRecords\n");
        m_AddressBook.ClearRecords();
        // The records are gone, whatever becomes of the file: the next save writes it.
        (void)Guarded("DeleteAllRecords", [&] { return m_AddressBook.SaveRecords(); });
        return RRC_OK;
    });
}

RRETURNCODE CREudora4::BatchUpdate(CRBatchSink* pSink) {
    return Guarded("BatchUpdate", [&] {
        KV_LOG(5, "Enter - CREudora4::BatchUpdate");
        Util().ClearErrors();
        if (m_AddressBook.SaveRecords() != RRC_OK) {
            KV_LOG(1, "Fail to Save Records to file in CREudora4::BatchUpdate");
            return RRC_FAILED;
        }
        for (const auto& id : m_arrUpdatedIDs) {
            if (m_AddressBook.FindRecord(id.Str()) != RRC_OK) continue;
            CString marker;
            m_AddressBook.GetRecordChecksum(marker);
            if (pSink != nullptr) pSink->RecordStored(id, id, marker);
        }
        for (const auto& id : m_arrDeletedIDs) {
            if (pSink != nullptr) pSink->RecordDeleted(id);
        }
        m_arrUpdatedIDs.RemoveAll();
        m_arrDeletedIDs.RemoveAll();
        return RRC_OK;
    });
}
