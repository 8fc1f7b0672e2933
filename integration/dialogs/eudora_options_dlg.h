#pragma once

#include <cstdint>

#include "platform/os/dialogs.h"

class CEudoraTransUtil;

// The dialog of the mail options (template 129): limits for the age (days) and the size (KB of 1024
// bytes) of mails, and attachments with a size limit of their own. The seven values are valid only
// after kOk. A typed number may have a sign, leading zeros and surrounding blanks, and may lie
// outside the range of its spin; one beyond 32 bits becomes the nearest 32-bit number. "-0" and
// "+0" are no numbers.
class CEudoraOptionsDlg : public platform::DialogLogic {
  public:
    static constexpr int kOk = 1;
    static constexpr int kCancel = 2;

    // Its texts come from the bundle of `util`, its window from `util`'s system.
    explicit CEudoraOptionsDlg(CEudoraTransUtil* util) : m_pUtil(util) {}
    int DoModal();

    void OnInit(platform::DialogView& view) override;
    void OnCommand(platform::DialogView& view, int control) override;

    std::int32_t m_bAttachments = 0, m_bLimitAttachSize = 0, m_bLimitMailSize = 0,
                 m_bLimitMailAge = 0;
    std::int32_t m_nAttachLimitKB = 0, m_nMailLimitKB = 0, m_nMailAgeDays = 0;

  private:
    void ShowValues(platform::DialogView& view) const;
    // Takes the switches and the numbers. At the first text that is no number it shows a message,
    // moves the focus there and gives false.
    bool TakeValues(platform::DialogView& view);
    bool EnableParts(platform::DialogView& view, int box);

    CEudoraTransUtil* m_pUtil;
};
