#include "platform/windows/windows_api.h"
// After the basic header, which it builds on.
#include <commdlg.h>

#include <algorithm>
#include <exception>

#include "platform/windows/native_parts.h"
#include "platform/windows/wide_text.h"

namespace platform::windows {

namespace {

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

}  // namespace

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

}  // namespace platform::windows
