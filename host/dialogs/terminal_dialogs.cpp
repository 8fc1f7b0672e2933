#include "host/dialogs/terminal_dialogs.h"

#include <newt.h>

#include "host/base/output.h"
#include "host/base/paths.h"
#include "host/dialogs/file_form.h"
#include "host/dialogs/modal_form.h"
#include "host/dialogs/screen.h"
#include "platform/os/program.h"

namespace host::dialogs {

namespace {

class TerminalDialogs : public platform::Dialogs {
  public:
    void ShowMessage(const std::string& text, const std::string& title,
                     platform::MessageIcon /*icon*/) override {
        const NewtScreen screen;
        std::string caption = base::OneLine(base::ToUtf8(title)), button = "OK", format = "%s";
        std::string line = base::Visible(base::ToUtf8(text));
        newtWinMessage(caption.data(), button.data(), format.data(), line.data());
    }

    std::optional<std::string> OpenFile(const platform::OpenFileRequest& request) override {
        return RunFileForm(request);
    }

    int RunModal(const platform::DialogTemplate& dialog, platform::DialogLogic& logic) override {
        return RunModalForm(dialog, logic);
    }
};

}  // namespace

std::unique_ptr<platform::Dialogs> MakeTerminalDialogs() {
    if (!platform::IsTerminal(platform::Stream::kInput) ||
        !platform::IsTerminal(platform::Stream::kOutput)) {
        return nullptr;
    }
    return std::make_unique<TerminalDialogs>();
}

}  // namespace host::dialogs
