#pragma once

#include <optional>
#include <string>

#include "platform/os/dialogs.h"
#include "platform/os/not_copied.h"

// Where the module's dialogs, messages and log lines go.
namespace host::translator {

// Shows the module's dialogs through `dialogs` as long as this lives; null stands for the system's
// own dialogs. The destructor puts the former provider back.
class DialogsShownBy : platform::NotCopied {
  public:
    explicit DialogsShownBy(platform::Dialogs* dialogs);
    ~DialogsShownBy();

  private:
    platform::Dialogs* m_before;
};

// Prints the module's log and message boxes on standard error as long as this lives. Every other
// dialog counts as cancelled.
class ModuleMessages : public platform::Dialogs {
  public:
    ModuleMessages();

    void ShowMessage(const std::string& text, const std::string& title,
                     platform::MessageIcon icon) override;
    std::optional<std::string> OpenFile(const platform::OpenFileRequest&) override {
        return std::nullopt;
    }
    int RunModal(const platform::DialogTemplate&, platform::DialogLogic&) override;

  private:
    DialogsShownBy m_shown{this};
};

}  // namespace host::translator
