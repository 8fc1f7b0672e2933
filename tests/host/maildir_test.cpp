#include "host/maildir/maildir.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "platform/os/safe_write.h"
#include "platform/os/system.h"
#include "platform/testing/fixed_clock.h"
#include "platform/testing/memory_files.h"
#include "tests/support/fault_sweep.h"
#include "tests/platform/temp_folder.h"

namespace host {
namespace {

// What is in new and cur: names without the part that differs from run to run.
std::multiset<std::string> Names(maildir::Maildir& maildir) {
    std::multiset<std::string> names;
    const auto listed = maildir.List();
    for (const maildir::MaildirEntry& entry : *listed) {
        names.insert((entry.isNew ? "new/" : "cur/") + entry.flags);
    }
    return names;
}

host::base::Result<std::string> Deliver(maildir::Maildir& maildir, const char* text,
                                        const char* flags) {
    std::string unique = maildir.NewName();
    const auto size =
        maildir.Write(unique, [text](platform::File& file) { return file.Write(text); });
    if (!size) return size.Error();
    if (auto moved = maildir.Deliver(unique, flags); !moved) return moved.Error();
    return unique;
}

maildir::MaildirEntry Only(maildir::Maildir& maildir) {
    const auto listed = maildir.List();
    return listed->size() == 1 ? listed->front() : maildir::MaildirEntry{};
}

// Once on the machine's own disk, once on one whose names take no colon.
class MaildirContract : public ::testing::TestWithParam<bool> {
  protected:
    platform::Files& Files() { return GetParam() ? platform::NativeFiles() : m_memory; }
    std::string Folder() { return GetParam() ? m_temp / "deep/er/M" : "C:\\deep\\er\\M"; }
    maildir::Maildir Make() { return maildir::Maildir(Files(), m_clock, Folder()); }
    std::string Join(const std::string& a, const std::string& b) {
        return Folder() + Files().Separator() + a + Files().Separator() + b;
    }

