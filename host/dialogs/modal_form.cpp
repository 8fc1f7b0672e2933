#include "host/dialogs/modal_form.h"

#include <newt.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include "host/base/paths.h"
#include "host/dialogs/screen.h"

namespace host::dialogs {

namespace {

using platform::ControlKind;

constexpr int kOk = 1, kCancel = 2;

bool IsButton(ControlKind kind) {
    return kind == ControlKind::kButton || kind == ControlKind::kDefaultButton;
}

// The place of a control in a form, in character cells.
struct Cell {
    int left = 0, top = 0, width = 0;
};

struct FormLayout {
    std::map<int, Cell> cells;  // by control; a spin has none
    int width = 0, height = 0;
};

using platform::DialogControl;
using Row = std::vector<const DialogControl*>;

constexpr int kUnitsAcross = 4;   // dialog units of one cell
constexpr int kUnitsBetween = 6;  // centres of controls of one row are closer than that
constexpr int kShortestEdit = 6;  // cells
constexpr int kBox = 4;           // cells of "[*] "
constexpr int kButtonFrame = 4;   // cells of "< OK >" round the text
constexpr int kLongestUnit = 6;   // cells of what follows an edit and should stay on its line
constexpr int kDeepIndent = 35;   // units from which on a control hangs below the one above

// Twice the height of the middle; a group box counts by its title.
int Middle(const DialogControl& control) {
    return 2 * control.top + (control.kind == ControlKind::kGroupBox ? 0 : control.height);
}

// A control that begins before the one in front of it begins a row of its own, like one that lies
// lower.
std::vector<Row> RowsOf(const platform::DialogTemplate& dialog) {
    std::vector<Row> rows;
    const DialogControl* before = nullptr;
    for (const DialogControl& control : dialog.controls) {
        if (control.kind == ControlKind::kSpin) continue;
        const bool isBeside = before != nullptr && control.left > before->left &&
                              before->kind != ControlKind::kGroupBox &&
                              std::abs(Middle(control) - Middle(*before)) < 2 * kUnitsBetween;
        if (!isBeside) rows.emplace_back();
        rows.back().push_back(&control);
        before = &control;
    }
    return rows;
}

// Places row after row, wide as in the template or close together.
class Placer {
  public:
    Placer(const std::map<int, int>& widths, int columns, bool wide)
        : m_widths(widths), m_columns(columns), m_wide(wide) {}

    FormLayout Place(const std::vector<Row>& rows) {
        for (const Row& row : rows) {
            if (m_wide && IsButton(row.front()->kind)) ++m_top;
            m_next = 0;
            for (const DialogControl* control : row) PlaceNext(*control);
            ++m_top;
        }
        m_layout.height = m_top;
        return m_layout;
    }

  private:
    int WidthOf(const DialogControl& control) const {
        const auto found = m_widths.find(control.id);
        const int text = found != m_widths.end() ? found->second : 0;
        if (control.kind == ControlKind::kCheckBox) return kBox + text;
        if (IsButton(control.kind)) return kButtonFrame + text;
        if (control.kind != ControlKind::kEdit) return text;
        return m_wide ? std::max(control.width / kUnitsAcross, kShortestEdit) : kShortestEdit;
    }
    void PlaceNext(const DialogControl& control) {
        const int width = WidthOf(control);
        const int wanted = control.kind == ControlKind::kGroupBox ? 0 : Wanted(control);
        int left = std::max(wanted, m_next);
        const bool breaks = !m_wide && control.kind == ControlKind::kEdit && m_next > 0 &&
                            left + width + kLongestUnit > m_columns;
        if (breaks) {
            ++m_top;
            left = kBox + 2;
        }
        m_layout.cells[control.id] = {left, m_top, width};
        m_next = left + width + 1;
        m_layout.width = std::max(m_layout.width, left + width);
    }
    int Wanted(const DialogControl& control) const {
        if (m_wide) return control.left / kUnitsAcross - 3;
        if (m_next > 0) return m_next;
        return control.left > kDeepIndent && !IsButton(control.kind) ? 2 : 0;
    }

    const std::map<int, int>& m_widths;
    int m_columns;
    bool m_wide;
    int m_top = 0, m_next = 0;
    FormLayout m_layout;
};

// Places the controls of a dialog in the rows of its template: at the template's own columns where
// these fit into `columns`, else close together, and from an edit on in a row of its own where the
// line is still too long. `widths` are the cells that each control's text takes. The result is
// wider than `columns` only if a single text is.
FormLayout LayOut(const platform::DialogTemplate& dialog, const std::map<int, int>& widths,
                  int columns) {
    const auto rows = RowsOf(dialog);
    FormLayout wide = Placer(widths, columns, true).Place(rows);
    if (wide.width <= columns) return wide;
    return Placer(widths, columns, false).Place(rows);
}

// The view of a dialog. Until the form is shown the logic fills a model, then the components.
class ModalForm : public platform::DialogView {
  public:
    ModalForm(const platform::DialogTemplate& dialog, platform::DialogLogic& logic)
        : m_dialog(dialog), m_logic(logic) {}

