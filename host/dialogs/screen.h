#pragma once

#include <string>
#include <string_view>

#include "platform/os/not_copied.h"

namespace host::dialogs {

// The terminal under newt's control. Screens nest: the outermost one takes the terminal and gives
// it back.
class NewtScreen : platform::NotCopied {
  public:
    NewtScreen();
    ~NewtScreen();
};

// UTF-8 as one line in the locale's encoding, with "?" for a character that it lacks.
std::string ForScreen(std::string_view utf8);

// The number of cells that a text in the locale's encoding takes on the screen.
int CellsOf(std::string_view text);

}  // namespace host::dialogs
