#include "integration/dialogs/eudora_options_dlg.h"

#include "frame/trans_util.h"

using frame::StringId;
using platform::ControlKind;

namespace {

enum Control {
    kDaysLimit = 1000,
    kSizeLimit = 1001,
    kAttachments = 1002,
    kAttachLimit = 1003,
    kDays = 1004,
    kSize = 1005,
    kAttachSize = 1006,
    kDaysSpin = 1007,
    kSizeSpin = 1008,
    kAttachSpin = 1009,
    kFrame = 1010,
    kDaysUnit = 1011,
    kSizeUnit = 1012,
    kAttachUnit = 1013,
};

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

// The string of the bundle that a control shows.
struct ControlText {
    int control;
    StringId id;
};

constexpr ControlText kTexts[] = {
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

constexpr int kDaysPart[] = {kDays, kDaysSpin, kDaysUnit};
constexpr int kSizePart[] = {kSize, kSizeSpin, kSizeUnit};
constexpr int kAttachmentsPart[] = {kAttachLimit, kAttachSize, kAttachSpin, kAttachUnit};
constexpr int kAttachLimitPart[] = {kAttachSize, kAttachSpin, kAttachUnit};

constexpr int kHighest = 9999;  // of the spins

}  // namespace

int CEudoraOptionsDlg::DoModal() {
    return m_pUtil->system.dialogs.RunModal(kTemplate, *this);
}

void CEudoraOptionsDlg::OnInit(platform::DialogView& view) {
    m_view = &view;
    OnInitDialog();
}

void CEudoraOptionsDlg::OnCommand(platform::DialogView& view, int control) {
    m_view = &view;
    switch (control) {
        case kDaysLimit:
            return OnDaysLimitClicked();
        case kSizeLimit:
            return OnSizeLimitClicked();
        case kAttachments:
            return OnAttachmentsClicked();
        case kAttachLimit:
            return OnAttachLimitClicked();
        case kOk:
            return OnOK();
        case kCancel:
            return view.End(kCancel);
        default:
            return;
    }
}

void CEudoraOptionsDlg::DoDataExchange(CDataExchange& exchange) {
    exchange.Control(kDaysSpin, m_spinDays);
    exchange.Control(kSizeSpin, m_spinSize);
    exchange.Control(kAttachSpin, m_spinAttach);
    exchange.Check(kAttachments, m_bAttachments);
    exchange.Check(kAttachLimit, m_bLimitAttachSize);
    exchange.Check(kSizeLimit, m_bLimitMailSize);
    exchange.Check(kDaysLimit, m_bLimitMailAge);
    exchange.Integer(kAttachSize, m_nAttachLimitKB);
    exchange.Integer(kSize, m_nMailLimitKB);
    exchange.Integer(kDays, m_nMailAgeDays);
}

int CEudoraOptionsDlg::OnInitDialog() {
    constexpr int kFocusIsOpen = 1;
    UpdateData(false);  // ties the spins to their controls
    m_view->SetTitle(m_pUtil->GetString(StringId::kOptionsTitle).Str());
    for (const auto& text : kTexts) {
        m_view->SetText(text.control, m_pUtil->GetString(text.id).Str());
    }
    for (CSpinButtonCtrl* spin : {&m_spinDays, &m_spinSize, &m_spinAttach}) {
        spin->SetRange(0, kHighest);
    }
    UpdateData(false);
    OnDaysLimitClicked();
    OnSizeLimitClicked();
    OnAttachmentsClicked();
    return kFocusIsOpen;
}

void CEudoraOptionsDlg::OnOK() {
    if (UpdateData(true)) m_view->End(kOk);
}

// Each takes effect whether or not a number was refused: the boxes come first in the exchange.
void CEudoraOptionsDlg::OnDaysLimitClicked() {
    UpdateData(true);
    EnableBy(m_bLimitMailAge != 0, kDaysPart);
}

void CEudoraOptionsDlg::OnSizeLimitClicked() {
    UpdateData(true);
    EnableBy(m_bLimitMailSize != 0, kSizePart);
}

void CEudoraOptionsDlg::OnAttachmentsClicked() {
    UpdateData(true);
    EnableBy(m_bAttachments != 0, kAttachmentsPart);
}

void CEudoraOptionsDlg::OnAttachLimitClicked() {
    UpdateData(true);
    EnableBy(m_bLimitAttachSize != 0, kAttachLimitPart);
}

bool CEudoraOptionsDlg::UpdateData(bool save) {
    CDataExchange exchange(*m_view, m_pUtil->system.dialogs, save);
    DoDataExchange(exchange);
    return !exchange.HasFailed();
}

void CEudoraOptionsDlg::EnableBy(bool enabled, std::span<const int> controls) {
    for (const int control : controls) m_view->Enable(control, enabled);
}