    int Run() {
        const NewtScreen screen;
        for (const auto& control : m_dialog.controls) {
            Part& part = m_parts[control.id];
            part.kind = control.kind;
            part.id = control.id;
            part.form = this;
        }
        m_logic.OnInit(*this);
        if (m_ended) return m_result;
        Show();
        Converse();
        newtFormDestroy(m_form);
        newtPopWindow();
        return m_result;
    }

    void SetTitle(std::string_view text) override { m_title = ForScreen(base::ToUtf8(text)); }

    void SetText(int control, std::string_view text) override {
        Part& part = m_parts[control];
        part.text = ForScreen(base::ToUtf8(text));
        // "&" marks the key of a control on Windows.
        if (part.kind != ControlKind::kEdit) std::erase(part.text, '&');
        if (part.component == nullptr) return;
        if (part.kind == ControlKind::kEdit) {
            newtEntrySet(part.component, part.text.c_str(), 1);
        } else if (part.kind == ControlKind::kLabel) {
            newtLabelSetText(part.component, part.text.c_str());
        }
    }

    std::string Text(int control) override {
        Part& part = m_parts[control];
        if (part.component != nullptr && part.kind == ControlKind::kEdit) {
            part.text = newtEntryGetValue(part.component);
        }
        return base::FromUtf8(part.text);
    }

    void SetChecked(int control, bool checked) override {
        Part& part = m_parts[control];
        part.checked = checked;
        if (part.component != nullptr) newtCheckboxSetValue(part.component, checked ? '*' : ' ');
    }

    bool IsChecked(int control) override { return m_parts[control].checked; }

    void Enable(int control, bool enabled) override {
        m_parts[control].enabled = enabled;
        ShowEnabled(m_parts[control]);
    }

    void SetRange(int spin, int lowest, int highest) override {
        Part* edit = nullptr;
        for (const auto& control : m_dialog.controls) {
            if (control.kind == ControlKind::kEdit) edit = &m_parts[control.id];
            if (control.id != spin || edit == nullptr) continue;
            edit->lowest = lowest;
            edit->highest = highest;
        }
    }

    void Focus(int control) override {
        const Part& part = m_parts[control];
        if (part.component != nullptr && part.enabled) newtFormSetCurrent(m_form, part.component);
    }

    void End(int result) override {
        m_ended = true;
        m_result = result;
    }

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

    // Draws the form in the middle of the screen, with a scroll bar if it is higher.
    void Show() {
        constexpr int kAround = 6,
                      kAboveAndBelow = 5;  // borders, shadow, margins, the line of help
        int columns = 0, rows = 0;
        newtGetScreenSize(&columns, &rows);
        std::map<int, int> widths;
        for (const auto& [id, part] : m_parts) widths[id] = CellsOf(part.text);
        const FormLayout layout = LayOut(m_dialog, widths, columns - kAround);
        const int height = std::max(std::min(layout.height, rows - kAboveAndBelow), 1);
        const int width =
            std::min(std::max(layout.width, CellsOf(m_title) + 2), columns - kAround) + 2;
        newtCenteredWindow(static_cast<unsigned>(width), static_cast<unsigned>(height),
                           m_title.c_str());
        const bool scrolls = height < layout.height;
        m_form =
            newtForm(scrolls ? newtVerticalScrollbar(width - 1, 0, height, NEWT_COLORSET_WINDOW,
                                                     NEWT_COLORSET_ACTCHECKBOX)
                             : nullptr,
                     nullptr, 0);
        if (scrolls) newtFormSetHeight(m_form, height);
        Build(layout, 1);
        if (scrolls) newtFormSetWidth(m_form, width);
        newtFormAddHotKey(m_form, NEWT_KEY_ESCAPE);
        newtFormAddHotKey(m_form, NEWT_KEY_ENTER);
    }

    // Lets the logic answer each key that ends a run of the form, until it ends the dialog.
    void Converse() {
        while (!m_ended) {
            newtExitStruct reason{};
            newtFormRun(m_form, &reason);
            if (reason.reason == newtExitStruct::NEWT_EXIT_ERROR) break;
            m_logic.OnCommand(*this, CommandOf(reason));
        }
        // The texts are kept, as the components go with the form.
        for (auto& [id, part] : m_parts) {
            (void)Text(id);
            part.component = nullptr;
        }
    }

