#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/backup/restore.h"
#include "platform/testing/fixed_clock.h"
#include "platform/testing/memory_files.h"
#include "tests/support/fault_sweep.h"
#include "tests/support/table.h"

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
    std::string MakeId() {
        const auto made = Make();
        EXPECT_TRUE(made) << made.Error().Message();
        return made ? made->id : "none";
    }
    base::Result<backup::Restored> Restore(const std::string& id, const backup::Ready& ready = {}) {
        return backup::Restore(files, clock, backups, id, {}, ready);
    }
};

TEST(Backups, TheSecondOfOneMomentGetsANumberAndAnUnknownOneIsRefused) {
    Machine machine;
    const std::string id = machine.MakeId();
    EXPECT_EQ(id, "19700101-000000");
    EXPECT_EQ(machine.Restore(id)->before, id + "-2");
    for (int number = 3; number <= 10; ++number) {
        EXPECT_EQ(machine.MakeId(), id + '-' + std::to_string(number));
    }
    const auto listed = *machine.backups.List();
    EXPECT_EQ(listed.back().id, id + "-10") << "the newest is the last";
    for (const char* unknown : {"none", "", "..", "..\\backups\\19700101-000000"})
        EXPECT_EQ(machine.Restore(unknown).Error().exit, base::ExitCode::kRefused);
}

// The in-box and the Trash of a run that moves a mail from the one to the other, an out-box that
// grew, files of one name in two folders, and two of the other side: a fault never lists half a
// backup or leaves half a file, and another restore completes the first.
TEST(Backups, ASetComesBackWholeAndInItsOrder) {
    using enum backup::Kind;
    const struct {
        backup::Origin origin;
        std::string before, after;
    } kSet[] = {{{"C:\\e\\In.toc"}, "old toc", "new toc"},
                {{"C:\\e\\In.mbx"}, "old mbx", "new mbx"},
                {{"C:\\e\\Trash.toc"}, "", "trash toc"},
                {{"C:\\e\\Trash.mbx"}, "", "trash mbx"},
                {{"C:\\e\\Out.mbx", kGrowing}, "old out", "old out, and more"},
                {{"C:\\e\\nndbase.txt"}, "book", "new book"},
                {{"C:\\e\\N\\nndbase.txt"}, "other book", "new other"},
                {{"C:\\c\\backup.json", kCard}, "card", "new card"},
                {{"C:\\m\\cur\\1.x!2,S", kMail}, "mail", ""}};
    std::vector<backup::Origin> origins;
    for (const auto& file : kSet) origins.push_back(file.origin);
    test::ForEveryFault([&](test::Fault fault, int n) {
        Machine machine;
        const auto contentOf = [&](auto& file) {
            return machine.disk.Get(file.origin.path).value_or("");
        };
        for (const auto& file : kSet) {
            if (!file.before.empty()) machine.disk.Put(file.origin.path, file.before);
        }
        machine.files.Arm(fault, n);
        auto made = machine.backups.Make(origins, "test", {"C:\\e", "", "C:\\m"});
        machine.disk.Crash();
        if (!made && fault != test::Fault::kKill) {
            const auto left = machine.disk.List("C:\\state\\backups", "1*");
            EXPECT_TRUE(!left || left->empty()) << left->front().name;
        }
        for (const auto& file : kSet) {
            file.after.empty() ? void(machine.disk.Delete(file.origin.path))
                               : machine.disk.Put(file.origin.path, file.after);
        }
        if (made) (void)machine.Restore(made->id);
        const bool fired = machine.files.Disarm();
        for (const auto& file : kSet) {
            const std::string now = contentOf(file);
            EXPECT_TRUE(now == file.before || now == file.after) << file.origin.path << now;
        }
        // A mail that was moved is in both boxes rather than in none.
        if (contentOf(kSet[2]).empty()) {
            EXPECT_EQ(contentOf(kSet[0]) + contentOf(kSet[1]), kSet[0].before + kSet[1].before);
        }
        if (made && !made->passedOver.empty()) return fired;  // which was told
        const auto listed = *machine.backups.List();
        EXPECT_TRUE(listed.size() <= 2 && (!made || !listed.empty()));
        for (const backup::Backup& backup : listed) {
            const bool isFirst = backup.id == listed[0].id;
            EXPECT_TRUE(machine.Restore(backup.id));
            // What came back stays.
            for (const auto& file : kSet) {
                const bool isBefore = isFirst || file.after.empty();
                EXPECT_EQ(contentOf(file), isBefore ? file.before : file.after);
            }
        }
        // What a killed backup left goes with the next one.
        EXPECT_TRUE(machine.Make());
        for (const std::string& path : machine.disk.AllFiles()) {
            EXPECT_FALSE(path.ends_with(".kvnew") || path.ends_with(".tmp")) << path;
        }
        EXPECT_EQ(machine.disk.OpenCount(), 0);
        return fired;
    });
}

