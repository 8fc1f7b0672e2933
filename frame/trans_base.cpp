#include "frame/trans_base.h"

#include <string>
#include <utility>

using frame::Guarded;
using frame::StringId;

namespace {

template <class Operation>
RRETURNCODE Entered(const char* name, Operation&& operation) {
    return frame::Entered("Enter CREudoraTransBase::", name, operation);
}

// An operation that only answers.
RRETURNCODE Answer(const char* name, RRETURNCODE code) {
    return Entered(name, [&] { return code; });
}

// An operation that only gives a value.
template <class Value>
RRETURNCODE Give(const char* name, Value* cell, Value value, RRETURNCODE code = RRC_OK) {
    return Entered(name, [&] {
        *cell = value;
        return code;
    });
}

template <class Record>
RRETURNCODE TakeOver(const char* name, frame::FilterList<Record>& list, Record* records,
                     int count) {
    return Entered(name, [&] {
        list.TakeOver(records, count);
        KV_LOG(5, "Exit CREudoraTransBase::%s\n", name);
        return RRC_OK;
    });
}

RRETURNCODE GiveEmptyValue(LPCTSTR fieldId, unsigned long type, void* cell) {
    std::string shown;
    if (type == kFieldText) {
        if (AllocVornString(*static_cast<char**>(cell), "") == RRC_OK) return RRC_OK;
        KV_LOG(1, "CREudoraTransBase::GetField : Insufficient memory\n");
        return RRC_FAILED;
    }
    if (type == kFieldInteger) {
        shown = std::to_string(*static_cast<std::int32_t*>(cell));
    } else if (type == kFieldBool) {
        shown = *static_cast<std::int32_t*>(cell) != 0 ? "TRUE" : "FALSE";
    } else if (type < kFieldDateFirst || type > kFieldDateLast) {
        KV_LOG(1, "CREudoraTransBase::GetField - Unsupported field type\n");
        return RRC_FAILED;
    }
    KV_LOG(4, "CREudoraTransBase::GetField Id: %s, Data: %s", fieldId, shown.c_str());
    return RRC_OK;
}

}  // namespace

RRETURNCODE CREudoraTransBase::GetAppProperties(unsigned long* pProperties) {
    return Give("GetAppProperties", pProperties, 0x80070000UL);
}

RRETURNCODE CREudoraTransBase::GetAppInfo(BOOL bConfigure, CRHostContext* pHost,
                                          CString& csSelection, RWORD word, CString& csSummary,
                                          RWORD) {
    return Guarded("GetAppInfo",
                   [&] { return GetAppInfo(bConfigure, pHost, csSelection, word, csSummary); });
}

RRETURNCODE CREudoraTransBase::GetAppInfo(BOOL bConfigure, CRHostContext* pHost,
                                          CString& csSelection, RWORD word, CString& csSummary) {
    return Guarded("GetAppInfo", [&] {
        if (pHost == nullptr) return RRC_FAILED;
        RWORD value1 = 0, value2 = 0, value3 = 0, util = 0;
        pHost->GetContextValue2(&value2);
        pHost->GetContextValue3(&value3);
        pHost->GetUtil(&util);
        pHost->GetContextValue1(&value1);
        return GetAppInfo(bConfigure, value1, value2, value3, csSelection, word, csSummary,
                          reinterpret_cast<CEudoraTransUtil*>(util));
    });
}

