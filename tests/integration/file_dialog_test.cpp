#include <gtest/gtest.h>

#include "integration/dialogs/nickname_file_dialog.h"
#include "platform/testing/test_system.h"

using Message = platform::testing::ScriptedDialogs::Message;

namespace {

TEST(FileDialogTest, EndsOnlyWithWhatExists) {
    platform::testing::TestSystem machine(932);
    machine.files.Put("C:\\e\\book.txt", "");
    machine.files.MakeFolders("C:\\e.d");
    const std::string fits(258, 'x');
    const auto ask = [&] {
        return dialogs::AskForNicknameFile(machine.system, fits + "\x83\x5c").value_or("nothing");
    };
    EXPECT_EQ(ask(), "nothing");
    machine.dialogs.fileAnswers = {"C:\\e.d", "C:\\e\\none", "C:\\e\\book"};
    EXPECT_EQ(ask(), "C:\\e.d") << "a folder is something, too";
    EXPECT_EQ(ask(), "C:\\e\\book.txt");
    EXPECT_EQ(
        machine.dialogs.messages,
        (std::vector<Message>{{"Invalid File Name", "Error", platform::MessageIcon::kWarning}}));
    const auto& request = machine.dialogs.fileRequests[0];
    EXPECT_EQ(request.initialPath, fits) << "cut at a whole character";
    EXPECT_EQ(request.defaultExtension, "txt");
    EXPECT_EQ(request.filter, "Eudora Address Book (*.txt)|*.txt||");
}

}  // namespace
