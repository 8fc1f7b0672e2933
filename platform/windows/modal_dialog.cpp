#include "platform/windows/windows_api.h"
// After the basic header, which it builds on.
#include <commctrl.h>

#include <exception>

#include "platform/windows/dialog_bytes.h"
#include "platform/windows/native_parts.h"
#include "platform/windows/wide_text.h"

namespace platform::windows {

namespace {

constexpr int kClosed = 2;

class ModalDialog : public DialogView {
  public:
    ModalDialog(const DialogTemplate& dialog, DialogLogic& logic)
        : m_template(dialog), m_logic(logic) {}

    int Run() {
        const INITCOMMONCONTROLSEX controls{sizeof controls, ICC_UPDOWN_CLASS};
        InitCommonControlsEx(&controls);
        const auto bytes = DialogBytes(m_template);
        DialogBoxIndirectParamW(GetModuleHandleW(nullptr),
                                reinterpret_cast<const DLGTEMPLATE*>(bytes.data()), nullptr,
                                OnMessage, reinterpret_cast<LPARAM>(this));
        if (m_thrown) std::rethrow_exception(m_thrown);
        return m_result;
    }

    void SetTitle(std::string_view text) override {
        SetWindowTextW(m_window, Wide(text, CP_ACP).c_str());
    }
    void SetText(int control, std::string_view text) override {
        SetDlgItemTextW(m_window, control, Wide(text, CP_ACP).c_str());
    }
    std::string Text(int control) override {
        const HWND item = GetDlgItem(m_window, control);
        std::wstring text(static_cast<std::size_t>(GetWindowTextLengthW(item)) + 1, L'\0');
        text.resize(static_cast<std::size_t>(
            GetWindowTextW(item, text.data(), static_cast<int>(text.size()))));
        return Narrow(text, CP_ACP);
    }
    void SetChecked(int control, bool checked) override {
        CheckDlgButton(m_window, control, checked ? BST_CHECKED : BST_UNCHECKED);
    }
    bool IsChecked(int control) override {
        return IsDlgButtonChecked(m_window, control) == BST_CHECKED;
    }
    void Enable(int control, bool enabled) override {
        EnableWindow(GetDlgItem(m_window, control), enabled);
    }
    void SetRange(int spin, int lowest, int highest) override {
        SendDlgItemMessageW(m_window, spin, UDM_SETRANGE, 0, MAKELPARAM(highest, lowest));
    }
    void Focus(int control) override {
        const HWND item = GetDlgItem(m_window, control);
        SendMessageW(m_window, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(item), TRUE);
        SendMessageW(item, EM_SETSEL, 0, -1);
    }
    void End(int result) override {
        m_result = result;
        EndDialog(m_window, result);
    }

  private:
    static INT_PTR CALLBACK OnMessage(HWND window, UINT message, WPARAM word, LPARAM parameter) {
        if (message == WM_INITDIALOG) {
            SetWindowLongPtrW(window, DWLP_USER, parameter);
            reinterpret_cast<ModalDialog*>(parameter)->m_window = window;
        }
        auto* self = reinterpret_cast<ModalDialog*>(GetWindowLongPtrW(window, DWLP_USER));
        // Some messages come before the first that names the object.
        return self != nullptr && self->Handle(message, word);
    }

    // An exception must not pass through the system's frames; it waits for the dialog's end.
    bool Handle(UINT message, WPARAM word) {
        try {
            return Dispatch(message, word);
        } catch (...) {
            m_thrown = std::current_exception();
            End(kClosed);
            return true;
        }
    }

    bool Dispatch(UINT message, WPARAM word) {
        switch (message) {
            case WM_INITDIALOG:
                m_logic.OnInit(*this);
                return true;
            case WM_COMMAND:
                if (HIWORD(word) != BN_CLICKED || !IsCommand(LOWORD(word))) return false;
                m_logic.OnCommand(*this, LOWORD(word));
                return true;
            case WM_CLOSE:
                End(kClosed);
                return true;
            default:
                return false;
        }
    }

    // The escape key sends the number of Cancel as well.
    bool IsCommand(int id) const {
        for (const auto& control : m_template.controls) {
            if (control.id != id) continue;
            return control.kind == ControlKind::kCheckBox || control.kind == ControlKind::kButton ||
                   control.kind == ControlKind::kDefaultButton;
        }
        return false;
    }

    const DialogTemplate& m_template;
    DialogLogic& m_logic;
    HWND m_window = nullptr;
    int m_result = kClosed;
    std::exception_ptr m_thrown;
};

}  // namespace

int ShowModal(const DialogTemplate& dialog, DialogLogic& logic) {
    return ModalDialog(dialog, logic).Run();
}

}  // namespace platform::windows
