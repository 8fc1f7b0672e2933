#include "integration/dialogs/eudora_options_dlg.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <utility>

#include "frame/trans_util.h"

using frame::StringId;
using platform::ControlKind;

namespace {

// Numbers of the controls.
constexpr int kDaysLimit = 1000, kSizeLimit = 1001, kAttachments = 1002, kAttachLimit = 1003;
constexpr int kDays = 1004, kSize = 1005, kAttachSize = 1006;
constexpr int kDaysSpin = 1007, kSizeSpin = 1008, kAttachSpin = 1009, kFrame = 1010;
constexpr int kDaysUnit = 1011, kSizeUnit = 1012, kAttachUnit = 1013;

constexpr platform::DialogControl kControls[] = {
    {kFrame, ControlKind::kGroupBox, 7, 7, 238, 82},
    {kDaysLimit, ControlKind::kCheckBox, 27, 19, 130, 8},
    {kDays, ControlKind::kEdit, 161, 15, 40, 14},
    {kDaysSpin, ControlKind::kSpin, 202, 15, 10, 14},
    {kDaysUnit, ControlKind::kLabel, 216, 18, 22, 8},
    {kSizeLimit, ControlKind::kCheckBox, 27, 39, 129, 8},
    {kSize, ControlKind::kEdit, 161, 37, 40, 14},
    {kSizeSpin, ControlKind::kSpin, 201, 37, 10, 14},
    {kSizeUnit, ControlKind::kLabel, 213, 41, 25, 8},
    {kAttachments, ControlKind::kCheckBox, 27, 57, 126, 8},
    {kAttachLimit, ControlKind::kCheckBox, 43, 70, 113, 8},
    {kAttachSize, ControlKind::kEdit, 161, 68, 40, 14},
    {kAttachSpin, ControlKind::kSpin, 202, 68, 8, 14},
    {kAttachUnit, ControlKind::kLabel, 214, 71, 23, 8},
    {CEudoraOptionsDlg::kOk, ControlKind::kDefaultButton, 73, 94, 50, 14},
    {CEudoraOptionsDlg::kCancel, ControlKind::kButton, 133, 94, 50, 14},
};
constexpr platform::DialogTemplate kTemplate{129, 252, 115, kControls};

// The strings of the bundle that controls show.
constexpr std::pair<int, StringId> kTexts[] = {
    {kFrame, StringId::kOptionsFrame},
    {kDaysLimit, StringId::kOptionsAge},
    {kSizeLimit, StringId::kOptionsSize},
    {kDaysUnit, StringId::kOptionsDays},
    {kSizeUnit, StringId::kOptionsKB},
    {kAttachUnit, StringId::kOptionsKB},
    {kAttachments, StringId::kOptionsAttachments},
    {kAttachLimit, StringId::kOptionsAttachmentSize},
    {CEudoraOptionsDlg::kOk, StringId::kOk},
    {CEudoraOptionsDlg::kCancel, StringId::kCancel},
};

using Value = std::int32_t MailOptions::*;

// A box and what obeys it.
struct Box {
    int control;
    Value value;
    std::span<const int> part;
};

constexpr int kDaysPart[] = {kDays, kDaysSpin, kDaysUnit};
constexpr int kSizePart[] = {kSize, kSizeSpin, kSizeUnit};
constexpr int kAttachmentsPart[] = {kAttachLimit, kAttachSize, kAttachSpin, kAttachUnit};
constexpr int kAttachLimitPart[] = {kAttachSize, kAttachSpin, kAttachUnit};
constexpr Box kBoxes[] = {
    {kAttachments, &MailOptions::m_bAttachments, kAttachmentsPart},
    {kAttachLimit, &MailOptions::m_bLimitAttachSize, kAttachLimitPart},
    {kSizeLimit, &MailOptions::m_bLimitMailSize, kSizePart},
    {kDaysLimit, &MailOptions::m_bLimitMailAge, kDaysPart},
};

constexpr std::pair<int, Value> kNumbers[] = {
    {kAttachSize, &MailOptions::m_nAttachLimitKB},
    {kSize, &MailOptions::m_nMailLimitKB},
    {kDays, &MailOptions::m_nMailAgeDays},
};

constexpr std::size_t kLongestNumber = 31;  // bytes of an edit that are looked at

// "-0" counts as no number, since a result of 0 must come from a text that begins with 0.
std::optional<std::int32_t> ParseInteger(const std::string& text) {
    using Limits = std::numeric_limits<std::int32_t>;
    const auto start = text.find_first_not_of(" \t");
    if (start == std::string::npos) return std::nullopt;
    char* end = nullptr;
    const long long number = std::strtoll(text.c_str() + start, &end, 10);
    if (number == 0 && text[start] != '0') return std::nullopt;
    if (text.find_first_not_of(" \t", static_cast<std::size_t>(end - text.c_str())) !=
        std::string::npos) {
        return std::nullopt;
    }
    return static_cast<std::int32_t>(std::clamp<long long>(number, Limits::min(), Limits::max()));
}

}  // namespace

int CEudoraOptionsDlg::DoModal() {
    return m_pUtil->system.dialogs.RunModal(kTemplate, *this);
}

void CEudoraOptionsDlg::OnInit(platform::DialogView& view) {
    constexpr int kHighest = 9999;
    view.SetTitle(m_pUtil->GetString(StringId::kOptionsTitle).Str());
    for (const auto& [control, id] : kTexts) view.SetText(control, m_pUtil->GetString(id).Str());
    for (const int spin : {kDaysSpin, kSizeSpin, kAttachSpin}) view.SetRange(spin, 0, kHighest);
    ShowValues(view);
    for (const int box : {kDaysLimit, kSizeLimit, kAttachments}) EnableParts(view, box);
}

void CEudoraOptionsDlg::OnCommand(platform::DialogView& view, int control) {
    if (EnableParts(view, control)) return;
    if (control == kCancel || (control == kOk && TakeValues(view))) view.End(control);
}

// False if that is no box. It takes effect whether or not a number was refused.
bool CEudoraOptionsDlg::EnableParts(platform::DialogView& view, int box) {
    const auto* const clicked = std::ranges::find(kBoxes, box, &Box::control);
    if (clicked == std::end(kBoxes)) return false;
    (void)TakeValues(view);
    for (const int control : clicked->part) view.Enable(control, this->*clicked->value != 0);
    return true;
}

void CEudoraOptionsDlg::ShowValues(platform::DialogView& view) const {
    for (const Box& box : kBoxes) {
        // 2 is the third state, which a box of two states shows as checked.
        view.SetChecked(box.control, this->*box.value == 1 || this->*box.value == 2);
    }
    for (const auto& [control, value] : kNumbers) {
        view.SetText(control, std::to_string(this->*value));
    }
}

bool CEudoraOptionsDlg::TakeValues(platform::DialogView& view) {
    for (const Box& box : kBoxes) this->*box.value = view.IsChecked(box.control) ? 1 : 0;
    for (const auto& [control, value] : kNumbers) {
        const auto typed = ParseInteger(view.Text(control).substr(0, kLongestNumber));
        if (!typed) {
            m_pUtil->system.dialogs.ShowMessage("Please enter an integer.", "Eudora",
                                                platform::MessageIcon::kWarning);
            view.Focus(control);
            return false;
        }
        this->*value = *typed;
    }
    return true;
}
