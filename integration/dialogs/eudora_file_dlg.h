#pragma once

#include "platform/mfc/collections.h"
#include "platform/os/system.h"

// The open-file dialog in which the user picks a nickname file. It ends only with the path of
// something that exists, or is cancelled.
class CEudoraFileDlg {
  public:
    static constexpr int kOk = 1;
    static constexpr int kCancel = 2;

    // The dialog starts with `initialPath`, cut at 259 bytes.
    CEudoraFileDlg(const platform::System& system, const CString& initialPath);
    virtual ~CEudoraFileDlg() = default;

    // kOk, with the accepted path in m_csPathName, or kCancel.
    int DoModal();

    CString m_csPathName;  // shown at first, finally accepted

  protected:
    // Asked when the user confirms a name: 0 accepts it, 1 keeps the dialog open.
    virtual int OnFileNameOK();
    // The full path of the confirmed name.
    CString GetPathName() const { return m_confirmed; }

  private:
    platform::System m_system;
    CString m_confirmed;
};
