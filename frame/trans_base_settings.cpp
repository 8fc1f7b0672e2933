#include <utility>

#include "frame/guard.h"
#include "frame/trans_base.h"

using frame::Guarded;
using frame::StringId;

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
    return Guarded("GetAppInfo", [&] {
        KV_LOG(5, "Enter CREudoraTransBase::GetAppInfo\n");
        m_pUtil = pUtil;
        m_dwHostValue = value2;
        Util().ClearMessages();
        bool isNew = false;
        if (m_appInfo.IsLoaded() == 0) {
            const RRETURNCODE code = LoadOrMakeSettings(csSelection, isNew);
            if (code != RRC_OK) return code;
            m_appInfo.SetLoaded(1);
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
            m_appInfo.SetLoaded(0);
            (void)Util().system.files.Delete(csSelection.Str());
        }
        if (code == RRC_OK) KV_LOG(5, "Exit CREudoraTransBase::GetAppInfo\n");
        return code;
    });
}

RRETURNCODE CREudoraTransBase::LoadOrMakeSettings(CString& csSelection, bool& isNew) {
    CEudoraTransUtil& util = Util();
    if (!csSelection.IsEmpty()) {
        if (util.LoadSettings(csSelection, m_appInfo) == 0) {
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
    if (util.StoreSettings(m_appInfo, csSelection) == 0) {
        KV_LOG(1, "Unable to store AppInfo to file\n");
        util.AddError(StringId::kCannotStoreSettings);
        return RRC_FAILED;
    }
    return RRC_OK;
}
