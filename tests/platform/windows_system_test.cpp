#include <gtest/gtest.h>

#include <string>

#include "platform/os/system.h"
#include "platform/testing/scripted_dialogs.h"
#include "platform/windows/windows_api.h"

namespace test {

namespace {

using namespace std::chrono;
using platform::ErrorCode;

const platform::System& System() {
    return platform::NativeSystem();
}

platform::testing::ScriptedDialogs* provider = nullptr;
platform::Dialogs* Provider() {
    return provider;
}

}  // namespace

TEST(WindowsSystem, StartsAndWaitsForProcesses) {
    auto missing = System().processes.Start("C:\\none\\kv_no_such_program.exe /M");
    ASSERT_FALSE(missing);
    EXPECT_EQ(missing.Error().code, ErrorCode::kNotFound) << missing.Error().Message();

    // Something that lives until it is told to end.
    const HANDLE signal = CreateEventA(nullptr, TRUE, FALSE, "kv_test_signal");
    char self[MAX_PATH];
    GetModuleFileNameA(nullptr, self, sizeof self);
    const std::string line = std::string("\"") + self +
                             "\" --gtest_filter=WindowsSystem.DISABLED_Child"
                             " --gtest_also_run_disabled_tests --gtest_brief=1";
    auto process = System().processes.Start(line);
    ASSERT_TRUE(process) << process.Error().Message();
    EXPECT_FALSE((*process)->Wait(50ms));
    SetEvent(signal);
    EXPECT_TRUE((*process)->Wait(60s));
    EXPECT_TRUE((*process)->Wait(0ms));
    CloseHandle(signal);
}

TEST(WindowsSystem, DISABLED_Child) {
    const HANDLE signal = OpenEventA(SYNCHRONIZE, FALSE, "kv_test_signal");
    EXPECT_EQ(WaitForSingleObject(signal, 60'000), WAIT_OBJECT_0);
}

TEST(WindowsSystem, TellsAboutItself) {
    WriteProfileStringA("KvTest", "Number", "42");
    EXPECT_EQ(System().processes.ProfileNumber("kvtest", "number", 7), 42);
    WriteProfileStringA("KvTest", nullptr, nullptr);
    EXPECT_EQ(System().processes.ProfileNumber("KvTest", "Number", 7), 7);
    auto version = System().processes.Version();
    ASSERT_TRUE(version);
    EXPECT_GE(version->major, 5u);
    EXPECT_FALSE(System().processes.WindowExists("KvNoSuchWindowClass"));
}

// Looking must leave the message where it is.
TEST(WindowsSystem, PeekingRemovesNoMessage) {
    ASSERT_TRUE(PostThreadMessageA(GetCurrentThreadId(), WM_APP, 5, 6));
    System().processes.PeekMessages();
    System().processes.PeekMessages();
    MSG message{};
    ASSERT_TRUE(PeekMessageA(&message, nullptr, WM_APP, WM_APP, PM_REMOVE));
    EXPECT_EQ(message.wParam, 5u);
}

TEST(WindowsSystem, LocalTimeIsTheMachines) {
    auto& clock = System().clock;
    TIME_ZONE_INFORMATION zone;
    const DWORD season = GetTimeZoneInformation(&zone);
    const LONG bias = zone.Bias + (season == TIME_ZONE_ID_DAYLIGHT   ? zone.DaylightBias
                                   : season == TIME_ZONE_ID_STANDARD ? zone.StandardBias
                                                                     : 0);
    EXPECT_EQ(clock.UtcOffset(clock.Now()), minutes(-bias));
    // Whatever the instant, a fraction of a second is no part of the difference.
    for (const auto instant :
         {sys_days(1970y / January / 1) + 999ms, sys_days(1900y / March / 1) + 1ms,
          sys_days(2038y / July / 1) + 500ms}) {
        EXPECT_LE(abs(clock.UtcOffset(time_point_cast<system_clock::duration>(instant))), 26h);
    }
    EXPECT_EQ(clock.UtcOffset(system_clock::time_point::min()).count() % 60, 0);
}

TEST(WindowsSystem, DialogsGoWhereTheSourceSays) {
    platform::testing::ScriptedDialogs scripted;
    provider = &scripted;
    platform::SetDialogSource(Provider);
    scripted.fileAnswers = {"C:\\x.txt"};
    System().dialogs.ShowMessage("text", "title", platform::MessageIcon::kError);
    EXPECT_EQ(System().dialogs.OpenFile({}), "C:\\x.txt");
    class Logic : public platform::DialogLogic {
        void OnInit(platform::DialogView&) override {}
        void OnCommand(platform::DialogView&, int) override {}
    } logic;
    EXPECT_EQ(System().dialogs.RunModal({.id = 129, .controls = {}}, logic), 2);
    platform::SetDialogSource(nullptr);
    provider = nullptr;
    EXPECT_EQ(scripted.messages.size(), 1u);
    EXPECT_EQ(scripted.modalTemplates, std::vector<int>{129});
}

}  // namespace test
