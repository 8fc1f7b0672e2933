#include "mailstore/start_eudora.h"

#include <chrono>

#include "platform/kvutil/kvutil.h"

namespace mailstore {

namespace {

using frame::StringId;

constexpr int kNotInstalled = 1, kOtherClient = 2;  // answers of CheckDefaultClient

}  // namespace

int RunEudoraPro(CEudoraTransUtil& util) {
    using std::chrono::milliseconds;
    platform::System& system = util.system;
    if (system.windows.Exists("EudoraMainWindow")) return 0;
    const auto process = system.processes.Start(util.csEudoraDir.Str() + "\\Eudora.exe");
    if (!process) {
        KV_LOG(1, "Create Process failed in CREudoraMail::RunEudoraPro\n");
        return 1;
    }
    (void)(*process)->Wait(milliseconds(5000));
    system.clock.Sleep(milliseconds(4500));
    return 0;
}

bool BringUp(CEudoraTransUtil& util) {
    const auto fail = [&](const char* log, StringId message) {
        KV_LOG(1, "%s", log);
        util.AddError(message);
        return false;
    };
    const int client = util.CheckDefaultClient();
    if (client == kNotInstalled) {
        return fail("Eudora Pro doesn't exist in your machine\n", StringId::kEudoraMissing);
    }
    if (client == kOtherClient) {
        fail("Eudora Pro is not your default email client\n", StringId::kOtherMailProgram);
    }
    KV_LOG(5, "EUDORA_SUCCESS");
    (void)RunEudoraPro(util);
    if (util.mapi.LoadMapiLibrary(util.csEudoraDir) == 0) {
        return fail("Fail to load MAPI libaray CREudoraMail::GetAppInfo\n",
                    StringId::kNoMapiLibrary);
    }
    if (util.mapi.MapiLogon() == 0) {
        return fail("MAPI logon Process failed CREudoraMail::GetAppInfo\n", StringId::kNoLogon);
    }
    return true;
}

}  // namespace mailstore
