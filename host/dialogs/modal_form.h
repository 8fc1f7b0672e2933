#pragma once

#include <map>
#include <string>
#include <utility>

#include <newt.h>

#include "host/dialogs/form_layout.h"
#include "platform/os/dialogs.h"

namespace host::dialogs {

// A modal dialog in the terminal. The up and down keys turn the number of an edit that has a spin,
// Enter is the default button unless another one has the focus, Esc and F12 are Cancel. A form that
// is higher than the screen scrolls. Before the form is on the screen the logic fills a model;
// afterwards it works on the components.
class ModalForm : public platform::DialogView {
  public:
    ModalForm(const platform::DialogTemplate& dialog, platform::DialogLogic& logic)
        : m_dialog(dialog), m_logic(logic) {}

    // The result given to End; 2 if the terminal is gone.
    int Run();

    void SetTitle(std::string_view text) override;
    void SetText(int control, std::string_view text) override;
    std::string Text(int control) override;
    void SetChecked(int control, bool checked) override;
    bool IsChecked(int control) override;
    void Enable(int control, bool enabled) override;
    void SetRange(int spin, int lowest, int highest) override;
    void Focus(int control) override;
    void End(int result) override;

  private:
    struct Part {
        platform::ControlKind kind = platform::ControlKind::kLabel;
        std::string text;  // as the screen shows it; the typed text of an edit
        bool checked = false, enabled = true;
        int lowest = 0, highest = -1;  // of the spin of an edit
        newtComponent component = nullptr;
        ModalForm* form = nullptr;
        int id = 0;
    };

    static void OnSwitched(newtComponent component, void* part);
    static int OnKey(newtComponent entry, void* part, int key, int cursor);
    void Show();
    void Converse();
    void Build(const FormLayout& layout, int left);
    newtComponent Make(Part& part, const Cell& cell, int left);
    void ShowEnabled(const Part& part);
    int CommandOf(const newtExitStruct& reason);
    void Turn(Part& edit, int step);

    const platform::DialogTemplate& m_dialog;
    platform::DialogLogic& m_logic;
    std::string m_title;
    std::map<int, Part> m_parts;
    newtComponent m_form = nullptr;
    bool m_ended = false;
    int m_result = 2;
};

}  // namespace host::dialogs
