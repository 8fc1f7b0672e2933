#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/backup/backups.h"
#include "platform/testing/fixed_clock.h"
#include "platform/testing/memory_files.h"
#include "tests/support/fault_sweep.h"

namespace host {
namespace {

constexpr const char* kBook = "C:\\eudora\\nndbase.txt";
constexpr const char* kToc = "C:\\eudora\\NNDBASE.TOC";

struct Machine {
    platform::testing::MemoryFiles disk;
    platform::testing::FaultyFiles files{disk};
    platform::testing::FixedClock clock;
    backup::Backups backups{files, "C:\\state\\backups", clock};

    Machine() {
        disk.Put(kBook, "alias old a");
        disk.Put(kToc, "toc");
    }
    base::Result<backup::Backup> Make() {
        const auto paths = backup::FilesOfBook(files, kBook);
        if (!paths) return paths.Error();
        return backups.Make(*paths, "test");
    }
};

TEST(Backups, TheSecondOfOneMomentGetsANumberAndAnUnknownOneIsRefused) {
    Machine machine;
    const std::string id = machine.Make()->id;
    EXPECT_EQ(id, "19700101-000000");
    EXPECT_EQ(machine.backups.Restore(id)->id, id + "-2");
    for (const char* unknown : {"none", "", "..", "..\\backups\\19700101-000000"})
        EXPECT_EQ(machine.backups.Restore(unknown).Error().exit, base::ExitCode::kRefused);
}

// The in-box and the Trash of a run that moves a mail from the one to the other, and files of one
// name in two folders: a fault never lists half a backup or leaves half a file, and another restore
// completes the first.
TEST(Backups, ASetComesBackWholeAndInItsOrder) {
    const std::vector<std::string> set = {"C:\\e\\In.toc",      "C:\\e\\In.mbx",
                                          "C:\\e\\Trash.toc",   "C:\\e\\Trash.mbx",
                                          "C:\\e\\nndbase.txt", "C:\\e\\N\\nndbase.txt"};
    const std::vector<std::string> before = {"old toc", "old mbx", "", "", "book", "other book"};
    test::ForEveryFault([&](test::Fault fault, int n) {
        Machine machine;
        const auto contentOf = [&](auto i) { return machine.disk.Get(set[i]).value_or(""); };
        for (std::size_t i = 0; i < set.size(); ++i) {
            if (!before[i].empty()) machine.disk.Put(set[i], before[i]);
        }
        machine.files.Arm(fault, n);
        auto made = machine.backups.Make(set, "test");
        if (!made && fault != test::Fault::kKill) {
            const auto left = machine.disk.List("C:\\state\\backups", "1*");
            EXPECT_TRUE(!left || left->empty()) << left->front().name;
        }
        for (const std::string& path : set) machine.disk.Put(path, "new " + path);
        if (made) (void)machine.backups.Restore(made->id);
        const bool fired = machine.files.Disarm();
        for (std::size_t i = 0; i < set.size(); ++i) {
            const std::string now = contentOf(i);
            EXPECT_TRUE(now == before[i] || now == "new " + set[i]) << set[i] << now;
        }
        // A mail that was moved is in both boxes rather than in none.
        if (contentOf(2).empty()) {
            EXPECT_EQ(contentOf(0) + contentOf(1), before[0] + before[1]);
        }
        if (made && !made->passedOver.empty()) return fired;  // which was told
        const auto listed = *machine.backups.List();
        EXPECT_TRUE(listed.size() <= 2 && (!made || !listed.empty()));
        for (const backup::Backup& backup : listed) {
            const bool isFirst = backup.id == listed[0].id;
            EXPECT_TRUE(machine.backups.Restore(backup.id));
            for (std::size_t i = 0; i < set.size(); ++i)
                EXPECT_EQ(contentOf(i), isFirst ? before[i] : "new " + set[i]);
        }
        EXPECT_FALSE(machine.disk.Get("C:\\e\\In.toc.kvnew"));
        EXPECT_EQ(machine.disk.OpenCount(), 0);
        EXPECT_TRUE(machine.Make());
        return fired;
    });
}

// As from a CD: read-only files are copied, and nothing is put back or forgotten while one stays so
// or is in use. What a restore that ended early staged is in no later one's way.
TEST(Backups, ReadOnlyFilesAreCopiedAndRefuseARestore) {
    Machine machine;
    machine.disk.SetReadOnly(kToc);
    const auto made = machine.Make();
    ASSERT_TRUE(made);
    machine.disk.Put(kBook, "alias new b");
    const auto restore = [&] {
        const auto ready = [](const backup::Backup&) { return base::Failed("called ready"); };
        return machine.backups.Restore(made->id, ready).Error().Message();
    };
    EXPECT_EQ(restore(), std::string(kToc) + ": is read-only; make it writable");
    machine.disk.SetReadOnly(kToc, false);
    auto user = machine.disk.Open(kToc, platform::OpenMode::kRead, platform::Share::kRead);
    EXPECT_THAT(restore(), ::testing::HasSubstr("is in use by another program"));
    user->reset();
    EXPECT_EQ(restore(), "called ready");
    EXPECT_EQ(*machine.disk.Get(kBook), "alias new b");
    EXPECT_TRUE(machine.backups.Restore(made->id));
    EXPECT_EQ(*machine.disk.Get(kBook), "alias old a");
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
    const auto leftAfter = [&](int days, int made) {
        machine.clock.now += std::chrono::days(days);
        for (int i = 0; i < made; ++i) (void)machine.Make();
        EXPECT_TRUE(machine.backups.Prune());
        return machine.disk.List("C:\\state\\backups", "1*")->size();
    };
    machine.disk.SetReadOnly(kToc);
    EXPECT_EQ(leftAfter(0, 14), 14u) << "none is old";
    EXPECT_EQ(leftAfter(31, 3), 10u);
    EXPECT_EQ(leftAfter(0, 9), 12u) << "only young ones";
    EXPECT_EQ(machine.backups.List()->front().id.substr(0, 8), "19700201");
}

}  // namespace
}  // namespace host
