#include "host/dialogs/modal_form.h"

#include <algorithm>
#include <charconv>

#include "host/dialogs/newt_screen.h"
#include "host/module/native_path.h"

namespace host {

namespace {

constexpr int kUnitsAcross = 4, kUnitsDown = 8;

}  // namespace

int ModalForm::Run() {
    const NewtScreen screen;
    for (const auto& control : m_dialog.controls) {
        m_parts[control.id].kind = control.kind;
        m_parts[control.id].id = control.id;
        m_parts[control.id].form = this;
    }
    m_logic.OnInit(*this);
    if (m_ended) return m_result;
    newtCenteredWindow(static_cast<unsigned>(m_dialog.width / kUnitsAcross + 2),
                       static_cast<unsigned>(m_dialog.height / kUnitsDown + 1), m_title.c_str());
    newtComponent form = newtForm(nullptr, nullptr, 0);
    Build(form);
    newtFormAddHotKey(form, NEWT_KEY_ESCAPE);
    while (!m_ended) {
        newtExitStruct reason{};
        newtFormRun(form, &reason);
        if (reason.reason != newtExitStruct::NEWT_EXIT_COMPONENT) break;
        KeepRanges();
        for (const auto& [id, part] : m_parts) {
            if (part.component == reason.u.co && part.enabled) m_logic.OnCommand(*this, id);
        }
    }
    // The model answers for what the form held.
    for (auto& [id, part] : m_parts) part.component = nullptr;
    newtFormDestroy(form);
    newtPopWindow();
    return m_result;
}

void ModalForm::Build(newtComponent form) {
    for (const auto& control : m_dialog.controls) {
        Part& part = m_parts[control.id];
        part.component = Make(control, part);
        if (part.component == nullptr) continue;
        ShowEnabled(part);
        newtFormAddComponent(form, part.component);
    }
}

newtComponent ModalForm::Make(const platform::DialogControl& control, Part& part) {
    using platform::ControlKind;
    const int left = control.left / kUnitsAcross + 1;
    const int top = control.top / kUnitsDown;
    const int width = std::max(control.width / kUnitsAcross, 4);
    newtComponent made = nullptr;
    switch (control.kind) {
        case ControlKind::kGroupBox:
        case ControlKind::kLabel:
            return newtLabel(left, top, part.text.c_str());
        case ControlKind::kEdit:
            return newtEntry(left, top, part.text.c_str(), width, nullptr, NEWT_FLAG_SCROLL);
        case ControlKind::kCheckBox:
            made =
                newtCheckbox(left, top, part.text.c_str(), part.checked ? '*' : ' ', " *", nullptr);
            newtComponentAddCallback(made, &ModalForm::OnSwitched, &part);
            return made;
        case ControlKind::kDefaultButton:
        case ControlKind::kButton:
            return newtCompactButton(left, top, part.text.c_str());
        case ControlKind::kSpin:
            break;
    }
    return nullptr;
}

void ModalForm::OnSwitched(newtComponent component, void* data) {
    Part& part = *static_cast<Part*>(data);
    const bool checked = newtCheckboxGetValue(component) == '*';
    if (checked == part.checked) return;
    part.checked = checked;
    part.form->m_logic.OnCommand(*part.form, part.id);
}

void ModalForm::ShowEnabled(const Part& part) {
    const newtFlagsSense sense = part.enabled ? NEWT_FLAGS_RESET : NEWT_FLAGS_SET;
    if (part.component == nullptr) return;
    if (part.kind == platform::ControlKind::kEdit) {
        newtEntrySetFlags(part.component, NEWT_FLAG_DISABLED, sense);
    } else if (part.kind == platform::ControlKind::kCheckBox) {
        newtCheckboxSetFlags(part.component, NEWT_FLAG_DISABLED, sense);
    }
}

// A spin keeps the number of its edit within bounds; here that happens when a button is pressed.
void ModalForm::KeepRanges() {
    for (const auto& [edit, range] : m_ranges) {
        const std::string text = Text(edit);
        int number = range.first;
        std::from_chars(text.data(), text.data() + text.size(), number);
        number = std::clamp(number, range.first, range.second);
        if (std::to_string(number) != text) SetText(edit, std::to_string(number));
    }
}

void ModalForm::SetTitle(std::string_view text) {
    m_title = ToUtf8(text);
}

void ModalForm::SetText(int control, std::string_view text) {
    Part& part = m_parts[control];
    part.text = ToUtf8(text);
    // "&" marks the key of a control on Windows.
    if (part.kind != platform::ControlKind::kEdit) std::erase(part.text, '&');
    if (part.component == nullptr) return;
    if (part.kind == platform::ControlKind::kEdit) {
        newtEntrySet(part.component, part.text.c_str(), 1);
    } else if (part.kind == platform::ControlKind::kLabel) {
        newtLabelSetText(part.component, part.text.c_str());
    }
}

std::string ModalForm::Text(int control) {
    Part& part = m_parts[control];
    if (part.component != nullptr && part.kind == platform::ControlKind::kEdit) {
        part.text = newtEntryGetValue(part.component);
    }
    return FromUtf8(part.text);
}

void ModalForm::SetChecked(int control, bool checked) {
    Part& part = m_parts[control];
    part.checked = checked;
    if (part.component != nullptr) newtCheckboxSetValue(part.component, checked ? '*' : ' ');
}

bool ModalForm::IsChecked(int control) {
    return m_parts[control].checked;
}

void ModalForm::Enable(int control, bool enabled) {
    m_parts[control].enabled = enabled;
    ShowEnabled(m_parts[control]);
}

void ModalForm::SetRange(int spin, int lowest, int highest) {
    const platform::DialogControl* before = nullptr;
    for (const auto& control : m_dialog.controls) {
        if (control.id == spin && before != nullptr) m_ranges[before->id] = {lowest, highest};
        if (control.kind == platform::ControlKind::kEdit) before = &control;
    }
}

void ModalForm::End(int result) {
    m_ended = true;
    m_result = result;
}

}  // namespace host
