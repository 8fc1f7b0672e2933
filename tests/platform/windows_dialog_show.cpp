// Shows the windows of the Windows backend, for people who change them:
//   windows_dialog_show file [PATH]    the open-file dialog; a name with "refuse" in it stays out
//   windows_dialog_show options        a modal dialog with every kind of control
//   windows_dialog_show message        a message box
#include <cstdio>
#include <cstring>

#include "platform/os/system.h"

namespace {

using platform::ControlKind;

constexpr platform::DialogControl kControls[] = {
    {1010, ControlKind::kGroupBox, 7, 7, 238, 82}, {1000, ControlKind::kCheckBox, 27, 19, 130, 8},
    {1004, ControlKind::kEdit, 161, 15, 40, 14},   {1007, ControlKind::kSpin, 202, 15, 10, 14},
    {1011, ControlKind::kLabel, 216, 18, 22, 8},   {1, ControlKind::kDefaultButton, 73, 94, 50, 14},
    {2, ControlKind::kButton, 133, 94, 50, 14},
};

class Logic : public platform::DialogLogic {
  public:
    void OnInit(platform::DialogView& view) override {
        view.SetTitle("Title \x80");
        view.SetText(1010, "Frame");
        view.SetText(1000, "Days at most, M\xFCller:");
        view.SetText(1004, "7");
        view.SetText(1011, "days");
        view.SetText(1, "OK");
        view.SetText(2, "Cancel");
        view.SetRange(1007, 0, 9999);
        view.SetChecked(1000, true);
    }
    void OnCommand(platform::DialogView& view, int control) override {
        std::printf("command %d, days %s, checked %d\n", control, view.Text(1004).c_str(),
                    view.IsChecked(1000));
        std::fflush(stdout);
        if (control == 1000) {
            for (const int id : {1004, 1007, 1011}) view.Enable(id, view.IsChecked(1000));
        } else {
            view.End(control);
        }
    }
};

}  // namespace

int main(int argc, char** argv) {
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
        Logic logic;
        std::printf("result: %d\n", dialogs.RunModal({129, 252, 115, kControls}, logic));
    } else {
        dialogs.ShowMessage("Invalid File Name", "Error", platform::MessageIcon::kWarning);
    }
    return 0;
}
