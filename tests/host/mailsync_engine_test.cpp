#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/mailsync/mail_report.h"
#include "tests/host/mailsync_world.h"

namespace host::testing {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

// A sync that must leave nothing for a second one to do.
MailPlan SyncTwice(MailWorld& world) {
    MailOutcome outcome;
    const MailPlan plan = world.Sync(&outcome);
    EXPECT_FALSE(plan.stop) << *plan.stop;
    EXPECT_TRUE(outcome.errors.empty()) << outcome.errors[0];
    const int reads = world.eudora.reads, saves = world.memory.saves;
    EXPECT_TRUE(world.Sync().steps.empty());
    EXPECT_EQ(world.eudora.reads, reads) << "composed again";
    EXPECT_EQ(world.memory.saves, saves) << "written again";
    return plan;
}

TEST(MailSync, CarriesMailsStatesAndRemovals) {
    MailWorld world;
    world.Add("a");
    world.Add("b", true);
    world.Add("c", false, false);
    SyncTwice(world);
    EXPECT_EQ(world.Folder(), "a b:S c");
    world.SetRead("a", true);
    world.SetRead("b", false);
    world.Delete("c");
    world.Add("d");
    SyncTwice(world);
    EXPECT_EQ(world.Folder(), "a:S b: d");
    EXPECT_EQ(world.memory.rows.size(), 3u);
}

TEST(MailSync, KeepsOtherFlagsAndWhatThePersonDidInTheMaildir) {
    MailWorld world;
    for (const char* subject : {"a", "b", "c", "d", "e"}) world.Add(subject);
    SyncTwice(world);
    (void)world.maildir.SetFlags(world.File("a"), "FR");
    (void)world.maildir.SetFlags(world.File("b"), "S");
    (void)world.maildir.Remove(world.File("c"));
    (void)world.maildir.SetFlags(world.File("d"), "F");
    (void)world.maildir.SetFlags(world.File("e"), "RS");
    world.SetRead("a", true);
    world.Delete("d");
    world.Delete("e");
    const MailPlan plan = SyncTwice(world);
    EXPECT_EQ(world.Folder(), "a:FRS b:S d:F") << "read by the person, flagged: kept";
    EXPECT_EQ(plan.readInFolder, 1u);
    EXPECT_EQ(plan.dropped, 1u);
    EXPECT_EQ(plan.kept, 1u);
    // Both sides read it: nothing to write. The dropped one does not come back with its state.
    world.SetRead("b", true);
    world.SetRead("c", true);
    SyncTwice(world);
    EXPECT_EQ(world.Folder(), "a:FRS b:S d:F");
    world.SetRead("b", false);
    (void)world.maildir.SetFlags(world.File("d"), "");
    world.Delete("c");
    SyncTwice(world);
    EXPECT_EQ(world.Folder(), "a:FRS b:") << "no flag keeps the gone one any longer";
    EXPECT_EQ(world.memory.rows.size(), 2u);
}

TEST(MailSync, TellsReusedIdsRenumberedMailsAndTwinsApart) {
    MailWorld world;
    world.Add("a", true);
    world.Add("b", false, false);
    for (const char* subject : {"twin", "twin"}) world.Add(subject);
    world.eudora.mails.back().body = "the other twin\r\n";
    SyncTwice(world);
    EXPECT_EQ(world.Folder(), "a:S b twin twin");
    const std::string file = world.File("a").name;
    // The id of a goes to another mail, and a lives on under a new id.
    const std::string id = world.eudora.Get("a").id;
    world.Add("new").id = id;
    world.eudora.Get("a").id = "0x00001000";
    SyncTwice(world);
    EXPECT_EQ(world.Folder(), "a:S b new twin twin");
    EXPECT_EQ(world.File("a").name, file);
    const std::string before = world.Folder();
    world.Renumber();
    const MailPlan plan = SyncTwice(world);
    EXPECT_FALSE(plan.ChangesFolder());
    EXPECT_EQ(world.Folder(), before);
    world.eudora.mails.erase(
        std::ranges::find(world.eudora.mails, std::optional<std::string>("twin"), &Mail::subject));
    SyncTwice(world);
    EXPECT_EQ(world.Folder(), "a:S b new twin");
    EXPECT_THAT(world.Text(world.File("twin")), HasSubstr("the other twin"));
}

TEST(MailSync, PairsWhatIsThereAlready) {
    struct Case {
        Prefer prefer;
        const char* expected;
    };
    for (const auto& [prefer, expected] : {Case{Prefer::kEudora, "a:F b:S c foreign: odd:S"},
                                           {Prefer::kFolder, "a:FS b c foreign: odd:S"},
                                           {Prefer::kBoth, "a:FS b:S c foreign: odd:S"},
                                           {Prefer::kNewer, "a:FS b:S c foreign: odd:S"}}) {
        MailWorld world;
        world.options.prefer = prefer;
        world.Add("a");
        world.Add("b", true);
        world.Add("c", false, false);
        world.Add("odd", true).messageId = "no id for a header\r\n";
        SyncTwice(world);
        (void)world.maildir.SetFlags(world.File("a"), "FS");
        (void)world.maildir.Remove(world.File("b"));
        world.disk.Put("C:\\M\\new\\other.host", "Subject: b\nMessage-id: <b@x>\n\nb");
        world.disk.Put("C:\\M\\cur\\foreign!2,", "Subject: foreign\nMessage-ID: <f@x>\n\nb");
        world.memory.rows.clear();
        const MailPlan plan = SyncTwice(world);
        EXPECT_EQ(world.Folder(), expected);
        EXPECT_EQ(plan.foreign, 1u);
        EXPECT_EQ(world.memory.rows.size(), 4u);
    }
}

TEST(MailSync, WhatTheLimitsHideIsNoDeletion) {
    for (const int count : {3, 40}) {
        MailWorld world;
        for (int i = 0; i < count; ++i) world.Add("m" + std::to_string(i));
        world.Add("fresh");
        SyncTwice(world);
        for (const Mail& mail : world.eudora.mails) {
            if (mail.subject != "fresh") world.eudora.hidden.insert(mail.id);
        }
        world.Add("late");
        world.eudora.hidden.insert(world.eudora.mails.back().id);
        const std::string before = world.Folder();
        EXPECT_FALSE(SyncTwice(world).ChangesFolder());
        EXPECT_EQ(world.Folder(), before) << "old ones stay, a hidden new one is not added";
        // A hidden mail is read; another is deleted; all are renumbered at once.
        world.SetRead("m0", true);
        world.Delete("m1");
        world.Renumber();
        SyncTwice(world);
        EXPECT_EQ(world.File("m0").flags, "S");
        EXPECT_EQ(world.File("m1").name, "");
        EXPECT_EQ(world.maildir.List()->size(), static_cast<std::size_t>(count));
        world.eudora.searches = world.eudora.walks = 0;
        (void)world.MakePlan();
        EXPECT_LE(world.eudora.searches + 20 * world.eudora.walks, 20 * 2);
    }
}

TEST(MailSync, StopsBeforeALargeLoss) {
    struct Case {
        const char* what;
        int deleted, removed;
        std::optional<DeleteLimit> limit;
        const char* stop;  // empty: goes on
    };
    const Case cases[] = {
        {"few", 10, 0, {}, ""},
        {"a quarter", 12, 0, {}, "12 mails would be removed, more than the 10 allowed"},
        {"in the Maildir", 0, 12, {}, "12 mails are gone from the Maildir"},
        {"none allowed", 1, 0, DeleteLimit{0, false}, "--max-delete 1"},
        {"allowed", 12, 0, DeleteLimit{12, false}, ""},
        {"percentage", 21, 0, DeleteLimit{50, true}, "more than the 20 allowed"},
        {"empty in-box", 40, 0, {}, "Eudora's in-box is empty"},
        {"empty in-box, allowed", 40, 0, DeleteLimit{40, false}, ""},
        {"empty Maildir", 0, 40, {}, "the Maildir holds none of them"},
        {"empty Maildir, allowed", 0, 40, DeleteLimit{100, true}, ""},
    };
    for (const auto& [what, deleted, removed, limit, stop] : cases) {
        MailWorld world;
        for (int i = 0; i < 40; ++i) world.Add("m" + std::to_string(i));
        SyncTwice(world);
        for (int i = 0; i < deleted; ++i) world.Delete("m" + std::to_string(i));
        for (int i = 0; i < removed; ++i) {
            (void)world.maildir.Remove(world.File("m" + std::to_string(i)));
        }
        world.options.maxDelete = limit;
        const MailPlan plan = world.MakePlan();
        EXPECT_EQ(plan.stop.has_value(), *stop != '\0') << what;
        EXPECT_THAT(plan.stop.value_or(""), HasSubstr(stop)) << what;
    }
}

TEST(MailSync, ReportsByNameAndInCounts) {
    MailWorld world;
    world.Add("a");
    world.Add("b");
    world.disk.Put("C:\\M\\new\\other", "Subject: other\n\nb");
    const MailPlan first = SyncTwice(world);
    const std::string line = "mails older than 7 days are left out";
    EXPECT_EQ(DescribeMailPlan(first, line, false),
              (std::vector<std::string>{
                  "add to the Maildir: a", "add to the Maildir: b",
                  "mails: in the Maildir 2 added, 0 changed, 0 removed",
                  "1 file in the Maildir not from Eudora's in-box: left alone", line}));
    world.SetRead("a", true);
    world.Delete("b");
    const Report report = MailPlanReport(world.MakePlan(), "", {}, {}, false);
    EXPECT_EQ(report.code, ExitCode::kChangesMade);
    EXPECT_EQ(report.lines[0], "mark read in the Maildir: a");
    EXPECT_EQ(report.lines[1], "remove from the Maildir: b");
    EXPECT_THAT(report.json, HasSubstr(R"("action":"mark read")"));
    EXPECT_EQ(DescribeMailPlan(world.MakePlan(), "", true).size(), 2u);
    (void)world.Sync();
    EXPECT_EQ(MailPlanReport(world.MakePlan(), "", {}, {}, true).code, ExitCode::kNothingToDo);
}

}  // namespace
}  // namespace host::testing
