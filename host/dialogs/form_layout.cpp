#include "host/dialogs/form_layout.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

namespace host::dialogs {

namespace {

using platform::ControlKind;
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

bool IsButton(const DialogControl& control) {
    return control.kind == ControlKind::kButton || control.kind == ControlKind::kDefaultButton;
}

class Placer {
  public:
    Placer(const std::map<int, int>& widths, int columns, bool wide)
        : m_widths(widths), m_columns(columns), m_wide(wide) {}

    FormLayout Place(const std::vector<Row>& rows) {
        for (const Row& row : rows) {
            if (m_wide && IsButton(*row.front())) ++m_top;
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
        if (IsButton(control)) return kButtonFrame + text;
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
        return control.left > kDeepIndent && !IsButton(control) ? 2 : 0;
    }

    const std::map<int, int>& m_widths;
    int m_columns;
    bool m_wide;
    int m_top = 0, m_next = 0;
    FormLayout m_layout;
};

}  // namespace

FormLayout LayOut(const platform::DialogTemplate& dialog, const std::map<int, int>& widths,
                  int columns) {
    const auto rows = RowsOf(dialog);
    FormLayout wide = Placer(widths, columns, true).Place(rows);
    if (wide.width <= columns) return wide;
    return Placer(widths, columns, false).Place(rows);
}

}  // namespace host::dialogs
