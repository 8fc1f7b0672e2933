#pragma once

#include "host/translator/mail_settings.h"
#include "platform/os/dialogs.h"

namespace host::translator {

// What the module says by itself, its log and its message boxes, goes to standard error as long as
// this lives. Every other dialog counts as cancelled, until a command shows one.
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
