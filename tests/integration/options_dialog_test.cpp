#include "integration/dialogs/eudora_options_dlg.h"

#include <gtest/gtest.h>

#include <array>

#include "frame/trans_util.h"
#include "platform/testing/test_system.h"

using platform::testing::ScriptedView;
using Message = platform::testing::ScriptedDialogs::Message;

namespace {

constexpr int kDaysLimit = 1000, kSizeLimit = 1001, kAttachments = 1002, kAttachLimit = 1003;
constexpr int kDays = 1004, kSize = 1005, kAttachSize = 1006;
constexpr int kBoxes[] = {kDaysLimit, kSizeLimit, kAttachments, kAttachLimit};

class OptionsDialogTest : public ::testing::Test {
  protected:
    OptionsDialogTest() { Set({1, 7, 1, 32, 0, 1, 5}); }

    // The values in the order in which the dialog shows them.
    auto Members() {
        auto& d = dialog;
        return std::array{&d.m_bLimitMailAge, &d.m_nMailAgeDays, &d.m_bLimitMailSize,
                          &d.m_nMailLimitKB,  &d.m_bAttachments, &d.m_bLimitAttachSize,
                          &d.m_nAttachLimitKB};
    }
    void Set(const std::vector<std::int32_t>& values) {
        for (std::size_t i = 0; i < values.size(); ++i) *Members()[i] = values[i];
    }
    std::vector<std::int32_t> Values() {
        std::vector<std::int32_t> values;
        for (const auto* member : Members()) values.push_back(*member);
        return values;
    }
    int Run(std::function<void(ScriptedView&)> script) {
        machine.dialogs.modalScripts.push_back(std::move(script));
        return dialog.DoModal();
    }
    platform::testing::TestSystem machine;
    CEudoraTransUtil util{machine.system};
    CEudoraOptionsDlg dialog{&util};
};

TEST_F(OptionsDialogTest, FreshSettingsAsShown) {
    platform::testing::FakeLibraries::Strings strings;
    for (unsigned id = 47; id <= 58; ++id) strings[id] = "text " + std::to_string(id);
    machine.libraries.AddResources("C:\\b\\xEN.dll", strings);
    ASSERT_TRUE(util.bundle.Load("x", "C:\\b", "EN", "", true));
    const int result = Run([](ScriptedView& view) {
        EXPECT_EQ(view.title, "text 57");
        const std::map<int, const char*> shown = {
            {1010, "text 48"}, {1000, "text 49"}, {1001, "text 50"}, {1011, "text 51"},
            {1012, "text 52"}, {1013, "text 52"}, {1002, "text 53"}, {1003, "text 54"},
            {1, "text 55"},    {2, "text 56"},    {1004, "7"},       {1005, "32"},
            {1006, "5"},       {1007, ""},        {1008, ""},        {1009, ""}};
        for (const auto& [id, text] : shown) EXPECT_EQ(view.Text(id), text) << id;
        EXPECT_EQ(view.controls.size(), shown.size());
        EXPECT_TRUE(view.IsChecked(kDaysLimit) && view.IsChecked(kSizeLimit));
        EXPECT_FALSE(view.IsChecked(kAttachments));
        EXPECT_TRUE(view.IsChecked(kAttachLimit));
        for (const auto& [id, control] : view.controls) {
            const bool isOff = id == 1003 || id == 1006 || id == 1009 || id == 1013;
            EXPECT_EQ(control.enabled, !isOff) << id;
            if (control.kind != platform::ControlKind::kSpin) continue;
            EXPECT_EQ(control.lowest, 0);
            EXPECT_EQ(control.highest, 9999);
        }
    });
    EXPECT_EQ(result, CEudoraOptionsDlg::kCancel) << "a closed dialog is cancelled";
    EXPECT_EQ(machine.dialogs.modalTemplates, std::vector<int>{129});
}

// What is enabled follows from the clicks alone: the frame of the attachments' limit obeys
// whichever of its two boxes was clicked last, and the upper one at first.
struct Model {
    bool days, size, attachments, attachLimit;
    bool limitShown = attachments;

