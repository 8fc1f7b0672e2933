#pragma once

#include "platform/os/dialogs.h"

namespace platform::prefix {

// Dialogs shown by the host's provider (see SetDialogSource). Without one a message goes to
// standard error and every dialog counts as cancelled.
class HostedDialogs : public Dialogs {
  public:
    explicit HostedDialogs(unsigned codePage) : m_codePage(codePage) {}

    void ShowMessage(const std::string& text, const std::string& title, MessageIcon icon) override;
    std::optional<std::string> OpenFile(const OpenFileRequest& request) override;
    int RunModal(const DialogTemplate& dialog, DialogLogic& logic) override;

  private:
    unsigned m_codePage;
};

}  // namespace platform::prefix
