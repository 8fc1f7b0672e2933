#pragma once

#include <cstdint>

#include "platform/os/dialogs.h"

// An up-down control. It works on the running dialog that the exchange tied it to.
class CSpinButtonCtrl {
  public:
    void SetRange(int lowest, int highest) { m_view->SetRange(m_control, lowest, highest); }

  private:
    friend class CDataExchange;
    platform::DialogView* m_view = nullptr;
    int m_control = 0;
};

// One pass between the members of a dialog and its controls, in one direction: into the members if
// `save`, else into the controls. A text that is no number is told to the user, who is led back to
// it; what comes behind it in the pass stays as it was.
class CDataExchange {
  public:
    CDataExchange(platform::DialogView& view, platform::Dialogs& dialogs, bool save)
        : m_view(view), m_dialogs(dialogs), m_save(save) {}

    void Control(int control, CSpinButtonCtrl& spin);
    void Check(int control, std::int32_t& value);
    // Takes a sign, leading zeros and blanks round the number; one that has no room becomes the
    // nearest that has.
    void Integer(int control, std::int32_t& value);

    bool HasFailed() const { return m_failed; }

  private:
    platform::DialogView& m_view;
    platform::Dialogs& m_dialogs;
    bool m_save;
    bool m_failed = false;
};
