#include "frame/trans_base.h"

#include "frame/guard.h"

using frame::Guarded;

CREudoraTransBase::~CREudoraTransBase() {
    FreeDateFilters();
    FreeTextFilters();
    FreeBoolFilters();
}

RRETURNCODE CREudoraTransBase::GetAppProperties(unsigned long* pProperties) {
    return Guarded("GetAppProperties", [&] {
        KV_LOG(5, "Enter CREudoraTransBase::GetAppProperties\n");
        *pProperties = 0x80070000;
        return RRC_OK;
    });
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
    return Guarded("Close", [&] {
        KV_LOG(5, "Enter CREudoraTransBase::Close - Input : Mode - %d\n", nMode);
        return RRC_OK;
    });
}

// The queues are the module's own, whatever the host handed in: messages can be fetched from an
// object that was never opened.
RRETURNCODE CREudoraTransBase::GetFirstErrorMessage(CString& csMessage) {
    return Guarded("GetFirstErrorMessage", [&] {
        KV_LOG(5, "Enter CREudoraTransBase::GetFirstErrorMessage\n");
        return GetNextErrorMessage(csMessage);
    });
}

RRETURNCODE CREudoraTransBase::GetNextErrorMessage(CString& csMessage) {
    return Guarded("GetNextErrorMessage", [&] {
        KV_LOG(5, "Enter CREudoraTransBase::GetNextErrorMessage\n");
        return TransUtil().GetNextError(csMessage);
    });
}

RRETURNCODE CREudoraTransBase::GetFirstWarningMessage(CString& csMessage) {
    return Guarded("GetFirstWarningMessage", [&] {
        KV_LOG(5, "Enter CREudoraTransBase::GetFirstWarningMessage\n");
        return GetNextWarningMessage(csMessage);
    });
}

RRETURNCODE CREudoraTransBase::GetNextWarningMessage(CString& csMessage) {
    return Guarded("GetNextWarningMessage", [&] {
        KV_LOG(5, "Enter CREudoraTransBase::GetNextWarningMessage\n");
        return TransUtil().GetNextWarning(csMessage);
    });
}

RRETURNCODE CREudoraTransBase::IsOkToSetRecord(RWORD, RFIELDCALLBACK, void*, BOOL* pbOk) {
    return Guarded("IsOkToSetRecord", [&] {
        KV_LOG(5, "Enter CREudoraTransBase::IsOkToSetRecord\n");
        *pbOk = 1;
        return RRC_OK;
    });
}

RRETURNCODE CREudoraTransBase::IsOkToProceed(RWORD, RWORD, BOOL* pbOk) {
    return Guarded("IsOkToProceed", [&] {
        KV_LOG(5, "Enter CREudoraTransBase::IsOkToProceed\n");
        *pbOk = 1;
        return RRC_OK;
    });
}

RRETURNCODE CREudoraTransBase::IsAppModified(BOOL* pbModified) {
    KV_LOG(5, "Enter CREudoraTransBase::IsAppModified");
    *pbModified = 1;
    return RRC_NONE;
}

int CREudoraTransBase::ShowOptions() {
    return 0;
}

RRETURNCODE CREudoraTransBase::InitDefaultSettings() {
    return RRC_OK;
}

RRETURNCODE CREudoraTransBase::BuildFieldList() {
    return RRC_OK;
}

RRETURNCODE CREudoraTransBase::ResetRecordState() {
    return RRC_OK;
}

RRETURNCODE CREudoraTransBase::GetSpecialField(CREudoraField&, void*, BOOL* pbHandled) {
    *pbHandled = 0;
    return RRC_OK;
}

RRETURNCODE CREudoraTransBase::SetSpecialField(CREudoraField&, void*, BOOL* pbHandled) {
    *pbHandled = 0;
    return RRC_OK;
}

RRETURNCODE CREudoraTransBase::PrepareForAdd() {
    return RRC_OK;
}

RRETURNCODE CREudoraTransBase::PrepareForEdit() {
    return RRC_OK;
}

RRETURNCODE CREudoraTransBase::PrepareForUpdate() {
    return RRC_OK;
}

RRETURNCODE CREudoraTransBase::FinishUpdate() {
    return RRC_OK;
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