RRETURNCODE CREudoraTransBase::GetAppInfo(BOOL bConfigure, RWORD, RWORD value2, RWORD,
                                          CString& csSelection, RWORD, CString& csSummary,
                                          CEudoraTransUtil* pUtil) {
    return Entered("GetAppInfo", [&] {
        m_pUtil = pUtil;
        m_dwHostValue = value2;
        Util().ClearMessages();
        bool isNew = false;
        if (!m_appInfo.m_isLoaded) {
            const RRETURNCODE code = LoadOrMakeSettings(csSelection, isNew);
            if (code != RRC_OK) return code;
            m_appInfo.m_isLoaded = true;
        }
        const RRETURNCODE code = Guarded("GetAppInfo", [&] {
            if (bConfigure != 0 && ShowOptions() != 0) return RRC_CANCELLED;
            CString selection(csSelection), summary(m_appInfo.GetSummaryText());
            std::swap(m_csSelection, selection);
            std::swap(csSummary, summary);
            return RRC_OK;
        });
        // Whatever the reason, the host is not told of the new file.
        if (code != RRC_OK && isNew) {
            m_appInfo.m_isLoaded = false;
            (void)Util().system.files.Delete(csSelection.Str());
        }
        if (code == RRC_OK) KV_LOG(5, "Exit CREudoraTransBase::GetAppInfo\n");
        return code;
    });
}

RRETURNCODE CREudoraTransBase::LoadOrMakeSettings(CString& csSelection, bool& isNew) {
    CEudoraTransUtil& util = Util();
    if (!csSelection.IsEmpty()) {
        if (!util.LoadSettings(csSelection, m_appInfo)) {
            util.system.dialogs.ShowMessage(
                "Unable to read the config file.  Loading default settings.", "Eudora",
                platform::MessageIcon::kWarning);
            InitDefaultSettings();
        }
        return RRC_OK;
    }
    InitDefaultSettings();
    util.NextSettingsPath(csSelection);
    isNew = true;
    if (util.StoreSettings(m_appInfo, csSelection)) return RRC_OK;
    KV_LOG(1, "Unable to store AppInfo to file\n");
    util.AddError(StringId::kCannotStoreSettings);
    return RRC_FAILED;
}

RRETURNCODE CREudoraTransBase::Open(int nMode, RWORD, RWORD word2, RWORD word3,
                                    CRHostContext* pHost, RWORD) {
    return Guarded("Open", [&] { return Open(nMode, word2, word3, pHost); });
}

RRETURNCODE CREudoraTransBase::Open(int nMode, RWORD word, RWORD word2, CRHostContext* pHost) {
    return Guarded("Open", [&] {
        if (pHost == nullptr) return RRC_FAILED;
        RWORD value2 = 0, value3 = 0, value4 = 0, value5 = 0, value6 = 0, value7 = 0, util = 0;
        pHost->GetContextValue2(&value2);
        pHost->GetContextValue3(&value3);
        pHost->GetContextValue4(&value4);
        pHost->GetContextValue5(&value5);
        pHost->GetContextValue6(&value6);
        pHost->GetContextValue7(&value7);
        pHost->GetUtil(&util);
        return Open(nMode, value2, value3, value4, word, word2, value5, value6, value7,
                    reinterpret_cast<CEudoraTransUtil*>(util));
    });
}

RRETURNCODE CREudoraTransBase::Open(int nMode, RWORD value2, RWORD, RWORD, RWORD, RWORD, RWORD,
                                    RWORD, RWORD, CEudoraTransUtil* pUtil) {
    return Guarded("Open", [&] {
        KV_LOG(5, "Enter CREudoraTransBase::Open - Input : Mode - %d\n", nMode);
        m_pUtil = pUtil;
        m_dwHostValue = value2;
        Util().ClearErrors();
        KV_LOG(5, "Exit CREudoraTransBase::Open\n");
        return RRC_OK;
    });
}

RRETURNCODE CREudoraTransBase::Close(int nMode) {
    KV_LOG(5, "Enter CREudoraTransBase::Close - Input : Mode - %d\n", nMode);
    return RRC_OK;
}

RRETURNCODE CREudoraTransBase::GetFirstErrorMessage(CString& csMessage) {
    return Entered("GetFirstErrorMessage", [&] { return GetNextErrorMessage(csMessage); });
}

RRETURNCODE CREudoraTransBase::GetNextErrorMessage(CString& csMessage) {
    return Entered("GetNextErrorMessage", [&] { return TransUtil().GetNextError(csMessage); });
}

RRETURNCODE CREudoraTransBase::GetFirstWarningMessage(CString& csMessage) {
    return Entered("GetFirstWarningMessage", [&] { return GetNextWarningMessage(csMessage); });
}

