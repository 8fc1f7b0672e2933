#include "platform/windows/windows_api.h"
// After the basic header, which it builds on.
#include <commctrl.h>

#include <cstdint>
#include <exception>
#include <string_view>
#include <vector>

#include "platform/windows/native_parts.h"
#include "platform/windows/wide_text.h"

namespace platform::windows {

namespace {

struct ControlForm {
    const wchar_t* windowClass;
    DWORD style;
};

// In the order of ControlKind.
constexpr ControlForm kForms[] = {
    {L"BUTTON", BS_GROUPBOX},
    {L"BUTTON", BS_AUTOCHECKBOX | WS_TABSTOP},
    {L"EDIT", ES_RIGHT | ES_AUTOHSCROLL | WS_BORDER | WS_TABSTOP},
    {UPDOWN_CLASSW,
     UDS_SETBUDDYINT | UDS_ALIGNRIGHT | UDS_AUTOBUDDY | UDS_ARROWKEYS | UDS_NOTHOUSANDS},
    {L"STATIC", SS_LEFT},
    {L"BUTTON", BS_DEFPUSHBUTTON | WS_TABSTOP},
    {L"BUTTON", BS_PUSHBUTTON | WS_TABSTOP},
};

class WordWriter {
  public:
    void Word(int value) { m_words.push_back(static_cast<std::uint16_t>(value)); }
    void DoubleWord(DWORD value) {
        Word(static_cast<int>(value & 0xFFFF));
        Word(static_cast<int>(value >> 16));
    }
    void Text(std::wstring_view text) {
        for (const wchar_t unit : text) Word(unit);
        Word(0);
    }
    void AlignToDoubleWord() {
        if (m_words.size() % 2 != 0) Word(0);
    }
    std::vector<std::uint16_t> Take() { return std::move(m_words); }

  private:
    std::vector<std::uint16_t> m_words;
};

void WriteControl(WordWriter& out, const DialogControl& control) {
    const auto& form = kForms[static_cast<std::size_t>(control.kind)];
    out.AlignToDoubleWord();
    out.DoubleWord(form.style | WS_CHILD | WS_VISIBLE);
    out.DoubleWord(0);  // extended style
    for (const int measure : {control.left, control.top, control.width, control.height}) {
        out.Word(measure);
    }
    out.Word(control.id);
    out.Text(form.windowClass);
    out.Text({});
    out.Word(0);  // no creation data
}

// The template as the system reads it from memory, in its 16-bit words: a modal frame with
// caption and system menu, in "MS Sans Serif" of 8 points, all texts empty.
std::vector<std::uint16_t> DialogBytes(const DialogTemplate& dialog) {
    constexpr int kPointSize = 8;
    WordWriter out;
    out.DoubleWord(DS_MODALFRAME | DS_SETFONT | DS_CENTER | WS_POPUP | WS_CAPTION | WS_SYSMENU);
    out.DoubleWord(0);  // extended style
    out.Word(static_cast<int>(dialog.controls.size()));
    for (const int measure : {0, 0, dialog.width, dialog.height}) out.Word(measure);
    out.Word(0);  // no menu
    out.Word(0);  // the usual dialog class
    out.Text({});
    out.Word(kPointSize);
    out.Text(L"MS Sans Serif");
    for (const auto& control : dialog.controls) WriteControl(out, control);
    return out.Take();
}

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
