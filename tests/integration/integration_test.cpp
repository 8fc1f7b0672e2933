#include <gtest/gtest.h>

#include <array>
#include <random>

#include "frame/trans_util.h"
#include "integration/dialogs/eudora_options_dlg.h"
#include "integration/dialogs/nickname_file_dialog.h"
#include "integration/locate/locate.h"
#include "platform/testing/test_system.h"
#include "tests/support/table.h"
#include "text/ascii.h"

using platform::testing::ScriptedView;
using platform::testing::TestSystem;
using test::Rows, test::Table;
using Message = platform::testing::ScriptedDialogs::Message;

namespace {

TEST(LocateTest, EudoraNeedsBothValuesAndItsProgramAndIsTheClientByItsExactCommand) {
    constexpr const char* kMailto = "SOFTWARE\\Classes\\mailto\\shell\\open\\command";
    const std::string exe = "C:\\Eudora 7\\Eudora.exe";
    TestSystem machine;
    CString folder("old"), program("old");
    const auto set = [&](const char* key, const std::string& value, const std::string& text) {
        (void)machine.registry.WriteText(platform::RegistryRoot::kLocalMachine, key, value, text);
    };
    for (const auto& [value, text, found] : Rows<3>("steps to an installed Eudora")) {
        value == "file" ? machine.files.Put(text, "MZ") : set(locate::kAppPathsKey, value, text);
        const bool isFound = locate::FindEudora(machine.registry, machine.files, folder, program);
        EXPECT_EQ((isFound ? "" : "not ") + folder.Str() + ", " + program.Str(), found);
    }
    machine.files.SetShortName(exe, "EUDORA~1.EXE");
    for (const auto& [command, isDefault] : Table<std::string, bool>("commands of mailto")) {
        set(kMailto, "", command);
        EXPECT_EQ(locate::IsDefaultClient(machine.registry, machine.files, exe), isDefault);
    }
}

TEST(LocateTest, NicknameFileIsTheFirstListedIfItCanBeReached) {
    for (const auto& [program, present, failing, found] :
         Table<std::string, std::string, int, std::string>("nickname files")) {
        TestSystem machine;
        std::string_view rest = present;
        while (const auto file = text::TakeToken(rest, ",")) machine.files.Put(*file, "x");
        if (failing > 0) machine.faults.Arm(platform::testing::Fault::kFail, failing);
        EXPECT_EQ(locate::FindNicknameFile(machine.faults, program, 932).Str(), found);
    }
}

TEST(FileDialogTest, ShowsAWholePathAndEndsOnlyWithWhatExists) {
    TestSystem machine(932);
    machine.files.MakeFolders("C:\\e.d");
    machine.dialogs.fileAnswers = {"C:\\e\\none", "C:\\e.d"};
    const std::string fits(258, 'x');
    EXPECT_EQ(dialogs::AskForNicknameFile(machine.system, fits + "\x83\x5c"), "C:\\e.d");
    EXPECT_EQ(machine.dialogs.messages.at(0).text, "Invalid File Name");
    EXPECT_EQ(machine.dialogs.fileRequests.at(0).initialPath, fits);
    EXPECT_EQ(machine.dialogs.fileRequests.at(0).defaultExtension, "txt");
}

// The plain rules of the dialog. Its controls have numbers from 1000 on: four boxes, three edits.
struct OptionsModel {
    // The boxes for days, size, attachments and their limit, and whether that limit is open: it
    // obeys whichever of its two boxes was clicked last, the upper one at first.
    std::array<bool, 5> on;
    std::array<std::optional<std::int32_t>, 3> typed;
    std::array<std::int32_t, 7> values;  // of boxes and edits, as taken
    int focus = 0;
    std::size_t refusals = 0;

    bool IsEnabled(int control) const {
        constexpr std::string_view kObeys = "---2014014-014";
        const char obeyed = control < 1000 ? '-' : kObeys[static_cast<std::size_t>(control) - 1000];
        return obeyed == '-' || on[static_cast<std::size_t>(obeyed - '0')];
    }
    // The exchange ends at a refused text: the numbers before it are taken, those behind it wait.
    bool Take() {
        std::copy_n(on.begin(), 4, values.begin());
        for (std::size_t i = 3; i-- > 0; values[i + 4] = *typed[i]) {
            if (typed[i]) continue;
            focus = 1004 + static_cast<int>(i);
            ++refusals;
            return false;
        }
        return true;
    }
};

TEST(OptionsDialogTest, RandomUsersMeetThePlainRules) {
    const auto typed = Rows<2>("numbers typed");
    std::mt19937 random(1);
    TestSystem machine;
    CEudoraTransUtil util{machine.system};
    for (int run = 0; run < 10000 && !HasFailure(); ++run) {
        CEudoraOptionsDlg d{&util};
        const std::array members{&d.m_bLimitMailAge,    &d.m_bLimitMailSize, &d.m_bAttachments,
                                 &d.m_bLimitAttachSize, &d.m_nMailAgeDays,   &d.m_nMailLimitKB,
                                 &d.m_nAttachLimitKB};
        OptionsModel model{};
        for (std::size_t i = 0; i < members.size(); ++i) {
            *members[i] = static_cast<std::int32_t>(random() % 4);  // a file can hold any number
            if (i >= 4) model.typed[i - 4] = *members[i];
            // 2 is the third state, which looks like 1.
            else
                model.on[i] = *members[i] == 1 || *members[i] == 2;
        }
        model.on[4] = model.on[2];
        model.Take();
        machine.dialogs.messages.clear();
        std::optional<int> result;
        const auto step = [&](ScriptedView& view) {
            const std::size_t act = random() % 9;
            const int control = act < 7 ? 1000 + static_cast<int>(act) : static_cast<int>(act) - 6;
            const bool isEnabled = model.IsEnabled(control);
            const auto& [text, number] = typed[random() % typed.size()];
            if (act >= 4 && act < 7) {
                view.Type(control, text);
                if (!isEnabled) return;
                model.typed[act - 4].reset();
                if (!number.empty()) model.typed[act - 4] = std::stoi(number);
                return;
            }
            view.Click(control);
            if (act >= 7) {
                if (control == 2 || model.Take()) result = control;
            } else if (isEnabled) {
                model.on[act] = !model.on[act];
                if (act >= 2) model.on[4] = model.on[act];
                model.Take();
            }
        };
        machine.dialogs.modalScripts.push_back([&](ScriptedView& view) {
            for (int steps = 0; steps < 12 && !result; ++steps) {
                step(view);
                for (const auto& [id, control] : view.controls) {
                    EXPECT_EQ(control.enabled, model.IsEnabled(id)) << id;
                    EXPECT_EQ(control.highest, id >= 1007 && id <= 1009 ? 9999 : 0) << id;
                    EXPECT_EQ(control.checked, id >= 1000 && id < 1004 && model.on[id - 1000]);
                }
                for (std::size_t i = 0; i < 7; ++i) EXPECT_EQ(*members[i], model.values[i]) << i;
                EXPECT_EQ(view.focus, model.focus);
                EXPECT_EQ(view.result, result);
            }
        });
        const int ended = d.DoModal();
        EXPECT_EQ(ended, result.value_or(2)) << "a closed dialog is cancelled; run " << run;
        EXPECT_EQ(machine.dialogs.messages,
                  std::vector<Message>(model.refusals, {"Please enter an integer.", "Eudora",
                                                        platform::MessageIcon::kWarning}));
    }
}

}  // namespace
