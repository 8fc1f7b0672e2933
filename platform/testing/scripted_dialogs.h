#pragma once

#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/os/dialogs.h"

namespace platform::testing {

// A running dialog without a screen. A script plays the user: it sets texts and clicks.
class ScriptedView : public DialogView {
  public:
    struct Control {
        ControlKind kind = ControlKind::kLabel;
        std::string text;
        bool checked = false;
        bool enabled = true;
        int lowest = 0, highest = 0;
    };

    ScriptedView(const DialogTemplate& dialog, DialogLogic& logic) : m_logic(logic) {
        for (const auto& control : dialog.controls) controls[control.id].kind = control.kind;
    }

    // Presses a button, or switches a check box and tells the logic. A disabled control and an
    // ended dialog take no click.
    void Click(int control) {
        Control& clicked = controls[control];
        if (!clicked.enabled || result) return;
        if (clicked.kind == ControlKind::kCheckBox) clicked.checked = !clicked.checked;
        m_logic.OnCommand(*this, control);
    }
    // Types a text into an edit in place of the old one; a disabled edit takes none.
    void Type(int control, std::string_view text) {
        if (controls[control].enabled && !result) controls[control].text = text;
    }

    void SetTitle(std::string_view text) override { title = text; }
    void SetText(int control, std::string_view text) override { controls[control].text = text; }
    std::string Text(int control) override { return controls[control].text; }
    void SetChecked(int control, bool checked) override { controls[control].checked = checked; }
    bool IsChecked(int control) override { return controls[control].checked; }
    void Enable(int control, bool enabled) override { controls[control].enabled = enabled; }
    void SetRange(int spin, int lowest, int highest) override {
        controls[spin].lowest = lowest;
        controls[spin].highest = highest;
    }
    void Focus(int control) override { focus = control; }
    void End(int value) override { result = value; }

    std::string title;
    std::map<int, Control> controls;
    int focus = 0;
    std::optional<int> result;  // set when the dialog has ended

  private:
    DialogLogic& m_logic;
};

// Dialogs that a script answers in order; a dialog without an answer is cancelled. Everything shown
// is recorded.
class ScriptedDialogs : public Dialogs {
  public:
    struct Message {
        std::string text, title;
        MessageIcon icon = MessageIcon::kNone;
        bool operator==(const Message&) const = default;
    };

    // Names typed into open-file dialogs. A name that the dialog refuses is followed by the next
    // one in the same dialog; no value cancels.
    std::deque<std::optional<std::string>> fileAnswers;
    std::deque<std::function<void(ScriptedView&)>> modalScripts;

    std::vector<Message> messages;
    std::vector<OpenFileRequest> fileRequests;
    int waitsBegun = 0, waitsEnded = 0;

    void ShowMessage(const std::string& text, const std::string& title, MessageIcon icon) override {
        messages.push_back({text, title, icon});
    }
    std::optional<std::string> OpenFile(const OpenFileRequest& request) override {
        fileRequests.push_back(request);
        while (!fileAnswers.empty()) {
            const auto answer = fileAnswers.front();
            fileAnswers.pop_front();
            if (!answer) return std::nullopt;
            std::string path = *answer;
            const auto nameStart = path.find_last_of("\\/:") + 1;  // 0 if there is none
            if (path.find('.', nameStart) == std::string::npos &&
                !request.defaultExtension.empty()) {
                path += "." + request.defaultExtension;
            }
            if (!request.accept || request.accept(path)) return path;
        }
        return std::nullopt;
    }
    int RunModal(const DialogTemplate& dialog, DialogLogic& logic) override {
        ScriptedView view(dialog, logic);
        logic.OnInit(view);
        if (!modalScripts.empty()) {
            const auto script = std::move(modalScripts.front());
            modalScripts.pop_front();
            script(view);
        }
        return view.result.value_or(2);
    }
    void BeginWaitCursor() override { ++waitsBegun; }
    void EndWaitCursor() override { ++waitsEnded; }
};

}  // namespace platform::testing