RRETURNCODE CREudoraTransBase::GetNextWarningMessage(CString& csMessage) {
    return Entered("GetNextWarningMessage", [&] { return TransUtil().GetNextWarning(csMessage); });
}

RRETURNCODE CREudoraTransBase::SetDateFilter(tagRDATEFILTER* pFilters, int nCount) {
    return TakeOver("SetDateFilter", m_dateFilters, pFilters, nCount);
}

RRETURNCODE CREudoraTransBase::SetTextFilter(tagRTEXTFILTER* pFilters, int nCount) {
    return TakeOver("SetTextFilter", m_textFilters, pFilters, nCount);
}

RRETURNCODE CREudoraTransBase::SetBoolFilter(tagRBOOLFILTER* pFilters, int nCount) {
    return TakeOver("SetBoolFilter", m_boolFilters, pFilters, nCount);
}

RRETURNCODE CREudoraTransBase::GetFirstFieldInfo(CString& csFieldId, CString& csFieldName,
                                                 unsigned long* pType, unsigned long* pTag,
                                                 unsigned short* pOrdinal) {
    return Entered("GetFirstFieldInfo", [&] {
        m_nFieldCursor = 0;
        return GetNextFieldInfo(csFieldId, csFieldName, pType, pTag, pOrdinal);
    });
}

RRETURNCODE CREudoraTransBase::GetNextFieldInfo(CString& csFieldId, CString& csFieldName,
                                                unsigned long* pType, unsigned long* pTag,
                                                unsigned short* pOrdinal) {
    return Entered("GetNextFieldInfo", [&] {
        if (m_nFieldCursor >= m_appInfo.m_fields.GetSize()) return RRC_NONE;
        const CREudoraField field = m_appInfo.m_fields.GetAt(m_nFieldCursor);
        csFieldId = field.m_csFieldId;
        csFieldName.Empty();
        if (field.m_nStringId > 0) csFieldName = Util().GetString(field.NameId());
        if (csFieldName.IsEmpty()) csFieldName = field.m_csDefaultName;
        *pType = static_cast<unsigned long>(field.m_nType);
        *pTag = field.m_dwTag;
        *pOrdinal = static_cast<unsigned short>(++m_nFieldCursor);
        return RRC_OK;
    });
}

RRETURNCODE CREudoraTransBase::GetFieldCount(long* pCount) {
    return Give("GetFieldCount", pCount, long{m_appInfo.m_fields.GetSize()});
}

RRETURNCODE CREudoraTransBase::GetRecordCount(long* pCount) {
    return Give("GetRecordCount", pCount, -1L, RRC_NONE);
}

RRETURNCODE CREudoraTransBase::MoveFirst() {
    return Answer("MoveFirst", RRC_EOF);
}

RRETURNCODE CREudoraTransBase::MoveNext() {
    return Answer("MoveNext", RRC_EOF);
}

// Called again from the MoveNext that it calls, it only notes that a record was reached and leaves
// the judgement to the outer call: the depth is two, however many records fail.
RRETURNCODE CREudoraTransBase::EndMove(const char* operation) {
    return Entered(operation, [&] {
        if (m_filtering) {
            m_reached = true;
            return RRC_OK;
        }
        struct Scope {
            explicit Scope(bool& theFlag) : flag(theFlag) { flag = true; }
            ~Scope() { flag = false; }
            bool& flag;
        } scope(m_filtering);
        while (PassesFilters() == 0) {
            m_reached = false;
            const RRETURNCODE code = MoveNext();
            if (code != RRC_OK || !m_reached) return code;
        }
        return RRC_OK;
    });
}

RRETURNCODE CREudoraTransBase::GoToRecord(LPCTSTR pszRecId) {
    KV_LOG(5, "Enter CREudoraTransBase::GoToRecord: %s\n", pszRecId);
    return RRC_OK;
}

RRETURNCODE CREudoraTransBase::AddNewRecord(RWORD) {
    return Answer("AddNewRecord", RRC_FAILED);
}

