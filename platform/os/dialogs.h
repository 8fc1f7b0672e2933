#pragma once

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "platform/os/not_copied.h"

// The dialogs of the module, independent of how they are shown. Texts and paths, which are Windows
// paths, are in the system code page.
namespace platform {

enum class MessageIcon { kNone, kWarning, kError };

// An open-file dialog. Texts and paths are in the system code page.
struct OpenFileRequest {
    std::string initialPath;       // of the file that is shown at first
    std::string defaultExtension;  // without a dot; added to a name typed without one
    std::string filter;  // "Label (*.ext)|*.ext||": pairs separated by "|", "||" at the end
    // Asked with the full path when the user confirms; false keeps the dialog open.
    std::function<bool(const std::string& path)> accept;
};

enum class ControlKind { kGroupBox, kCheckBox, kEdit, kSpin, kLabel, kDefaultButton, kButton };

// One control of a template; the measures are dialog units. A spin belongs to the edit before it.
struct DialogControl {
    int id = 0;
    ControlKind kind = ControlKind::kLabel;
    int left = 0, top = 0, width = 0, height = 0;
};

// A modal dialog; the controls stand in tab order. Controls 1 and 2 are OK and Cancel.
struct DialogTemplate {
    int id = 0;
    int width = 0, height = 0;
    std::span<const DialogControl> controls;
};

// The running dialog as its logic sees it. Valid only during a call of DialogLogic.
class DialogView {
  public:
    virtual ~DialogView() = default;
    virtual void SetTitle(std::string_view text) = 0;
    virtual void SetText(int control, std::string_view text) = 0;
    virtual std::string Text(int control) = 0;
    virtual void SetChecked(int control, bool checked) = 0;
    virtual bool IsChecked(int control) = 0;
    virtual void Enable(int control, bool enabled) = 0;
    virtual void SetRange(int spin, int lowest, int highest) = 0;
    // Leads the user to an edit, with its text selected where the system can.
    virtual void Focus(int /*control*/) {}
    // Ends the dialog after the current call; `result` is what RunModal gives.
    virtual void End(int result) = 0;
};

// What a dialog does, without its window.
class DialogLogic {
  public:
    virtual ~DialogLogic() = default;
    virtual void OnInit(DialogView& view) = 0;
    // A check box was switched (its new state is set already) or a button was pressed.
    virtual void OnCommand(DialogView& view, int control) = 0;
};

// How this system, or the host, shows dialogs. Each call returns when the dialog is closed.
class Dialogs {
  public:
    virtual ~Dialogs() = default;
    // Shows a text with one OK button and returns when it is dismissed.
    virtual void ShowMessage(const std::string& text, const std::string& title,
                             MessageIcon icon) = 0;
    // The accepted path, or nothing if the user cancelled.
    virtual std::optional<std::string> OpenFile(const OpenFileRequest& request) = 0;
    // The result given to DialogView::End; 2 if the dialog was closed or cannot be shown.
    virtual int RunModal(const DialogTemplate& dialog, DialogLogic& logic) = 0;
    // Shows and hides the wait cursor, where there is a screen.
    virtual void BeginWaitCursor() {}
    virtual void EndWaitCursor() {}
};

// Shows the wait cursor as long as this lives.
class WaitCursor : NotCopied {
  public:
    explicit WaitCursor(Dialogs& dialogs) : m_dialogs(dialogs) { m_dialogs.BeginWaitCursor(); }
    ~WaitCursor() { m_dialogs.EndWaitCursor(); }

  private:
    Dialogs& m_dialogs;
};

}  // namespace platform
