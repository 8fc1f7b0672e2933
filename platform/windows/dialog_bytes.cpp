#include "platform/windows/dialog_bytes.h"

#include <string_view>

#include "platform/windows/windows_api.h"
// After the basic header, which it builds on.
#include <commctrl.h>

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

}  // namespace

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

}  // namespace platform::windows
