#pragma once

#include "frame/app_info.h"
#include "platform/os/dialogs.h"

class CEudoraTransUtil;

// The dialog of the mail options (template 129): limits for the age (days) and the size (KB of 1024
// bytes) of mails, and attachments with a size limit of their own. The seven values are valid only
// after kOk. A typed number may have a sign, leading zeros and surrounding blanks, and may lie
// outside the range of its spin; one beyond 32 bits becomes the nearest 32-bit number. "-0" and
// "+0" are no numbers.
class CEudoraOptionsDlg : public platform::DialogLogic, public MailOptions {
  public:
    static constexpr int kOk = 1;
    static constexpr int kCancel = 2;

    // Its texts come from the bundle of `util`, its window from `util`'s system.
    explicit CEudoraOptionsDlg(CEudoraTransUtil* util) : m_pUtil(util) {}
    int DoModal();

    void OnInit(platform::DialogView& view) override;
    void OnCommand(platform::DialogView& view, int control) override;

  private:
    void ShowValues(platform::DialogView& view) const;
    // Takes the switches and the numbers. At the first text that is no number it shows a message,
    // moves the focus there and gives false.
    bool TakeValues(platform::DialogView& view);
    bool EnableParts(platform::DialogView& view, int box);

    CEudoraTransUtil* m_pUtil;
};
