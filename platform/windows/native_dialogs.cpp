#include "platform/windows/windows_api.h"
// After the basic header, which it builds on.
#include <commdlg.h>

#include <algorithm>
#include <exception>

#include "platform/windows/native_parts.h"
#include "platform/windows/wide_text.h"

namespace platform {

namespace {

using windows::Narrow;
using windows::Wide;

// An exception must not pass through the system's frames; it waits here for the dialog's end.
struct Conversation {
    const OpenFileRequest& request;
    std::exception_ptr thrown;
};

UINT_PTR CALLBACK OnDialogMessage(HWND window, UINT message, WPARAM, LPARAM parameter) {
    if (message != WM_NOTIFY) return 0;
    const auto& notice = *reinterpret_cast<const OFNOTIFYW*>(parameter);
    if (notice.hdr.code != CDN_FILEOK) return 0;
    auto& conversation = *reinterpret_cast<Conversation*>(notice.lpOFN->lCustData);
    bool isAccepted = true;
    try {
        const auto& accept = conversation.request.accept;
        isAccepted = !accept || accept(Narrow(notice.lpOFN->lpstrFile, CP_ACP));
    } catch (...) {
        conversation.thrown = std::current_exception();
    }
    if (isAccepted) return 0;
    SetWindowLongPtrW(window, DWLP_MSGRESULT, 1);
    return 1;
}

std::optional<std::string> ShowOpenFile(const OpenFileRequest& request) {
    constexpr std::size_t kCapacity = 260;
    std::wstring path = Wide(request.initialPath, CP_ACP).substr(0, kCapacity - 1);
    path.resize(kCapacity, L'\0');
    std::wstring filter = Wide(request.filter, CP_ACP);
    std::replace(filter.begin(), filter.end(), L'|', L'\0');
    const std::wstring extension = Wide(request.defaultExtension, CP_ACP);

    Conversation conversation{request, nullptr};
    OPENFILENAMEW dialog{};
    dialog.lStructSize = sizeof dialog;
    dialog.lpstrFilter = filter.c_str();
    dialog.lpstrFile = path.data();
    dialog.nMaxFile = kCapacity;
    dialog.lpstrDefExt = extension.c_str();
    dialog.Flags = OFN_HIDEREADONLY | OFN_OVERWRITEPROMPT | OFN_EXPLORER | OFN_ENABLEHOOK |
                   OFN_ENABLESIZING | OFN_NOCHANGEDIR;
    dialog.lpfnHook = OnDialogMessage;
    dialog.lCustData = reinterpret_cast<LPARAM>(&conversation);
    const bool isChosen = GetOpenFileNameW(&dialog) != FALSE;
    if (conversation.thrown) std::rethrow_exception(conversation.thrown);
    if (!isChosen) return std::nullopt;
    return Narrow(path.c_str(), CP_ACP);
}

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
        return host != nullptr ? host->OpenFile(request) : ShowOpenFile(request);
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
