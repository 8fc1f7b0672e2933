#include "addressbook/eudora4.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "addressbook/field_text.h"
#include "integration/dialogs/nickname_file_dialog.h"
#include "platform/kvutil/kvutil.h"
#include "platform/os/code_page.h"
#include "text/ascii.h"
#include "text/double_byte.h"

using frame::Entered;
using frame::Guarded;
using frame::StringId;

namespace {

constexpr const char* kEnter = "Enter - CREudora4::";

struct FieldRow {
    ContactField id;
    StringId name;
    std::uint32_t tag;
};

constexpr std::uint32_t kAddressBookTag = 0x40000000;
constexpr FieldRow kFields[] = {{ContactField::kNickname, StringId::kContactNickname, 348},
                                {ContactField::kName, StringId::kContactName, 0x80000130},
                                {ContactField::kAddress, StringId::kContactAddress, 318},
                                {ContactField::kPhone, StringId::kContactPhone, 319},
                                {ContactField::kFax, StringId::kContactFax, 321},
                                {ContactField::kEmail, StringId::kContactEmail, 323},
                                {ContactField::kNote, StringId::kContactNote, 21}};

}  // namespace

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
            const auto path = dialogs::AskForNicknameFile(Util().system, csSelection.Str());
            if (!path) return RRC_CANCELLED;
            m_csNicknameFile = csSelection = *path;
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

RRETURNCODE CREudora4::Open(int, RWORD, RWORD, RWORD, RWORD, RWORD, RWORD, RWORD, RWORD,
                            CEudoraTransUtil*) {
    return Entered("Enter CREudora4::", "Open", [&] {
        Util().ClearErrors();
        auto result = m_AddressBook.Open(m_csNicknameFile);
        if (result == RRC_OK) {
            result = BuildFieldList();
        } else {
            const auto text = Util().FormatString(StringId::kCannotOpenFile, m_csNicknameFile);
            KV_LOG(1, "%s", text.Str().c_str());
            Util().AddErrorText(text);
        }
        KV_LOG(5, "Exit CREudora4::Open\n");
        return result;
    });
}

RRETURNCODE CREudora4::BuildFieldList() {
    return Entered(kEnter, "BuildFieldList", [&] {
        CREudoraFieldArray fields;
        for (const auto& row : kFields) {
            const auto stringId = static_cast<std::int32_t>(row.name);
            fields.Add({FieldId(row.id), stringId, stringId, Util().GetString(row.name), kFieldText,
                        row.tag | kAddressBookTag});
        }
        m_appInfo.m_fields = std::move(fields);
        return RRC_OK;
    });
}

RRETURNCODE CREudora4::Close(int) {
    return RRC_OK;
}

RRETURNCODE CREudora4::GetRecordCount(long*) {
    return Entered(kEnter, "GetRecordCount", [] { return RRC_NOT_SUPPORTED; });
}

RRETURNCODE CREudora4::MoveFirst() {
    return Guarded("MoveFirst", [&] {
        KV_LOG(5, "Enter - CREudora4::IsEof\n");
        return SkipFilteredOut(m_AddressBook.FirstRecord());
    });
}

RRETURNCODE CREudora4::MoveNext() {
    return Entered(kEnter, "MoveNext", [&] { return SkipFilteredOut(m_AddressBook.NextRecord()); });
}

RRETURNCODE CREudora4::SkipFilteredOut(RRETURNCODE result) {
    while (result == RRC_OK && IsFilteredOut()) result = m_AddressBook.NextRecord();
    return result;
}

bool CREudora4::IsFilteredOut() {
    const auto codePage = Util().system.codePage;
    return std::ranges::any_of(m_textFilters, [&](const tagRTEXTFILTER& filter) {
        unsigned long type = kFieldText;
        char* cell = nullptr;
        if (GetField(filter.pszFieldId, &type, &cell) != RRC_OK) return false;
        const CString value(cell);
        FreeVornString(cell);
        const CString text(filter.pszText);
        const auto wanted =
            platform::UpperCase(text::Trimmed(text.Str(), addressbook::kSpaces), codePage);
        return !text::ContainsText(platform::UpperCase(value.Str(), codePage), wanted, codePage);
    });
}

RRETURNCODE CREudora4::GoToRecord(LPCTSTR pszRecId) {
    return Entered(kEnter, "GoToRecord", [&] {
        const auto result = m_AddressBook.FindRecord(CString(pszRecId).Str());
        if (result != RRC_OK) KV_LOG(1, "CREudora4::GoToRecord() API failed\n");
        return result;
    });
}

RRETURNCODE CREudora4::AddNewRecord(RWORD) {
    return Entered(kEnter, "AddNewRecord", [&] { return m_AddressBook.NewRecord(); });
}

RRETURNCODE CREudora4::EditRecord() {
    KV_LOG(5, "Enter - CREudora4::EditRecord()");
    return RRC_OK;
}

