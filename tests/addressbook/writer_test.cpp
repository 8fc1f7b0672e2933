#include <algorithm>
#include <string>

#include "tests/addressbook/book_fixture.h"
#include "tests/platform/temp_folder.h"
#include "tests/support/fault_sweep.h"

using platform::testing::Fault;

namespace {

const std::string kName39(39, 'n');
const std::string kToc = "C:\\Eudora\\nndbase.toc", kSide = std::string(kBookPath) + ".kvnew";

struct Case {
    std::string content, saved;
};

class WriterFormTest : public BookTest, public ::testing::WithParamInterface<Case> {};

TEST_P(WriterFormTest, WritesTheNormalFormOnceAndForAll) {
    const auto& [content, saved] = GetParam();
    EXPECT_EQ(Resaved(content), saved) << content;
    EXPECT_EQ(Resaved(saved), saved);
}

INSTANTIATE_TEST_SUITE_P(
    Carried, WriterFormTest,
    ::testing::Values(
        Case{"alias \"group s\" a,b\nnote \"group s\" <x>\nalias a 1\n",
             "alias a 1\r\nalias \"group s\" a,b\r\nnote \"group s\" <x>"},
        Case{"alias a 1\nnote a n\nalias a 2\nnote a m\n",
             "alias a 1\r\nnote a n\r\nalias a 2\r\nnote a m"},
        // A record without a note line would take the stray one, a group without quotes not.
        Case{"alias a 1\nlone\nnote a stray\n", "alias a 1\r\nlone\r\nnote a stray"},
        Case{"alias a 1\nnote a 2\nalias group b\nnote a stray\n",
             "alias a 1\r\nnote a 2\r\nalias group b\r\nnote a stray"},
        Case{"alias \"group\" b\n\nnote a 1\n\nnote a 2\n",
             "alias a 1\r\nalias \"group\" b\r\n\r\nnote a 2"},
        Case{"alias " + kName39 + "1 a\nnote x y\nalias b c\n",
             "alias b c\r\nalias " + kName39 + "1 a\r\nnote x y"},
        // A line end that it did not have must not become part of a nickname, and a CR that made
        // a nickname too long must stay.
        Case{"alias bob a\nalias bob\nalias bob b\n", "alias bob a\r\nalias bob \r\nalias bob b"},
        Case{"alias \"a b\" 1\nalias \"a b\nlone\n", "alias \"a b\" 1\r\nalias \"a b\"\r\nlone"},
        Case{"alias " + kName39 + "\r\n", "alias " + kName39 + "\r"},
        // What a note line holds beside the record.
        Case{"alias c 5\nnote c text<fax:9>tail<name:C>mid\n",
             "alias c 5\r\nnote c <fax:9><name:C>mid\r\nalias c \r\nnote c <text><tail>"},
        Case{"alias e 7\nnote e <name:E><name:F><title:x><first:y>",
             "alias e 7\r\nnote e <name:F>first:y\r\nalias e \r\nnote e <name:E><title:x>"},
        Case{"alias bo 1\nnotes bob x\n",
             "alias bo 1\r\nnote bo  x\r\nalias bo \r\nnote bo <notes><bob x>"},
        Case{"alias a 1\r2\r\n", "alias a 1\r\nalias a \r2"},
        // A delimiter in a nickname does not turn into a note.
        Case{"alias a<b 1\nnote x <fax:2>\n",
             "alias a<b 1\r\nnote a <fax:2>\r\nalias a<b \r\nnote a<b <x >"},
        // It stands in full where that reads back.
        Case{"alias a<b 1\nnote a<b free<fax:2><phone:3>text\n",
             "alias a<b 1\r\nnote a<b <fax:2><phone:3>text\r\nalias a<b \r\nnote a<b <free>"},
        Case{"alias <x 1\nnote <x <fax:2>\n", "alias <x 1\r\nnote <x <fax:2>"},
        Case{"alias bob\r\nnote bob <fax:2>text", "alias bob\r \r\nnote bob\r <fax:2>text"},
        Case{"alias \"a <b\" 1\nnote \"a <b\" <fax:2>c\n",
             "alias \"a <b\" 1\r\nnote \"a <b\" <fax:2>c"},
        Case{"alias a<name:b 1\nnote a <fax:2>c\n", "alias a<name:b 1\r\nnote a <fax:2>c"}));

class WriterTest : public BookTest {};

TEST_F(WriterTest, DeletesTheTableOfContentsOfTheFile) {
    machine.files.Put("C:\\Eudora\\NNDBASE.toc", "old");
    machine.files.Put("C:\\Eudora\\other.toc", "stays");
    Resaved("alias a 1");
    EXPECT_EQ(machine.files.AllFiles().size(), 2U);
    EXPECT_TRUE(machine.files.Get("C:\\Eudora\\other.toc"));
}

TEST_F(WriterTest, NeedsAFileThatCanBeWrittenOrNone) {
    CEudoraAB book;
    Load(book, "alias a 1\n");
    machine.files.SetReadOnly(kBookPath);
    Edit(book, "a", ContactField::kEmail, "2");
    EXPECT_EQ(book.SaveRecords(), RRC_FAILED);
    EXPECT_EQ(DrainErrors(), Texts{"cannot open C:\\Eudora\\nndbase.txt"});
    EXPECT_EQ(Saved(), "alias a 1\n");
    EXPECT_EQ(machine.files.AllFiles().size(), 1U);
    machine.files.SetReadOnly(kBookPath, false);
    ASSERT_TRUE(machine.files.Delete(kBookPath));
    EXPECT_EQ(book.SaveRecords(), RRC_OK);
    EXPECT_EQ(Saved(), "alias a 2");
}

// Every file operation of a save fails once, alone, with a torn write, and for good.
TEST_F(WriterTest, AnyFailureLeavesTheOldFileOrTheNewOne) {
    const std::string oldText = "alias a 1\r\nalias \"group\" b\r\n";
    const std::string newText = "alias a 2\r\nalias \"group\" b";
    const auto play = [&](Fault fault, int n) {
        CEudoraAB book;
        Load(book, oldText);
        machine.files.Put(kToc, "t");
        Edit(book, "a", ContactField::kEmail, "2");
        machine.faults.Arm(fault, n, platform::ErrorCode::kNoSpace);
        const bool isSaved = book.SaveRecords() == RRC_OK;
        const bool fired = machine.faults.Disarm();
        EXPECT_EQ(machine.files.OpenCount(), 0);
        if (fault == Fault::kKill) machine.files.Crash();
        EXPECT_EQ(Saved(), isSaved ? newText : oldText);
        EXPECT_EQ(DrainErrors().size(), isSaved ? 0U : 2U);
        const bool isKilled = fault == Fault::kKill;
        EXPECT_TRUE(isKilled || !machine.files.Get(kSide)) << "a side file is left";
        EXPECT_FALSE(isKilled && Saved() == newText && machine.files.Get(kToc)) << "a wrong table";
        EXPECT_EQ(book.SaveRecords(), RRC_OK);
        EXPECT_EQ(Saved(), newText);
        EXPECT_EQ(machine.files.AllFiles(), Texts{kBookPath});
        return fired;
    };
    test::ForEveryFault(play, 6);
}

// The message names the file that failed, and the cause.
TEST_F(WriterTest, SaysWhichFileFailedAndThatTheDiskIsFull) {
    CEudoraAB book;
    Load(book, "alias a 1\n");
    machine.files.Put(kToc, "t");
    machine.files.LimitDisk(16);
    EXPECT_EQ(book.SaveRecords(), RRC_FAILED);
    EXPECT_EQ(DrainErrors(), (Texts{"cannot open " + kSide, "disk full"}));
    EXPECT_TRUE(machine.files.Get(kToc)) << "it still fits the file that stays";
    machine.files.LimitDisk({});
    machine.files.MakeFolders(kSide);
    EXPECT_EQ(book.SaveRecords(), RRC_FAILED);
    EXPECT_EQ(DrainErrors(), Texts{"cannot open " + kSide});
}

// Of a file with a bad place the records before it are there, but never written over the whole.
TEST_F(WriterTest, AFileIsReadUpToItsBadPlaceAndNeverWrittenBack) {
    std::string content;
    while (content.size() < 600000)
        content += "alias n" + std::to_string(content.size()) + " x\r\n";
    for (const std::size_t place : {0U, 511U, 512U, 5000U, 262143U, 262144U, 300000U, 599999U}) {
        SCOPED_TRACE(place);
        CEudoraAB book;
        book.UseUtil(&util);
        machine.files.Put(kBookPath, content);
        machine.files.SetBadFrom(kBookPath, place);
        for (int opening = 0; opening < 2; ++opening) {
            EXPECT_EQ(book.Open(kBookPath), RRC_OK);
            EXPECT_EQ(DrainErrors(), Texts{"read error"});
        }
        std::ptrdiff_t count = 0;
        for (auto r = book.FirstRecord(); r == RRC_OK; r = book.NextRecord()) ++count;
        const auto read = static_cast<std::ptrdiff_t>(place / 512 * 512);
        EXPECT_EQ(count, std::count(content.begin(), content.begin() + read, '\n'));
        EXPECT_EQ(book.SaveRecords(), RRC_FAILED);
        EXPECT_EQ(DrainErrors(), (Texts{std::string("cannot open ") + kBookPath, "read error"}));
        EXPECT_EQ(Saved(), content);
    }
}

// Any operation of an opening that fails: a result, or a part of the records and a message.
TEST_F(WriterTest, AnyFailureOfAnOpeningIsTold) {
    const auto play = [&](Fault fault, int n) {
        CEudoraAB book;
        book.UseUtil(&util);
        machine.files.Put(kBookPath, std::string(300000, '\n'));
        machine.faults.Arm(fault, n);
        const auto result = book.Open(kBookPath);
        const bool fired = machine.faults.Disarm();
        EXPECT_EQ(result != RRC_OK || !DrainErrors().empty(), fired);
        EXPECT_EQ(book.SaveRecords() != RRC_OK, fired);
        DrainErrors();
        return fired;
    };
    test::ForEveryFault(play, 4, {Fault::kFail});
}

// Where the system makes links: one planted beforehand is neither followed nor taken over.
TEST_F(WriterTest, ALinkInTheSideFilesPlaceLeadsNowhere) {
    const test::TempFolder folder;
    const auto path = folder / "nndbase.txt", outside = folder / "outside";
    test::WriteDisk(path, "alias a 1");
    test::WriteDisk(outside, "private");
    std::error_code ignored;
    std::filesystem::create_symlink(outside, path + ".kvnew", ignored);
    CEudoraTransUtil native(machine.Over(platform::NativeFiles()));
    CEudoraAB book;
    book.UseUtil(&native);
    ASSERT_EQ(book.Open(path.c_str()), RRC_OK);
    Edit(book, "a", ContactField::kEmail, "2");
    EXPECT_EQ(book.SaveRecords(), RRC_OK);
    EXPECT_EQ(test::ReadDisk(outside), "private");
    EXPECT_EQ(test::ReadDisk(path), "alias a 2");
    EXPECT_FALSE(std::filesystem::is_symlink(path));
}

}  // namespace
