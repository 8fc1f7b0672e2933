#pragma once

#include <cstdint>

#include "platform/os/dialogs.h"

class CEudoraTransUtil;

// The dialog of the mail options (template 129): limits for the age and the size of mails, and
// attachments with a limit of their own. It works on a copy: take the seven values only after kOk.
// Numbers are taken as they are typed, whatever the range of the spins: with a sign, leading zeros
// and blanks round them; one that has no room becomes the nearest that has.
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
    // Takes the switches, then the numbers up to a text that is none: that is told to the user, who
    // is led back to it, and the result is false.
    bool TakeValues(platform::DialogView& view);
    bool EnableParts(platform::DialogView& view, int box);

    CEudoraTransUtil* m_pUtil;
};
