#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "mailbox/toc_records.h"
#include "tests/end_to_end/sync_mail_program.h"
#include "tests/platform/temp_folder.h"

namespace host::testing {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

class AttachmentLines : public SyncMailProgram {
  protected:
    // An in-box of one mail that ends in lines with these paths.
    void PutMail(const std::vector<std::string>& paths) {
        std::string mail =
            "From ???@??"
            "? Tue Nov 24 10:00:00 2020\r\nFrom: a@b.c\r\nTo: b@c.d\r\n"
            "Date: Tue, 24 Nov 2020 10:00:00 +0100\r\nSubject: s\r\n\r\nlook\r\n";
        for (const auto& path : paths) mail += "\r\n\r\nAttachment Converted: \"" + path + "\"";
        mail += "\r\n";
        mailbox::MsgBlock block;
        block.dwLength = static_cast<std::uint32_t>(mail.size());
        block.dwMsgId = 1;
        auto header = mailbox::TocHeader::Decode(mailbox::NewTocHeader());
        header.wNumberOfMsgs = 1;
        bench.Write("E/In.mbx", mail);
        bench.Write("E/In.toc", header.Encode() + block.Encode());
    }
    fs::path Prefix() {
        return fs::directory_iterator(bench.Path("state/kvsync/prefixes"))->path();
    }
    std::vector<std::string> TempFiles() {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(Prefix() / "drive_c/windows/temp")) {
            names.push_back(entry.path().filename().string());
        }
        return names;
    }
};

// What a mail's lines lead to is the sender's word: over a drive that is the whole machine, through
// links and out of folders by dots.
TEST_F(AttachmentLines, LeadToNothingOutsideOfTheFoldersOfAttachments) {
    ASSERT_EQ(Unlimited().code, 4);
    fs::create_directory_symlink("/", Prefix() / "dosdevices/z:");
    bench.Write("secret.txt", "a secret");
    bench.Write("kept/named.txt", "one that Eudora.ini names");
    const std::string z = "Z:" + bench.Path("");
    bench.Write("E/Eudora.ini", "[Settings]\r\nautoreceivedirectory=" + z + "kept\r\n");
    fs::create_symlink(bench.Path("secret.txt"), bench.Path("E/Attach/link.txt"));
    fs::create_directory_symlink(bench.Path(""), bench.Path("E/Attach/out"));
    ASSERT_EQ(std::system(("mkfifo '" + bench.Path("E/Attach/pipe") + "'").c_str()), 0);
    const std::vector<std::string> missing = {"Z:\\proc\\self\\mem",
                                              "Z:\\proc\\self\\pagemap",
                                              "Z:\\proc\\self\\environ",
                                              "Z:\\dev\\zero",
                                              "z:/etc/passwd",
                                              z + "secret.txt",
                                              "C:\\Eudora\\Attach\\..\\..\\..\\secret.txt",
                                              "C:\\Eudora\\Attach\\link.txt",
                                              "C:\\Eudora\\Attach\\out\\secret.txt",
                                              "D:\\old\\link.txt",
                                              "C:\\Eudora\\Attach\\pipe",
                                              "C:\\Eudora\\nndbase.txt",
                                              "C:\\Eudora\\Attach",
                                              "\\\\host\\share\\secret.txt"};
    auto paths = missing;
    paths.push_back(z + "kept/named.txt");
    paths.push_back("D:\\moved\\Attach\\tide-table.txt");
    PutMail(paths);
    const Outcome outcome = bench.KvsyncKilled(60, "sync mail --eudora @E --maildir @M");
    ASSERT_EQ(outcome.code, 4) << outcome.out << outcome.err;
    ASSERT_EQ(Files().size(), 1u);
    const std::string mail = test::ReadDisk(Files().front());
    EXPECT_EQ(CountOf("Content-Disposition: attachment", mail), 2) << mail;
    EXPECT_THAT(mail, HasSubstr("filename=named.txt"));
    EXPECT_THAT(mail, HasSubstr("filename=tide-table.txt"));
    for (const auto& path : missing) {
        EXPECT_THAT(mail, HasSubstr("Attachment Converted: \"" + path)) << "stays in the text";
    }
    EXPECT_EQ(TempFiles().size(), 0u);
}

// The cost is bounded by the number of lines, not by what they name.
TEST_F(AttachmentLines, ThousandsAreReadAtOnce) {
    ASSERT_EQ(Unlimited().code, 4);
    std::vector<std::string> paths(20000);
    for (std::size_t i = 0; i < paths.size(); ++i) {
        paths[i] = "C:\\Eudora\\Attach\\" + std::to_string(i) + ".txt";
        if (i % 100 == 0) bench.Write("E/Attach/" + std::to_string(i) + ".txt", "x");
    }
    PutMail(paths);
    const Outcome outcome = bench.KvsyncKilled(60, "sync mail --eudora @E --maildir @M");
    ASSERT_EQ(outcome.code, 4) << outcome.out << outcome.err;
    const std::string mail = test::ReadDisk(Files().front());
    EXPECT_EQ(CountOf("Content-Disposition: attachment", mail), 10) << "of the last thousand";
    EXPECT_EQ(CountOf("Attachment Converted:", mail), 19990);
}

TEST_F(AttachmentLines, LeaveNoCopiesBehind) {
    ASSERT_EQ(Unlimited().code, 4);
    const auto temp = Prefix() / "drive_c/windows/temp";
    PutMail({"C:\\Eudora\\Attach\\tide-table.txt"});
    for (const auto& path : {fs::path(bench.Path("E/Attach/tide-table.txt")), temp / "eua1A.tmp",
                             temp / "Qzv1A.tmp"}) {
        if (!fs::exists(path)) test::WriteDisk(path, "of a run that was killed");
        fs::permissions(path, fs::perms::owner_read);
    }
    for (int run = 0; run < 2; ++run) {
        EXPECT_EQ(Mail().code, run == 0 ? 4 : 0);
        EXPECT_THAT(TempFiles(), ::testing::IsEmpty());
    }
}

}  // namespace
}  // namespace host::testing