RRETURNCODE CREudora4::EditRecord(LPCTSTR pszRecId) {
    return Entered(kEnter, "EditRecord", [&] {
        if (GoToRecord(pszRecId) == RRC_OK) return EditRecord();
        KV_LOG(1, "Error in CREudora4::EditRecord(LPCTSTR pszRecId)");
        return RRC_FAILED;
    });
}

RRETURNCODE CREudora4::UpdateRecord(CString& csRecordId, CString& csModifiedInfo) {
    return Entered(kEnter, "UpdateRecord", [&] {
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
    return Entered(kEnter, "DeleteRecord", [&] { return m_AddressBook.RemoveRecord(); });
}

RRETURNCODE CREudora4::DeleteRecord(LPCTSTR pszRecId) {
    return Entered(kEnter, "DeleteRecord", [&] {
        CString id(pszRecId);
        m_arrDeletedIDs.MakeRoom();
        if (m_AddressBook.RemoveRecord(id.Str()) == RRC_OK) m_arrDeletedIDs.Add(std::move(id));
        return RRC_OK;
    });
}

RRETURNCODE CREudora4::DeleteAllRecords() {
    return Entered(kEnter, "DeleteAllRecords", [&] {
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

RRETURNCODE CREudora4::GetRecordID(CString& csRecordId) {
    return Guarded("GetRecordID", [&] {
        csRecordId = m_AddressBook.CurrentKey();
        return RRC_OK;
    });
}

RRETURNCODE CREudora4::GetModifiedInfo(CString& csModifiedInfo) {
    return Entered(kEnter, "GetModifiedInfo",
                   [&] { return m_AddressBook.GetRecordChecksum(csModifiedInfo); });
}

// A field of lines without a value has no block at all.
RRETURNCODE CREudora4::GetField(LPCTSTR pszFieldId, unsigned long*, void* pCell) {
    return Entered(kEnter, "GetField", [&] {
        Util().ClearErrors();
        const auto field = FieldOfId<ContactField>(pszFieldId);
        CString value;
        const auto result = m_AddressBook.GetRecordField(field, value);
        if (result != RRC_OK || !IsContactField(field)) return result;
        auto& cell = *static_cast<char**>(pCell);
        cell = nullptr;
        if (!HasLines(field)) {
            KV_LOG(4, "%s = %s\n", pszFieldId, value.Str().c_str());
        } else if (value.IsEmpty()) {
            return RRC_OK;
        } else {
            value = addressbook::ExpandLineBreaks(value.Str());
        }
        if (AllocVornString(cell, value.Str().c_str()) == RRC_OK) return RRC_OK;
        KV_LOG(5, "Fail to allcate Memory for filed [%s] in CREudora4::GetField\n", pszFieldId);
        Util().AddError(StringId::kNoMemoryForField);
        return RRC_FAILED;
    });
}

RRETURNCODE CREudora4::SetField(LPCTSTR pszFieldId, unsigned long*, void* pCell) {
    return Guarded("SetField", [&] {
        Util().ClearErrors();
        const CString value(*static_cast<char**>(pCell));
        return m_AddressBook.SetRecordField(FieldOfId<ContactField>(pszFieldId), value.Str());
    });
}

RRETURNCODE CREudora4::IsOkToSetRecord(RWORD, RFIELDCALLBACK pfnGetValue, void* pContext,
                                       BOOL* pbOk) {
    return Guarded("IsOkToSetRecord", [&] {
        RRETURNCODE result = RRC_OK;
        unsigned long type = kFieldText;
        for (const CREudoraField& field : m_appInfo.m_fields) {
            void* cell = nullptr;
            BOOL hasField = 0;
            pfnGetValue(pContext, field.m_csFieldId, &cell, &type, &hasField);
            if (hasField != 1) continue;
            const char* text = cell != nullptr ? *static_cast<char**>(cell) : nullptr;
            const auto checked = CheckField(field, text != nullptr ? text : "");
            if (checked != RRC_OK) result = checked;
            if (checked == RRC_FAILED) break;
        }
        *pbOk = result == RRC_OK ? 1 : 0;
        return result;
    });
}

// RRC_OK, RRC_WARNING or RRC_FAILED, with the message queued.
RRETURNCODE CREudora4::CheckField(const CREudoraField& field, LPCTSTR text) {
    const auto fault = addressbook::FaultOf(FieldOfId<ContactField>(field.m_csFieldId), text);
    if (!fault) return RRC_OK;
    const auto name = Util().GetString(field.NameId());
    if (*fault == StringId::kNicknameTooLong) {
        const auto warning = Util().FormatString(*fault, name, addressbook::kNicknameLimit);
        KV_LOG(3, "%s", warning.Str().c_str());
        Util().AddWarningText(warning);
        return RRC_WARNING;
    }
    const auto error = Util().FormatString(*fault, name);
    KV_LOG(1, "%s", error.Str().c_str());
    Util().AddErrorText(error);
    return RRC_FAILED;
}
