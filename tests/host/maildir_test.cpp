#include "host/maildir/maildir.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <set>

#include "platform/os/safe_write.h"
#include "platform/os/system.h"
#include "platform/testing/fixed_clock.h"
#include "platform/testing/memory_files.h"
#include "tests/host/one_of.h"
#include "tests/platform/temp_folder.h"
#include "tests/support/fault_sweep.h"

namespace host {
namespace {

struct MaildirTest : ::testing::Test {
    test::TempFolder temp;
    platform::testing::MemoryFiles memory;
    platform::testing::FixedClock clock;
    maildir::Maildir inMemory{memory, clock, "C:\\M"};
};

// Two programs at the same moment, on the machine's own disk and on one whose names take no colon.
TEST_F(MaildirTest, HoldsWhatTwoProgramsLeaveInIt) {
    for (const bool isOnDisk : {false, true}) {
        platform::Files& files = isOnDisk ? platform::NativeFiles() : memory;
        const std::string folder = isOnDisk ? temp / "deep/er/M" : "C:\\deep\\er\\M";
        const auto path = [&](const std::string& where, const std::string& name) {
            return folder + files.Separator() + where + files.Separator() + name;
        };
        maildir::Maildir one(files, clock, folder), two(files, clock, folder);
        EXPECT_TRUE(one.List()->empty()) << "a folder that does not exist holds nothing";
        ASSERT_TRUE(one.Create() && two.Create());
        std::mt19937 random(1);
        std::map<std::string, std::string> expected;  // folder, flags and text by unique name
        for (int step = 0; step < 400; ++step) {
            maildir::Maildir& program = random() % 2 != 0 ? one : two;
            const std::string given = testing::OneOf(random, "|S|SRF|FSF|T");
            const std::set<char> letters(given.begin(), given.end());
            const std::string flags(letters.begin(), letters.end());
            const auto entries = *program.List();
            if (const auto act = random() % 4; act == 0 || entries.empty()) {
                const std::string unique = program.NewName(), text(random() % 99, 'x');
                EXPECT_EQ(unique.find_first_of("/\\:!,"), std::string::npos) << unique;
                EXPECT_FALSE(expected.contains(unique));
                const auto write = [&](platform::File& file) { return file.Write(text); };
                ASSERT_EQ(*program.Write(unique, write), text.size());
                ASSERT_TRUE(program.Deliver(unique, given));
                expected[unique] = (flags.empty() ? "new/" : "cur/") + flags + '/' + text;
            } else {
                const maildir::MaildirEntry& entry = entries[random() % entries.size()];
                std::string& mail = expected.at(entry.unique);
                if (act == 1) {
                    ASSERT_TRUE(program.Remove(entry));
                    EXPECT_EQ(program.SetFlags(entry, "D").Error().code,
                              platform::ErrorCode::kNotFound);
                    expected.erase(entry.unique);
                } else {
                    ASSERT_TRUE(program.SetFlags(entry, given));
                    const bool staysNew = entry.isNew && given.empty();
                    mail = (staysNew ? "new/" : "cur/") + flags + mail.substr(mail.rfind('/'));
                }
            }
            std::map<std::string, std::string> held;
            const auto listed = *program.List();
            for (const maildir::MaildirEntry& entry : listed) {
                const std::string text = *program.Read(entry, 100);
                EXPECT_EQ(*program.SizeOf(entry), text.size());
                held[entry.unique] = (entry.isNew ? "new/" : "cur/") + entry.flags + '/' + text;
            }
            ASSERT_EQ(held, expected);
        }
        ASSERT_TRUE(one.Settle(*one.List()));
        EXPECT_TRUE(files.List(folder + files.Separator() + "tmp", "*")->empty());
        // What is no mail, and one that moves while the folders are read.
        ASSERT_TRUE(files.CreateFolder(path("cur", "folder")));
        for (const std::string name : {".hidden", "1.a!2,S"}) {
            ASSERT_TRUE(platform::WriteWhole(files, path("cur", name), ""));
        }
        ASSERT_TRUE(platform::WriteWhole(files, path("new", "1.a"), ""));
        const auto all = *one.List();
        EXPECT_EQ(std::ranges::count(all, true, &maildir::MaildirEntry::isFolder), 1);
        EXPECT_EQ(all.size(), expected.size() + 2);
        EXPECT_EQ(std::ranges::find(all, "1.a", &maildir::MaildirEntry::unique)->flags, "S");
    }
}

// The n-th operation of a delivery and a renaming fails, is torn or is the last.
TEST_F(MaildirTest, HoldsAMailWholeOrNotAtAllAfterAnyFault) {
    test::ForEveryFault([this](test::Fault fault, int n) {
        platform::testing::MemoryFiles disk;
        platform::testing::FaultyFiles files(disk);
        maildir::Maildir maildir(files, clock, "C:\\M");
        EXPECT_TRUE(maildir.Create());
        files.Arm(fault, n);
        const auto write = [](platform::File& file) { return file.Write("a message"); };
        const bool isThere = maildir.Write("m", write) && maildir.Deliver("m", "");
        EXPECT_NE(isThere, files.Fired())
            << "what fails is told, as late as when the file is closed";
        if (isThere) (void)maildir.SetFlags(maildir.EntryOf("m", ""), "S");
        const bool fired = files.Disarm();
        const auto listed = *maildir.List();
        EXPECT_EQ(listed.size(), isThere ? 1u : 0u);
        for (const auto& entry : listed) EXPECT_EQ(*maildir.Read(entry, 100), "a message");
        EXPECT_TRUE(fault == test::Fault::kKill || disk.AllFiles().size() == listed.size());
        EXPECT_EQ(disk.OpenCount(), 0);
        return fired;
    });
}

TEST_F(MaildirTest, TakesEveryNameApart) {
    const std::tuple<std::string, const char*, const char*> rows[] = {
        {"1.a.h", "1.a.h", ""},     {"1.a.h:2,SRFS", "1.a.h", "FRS"},  {"1.a.h:", "1.a.h", ""},
        {"1.a!b.h", "1.a!b.h", ""}, {"1.a!2,b!2,ST", "1.a!2,b", "ST"}, {":2,S", "", "S"},
        {"1.a.h:1,S", "1.a.h", ""}, {"1.a!2,b:2,F", "1.a!2,b", "F"}};
    for (const auto& [name, unique, flags] : rows) {
        memory.Put("C:\\M\\cur\\" + name, "");
        const maildir::MaildirEntry entry = inMemory.List()->at(0);
        EXPECT_EQ(entry.unique + '|' + entry.flags, std::string(unique) + '|' + flags) << name;
        EXPECT_TRUE(inMemory.Remove(entry)) << name;
    }
    EXPECT_EQ(maildir::WithFlag("RF", 'S', true), "FRS");
    EXPECT_EQ(maildir::WithFlag("FRS", 'S', false), "FR");
}

TEST_F(MaildirTest, FindsTheMessageIdWhereverItStands) {
    std::vector<std::pair<std::string, const char*>> rows = {
        {"Subject: x\r\nMESSAGE-id:<a@b>\r\n\r\nbody", "a@b"},
        {"To: c\nMessage-ID:\n\t< a@b >\nX: y\n\n", "a@b"},
        {"Message-ID : <a@b> (comment)\n\n", "a@b"},
        {"X: 1\n Message-ID: <not@this>\nMessage-ID: <a@b>\n\n", "a@b"},
        {"\nMessage-ID: <body@b>\n\n", ""},
        {"Message-ID: <cut", ""},
        {"no field\nMessage-ID: a@b\n", "a@b"},
        {std::string(maildir::kLargestHeader + 9000, 'x') + "\nMessage-ID: <a@b>\n\n", ""}};
    // The header ends at, before and behind the borders of the blocks that are read.
    for (const std::size_t length : {4070u, 4079u, 4096u, 60000u}) {
        for (const char* rest : {"", "\nbody", "\r\n\r\n"}) {
            rows.emplace_back(std::string(length, 'x') + ":\nMessage-ID: <a@b>\n" + rest, "a@b");
        }
    }
    for (const auto& [message, id] : rows) {
        memory.Put("C:\\M\\new\\m", message);
        const std::string header = *inMemory.ReadHeader(inMemory.List()->at(0));
        EXPECT_EQ(maildir::MessageIdInHeader(header), id) << message.substr(0, 99);
    }
}

}  // namespace
}  // namespace host
