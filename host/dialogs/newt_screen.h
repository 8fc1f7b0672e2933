#pragma once

namespace host::dialogs {

// The terminal in newt's hands. Screens nest: the outermost one takes the terminal and gives it
// back.
class NewtScreen {
  public:
    NewtScreen();
    ~NewtScreen();
    NewtScreen(const NewtScreen&) = delete;
    NewtScreen& operator=(const NewtScreen&) = delete;
};

}  // namespace host::dialogs
