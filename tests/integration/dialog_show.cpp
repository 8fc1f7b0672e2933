// Shows the dialogs as people see them: in windows, or in the terminal on systems without.
//   dialog_show file [PATH]    the open-file dialog; a name with "refuse" in it stays out
//   dialog_show options [LANGUAGE FOLDER]    the mail options, in a language whose bundle lies in
//                                            the folder; prints the seven values
//   dialog_show message        a message box
#include <cstdio>
#include <cstring>

#include "frame/trans_util.h"
#include "host/dialogs/terminal_dialogs.h"
#include "integration/dialogs/eudora_options_dlg.h"
#include "platform/os/system.h"

int main(int argc, char** argv) {
    static const auto terminal = host::MakeTerminalDialogs();
    platform::SetDialogSource([] { return terminal.get(); });
    auto& dialogs = platform::NativeSystem().dialogs;
    const char* what = argc > 1 ? argv[1] : "";
    if (std::strcmp(what, "file") == 0) {
        platform::OpenFileRequest request;
        request.initialPath = argc > 2 ? argv[2] : "";
        request.defaultExtension = "txt";
        request.filter = "Eudora Address Book (*.txt)|*.txt||";
        request.accept = [&](const std::string& path) {
            std::printf("asked: %s\n", path.c_str());
            std::fflush(stdout);
            const bool isRefused = path.find("refuse") != std::string::npos;
            if (isRefused) {
                dialogs.ShowMessage("Invalid File Name", "Error", platform::MessageIcon::kWarning);
            }
            return !isRefused;
        };
        const auto path = dialogs.OpenFile(request);
        std::printf("result: %s\n", path ? path->c_str() : "cancelled");
    } else if (std::strcmp(what, "options") == 0) {
        CEudoraTransUtil util(platform::NativeSystem());
        if (argc > 3) util.bundle.Load("kvlEUD", argv[3], argv[2], "", true);
        CEudoraOptionsDlg dialog(&util);
        dialog.m_bLimitMailAge = dialog.m_bLimitMailSize = dialog.m_bLimitAttachSize = 1;
        dialog.m_nMailAgeDays = 7;
        dialog.m_nMailLimitKB = 32;
        dialog.m_nAttachLimitKB = 5;
        std::printf("result: %d\n", dialog.DoModal());
        std::printf("age %d %d, size %d %d, attachments %d, limit %d %d\n", dialog.m_bLimitMailAge,
                    dialog.m_nMailAgeDays, dialog.m_bLimitMailSize, dialog.m_nMailLimitKB,
                    dialog.m_bAttachments, dialog.m_bLimitAttachSize, dialog.m_nAttachLimitKB);
    } else {
        dialogs.ShowMessage("Invalid File Name", "Error", platform::MessageIcon::kWarning);
    }
    return 0;
}
