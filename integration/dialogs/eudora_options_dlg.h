#pragma once

#include <cstdint>
#include <span>

#include "integration/dialogs/data_exchange.h"
#include "platform/os/dialogs.h"

class CEudoraTransUtil;

// The dialog of the mail options (template 129): limits for the age and the size of mails, and
// attachments with a limit of their own. It works on a copy: take the seven values only after kOk.
// Numbers are taken as they are typed, whatever the range of the spins.
class CEudoraOptionsDlg : public platform::DialogLogic {
  public:
    static constexpr int kOk = 1;
    static constexpr int kCancel = 2;

    // Its texts come from the bundle of `util`, its window from `util`'s system.
    explicit CEudoraOptionsDlg(CEudoraTransUtil* util) : m_pUtil(util) {}
    virtual int DoModal();

    void OnInit(platform::DialogView& view) override;
    void OnCommand(platform::DialogView& view, int control) override;

    CEudoraTransUtil* m_pUtil;
    CSpinButtonCtrl m_spinDays, m_spinSize, m_spinAttach;
    std::int32_t m_bAttachments = 0, m_bLimitAttachSize = 0, m_bLimitMailSize = 0,
                 m_bLimitMailAge = 0;
    std::int32_t m_nAttachLimitKB = 0, m_nMailLimitKB = 0, m_nMailAgeDays = 0;

  protected:
    virtual void DoDataExchange(CDataExchange& exchange);
    virtual int OnInitDialog();
    virtual void OnOK();
    void OnDaysLimitClicked();
    void OnSizeLimitClicked();
    void OnAttachmentsClicked();
    void OnAttachLimitClicked();

  private:
    // Moves the controls into the members, or back; false if a text was refused.
    bool UpdateData(bool save);
    void EnableBy(bool enabled, std::span<const int> controls);

    platform::DialogView* m_view = nullptr;  // while the dialog calls
};
