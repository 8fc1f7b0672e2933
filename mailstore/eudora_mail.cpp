#include "mailstore/eudora_mail.h"

#include <utility>

#include "frame/guard.h"
#include "integration/dialogs/eudora_options_dlg.h"
#include "text/ascii.h"

using frame::Guarded;
using frame::StringId;

namespace {

constexpr std::uint32_t kLastMapiCode = 25, kNoMapiCode = 7;

StringId TextOfMapiCode(std::uint32_t code) {
    if (code == 0 || code > kLastMapiCode || code == kNoMapiCode) return StringId::kOtherMapiError;
    return static_cast<StringId>(static_cast<std::uint32_t>(StringId::kFirstOfMapi) + code - 1);
}

// Settings and dialog name the seven options alike.
template <class From, class To>
void CopyOptions(const From& from, To& to) {
    to.m_bAttachments = from.m_bAttachments;
    to.m_bLimitAttachSize = from.m_bLimitAttachSize;
    to.m_nAttachLimitKB = from.m_nAttachLimitKB;
    to.m_bLimitMailSize = from.m_bLimitMailSize;
    to.m_bLimitMailAge = from.m_bLimitMailAge;
    to.m_nMailAgeDays = from.m_nMailAgeDays;
    to.m_nMailLimitKB = from.m_nMailLimitKB;
}

}  // namespace

CREudoraMail::~CREudoraMail() {
    m_bAppReady = false;
    FreeNewMessage();
    FreeRecords(m_lstOutBoxMails);
    FreeNewMails();
}

CMapi& CREudoraMail::Mapi() {
    return m_pMapi != nullptr ? *m_pMapi : Util().mapi;
}

void CREudoraMail::FreeNewMessage() {
    Mapi().FreeMessage(std::exchange(m_lpNewMessage, nullptr));
}

// Their files go with them, but for those that are all that is left of what the host handed over.
void CREudoraMail::FreeRecords(std::list<MapiMessage*>& records) {
    for (; !records.empty(); records.pop_front()) {
        MapiMessage& record = *records.front();
        for (std::uint32_t i = 0; i < record.nFileCount; ++i) {
            if (!IsOnlyCopy(record.lpFiles[i])) continue;
            delete[] std::exchange(record.lpFiles[i].lpszPathName, nullptr);
        }
        Mapi().FreeMessage(&record);
    }
}

// The files of a mail that may be stored stay in any case.
void CREudoraMail::FreeNewMails() {
    ReleaseStored(std::exchange(m_uncertain, 0));
    FreeRecords(m_lstNewMails);
}

bool CREudoraMail::IsOnlyCopy(const MapiFileDesc& file) const {
    return file.lpszPathName != nullptr && m_onlyCopies.contains(file.lpszPathName);
}

RRETURNCODE CREudoraMail::InitLocalVars() {
    return Guarded("InitLocalVars", [&] {
        KV_LOG(1, "- Enter - CREudoraMail::InitLocalVars()\n");
        m_pszTo.clear();
        m_pszCc.clear();
        m_pszBcc.clear();
        KV_LOG(1, "          m_bOutBox = %d, m_bAddNewRecord = %d\n", m_bOutBox ? 1 : 0,
               m_bAddNewRecord);
        if (!m_bOutBox && m_bAddNewRecord == 0) FreeNewMessage();
        m_bOutBox = false;
        KV_LOG(1, "- Exit - CREudoraMail::InitLocalVars()\n");
        return RRC_OK;
    });
}

RRETURNCODE CREudoraMail::ResetRecordState() {
    return InitLocalVars();
}

RRETURNCODE CREudoraMail::PrepareForAdd() {
    return InitLocalVars();
}

RRETURNCODE CREudoraMail::PrepareForEdit() {
    return InitLocalVars();
}

RRETURNCODE CREudoraMail::InitDefaultSettings() {
    return BuildFieldList();
}

int CREudoraMail::ShowOptions() {
    CEudoraOptionsDlg dialog(&Util());
    CopyOptions(m_appInfo, dialog);
    if (dialog.DoModal() != CEudoraOptionsDlg::kOk) return RRC_CANCELLED;
    CopyOptions(dialog, m_appInfo);
    return RRC_OK;
}

RRETURNCODE CREudoraMail::SaveSettings(RWORD, tagRAPPINFO* pAppInfo, RWORD) {
    return Guarded("SaveSettings", [&] {
        KV_LOG(5, "Enter CREudoraTransBase::SaveSettings\n");
        const CString selection(pAppInfo != nullptr ? pAppInfo->pszSelection : nullptr);
        if (!text::EqualNoCase(selection.Str(), m_csSelection.Str())) {
            KV_LOG(1,
                   "ERROR: CREudoraTransBase::SaveSettings, (appInfo.pszSelection != "
                   "m_csSelection) (%s != %s)\n",
                   selection.Str().c_str(), m_csSelection.Str().c_str());
            return RRC_FAILED;
        }
        if (Util().StoreSettings(m_appInfo, m_csSelection) != 0) return RRC_OK;
        KV_LOG(1, "Unable to store AppInfo to file\n");
        Util().AddError(StringId::kCannotStoreSettings);
        return RRC_FAILED;
    });
}

void CREudoraMail::ReportMapiError() {
    Util().AddError(TextOfMapiCode(Mapi().LastError()));
}
