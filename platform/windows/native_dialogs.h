#pragma once

#include "platform/os/dialogs.h"

namespace platform::windows {

// Real windows, unless the source gives other dialogs: then each call goes there.
class NativeDialogs : public Dialogs {
  public:
    void SetSource(Dialogs* (*source)()) { m_source = source; }

    void ShowMessage(const std::string& text, const std::string& title, MessageIcon icon) override;
    std::optional<std::string> OpenFile(const OpenFileRequest& request) override;
    int RunModal(const DialogTemplate& dialog, DialogLogic& logic) override;
    void BeginWaitCursor() override;
    void EndWaitCursor() override;

  private:
    Dialogs* Provider() const { return m_source != nullptr ? m_source() : nullptr; }

    Dialogs* (*m_source)() = nullptr;
    void* m_cursorBefore = nullptr;  // of the innermost wait
};

// The windows themselves, without a parent.
std::optional<std::string> ShowOpenFile(const OpenFileRequest& request);
int ShowModal(const DialogTemplate& dialog, DialogLogic& logic);

}  // namespace platform::windows
