#include <gtest/gtest.h>

#include "integration/dialogs/eudora_file_dlg.h"
#include "platform/testing/test_system.h"

using Message = platform::testing::ScriptedDialogs::Message;

namespace {

class FileDialogTest : public ::testing::Test {
  protected:
    int Run(const CString& initial) {
        CEudoraFileDlg dialog(machine.system, initial);
        const int result = dialog.DoModal();
        path = dialog.m_csPathName.Str();
        return result;
    }
    platform::testing::TestSystem machine;
    std::string path;
};

TEST_F(FileDialogTest, EndsOnlyWithWhatExists) {
    machine.files.Put("C:\\e\\book.txt", "");
    machine.dialogs.fileAnswers = {"C:\\e\\none", "C:\\e\\book"};
    EXPECT_EQ(Run("C:\\e\\start.txt"), CEudoraFileDlg::kOk);
    EXPECT_EQ(path, "C:\\e\\book.txt");
    ASSERT_EQ(machine.dialogs.fileRequests.size(), 1U);
    const auto& request = machine.dialogs.fileRequests[0];
    EXPECT_EQ(request.initialPath, "C:\\e\\start.txt");
    EXPECT_EQ(request.defaultExtension, "txt");
    EXPECT_EQ(request.filter, "Eudora Address Book (*.txt)|*.txt||");
    EXPECT_EQ(
        machine.dialogs.messages,
        (std::vector<Message>{{"Invalid File Name", "Error", platform::MessageIcon::kWarning}}));
}

TEST_F(FileDialogTest, CancelsAndTakesFolders) {
    machine.files.MakeFolders("C:\\e.d");
    EXPECT_EQ(Run("C:\\e.d"), CEudoraFileDlg::kCancel);
    machine.dialogs.fileAnswers = {"C:\\e.d"};
    EXPECT_EQ(Run(""), CEudoraFileDlg::kOk);
}

TEST_F(FileDialogTest, CutsALongPathAtAWholeCharacter) {
    machine.system.codePage = 932;
    Run(CString(std::string(258, 'x') + "\x83\x5c"));
    EXPECT_EQ(machine.dialogs.fileRequests[0].initialPath, std::string(258, 'x'));
}

}  // namespace
