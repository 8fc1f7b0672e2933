#include <gtest/gtest.h>

#include "tests/host/mailsync_world.h"

namespace host::testing {
namespace {

using platform::testing::Fault;

// A world with something of everything to do.
void Prepare(MailWorld& world) {
    for (const char* subject : {"read", "unread", "gone", "dropped", "stays", "flagged", "seen"}) {
        world.Add(subject, subject == std::string("unread"));
    }
    ASSERT_FALSE(world.Sync().stop);
    (void)world.maildir.Settle(*world.maildir.List());
    world.SetRead("read", true);
    world.SetRead("unread", false);
    world.Delete("gone");
    (void)world.maildir.Remove(world.File("dropped"));
    (void)world.maildir.SetFlags(world.File("flagged"), "F");
    world.Delete("flagged");
    world.Add("new");
    world.Add("nameless", true, false);
    (void)world.maildir.SetFlags(world.File("seen"), "S");
    world.Deliver("arrived");
    world.Deliver("arrived without id", "S", false);
    world.Deliver("out", "", true, ".Outbox\\");
    world.Deliver("out too", "", false, ".Outbox\\");
}

void ExpectDone(MailWorld& world, const std::string& what) {
    EXPECT_EQ(world.Folder(),
              "arrived arrived without id:S flagged:F nameless:S new read:S seen:S stays unread:")
        << what;
    EXPECT_EQ(world.InBox(),
              "arrived arrived without id:S nameless:S new read:S seen:S stays unread")
        << what;
    EXPECT_EQ(world.eudora.trash.size(), 1u) << what;
    std::ranges::sort(world.eudora.queued);
    EXPECT_EQ(world.eudora.queued, (std::vector<std::string>{"out", "out too"})) << what;
    EXPECT_EQ(world.folders.sent.List()->size(), 2u) << what;
    EXPECT_EQ(world.memory.rows.size(), 9u) << what;
    for (const MaildirEntry& entry : world.Files()) {
        const std::string text = world.Text(entry);
        EXPECT_NE(text.find("the text of " + world.SubjectOf(entry)), std::string::npos) << what;
    }
    // Nothing but these mails lies in the Maildir.
    EXPECT_EQ(world.disk.AllFiles().size(), 11u) << what;
    const int reads = world.eudora.reads, saves = world.memory.saves;
    EXPECT_TRUE(world.Sync().steps.empty()) << what;
    EXPECT_EQ(world.eudora.reads, reads) << what;
    EXPECT_EQ(world.memory.saves, saves) << what;
}

// The n-th operation on files or memory is torn, or the last one before a kill or a loss of power.
TEST(MailSyncFaults, LosesAndDoublesNothing) {
    for (const Fault fault : {Fault::kFail, Fault::kTornWrite, Fault::kKill}) {
        for (const bool losesPower : {false, true}) {
            for (int n = 1;; ++n) {
                MailWorld world;
                Prepare(world);
                world.files.Arm(fault, n);
                MailOutcome outcome;
                const MailPlan plan = world.Sync(&outcome);
                const bool fired = world.files.Fired();
                world.files.Disarm();
                const std::string what = "fault " + std::to_string(static_cast<int>(fault)) +
                                         " at " + std::to_string(n) +
                                         (losesPower ? ", power lost" : "");
                if (losesPower) world.disk.Crash();
                (void)world.Sync(&outcome);
                // What a failure left for later comes with the next run at the latest.
                (void)world.Sync();
                ExpectDone(world, what);
                if (::testing::Test::HasFailure()) return;
                if (!fired) break;
            }
        }
    }
}

TEST(MailSyncFaults, AFailureIsReportedAndTheRestIsDone) {
    MailWorld world;
    Prepare(world);
    world.disk.SetReadOnly("C:\\M\\cur\\" + world.File("unread").name);
    MailOutcome outcome;
    (void)world.Sync(&outcome);
    world.disk.LimitDisk(world.disk.AllFiles().size());
    world.Add("too large for the disk");
    (void)world.Sync(&outcome);
    ASSERT_FALSE(outcome.errors.empty());
    world.disk.LimitDisk(std::nullopt);
    (void)world.Sync(&outcome);
    EXPECT_TRUE(outcome.errors.empty());
    EXPECT_EQ(world.File("too large for the disk").flags, "");
    EXPECT_TRUE(world.Sync().steps.empty());
}

}  // namespace
}  // namespace host::testing
