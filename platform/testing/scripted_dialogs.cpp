#include "platform/testing/scripted_dialogs.h"

namespace platform::testing {

ScriptedView::ScriptedView(const DialogTemplate& dialog, DialogLogic& logic) : m_logic(logic) {
    for (const auto& control : dialog.controls) controls[control.id].kind = control.kind;
}

void ScriptedView::SetRange(int spin, int lowest, int highest) {
    controls[spin].lowest = lowest;
    controls[spin].highest = highest;
}

void ScriptedView::Click(int control) {
    Control& clicked = controls[control];
    if (!clicked.enabled || result) return;
    if (clicked.kind == ControlKind::kCheckBox) clicked.checked = !clicked.checked;
    m_logic.OnCommand(*this, control);
}

void ScriptedView::Type(int control, std::string_view text) {
    if (controls[control].enabled && !result) controls[control].text = text;
}

void ScriptedDialogs::ShowMessage(const std::string& text, const std::string& title,
                                  MessageIcon icon) {
    messages.push_back({text, title, icon});
}

std::optional<std::string> ScriptedDialogs::OpenFile(const OpenFileRequest& request) {
    fileRequests.push_back(request);
    while (!fileAnswers.empty()) {
        const auto answer = fileAnswers.front();
        fileAnswers.pop_front();
        if (!answer) return std::nullopt;
        std::string path = *answer;
        const auto nameStart = path.find_last_of("\\/:") + 1;  // 0 if there is none
        if (path.find('.', nameStart) == std::string::npos && !request.defaultExtension.empty()) {
            path += "." + request.defaultExtension;
        }
        if (!request.accept || request.accept(path)) return path;
    }
    return std::nullopt;
}

int ScriptedDialogs::RunModal(const DialogTemplate& dialog, DialogLogic& logic) {
    modalTemplates.push_back(dialog.id);
    ScriptedView view(dialog, logic);
    logic.OnInit(view);
    if (!modalScripts.empty()) {
        const auto script = std::move(modalScripts.front());
        modalScripts.pop_front();
        script(view);
    }
    return view.result.value_or(2);
}

}  // namespace platform::testing
