// How the mail translator comes up: Eudora, its MAPI library, the session, the Attach folder.
#include "frame/guard.h"
#include "integration/locate/locate.h"
#include "mailstore/eudora_mail.h"
#include "text/path.h"

using frame::Guarded;
using frame::StringId;

namespace {

constexpr int kNotInstalled = 1, kOtherClient = 2;  // answers of CheckDefaultClient

}  // namespace

RRETURNCODE CREudoraMail::GetAppInfo(BOOL bConfigure, CRHostContext* pHost, CString& csSelection,
                                     RWORD word, CString& csSummary, RWORD) {
    return Guarded("GetAppInfo", [&] {
        if (!m_bAppReady && !BringUp(TransUtil())) return RRC_FAILED;
        return GetAppInfo(bConfigure, pHost, csSelection, word, csSummary);
    });
}

bool CREudoraMail::BringUp(CEudoraTransUtil& util) {
    const int client = util.CheckDefaultClient();
    if (client == kNotInstalled) {
        KV_LOG(1, "Eudora Pro doesn't exist in your machine\n");
        util.AddError(StringId::kEudoraMissing);
        return false;
    }
    if (client == kOtherClient) {
        KV_LOG(1, "Eudora Pro is not your default email client\n");
        util.AddError(StringId::kOtherMailProgram);
    }
    KV_LOG(5, "EUDORA_SUCCESS");
    (void)RunEudoraPro();
    if (util.mapi.LoadMapiLibrary(util.csEudoraDir) == 0) {
        KV_LOG(1, "Fail to load MAPI libaray CREudoraMail::GetAppInfo\n");
        util.AddError(StringId::kNoMapiLibrary);
        return false;
    }
    if (util.mapi.MapiLogon() == 0) {
        KV_LOG(1, "MAPI logon Process failed CREudoraMail::GetAppInfo\n");
        util.AddError(StringId::kNoLogon);
        return false;
    }
    MakeAttachFolder(util);
    m_bAppReady = true;
    return true;
}

void CREudoraMail::MakeAttachFolder(CEudoraTransUtil& util) {
    std::string folder = util.csEudoraDir.Str();
    const auto last = text::LastSeparator(folder, util.system.codePage);
    const bool isClosed = !folder.empty() && folder.back() == '\\' && last == folder.size() - 1;
    if (!isClosed) folder += '\\';
    folder += "Attach";
    m_csAttachDir = folder + '\\';
    const auto info = util.system.files.Stat(folder);
    const bool isThere = info && info->isFolder;
    if (!isThere && !util.system.files.CreateFolder(folder)) {
        KV_LOG(1, "Unable to Create Directory in CREudoraMail::GetAppInfo\n");
    }
    KV_LOG(5, "Attachment Folder path = %s\n", m_csAttachDir.Str().c_str());
}

int CREudoraMail::RunEudoraPro() {
    using std::chrono::milliseconds;
    platform::System& system = TransUtil().system;
    if (system.windows.Exists("EudoraMainWindow")) return 0;
    const auto process = system.processes.Start(TransUtil().csEudoraDir.Str() + "\\Eudora.exe");
    if (!process) {
        KV_LOG(1, "Create Process failed in CREudoraMail::RunEudoraPro\n");
        return 1;
    }
    (void)(*process)->Wait(milliseconds(5000));
    system.clock.Sleep(milliseconds(4500));
    return 0;
}
