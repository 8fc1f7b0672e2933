#include "mailstore/eudora_access.h"

#include <chrono>
#include <string_view>

#include "mailbox/toc_records.h"
#include "platform/kvutil/kvutil.h"

namespace mailstore {

using frame::StringId;
using platform::File;
using platform::OpenMode;
using platform::Share;

namespace {

constexpr int kNotInstalled = 1, kOtherClient = 2;  // answers of CheckDefaultClient

// Starts Eudora and gives it time to come up, unless it runs already.
void RunEudoraPro(CEudoraTransUtil& util) {
    using std::chrono::milliseconds;
    platform::System& system = util.system;
    if (system.windows.Exists("EudoraMainWindow")) return;
    const auto process = system.processes.Start(util.csEudoraDir.Str() + "\\Eudora.exe");
    if (!process) {
        KV_LOG(1, "Create Process failed in CREudoraMail::RunEudoraPro\n");
        return;
    }
    (void)(*process)->Wait(milliseconds(5000));
    system.clock.Sleep(milliseconds(4500));
}

}  // namespace

RRETURNCODE BringUp(CEudoraTransUtil& util) {
    const int client = util.CheckDefaultClient();
    if (client == kNotInstalled) {
        return Fail(util, StringId::kEudoraMissing, "Eudora Pro doesn't exist in your machine\n");
    }
    if (client == kOtherClient) {
        Fail(util, StringId::kOtherMailProgram, "Eudora Pro is not your default email client\n");
    }
    KV_LOG(5, "EUDORA_SUCCESS");
    RunEudoraPro(util);
    if (util.mapi.LoadMapiLibrary(util.csEudoraDir) == 0) {
        return Fail(util, StringId::kNoMapiLibrary,
                    "Fail to load MAPI libaray CREudoraMail::GetAppInfo\n");
    }
    if (util.mapi.MapiLogon() != 0) return RRC_OK;
    return Fail(util, StringId::kNoLogon, "MAPI logon Process failed CREudoraMail::GetAppInfo\n");
}

CString InBoxPath(CEudoraTransUtil& util, const char* extension) {
    const std::string& folder = util.csEudoraDir.Str();
    const CString name = util.GetString(StringId::kInBox);
    return name.IsEmpty() ? folder : folder + '\\' + name.Str() + extension;
}

bool MakeInBox(CEudoraTransUtil& util) {
    platform::Files& files = util.system.files;
    const auto make = [&](const char* extension, std::string_view content, const char* kind) {
        const std::string path = InBoxPath(util, extension).Str();
        if (!files.IsFree(path)) return true;
        // Nothing but a new file is ever written to.
        const auto file = files.Open(path, OpenMode::kCreateNew, Share::kNone);
        if (file) {
            const auto written = (*file)->Write(content), closed = (*file)->Close();
            if (written && closed) return true;
            (void)files.Delete(path);
            util.AddCause((written ? closed : written).Error());
        }
        KV_LOG(1, "Failed to Create %s file = %s\n", kind, path.c_str());
        return false;
    };
    return make(".mbx", "", "Inbox") && make(".toc", mailbox::NewTocHeader(), "Toc");
}

std::unique_ptr<File> OpenInBoxFile(CEudoraTransUtil& util, const char* extension, OpenMode mode,
                                    Share share, const char* operation) {
    const CString path = InBoxPath(util, extension);
    auto file = util.system.files.Open(path.Str(), mode, share);
    if (file) return *std::move(file);
    KV_LOG(1, "Unable to Open a file [%s] in CREudoraMail::%s()\n", path.Str().c_str(), operation);
    KV_LOG(1, "File Open Error Cause = %d in CREudoraMail::%s()\n", file.Error().systemError,
           operation);
    util.AddErrorText(util.FormatString(StringId::kCannotOpenFile, path));
    return nullptr;
}

void ReportInBoxFile(CEudoraTransUtil& util, const platform::Failure& failure,
                     const char* extension) {
    const CString path = InBoxPath(util, extension);
    if (failure.code == platform::ErrorCode::kCorrupt) {
        return ReportNamed(util, StringId::kForeignTable, path);
    }
    util.AddFileError({failure.code, path.Str()});
}

void ReportNamed(CEudoraTransUtil& util, StringId id, const CString& name) {
    const CString text = util.FormatString(id, name);
    util.AddErrorText(text.IsEmpty() ? name : text);
}

RRETURNCODE Fail(CEudoraTransUtil& util, StringId message, const char* log) {
    KV_LOG(1, "%s", log);
    util.AddError(message);
    return RRC_FAILED;
}

RRETURNCODE FailOfMapi(CEudoraTransUtil& util, const char* log) {
    constexpr std::uint32_t kLastMapiCode = 25, kNoMapiCode = 7;
    constexpr auto kFirst = static_cast<std::uint32_t>(StringId::kFirstOfMapi);
    const std::uint32_t code = util.mapi.LastError();
    const bool hasText = code >= 1 && code <= kLastMapiCode && code != kNoMapiCode;
    util.AddError(hasText ? static_cast<StringId>(kFirst + code - 1) : StringId::kOtherMapiError);
    if (log != nullptr) KV_LOG(1, "%s", log);
    return RRC_FAILED;
}

RRETURNCODE FailOfNoMail(CEudoraTransUtil& util) {
    return Fail(util, StringId::kInvalidRecord,
                "Invalid Message Pointer in CREudoraMail::GetField\n");
}

}  // namespace mailstore