    // The control that was chosen: by Enter the button with the focus, else the default one.
    int CommandOf(const newtExitStruct& reason) {
        const bool isKey = reason.reason == newtExitStruct::NEWT_EXIT_HOTKEY;
        if (isKey && reason.u.key != NEWT_KEY_ENTER) return kCancel;
        const newtComponent pressed = isKey ? newtFormGetCurrent(m_form) : reason.u.co;
        int chosen = kOk;
        for (const auto& [id, part] : m_parts) {
            if (part.kind == ControlKind::kDefaultButton) chosen = id;
        }
        for (const auto& [id, part] : m_parts) {
            if (part.component == pressed && IsButton(part.kind)) chosen = id;
        }
        return chosen;
    }

    void Build(const FormLayout& layout, int left) {
        for (const auto& control : m_dialog.controls) {
            const auto cell = layout.cells.find(control.id);
            if (cell == layout.cells.end()) continue;
            Part& part = m_parts[control.id];
            part.component = Make(part, cell->second, left);
            ShowEnabled(part);
            newtFormAddComponent(m_form, part.component);
        }
    }

    // The component of a control, in newt's hands until the form is destroyed.
    newtComponent Make(Part& part, const Cell& cell, int left) {
        const int column = left + cell.left;
        newtComponent made = nullptr;
        switch (part.kind) {
            case ControlKind::kEdit:
                made = newtEntry(column, cell.top, part.text.c_str(), cell.width, nullptr,
                                 NEWT_FLAG_SCROLL);
                newtEntrySetFilter(made, &ModalForm::OnKey, &part);
                return made;
            case ControlKind::kCheckBox:
                made = newtCheckbox(column, cell.top, part.text.c_str(), part.checked ? '*' : ' ',
                                    " *", nullptr);
                newtComponentAddCallback(made, &ModalForm::OnSwitched, &part);
                return made;
            case ControlKind::kDefaultButton:
            case ControlKind::kButton:
                return newtCompactButton(column, cell.top, part.text.c_str());
            default:
                return newtLabel(column, cell.top, part.text.c_str());
        }
    }

    static void OnSwitched(newtComponent component, void* data) {
        Part& part = *static_cast<Part*>(data);
        const bool checked = newtCheckboxGetValue(component) == '*';
        if (checked == part.checked) return;
        part.checked = checked;
        part.form->m_logic.OnCommand(*part.form, part.id);
    }

    // Sees each key that goes to an edit. The end key in its place leaves the cursor behind the
    // number.
    static int OnKey(newtComponent, void* data, int key, int) {
        Part& part = *static_cast<Part*>(data);
        if ((key != NEWT_KEY_UP && key != NEWT_KEY_DOWN) || part.lowest > part.highest) return key;
        part.form->Turn(part, key == NEWT_KEY_UP ? 1 : -1);
        return NEWT_KEY_END;
    }

    // One step of the spin; a text that is no number counts as one below the lowest.
    void Turn(Part& edit, int step) {
        const std::string text = Text(edit.id);
        int number = edit.lowest - step;
        std::from_chars(text.data(), text.data() + text.size(), number);
        number = std::clamp(number, edit.lowest - 1, edit.highest + 1);
        SetText(edit.id, std::to_string(std::clamp(number + step, edit.lowest, edit.highest)));
    }

    void ShowEnabled(const Part& part) {
        const newtFlagsSense sense = part.enabled ? NEWT_FLAGS_RESET : NEWT_FLAGS_SET;
        if (part.component == nullptr) return;
        if (part.kind == ControlKind::kEdit) {
            newtEntrySetFlags(part.component, NEWT_FLAG_DISABLED, sense);
        } else if (part.kind == ControlKind::kCheckBox) {
            newtCheckboxSetFlags(part.component, NEWT_FLAG_DISABLED, sense);
        } else if (part.kind == ControlKind::kLabel) {
            newtLabelSetColors(part.component,
                               part.enabled ? NEWT_COLORSET_LABEL : NEWT_COLORSET_DISENTRY);
        }
    }

    const platform::DialogTemplate& m_dialog;
    platform::DialogLogic& m_logic;
    std::string m_title;
    std::map<int, Part> m_parts;
    newtComponent m_form = nullptr;
    bool m_ended = false;
    int m_result = 2;
};

}  // namespace

int RunModalForm(const platform::DialogTemplate& dialog, platform::DialogLogic& logic) {
    return ModalForm(dialog, logic).Run();
}

}  // namespace host::dialogs