    test::TempFolder m_temp;
    platform::testing::MemoryFiles m_memory;
    platform::testing::FixedClock m_clock;
};

TEST_P(MaildirContract, DeliversFlagsAndRemoves) {
    maildir::Maildir maildir = Make();
    EXPECT_TRUE(maildir.List()->empty()) << "a folder that does not exist holds nothing";
    ASSERT_TRUE(maildir.Create());
    ASSERT_TRUE(maildir.Create());
    const std::string unread = *Deliver(maildir, "unread", "");
    EXPECT_EQ(Names(maildir), std::multiset<std::string>{"new/"});
    maildir::MaildirEntry entry = Only(maildir);
    EXPECT_EQ(entry.unique, unread);
    EXPECT_EQ(*maildir.SizeOf(entry), 6u);
    ASSERT_TRUE(maildir.SetFlags(entry, "S"));
    EXPECT_EQ(maildir.SetFlags(entry, "S").Error().code, platform::ErrorCode::kNotFound);
    EXPECT_EQ(Names(maildir), std::multiset<std::string>{"cur/S"});
    EXPECT_EQ(*platform::ReadWhole(Files(), Join("cur", Only(maildir).name), 100), "unread");
    for (const char* flags : {"SRF", "", "", "S"}) {
        ASSERT_TRUE(maildir.SetFlags(Only(maildir), flags)) << flags;
        std::string sorted(flags);
        std::ranges::sort(sorted);
        EXPECT_EQ(Only(maildir).flags, sorted);
        EXPECT_FALSE(Only(maildir).isNew) << "it was seen once";
    }
    ASSERT_TRUE(Deliver(maildir, "read", "S"));
    ASSERT_TRUE(maildir.Settle(*maildir.List()));
    EXPECT_EQ(Names(maildir), (std::multiset<std::string>{"cur/S", "cur/S"}));
    const auto all = *maildir.List();
    for (const maildir::MaildirEntry& one : all) ASSERT_TRUE(maildir.Remove(one));
    EXPECT_TRUE(maildir.List()->empty());
    EXPECT_TRUE(Files().List(Folder() + Files().Separator() + "tmp", "*")->empty());
}

TEST_P(MaildirContract, PassesOverWhatIsNoMailAndSeesEachOnce) {
    maildir::Maildir maildir = Make();
    ASSERT_TRUE(maildir.Create());
    ASSERT_TRUE(Files().CreateFolder(Join("cur", "folder")));
    ASSERT_TRUE(platform::WriteWhole(Files(), Join("cur", ".hidden"), "x"));
    // As if another program moved it while the folders were read.
    ASSERT_TRUE(platform::WriteWhole(Files(), Join("new", "1.a"), "x"));
    ASSERT_TRUE(platform::WriteWhole(Files(), Join("cur", "1.a!2,S"), "x"));
    EXPECT_EQ(Names(maildir), std::multiset<std::string>{"cur/S"});
}

INSTANTIATE_TEST_SUITE_P(, MaildirContract, ::testing::Bool(),
                         [](const auto& kind) { return kind.param ? "Disk" : "Memory"; });

TEST(Maildir, NamesDifferBetweenProgramsThatShareClockAndCount) {
    platform::testing::MemoryFiles files;
    platform::testing::FixedClock clock;
    std::set<std::string> names;
    for (int program = 0; program < 20; ++program) {
        maildir::Maildir maildir(files, clock, "C:\\M");
        for (int i = 0; i < 20; ++i) names.insert(maildir.NewName());
    }
    EXPECT_EQ(names.size(), 400u);
    for (const std::string& name : names) {
        EXPECT_EQ(name.find_first_of("/\\:!,"), std::string::npos) << name;
    }
}

// The n-th operation of a delivery, a renaming and a removal fails, is torn or is the last.
TEST(Maildir, LeavesAMailWholeOrNotThereAfterAnyFault) {
    test::ForEveryFault([](test::Fault fault, int n) {
        platform::testing::MemoryFiles disk;
        platform::testing::FaultyFiles files(disk);
        platform::testing::FixedClock clock;
        maildir::Maildir maildir(files, clock, "C:\\M");
        EXPECT_TRUE(maildir.Create());
        files.Arm(fault, n);
        const auto delivered = Deliver(maildir, "a message", "");
        if (delivered) (void)maildir.SetFlags(maildir.EntryOf(*delivered, ""), "S");
        const bool fired = files.Disarm();
        const auto listed = *maildir.List();
        EXPECT_EQ(listed.size(), delivered ? 1u : 0u);
        for (const maildir::MaildirEntry& entry : listed) EXPECT_EQ(*maildir.SizeOf(entry), 9u);
        if (fault != test::Fault::kKill) {
            EXPECT_EQ(disk.AllFiles().size(), listed.size());
        }
        EXPECT_EQ(disk.OpenCount(), 0);
        return fired;
    });
}

TEST(Maildir, TakesEveryNameApart) {
    platform::testing::MemoryFiles files;
    platform::testing::FixedClock clock;
    maildir::Maildir maildir(files, clock, "C:\\M");
    const std::tuple<std::string, const char*, const char*> rows[] = {
        {"1.a.h", "1.a.h", ""},     {"1.a.h:2,SRFS", "1.a.h", "FRS"}, {"1.a.h:", "1.a.h", ""},
        {"1.a!b.h", "1.a!b.h", ""}, {"1.a.h!2,ST", "1.a.h", "ST"},    {":2,S", "", "S"},
        {"1.a.h:1,S", "1.a.h", ""}, {"1.a!2,b:2,F", "1.a!2,b", "F"}};
    for (const auto& [name, unique, flags] : rows) {
        files.Put("C:\\M\\cur\\" + name, "");
        const maildir::MaildirEntry entry = Only(maildir);
        EXPECT_EQ(entry.unique, unique) << name;
        EXPECT_EQ(entry.flags, flags) << name;
        EXPECT_TRUE(maildir.Remove(entry)) << name;
    }
    EXPECT_EQ(maildir::WithFlag("RF", 'S', true), "FRS");
    EXPECT_EQ(maildir::WithFlag("FRS", 'S', false), "FR");
}

TEST(MessageHeader, FindsTheMessageIdWhereverItStands) {
    const std::pair<const char*, const char*> rows[] = {
        {"Subject: x\r\nMESSAGE-id:<a@b>\r\n\r\nbody", "a@b"},
        {"To: c\nMessage-ID:\n\t< a@b >\nX: y\n\n", "a@b"},
        {"Message-ID : <a@b> (comment)\n\n", "a@b"},
        {"X: 1\n Message-ID: <not@this>\nMessage-ID: <a@b>\n\n", "a@b"},
        {"\nMessage-ID: <body@b>\n\n", ""},
        {"Message-ID: <cut", ""},
        {"no field\nMessage-ID: a@b\n", "a@b"}};
    for (const auto& [message, id] : rows) {
        EXPECT_EQ(maildir::MessageIdInHeader(message), id) << message;
    }
}

// The header ends at, before and behind the borders of the blocks that are read.
TEST(MessageHeader, IsReadWhateverBlocksItSpans) {
    platform::testing::MemoryFiles files;
    platform::testing::FixedClock clock;
    maildir::Maildir maildir(files, clock, "C:\\M");
    const auto idIn = [&](const std::string& message) {
        files.Put("C:\\M\\new\\m", message);
        return maildir::MessageIdInHeader(*maildir.ReadHeader(Only(maildir)));
    };
    for (const std::size_t length : {4070u, 4079u, 4096u, 60000u}) {
        const std::string header = "X: " + std::string(length, 'x') + "\nMessage-ID: <a@b>\n";
        for (const char* rest : {"", "\nbody", "\r\n\r\n"}) {
            EXPECT_EQ(idIn(header + rest), "a@b") << length << rest;
        }
    }
    const std::string tooLong(maildir::kLargestHeader + 9000, 'x');
    EXPECT_EQ(idIn("X: " + tooLong + "\nMessage-ID: <a@b>\n\n"), "");
}

}  // namespace
}  // namespace host
