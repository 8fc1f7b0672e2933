#include "integration/dialogs/eudora_options_dlg.h"

#include <gtest/gtest.h>

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
    OptionsDialogTest() { Defaults(dialog); }

    static void Defaults(CEudoraOptionsDlg& target) {
        const CEudoraAppInfo info;
        target.m_bAttachments = info.m_bAttachments;
        target.m_bLimitAttachSize = info.m_bLimitAttachSize;
        target.m_bLimitMailSize = info.m_bLimitMailSize;
        target.m_bLimitMailAge = info.m_bLimitMailAge;
        target.m_nAttachLimitKB = info.m_nAttachLimitKB;
        target.m_nMailLimitKB = info.m_nMailLimitKB;
        target.m_nMailAgeDays = info.m_nMailAgeDays;
    }
    int Run(std::function<void(ScriptedView&)> script) {
        machine.dialogs.modalScripts.push_back(std::move(script));
        return dialog.DoModal();
    }
    std::vector<std::int32_t> Values() const {
        return {dialog.m_bLimitMailAge, dialog.m_nMailAgeDays, dialog.m_bLimitMailSize,
                dialog.m_nMailLimitKB,  dialog.m_bAttachments, dialog.m_bLimitAttachSize,
                dialog.m_nAttachLimitKB};
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
        dialog.m_bLimitMailAge = model.days;
        dialog.m_bLimitMailSize = model.size;
        dialog.m_bAttachments = model.attachments;
        dialog.m_bLimitAttachSize = model.attachLimit;
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
    struct Row {
        const char* typed;
        std::optional<std::int32_t> taken;
    };
    const Row rows[] = {
        {"10000", 10000},
        {"007", 7},
        {" \t12 ", 12},
        {"+3", 3},
        {"-5", -5},
        {"2147483647", 2147483647},
        {"2147483648", 2147483647},
        {"-99999999999999999999", -2147483647 - 1},
        {"1                             x", std::nullopt},  // within the first 31 bytes
        {"1                              x", 1},            // behind them
        {"", std::nullopt},
        {"-0", std::nullopt},
        {"- 5", std::nullopt},
        {"7d", std::nullopt},
        {"0x10", std::nullopt},
        {"\x82\x54", std::nullopt},  // a wide digit
    };
    const std::vector<Message> refusal{
        {"Please enter an integer.", "Eudora", platform::MessageIcon::kWarning}};
    for (const Row& row : rows) {
        for (const int edit : {kDays, kSize, kAttachSize}) {
            SCOPED_TRACE(std::string(row.typed) + " in " + std::to_string(edit));
            Defaults(dialog);
            dialog.m_bAttachments = 1;
            machine.dialogs.messages.clear();
            bool stayed = false;
            const int result = Run([&](ScriptedView& view) {
                view.Type(edit, row.typed);
                view.Click(1);
                stayed = !view.result;
                EXPECT_EQ(view.focus, stayed ? edit : 0);
                EXPECT_EQ(view.Text(edit), row.typed);
                view.Type(edit, "77");
                view.Click(1);
            });
            EXPECT_EQ(result, CEudoraOptionsDlg::kOk);
            EXPECT_EQ(stayed, !row.taken);
            const std::int32_t taken = row.taken.value_or(77);
            EXPECT_EQ(Values(), (std::vector<std::int32_t>{1, edit == kDays ? taken : 7, 1,
                                                           edit == kSize ? taken : 32, 1, 1,
                                                           edit == kAttachSize ? taken : 5}));
            EXPECT_EQ(machine.dialogs.messages, row.taken ? std::vector<Message>{} : refusal);
        }
    }
}

// The exchange ends at a refused text: the numbers before it are taken, those behind it wait.
TEST_F(OptionsDialogTest, ARefusedNumberHoldsBackThoseBehindItButNoBox) {
    dialog.m_bAttachments = 1;
    const int result = Run([&](ScriptedView& view) {
        view.Type(kAttachSize, "6");
        view.Type(kSize, "many");
        view.Type(kDays, "8");
        view.Click(kDaysLimit);
        EXPECT_EQ(Values(), (std::vector<std::int32_t>{0, 7, 1, 32, 1, 1, 6}));
        EXPECT_FALSE(view.controls[kDays].enabled) << "the click counts all the same";
        view.Click(kSizeLimit);
        EXPECT_FALSE(view.controls[kSize].enabled);
        view.Click(1);
        EXPECT_FALSE(view.result) << "a disabled edit is exchanged like any other";
        view.Click(2);
    });
    EXPECT_EQ(result, CEudoraOptionsDlg::kCancel);
    EXPECT_EQ(machine.dialogs.messages.size(), 3U);
}

// Settings files can hold any number where a switch belongs.
TEST_F(OptionsDialogTest, OddSwitches) {
    for (const auto& [value, shown] :
         std::map<std::int32_t, bool>{{-1, false}, {0, false}, {1, true}, {2, true}, {3, false}}) {
        dialog.m_bLimitMailAge = value;
        Run([&](ScriptedView& view) {
            EXPECT_EQ(view.IsChecked(kDaysLimit), shown) << value;
            EXPECT_EQ(view.controls[kDays].enabled, shown) << value;
        });
    }
}

}  // namespace
