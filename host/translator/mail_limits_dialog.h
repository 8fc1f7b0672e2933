#pragma once

#include <optional>
#include <string>

#include "host/translator/mail_settings.h"
#include "platform/os/dialogs.h"

namespace host::translator {

// Stands in for the person before the dialog of the mail options: reads what it shows and, if there
// are changes, makes them and presses OK; else, and before any other dialog, presses Cancel.
// Messages go unread.
class MailLimitsDialog : public platform::Dialogs {
  public:
    explicit MailLimitsDialog(const std::optional<MailLimitChanges>& changes)
        : m_changes(changes) {}

    // What the dialog showed at first, if there was one.
    const std::optional<MailLimits>& Shown() const { return m_shown; }

    void ShowMessage(const std::string&, const std::string&, platform::MessageIcon) override {}
    std::optional<std::string> OpenFile(const platform::OpenFileRequest&) override {
        return std::nullopt;
    }
    int RunModal(const platform::DialogTemplate& dialog, platform::DialogLogic& logic) override;

  private:
    std::optional<MailLimitChanges> m_changes;
    std::optional<MailLimits> m_shown;
};

}  // namespace host::translator
