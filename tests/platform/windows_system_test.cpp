#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "platform/os/system.h"
#include "platform/testing/scripted_dialogs.h"
#include "platform/windows/windows_api.h"

namespace test {

namespace {

using namespace std::chrono_literals;
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

    const HANDLE signal = CreateEventA(nullptr, TRUE, FALSE, "kv_test_signal");
    char self[MAX_PATH];
    GetModuleFileNameA(nullptr, self, sizeof self);
    const auto waiter = std::filesystem::path(self).replace_filename("kv_test_waiter.exe");
    auto process = System().processes.Start("\"" + waiter.string() + "\" /x");
    ASSERT_TRUE(process) << process.Error().Message();
    EXPECT_FALSE((*process)->Wait(50ms));
    SetEvent(signal);
    EXPECT_TRUE((*process)->Wait(60s));
    EXPECT_TRUE((*process)->Wait(0ms));
    CloseHandle(signal);
}

TEST(WindowsSystem, TellsAboutItself) {
    WriteProfileStringA("KvTest", "Number", "42");
    EXPECT_EQ(System().processes.ProfileNumber("kvtest", "number", 7), 42);
    WriteProfileStringA("KvTest", nullptr, nullptr);
    EXPECT_EQ(System().processes.ProfileNumber("KvTest", "Number", 7), 7);
    auto version = System().processes.Version();
    ASSERT_TRUE(version);
    EXPECT_GE(version->major, 5u);
    EXPECT_FALSE(System().windows.Exists("KvNoSuchWindowClass"));
}

// Looking must leave the message where it is.
TEST(WindowsSystem, PeekingRemovesNoMessage) {
    ASSERT_TRUE(PostThreadMessageA(GetCurrentThreadId(), WM_APP, 5, 6));
    System().windows.PeekMessages();
    System().windows.PeekMessages();
    MSG message{};
    ASSERT_TRUE(PeekMessageA(&message, nullptr, WM_APP, WM_APP, PM_REMOVE));
    EXPECT_EQ(message.wParam, 5u);
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
