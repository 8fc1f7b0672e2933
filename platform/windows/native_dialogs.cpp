#include "platform/windows/native_dialogs.h"

#include "platform/windows/wide_text.h"
#include "platform/windows/windows_api.h"

namespace platform::windows {

namespace {

UINT StyleOf(MessageIcon icon) {
    switch (icon) {
        case MessageIcon::kNone:
            return MB_OK;
        case MessageIcon::kWarning:
            return MB_OK | MB_ICONWARNING;
        case MessageIcon::kError:
            return MB_OK | MB_ICONERROR;
    }
    return MB_OK;
}

}  // namespace

void NativeDialogs::ShowMessage(const std::string& text, const std::string& title,
                                MessageIcon icon) {
    if (Dialogs* provider = Provider()) return provider->ShowMessage(text, title, icon);
    MessageBoxW(GetActiveWindow(), Wide(text, CP_ACP).c_str(), Wide(title, CP_ACP).c_str(),
                StyleOf(icon));
}

std::optional<std::string> NativeDialogs::OpenFile(const OpenFileRequest& request) {
    if (Dialogs* provider = Provider()) return provider->OpenFile(request);
    return ShowOpenFile(request);
}

int NativeDialogs::RunModal(const DialogTemplate& dialog, DialogLogic& logic) {
    if (Dialogs* provider = Provider()) return provider->RunModal(dialog, logic);
    return ShowModal(dialog, logic);
}

void NativeDialogs::BeginWaitCursor() {
    m_cursorBefore = SetCursor(LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_WAIT)));
}

void NativeDialogs::EndWaitCursor() {
    SetCursor(static_cast<HCURSOR>(m_cursorBefore));
}

}  // namespace platform::windows
