#pragma once

#include <optional>
#include <string>

#include "platform/os/dialogs.h"

namespace host::translator {

// The dialogs of the module appear here as long as this lives. Null is the system's own way.
class DialogsShownBy {
  public:
    explicit DialogsShownBy(platform::Dialogs* dialogs);
    ~DialogsShownBy();
    DialogsShownBy(const DialogsShownBy&) = delete;
    DialogsShownBy& operator=(const DialogsShownBy&) = delete;

  private:
    platform::Dialogs* m_before;
};

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
