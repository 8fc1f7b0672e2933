#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/backup/backups.h"
#include "platform/testing/fixed_clock.h"
#include "platform/testing/memory_files.h"
#include "tests/support/fault_sweep.h"

namespace host {
namespace {

// The in-box and the Trash of a run that moves a mail from the one to the other, and files of one
// name in two folders; some do not exist.
const std::vector<std::string> kSet = {"C:\\e\\In.toc",      "C:\\e\\In.mbx",
                                       "C:\\e\\Trash.toc",   "C:\\e\\Trash.mbx",
                                       "C:\\e\\nndbase.txt", "C:\\e\\N\\nndbase.txt"};
const std::vector<std::string> kBefore = {"old toc", "old mbx", "", "", "book", "other book"};

struct Machine {
    platform::testing::MemoryFiles disk;
    platform::testing::FaultyFiles files{disk};
    platform::testing::FixedClock clock;
    backup::Backups backups{files, "C:\\state\\backups", clock};

    Machine() {
        for (std::size_t i = 0; i < kSet.size(); ++i) {
            if (!kBefore[i].empty()) disk.Put(kSet[i], kBefore[i]);
        }
    }
    base::Result<backup::Backup> Make() { return backups.Make(kSet, "test"); }
    std::string Content(std::size_t i) { return disk.Get(kSet[i]).value_or(""); }
};

// A fault never lists half a backup or leaves half a file, and another restore completes the first.
TEST(Backups, ASetComesBackWholeAndInItsOrder) {
    test::ForEveryFault([&](test::Fault fault, int n) {
        Machine machine;
        machine.files.Arm(fault, n);
        auto made = machine.Make();
        if (!made && fault != test::Fault::kKill) {
            const auto left = machine.disk.List("C:\\state\\backups", "1*");
            EXPECT_TRUE(!left || left->empty()) << left->front().name;
        }
        for (const std::string& path : kSet) machine.disk.Put(path, "new " + path);
        if (made) (void)machine.backups.Restore(made->id);
        const bool fired = machine.files.Disarm();
        for (std::size_t i = 0; i < kSet.size(); ++i) {
            const std::string now = machine.Content(i);
            EXPECT_TRUE(now == kBefore[i] || now == "new " + kSet[i]) << kSet[i] << now;
        }
        // A mail that was moved is in both boxes rather than in none.
        if (machine.Content(2).empty()) {
            EXPECT_EQ(machine.Content(0) + machine.Content(1), kBefore[0] + kBefore[1]);
        }
        if (made && !made->passedOver.empty()) return fired;  // which was told
        const auto listed = *machine.backups.List();
        EXPECT_TRUE(listed.size() <= 2 && (!made || !listed.empty()));
        for (const backup::Backup& backup : listed) {
            const bool isFirst = backup.id == listed[0].id;
            EXPECT_TRUE(machine.backups.Restore(backup.id));
            for (std::size_t i = 0; i < kSet.size(); ++i)
                EXPECT_EQ(machine.Content(i), isFirst ? kBefore[i] : "new " + kSet[i]);
        }
        EXPECT_FALSE(machine.disk.Get("C:\\e\\In.toc.kvnew"));
        EXPECT_EQ(machine.disk.OpenCount(), 0);
        EXPECT_TRUE(machine.Make());
        return fired;
    });
}

// Nothing is put back or forgotten while a file is read-only or in use, or a backup unknown. What a
// restore that ended early staged is in no later one's way.
TEST(Backups, ARestoreIsRefusedBeforeItChangesAnything) {
    Machine machine;
    const std::string id = machine.Make()->id;
    machine.disk.Put(kSet[4], "new book");
    const auto restore = [&](const std::string& which) {
        const auto ready = [](const backup::Backup&) { return base::Failed("called ready"); };
        return machine.backups.Restore(which, ready).Error().Message();
    };
    for (const char* unknown : {"none", "", "..", "..\\backups\\19700101-000000"})
        EXPECT_THAT(restore(unknown), ::testing::HasSubstr("there is no backup"));
    machine.disk.SetReadOnly(kSet[0]);
    EXPECT_EQ(restore(id), kSet[0] + ": is read-only; make it writable");
    machine.disk.SetReadOnly(kSet[0], false);
    auto user = machine.disk.Open(kSet[0], platform::OpenMode::kRead, platform::Share::kRead);
    EXPECT_THAT(restore(id), ::testing::HasSubstr("is in use by another program"));
    user->reset();
    EXPECT_EQ(restore(id), "called ready");
    EXPECT_EQ(machine.Content(4), "new book");
    EXPECT_EQ(machine.backups.Restore(id)->id, id + "-3");
    EXPECT_EQ(machine.Content(4), kBefore[4]);
}

// What a killed run left goes with the next backup, and one without room for it is not begun.
TEST(Backups, LeftoversGoAndAFullDiskIsSeenFirst) {
    Machine machine;
    const std::string folder = "C:\\state\\backups\\";
    machine.disk.Put(folder + "19691231-235959-2\\In.mbx", "half");
    machine.disk.Put(folder + "notes\\mine", "mine");
    ASSERT_TRUE(machine.Make());
    EXPECT_FALSE(machine.disk.Stat(folder + "19691231-235959-2"));
    EXPECT_EQ(*machine.disk.Get(folder + "notes\\mine"), "mine");
    constexpr std::uint64_t kLarge = 1 << 20;
    machine.disk.LimitDisk(kLarge);
    const auto before = machine.disk.AllFiles();
    machine.disk.LimitDisk(kLarge - *machine.disk.FreeSpace("C:") + 13);
    const auto refused = machine.Make();
    ASSERT_FALSE(refused);
    EXPECT_THAT(refused.Error().Message(), ::testing::HasSubstr("make room there"));
    EXPECT_EQ(machine.disk.AllFiles(), before);
}

TEST(Backups, OldOnesGoButTheNewestTenStay) {
    Machine machine;
    machine.disk.Put("C:\\e\\NNDBASE.TOC", "");
    EXPECT_THAT(*backup::FilesOfBook(machine.files, kSet[4]),
                ::testing::ElementsAre(kSet[4], "C:\\e\\NNDBASE.TOC"));
    const auto leftAfter = [&](int days, int made) {
        machine.clock.now += std::chrono::days(days);
        for (int i = 0; i < made; ++i) (void)machine.Make();
        EXPECT_TRUE(machine.backups.Prune());
        return machine.disk.List("C:\\state\\backups", "1*")->size();
    };
    machine.disk.SetReadOnly(kSet[0]);
    EXPECT_EQ(leftAfter(0, 14), 14u) << "none is old";
    EXPECT_EQ(leftAfter(31, 3), 10u);
    EXPECT_EQ(leftAfter(0, 9), 12u) << "only young ones";
    EXPECT_EQ(machine.backups.List()->front().id.substr(0, 8), "19700201");
}

}  // namespace
}  // namespace host