// A file may have been renamed meanwhile: a mail is known by the part of its name that stays, a
// vCard by its UID.
TEST(Backups, OfTheOtherSideOnlyWhatIsMissingOrChangedComesBack) {
    const auto bytes = [](const std::string& uid, const std::string& name) {
        return "BEGIN:VCARD\nVERSION:4.0\nUID:" + uid + "\nFN:" + name + "\nEND:VCARD\n";
    };
    for (const auto& [path, present, content, isPlaced] :
         test::Table<std::string, std::string, std::string, bool>("what comes back")) {
        const bool isCard = path.ends_with(".vcf");
        SCOPED_TRACE(path + " as " + present + ' ' + content);
        Machine machine;
        for (const char* folder : {"new", "cur"})
            machine.disk.MakeFolders(std::string("C:\\m\\") + folder);
        machine.disk.Put(path, bytes("1", "kept"));
        const auto kind = isCard ? backup::Kind::kCard : backup::Kind::kMail;
        const auto made = machine.backups.Make({{path, kind}}, "test", {"C:\\e", "", "C:\\m"});
        ASSERT_TRUE(made && machine.disk.Delete(path));
        if (!present.empty()) machine.disk.Put(present, bytes("1", content));
        const std::string later = isCard ? "C:\\m\\b.vcf" : "C:\\m\\cur\\2.x!2,T";
        machine.disk.Put(later, bytes("2", content));
        const auto restored = machine.Restore(made->id);
        ASSERT_TRUE(restored) << restored.Error().Message();
        EXPECT_EQ(restored->placed.size(), isPlaced);
        EXPECT_EQ(machine.disk.Get(present.empty() ? path : present), bytes("1", "kept"));
        EXPECT_EQ(machine.disk.Get(later), bytes("2", content)) << "what came later stays";
        const auto files = machine.disk.AllFiles();
        EXPECT_EQ(std::ranges::count_if(
                      files, [](const auto& file) { return file.starts_with("C:\\m\\"); }),
                  2);
    }
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
        const auto ready = [](const backup::Backup&, const backup::Restored&) {
            return base::Failed("called ready");
        };
        return machine.Restore(made->id, ready).Error().Message();
    };
    EXPECT_EQ(restore(), std::string(kToc) + ": is read-only; make it writable");
    machine.disk.SetReadOnly(kToc, false);
    auto user = machine.disk.Open(kToc, platform::OpenMode::kRead, platform::Share::kRead);
    EXPECT_THAT(restore(), ::testing::HasSubstr("is in use by another program"));
    user->reset();
    EXPECT_EQ(restore(), "called ready");
    EXPECT_EQ(*machine.disk.Get(kBook), "alias new b");
    EXPECT_TRUE(machine.Restore(made->id));
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
    const auto leftAfter = [&](int days, int made, std::uint64_t space = 1 << 20) {
        machine.clock.now += std::chrono::days(days);
        const auto began = machine.clock.now;
        for (int i = 0; i < made; ++i) (void)machine.Make();
        EXPECT_TRUE(machine.backups.Prune(space, began));
        return machine.disk.List("C:\\state\\backups", "1*")->size();
    };
    machine.disk.SetReadOnly(kToc);
    EXPECT_EQ(leftAfter(0, 14), 14u) << "none is old";
    EXPECT_EQ(leftAfter(31, 3), 10u);
    EXPECT_EQ(leftAfter(0, 9), 12u) << "only young ones";
    EXPECT_EQ(machine.backups.List()->front().id.substr(0, 8), "19700201");
    // Each has 14 bytes.
    EXPECT_EQ(leftAfter(1, 2, 70), 5u) << "too much";
    EXPECT_EQ(leftAfter(1, 3, 0), 3u) << "those of this run stay";
    EXPECT_EQ(leftAfter(1, 0, 0), 1u) << "and the newest one";
    machine.disk.Put("C:\\other\\In.toc", "1");
    EXPECT_TRUE(machine.backups.Make({{"C:\\other\\In.toc"}}, "of another Eudora"));
    EXPECT_EQ(leftAfter(1, 0, 0), 2u) << "and that of each Eudora";
    EXPECT_EQ(machine.backups.List("C:\\other")->size(), 1u);
}

}  // namespace
}  // namespace host
