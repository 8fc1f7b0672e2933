#pragma once

#include <map>
#include <string>

#include <newt.h>

#include "platform/os/dialogs.h"

namespace host {

// A modal dialog in the terminal. Four dialog units across and eight down are one character. Before
// the form is on the screen the logic fills a model; afterwards it works on the components.
class ModalForm : public platform::DialogView {
  public:
    ModalForm(const platform::DialogTemplate& dialog, platform::DialogLogic& logic)
        : m_dialog(dialog), m_logic(logic) {}

    // The result given to End; 2 if the user left the form.
    int Run();

    void SetTitle(std::string_view text) override;
    void SetText(int control, std::string_view text) override;
    std::string Text(int control) override;
    void SetChecked(int control, bool checked) override;
    bool IsChecked(int control) override;
    void Enable(int control, bool enabled) override;
    void SetRange(int spin, int lowest, int highest) override;
    void End(int result) override;

  private:
    struct Part {
        platform::ControlKind kind = platform::ControlKind::kLabel;
        std::string text;  // UTF-8
        bool checked = false, enabled = true;
        newtComponent component = nullptr;
        ModalForm* form = nullptr;
        int id = 0;
    };

    static void OnSwitched(newtComponent component, void* part);
    void Build(newtComponent form);
    newtComponent Make(const platform::DialogControl& control, Part& part);
    void ShowEnabled(const Part& part);
    void KeepRanges();

    const platform::DialogTemplate& m_dialog;
    platform::DialogLogic& m_logic;
    std::string m_title;
    std::map<int, Part> m_parts;
    std::map<int, std::pair<int, int>> m_ranges;  // by the edit that the spin belongs to
    bool m_ended = false;
    int m_result = 2;
};

}  // namespace host
