#include "platform/windows/native_parts.h"
#include "platform/windows/wide_text.h"
#include "platform/windows/windows_api.h"

namespace platform {

namespace {

using windows::Wide;

Dialogs* (*theSource)() = nullptr;

// In the order of MessageIcon.
constexpr UINT kStyles[] = {MB_OK, MB_OK | MB_ICONWARNING, MB_OK | MB_ICONERROR};

// Real windows, unless the source gives other dialogs: then each call goes there.
class WindowsDialogs : public Dialogs {
  public:
    void ShowMessage(const std::string& text, const std::string& title, MessageIcon icon) override {
        if (Dialogs* host = Host()) return host->ShowMessage(text, title, icon);
        MessageBoxW(GetActiveWindow(), Wide(text, CP_ACP).c_str(), Wide(title, CP_ACP).c_str(),
                    kStyles[static_cast<int>(icon)]);
    }

    std::optional<std::string> OpenFile(const OpenFileRequest& request) override {
        Dialogs* host = Host();
        return host != nullptr ? host->OpenFile(request) : windows::ShowOpenFile(request);
    }

    int RunModal(const DialogTemplate& dialog, DialogLogic& logic) override {
        Dialogs* host = Host();
        return host != nullptr ? host->RunModal(dialog, logic) : windows::ShowModal(dialog, logic);
    }

    void BeginWaitCursor() override {
        m_cursorBefore = SetCursor(LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_WAIT)));
    }
    void EndWaitCursor() override { SetCursor(m_cursorBefore); }

  private:
    static Dialogs* Host() { return theSource != nullptr ? theSource() : nullptr; }

    HCURSOR m_cursorBefore = nullptr;  // of the innermost wait
};

}  // namespace

Dialogs& windows::NativeDialogs() {
    static WindowsDialogs dialogs;
    return dialogs;
}

void SetDialogSource(Dialogs* (*source)()) {
    theSource = source;
}

}  // namespace platform