    void Click(int box) {
        if (box == kDaysLimit) days = !days;
        if (box == kSizeLimit) size = !size;
        if (box == kAttachments) limitShown = attachments = !attachments;
        if (box == kAttachLimit && attachments) limitShown = attachLimit = !attachLimit;
    }
    bool Enabled(int control) const {
        static const std::map<int, bool Model::*> rules = {
            {1004, &Model::days},       {1007, &Model::days},       {1011, &Model::days},
            {1005, &Model::size},       {1008, &Model::size},       {1012, &Model::size},
            {1006, &Model::limitShown}, {1009, &Model::limitShown}, {1013, &Model::limitShown},
            {1003, &Model::attachments}};
        const auto rule = rules.find(control);
        return rule == rules.end() || this->*(rule->second);
    }
};

TEST_F(OptionsDialogTest, EnableRulesInEverySequenceOfFourClicks) {
    constexpr int kLength = 4, kSequences = 256, kStarts = 16;
    for (int run = 0; run < kStarts * kSequences; ++run) {
        const int start = run / kSequences;
        Model model{(start & 1) != 0, (start & 2) != 0, (start & 4) != 0, (start & 8) != 0};
        Set({model.days, 7, model.size, 32, model.attachments, model.attachLimit, 5});
        Run([&](ScriptedView& view) {
            int rest = run % kSequences;
            for (int click = 0; click <= kLength; ++click, rest /= 4) {
                for (const auto& [id, control] : view.controls) {
                    ASSERT_EQ(control.enabled, model.Enabled(id))
                        << id << " after " << click << " clicks of run " << run;
                }
                if (click == kLength) break;
                view.Click(kBoxes[rest % 4]);
                model.Click(kBoxes[rest % 4]);
            }
            view.Click(1);
        });
        ASSERT_EQ(Values(), (std::vector<std::int32_t>{model.days, 7, model.size, 32,
                                                       model.attachments, model.attachLimit, 5}))
            << run;
    }
    EXPECT_TRUE(machine.dialogs.messages.empty());
}

TEST_F(OptionsDialogTest, NumbersAsTyped) {
    const std::pair<const char*, std::optional<std::int32_t>> rows[] = {
        {"10000", 10000},
        {"007", 7},
        {" \t+12 ", 12},
        {"-99999999999999999999", -2147483647 - 1},
        {"1                             x", {}},  // within the first 31 bytes
        {"1                              x", 1},  // behind them
        {"", {}},
        {"-0", {}},
        {"- 5", {}},
        {"0x10", {}}};
    for (const auto& [typed, taken] : rows) {
        for (const auto& [edit, place] : {std::pair{kDays, 1}, {kSize, 3}, {kAttachSize, 6}}) {
            SCOPED_TRACE(std::string(typed) + " in " + std::to_string(edit));
            std::vector<std::int32_t> expected{1, 7, 1, 32, 1, 1, 5};
            Set(expected);
            machine.dialogs.messages.clear();
            const int result = Run([&, edit = edit, typed = typed](ScriptedView& view) {
                view.Type(edit, typed);
                view.Click(1);
                EXPECT_EQ(view.focus, view.result ? 0 : edit);
                view.Type(edit, "77");
                view.Click(1);
            });
            EXPECT_EQ(result, CEudoraOptionsDlg::kOk);
            expected[static_cast<std::size_t>(place)] = taken.value_or(77);
            EXPECT_EQ(Values(), expected);
            EXPECT_EQ(machine.dialogs.messages.size(), taken ? 0U : 1U);
        }
    }
}

// The exchange ends at a refused text: the numbers before it are taken, those behind it wait.
TEST_F(OptionsDialogTest, ARefusedNumberHoldsBackThoseBehindItButNoBox) {
    Set({3, 7, 2, 32, 1, 1, 5});  // settings files can hold any number where a switch belongs
    const int result = Run([&](ScriptedView& view) {
        EXPECT_FALSE(view.IsChecked(kDaysLimit));
        EXPECT_TRUE(view.IsChecked(kSizeLimit));
        view.Type(kAttachSize, "6");
        view.Type(kSize, "many");
        view.Type(kDays, "8");
        view.Click(kDaysLimit);
        EXPECT_EQ(Values(), (std::vector<std::int32_t>{1, 7, 1, 32, 1, 1, 6}));
        EXPECT_TRUE(view.controls[kDays].enabled) << "the click counts all the same";
        view.Click(kSizeLimit);
        EXPECT_FALSE(view.controls[kSize].enabled);
        view.Click(1);
        EXPECT_FALSE(view.result) << "a disabled edit is exchanged like any other";
        view.Click(2);
    });
    EXPECT_EQ(result, CEudoraOptionsDlg::kCancel);
    EXPECT_EQ(machine.dialogs.messages,
              std::vector<Message>(
                  3, {"Please enter an integer.", "Eudora", platform::MessageIcon::kWarning}));
}

}  // namespace