RRETURNCODE CREudoraTransBase::EditRecord() {
    return Entered("EditRecord", [] {
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
    return Entered("UpdateRecord", [&] {
        RRETURNCODE code = PrepareForUpdate();
        if (code == RRC_OK) code = GetRecordID(csRecordId);
        return code == RRC_OK ? GetModifiedInfo(csModifiedInfo) : code;
    });
}

RRETURNCODE CREudoraTransBase::DeleteRecord() {
    return Answer("DeleteRecord", RRC_OK);
}

RRETURNCODE CREudoraTransBase::DeleteRecord(LPCTSTR pszRecId) {
    return Guarded("DeleteRecord", [&] {
        KV_LOG(5, "Enter CREudoraTransBase::DeleteRecord: %s\n", pszRecId);
        const RRETURNCODE code = GoToRecord(pszRecId);
        return code != RRC_OK ? code : DeleteRecord();
    });
}

RRETURNCODE CREudoraTransBase::DeleteAllRecords() {
    return Entered("DeleteAllRecords", [&] {
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
    return Give("GetRecordID", &csRecordId, CString());
}

RRETURNCODE CREudoraTransBase::GetModifiedInfo(CString&) {
    return Answer("GetModifiedInfo", RRC_FAILED);
}

RRETURNCODE CREudoraTransBase::GetField(LPCTSTR pszFieldId, unsigned long* pType, void* pCell) {
    return Guarded("GetField", [&] {
        KV_LOG(5, "Enter CREudoraTransBase::GetField : Input - Field Id : %s\n", pszFieldId);
        if (!HasField(pszFieldId)) return RRC_FAILED;
        const RRETURNCODE code = GiveEmptyValue(pszFieldId, *pType, pCell);
        if (code == RRC_OK) KV_LOG(5, "Exit CREudoraTransBase::GetField\n");
        return code;
    });
}

RRETURNCODE CREudoraTransBase::SetField(LPCTSTR pszFieldId, unsigned long*, void*) {
    return Guarded("SetField", [&] {
        KV_LOG(5, "Enter CREudoraTransBase::SetField : Input - Field Id : %s\n", pszFieldId);
        if (HasField(pszFieldId)) {
            KV_LOG(1, "CREudoraTransBase::SetField - Unsupported field type\n");
        }
        return RRC_FAILED;
    });
}

// Both operations log this line, which names only one of them.
bool CREudoraTransBase::HasField(LPCTSTR fieldId) const {
    if (m_appInfo.m_fields.Lookup(fieldId) >= 0) return true;
    KV_LOG(1, "CREudoraTransBase::SetField Field Id '%s' is not found in the list", fieldId);
    return false;
}

RRETURNCODE CREudoraTransBase::IsOkToSetRecord(RWORD, RFIELDCALLBACK, void*, BOOL* pbOk) {
    return Give("IsOkToSetRecord", pbOk, BOOL{1});
}

RRETURNCODE CREudoraTransBase::IsOkToProceed(RWORD, RWORD, BOOL* pbOk) {
    return Give("IsOkToProceed", pbOk, BOOL{1});
}

void CREudoraTransBase::SetBoxFileOpenFlagRegistry(unsigned long value) {
    constexpr const char* kKey = "SOFTWARE\\Vorn Software\\Orlix\\3.0\\Keld";
    constexpr const char* kValue = "RecCntFlag";
    constexpr auto kRoot = platform::RegistryRoot::kLocalMachine;
    platform::Registry& registry = Util().system.registry;
    const auto stored =
        registry.WriteNumber(kRoot, kKey, kValue, static_cast<std::uint32_t>(value));
    const auto read = registry.ReadNumber(kRoot, kKey, kValue);
    KV_LOG(5, "=== Reg === CREudoraTransBase::SetBoxFileOpenFlagRegistry result = %d reg = %d",
           stored ? RRC_OK : RRC_FAILED, read ? static_cast<int>(*read) : 0);
}
