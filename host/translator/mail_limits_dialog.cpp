#include "host/translator/mail_limits_dialog.h"

#include <charconv>
#include <map>

namespace host::translator {

namespace {

constexpr int kOptionsDialog = 129;
constexpr int kOk = 1, kCancel = 2;

// The controls of the dialog.
constexpr int kLimitsAge = 1000, kLimitsSize = 1001, kAttachments = 1002, kLimitsAttachments = 1003;
constexpr int kAgeDays = 1004, kSizeKB = 1005, kAttachmentKB = 1006;

class UnseenView : public platform::DialogView {
  public:
    void SetTitle(std::string_view) override {}
    void SetText(int control, std::string_view text) override { m_texts[control] = text; }
    std::string Text(int control) override { return m_texts[control]; }
    void SetChecked(int control, bool checked) override { m_checked[control] = checked; }
    bool IsChecked(int control) override { return m_checked[control]; }
    void Enable(int, bool) override {}
    void SetRange(int, int, int) override {}
    void End(int result) override { m_result = result; }

    std::int32_t Number(int control) {
        const std::string& text = m_texts[control];
        std::int32_t number = 0;
        std::from_chars(text.data(), text.data() + text.size(), number);
        return number;
    }
    int Result() const { return m_result; }

  private:
    std::map<int, std::string> m_texts;
    std::map<int, bool> m_checked;
    int m_result = kCancel;
};

MailLimits Read(UnseenView& view) {
    return {view.IsChecked(kLimitsAge),   view.Number(kAgeDays),
            view.IsChecked(kLimitsSize),  view.Number(kSizeKB),
            view.IsChecked(kAttachments), view.IsChecked(kLimitsAttachments),
            view.Number(kAttachmentKB)};
}

struct Switch {
    int control;
    std::optional<bool> MailLimitChanges::*value;
};

struct NumberBox {
    int control;
    std::optional<std::int32_t> MailLimitChanges::*value;
};

// The box above the attachments' limit before the one of the limit, which it switches off.
constexpr Switch kSwitches[] = {{kLimitsAge, &MailLimitChanges::limitsAge},
                                {kLimitsSize, &MailLimitChanges::limitsSize},
                                {kAttachments, &MailLimitChanges::attachments},
                                {kLimitsAttachments, &MailLimitChanges::limitsAttachments}};
constexpr NumberBox kNumbers[] = {{kAgeDays, &MailLimitChanges::ageDays},
                                  {kSizeKB, &MailLimitChanges::sizeKB},
                                  {kAttachmentKB, &MailLimitChanges::attachmentKB}};

void Make(const MailLimitChanges& changes, UnseenView& view, platform::DialogLogic& logic) {
    for (const Switch& one : kSwitches) {
        const auto wanted = changes.*one.value;
        if (!wanted || view.IsChecked(one.control) == *wanted) continue;
        view.SetChecked(one.control, *wanted);
        logic.OnCommand(view, one.control);
    }
    for (const NumberBox& one : kNumbers) {
        if (const auto wanted = changes.*one.value) {
            view.SetText(one.control, std::to_string(*wanted));
        }
    }
}

}  // namespace

int MailLimitsDialog::RunModal(const platform::DialogTemplate& dialog,
                               platform::DialogLogic& logic) {
    if (dialog.id != kOptionsDialog) return kCancel;
    UnseenView view;
    logic.OnInit(view);
    m_shown = Read(view);
    if (m_changes) Make(*m_changes, view, logic);
    logic.OnCommand(view, m_changes ? kOk : kCancel);
    return view.Result();
}

}  // namespace host::translator
