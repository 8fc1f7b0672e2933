#pragma once

#include <map>

#include "platform/os/dialogs.h"

namespace host::dialogs {

// Where a control stands in a form, in character cells.
struct Cell {
    int left = 0, top = 0, width = 0;
};

struct FormLayout {
    std::map<int, Cell> cells;  // by control; a spin has none
    int width = 0, height = 0;
};

// Places the controls of a dialog in the rows of its template: at the template's own columns where
// these fit into `columns`, else close together, and from an edit on in a row of its own where the
// line is still too long. `widths` are the cells that each control's text takes. The result is
// wider than `columns` only if a single text is.
FormLayout LayOut(const platform::DialogTemplate& dialog, const std::map<int, int>& widths,
                  int columns);

}  // namespace host::dialogs
