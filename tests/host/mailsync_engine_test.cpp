#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/cli/sync_output.h"
#include "host/mailsync/mail_content.h"
#include "tests/host/mailsync_world.h"
#include "tests/support/failing_allocation.h"

namespace host::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

// A sync that must leave nothing for a second one to do.
mailsync::MailPlan SyncTwice(MailWorld& world) {
    sync::Report report;
    const mailsync::MailPlan plan = world.Sync(&report);
    EXPECT_FALSE(plan.stop) << *plan.stop;
    EXPECT_TRUE(report.errors.empty()) << report.errors[0];
    const int reads = world.eudora.reads, saves = world.memory.saves;
    EXPECT_TRUE(world.Sync().steps.empty());
    EXPECT_EQ(world.eudora.reads, reads) << "composed again";
    EXPECT_EQ(world.memory.saves, saves) << "written again";
    return plan;
}

TEST(MailSync, CarriesTheMaildirsChangesToEudora) {
    MailWorld world;
    for (const char* subject : {"a", "b", "c", "d", "e", "f"})
        world.Add(subject, subject[0] == 'b');
    SyncTwice(world);
    EXPECT_EQ(world.backups, 0) << "nothing of Eudora's was changed";
    (void)world.maildir.SetFlags(world.File("a"), "RS");
    (void)world.maildir.SetFlags(world.File("b"), "F");
    (void)world.maildir.Remove(world.File("c"));
    (void)world.maildir.SetFlags(world.File("d"), "ST");
    (void)world.maildir.SetFlags(world.File("e"), "FS");
    world.Delete("e");
    world.Deliver("new");
    world.Deliver("nameless", "S", false);
    world.Deliver("draft", "DS");
    const mailsync::MailPlan plan = SyncTwice(world);
    EXPECT_EQ(world.InBox(), "a:S b f nameless:S new");
    EXPECT_EQ(world.Folder(), "a:RS b:F d:ST draft:DS e:FS f nameless:S new")
        << "flagged ones are kept; what is on its way out is left to its program";
    EXPECT_EQ(world.eudora.trash.size(), 2u);
    EXPECT_EQ(world.backups, 1);
    EXPECT_EQ(plan.report.kept, 1u);
    EXPECT_EQ(plan.report.drafts, 1u);
    // What came from the Maildir is a mail like any other from then on.
    world.SetRead("new", true);
    world.Delete("nameless");
    (void)world.maildir.SetFlags(world.File("e"), "S");
    (void)world.maildir.SetFlags(world.File("d"), "S");
    SyncTwice(world);
    EXPECT_EQ(world.InBox(), "a:S b d:S f new:S") << "d was taken back from the trash";
    EXPECT_EQ(world.Folder(), "a:RS b:F d:S draft:DS f new:S");
}

// A program that keeps its own numbers in the names of files has removed nothing.
TEST(MailSync, ARenamedFileIsTheSameMail) {
    MailWorld world;
    for (const char* subject : {"a", "b", "c"}) world.Add(subject, false, subject[0] != 'b');
    SyncTwice(world);
    world.eudora.changes = 0;
    for (const maildir::MaildirEntry& file : world.Files()) {
        const std::string text = world.Text(file), flags = world.SubjectOf(file) == "a" ? "S" : "";
        (void)world.maildir.Remove(file);
        world.disk.Put("C:\\M\\cur\\" + file.unique + ",U=7!2," + flags, text);
    }
    world.Delete("c");
    world.options.maxDelete = sync::DeleteLimit{1, false};
    SyncTwice(world);
    EXPECT_EQ(world.InBox(), "a:S b");
    EXPECT_EQ(world.Folder(), "a:S b:");
    EXPECT_EQ(world.eudora.changes, 1) << "a's read state alone";
}

TEST(MailSync, SendsWhatLiesInTheOutbox) {
    MailWorld world;
    world.Add("a");
    SyncTwice(world);
    world.Deliver("first", "", true, ".Outbox\\");
    world.Deliver("second", "S", false, ".Outbox\\");
    world.Deliver("unfinished", "D", true, ".Outbox\\");
    world.Deliver("withdrawn", "T", true, ".Outbox\\");
    const mailsync::MailPlan plan = SyncTwice(world);
    EXPECT_EQ(plan.report.drafts, 1u);
    EXPECT_EQ(world.eudora.queued, (std::vector<std::string>{"first", "second"}));
    EXPECT_EQ(world.folders.outbox.List()->size(), 2u);
    const auto sent = *world.folders.sent.List();
    ASSERT_EQ(sent.size(), 2u);
    EXPECT_EQ(sent[0].flags, "S");
    EXPECT_EQ(world.memory.rows.size(), 1u);
    // One that cannot go stays and keeps no other.
    world.disk.Put("C:\\M\\.Outbox\\new\\1.0", "Subject: to nobody\n\nx\n");
    world.Deliver("third", "", true, ".Outbox\\");
    sync::Report report;
    (void)world.Sync(&report);
    ASSERT_EQ(report.errors.size(), 1u);
    EXPECT_THAT(report.errors[0], HasSubstr("to nobody"));
    EXPECT_EQ(world.eudora.queued.size(), 3u);
    // After a run that was cut off the out-box tells what was done; if Eudora ran in between,
    // nobody.
    state::RememberedMail row;
    row.link = state::MailLink::kSending;
    row.unique = "1.0";
    for (const std::size_t before : {3, 2, 9}) {
        row.size = before;
        world.memory.rows.push_back(row);
        const mailsync::MailPlan next = world.MakePlan();
        EXPECT_EQ(next.report.Count(sync::Side::kEudora, sync::Verb::kQueue),
                  before == 3 ? 1u : 0u);
        EXPECT_EQ(next.report.Count(sync::Side::kFolder, sync::Verb::kFile), before == 2 ? 1u : 0u);
        EXPECT_EQ(next.report.conflicts.size(), before == 9 ? 1u : 0u);
        world.memory.rows.pop_back();
    }
}

// What memory could hold once is not copied to be remembered: the whole run would end there.
TEST(MailSync, RemembersALargeMailWithoutACopyOfIt) {
    mail::Mail mail;
    mail.body = std::string(1 << 20, 'x');
    const std::size_t before = ::test::BytesRequested();
    (void)mailsync::ContentOf(mail);
    EXPECT_LT(::test::BytesRequested() - before, 4096u);
}

// A mail that cannot be read keeps no other; what is missing on one side may be that mail.
TEST(MailSync, GoesOnBehindWhatCannotBeReadAndRemovesNothing) {
    MailWorld world;
    for (const char* subject : {"a", "b", "c", "d"}) world.Add(subject);
    SyncTwice(world);
    world.eudora.unreadable = {world.eudora.Get("b").id};
    world.Add("new");
    world.Delete("a");
    (void)world.maildir.Remove(world.File("c"));
    (void)world.maildir.SetFlags(world.File("d"), "S");
    world.Deliver("huge");
    world.Deliver("other");
    world.tooLarge = "huge";
    sync::Report report;
    (void)world.Sync(&report);
    EXPECT_EQ(world.InBox(), "b c d:S new other");
    EXPECT_EQ(world.Folder(), "a b d:S huge new other");
    EXPECT_EQ(report.Code(), base::ExitCode::kFailed);
    EXPECT_EQ(report.errors, (std::vector<std::string>{"b from a@b: 0x00000002 cannot be read",
                                                       "huge from a@b: memory ran out"}));
    EXPECT_EQ(report.held, 2u);
    // Nor is it doubled when nothing is remembered of it.
    world.memory.rows.clear();
    (void)world.Sync();
    EXPECT_EQ(world.InBox(), "a b c d:S new other");
    world.eudora.unreadable.clear();
    world.tooLarge.clear();
    SyncTwice(world);
    EXPECT_EQ(world.Folder(), "a b c d:S huge new other");
}

// In the translator each copy of a taken name gets a longer one, until none is left.
TEST(MailSync, NamesOfAttachmentsStayShortHoweverManyAreAlike) {
    std::vector<int> operations;
    for (const int count : {300, 600}) {
        MailWorld world;
        for (int i = 0; i < count; ++i) world.Deliver("m" + std::to_string(i));
        world.files.Disarm();
        (void)world.Sync();
        operations.push_back(world.files.Operations());
        EXPECT_EQ(world.eudora.AttachmentPaths().size(), static_cast<std::size_t>(count));
        for (const auto& path : world.eudora.AttachmentPaths()) EXPECT_LT(path.size(), 20u) << path;
    }
    EXPECT_LE(operations[1], 2 * operations[0]);
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
    const mailsync::MailPlan plan = SyncTwice(world);
    EXPECT_FALSE(plan.report.Changes(sync::Side::kFolder));
    EXPECT_EQ(world.Folder(), before);
    world.eudora.mails.erase(std::ranges::find(
        world.eudora.mails, std::optional<std::string>("twin"), &mail::Mail::subject));
    SyncTwice(world);
    EXPECT_EQ(world.Folder(), "a:S b new twin");
    EXPECT_THAT(world.Text(world.File("twin")), HasSubstr("the other twin"));
}

TEST(MailSync, PairsWhatIsThereAlready) {
    struct Case {
        sync::Prefer prefer;
        const char *inBox, *folder;
    };
    for (const auto& [prefer, inBox, folder] :
         {Case{sync::Prefer::kEudora, "a b:S c foreign:S odd:S", "a:F b:S c foreign:S odd:S"},
          {sync::Prefer::kFolder, "a:S b c foreign:S odd:S", "a:FS b c foreign:S odd:S"},
          {sync::Prefer::kBoth, "a:S b:S c foreign:S odd:S", "a:FS b:S c foreign:S odd:S"},
          {sync::Prefer::kNewer, "a:S b:S c foreign:S odd:S", "a:FS b:S c foreign:S odd:S"}}) {
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
        world.Deliver("foreign", "S");
        world.memory.rows.clear();
        // A mail that the limits hide is found, too, before a file of it is taken for a new one.
        world.eudora.hidden.insert(world.eudora.Get("b").id);
        SyncTwice(world);
        EXPECT_EQ(world.InBox(), inBox);
        EXPECT_EQ(world.Folder(), folder);
        EXPECT_EQ(world.memory.rows.size(), 5u);
    }
}

// A list's copy and the direct one have one Message-ID: without a memory each finds its own file.
TEST(MailSync, TellsMailsOfOneMessageIdApartByTheirNames) {
    MailWorld world;
    for (const char* subject : {"direct", "copy", "third"}) {
        world.Add(subject, subject[0] == 'd').messageId = "same@x";
    }
    SyncTwice(world);
    for (int i = 0; i < 2; ++i) {
        world.memory.rows.clear();
        std::ranges::reverse(world.eudora.mails);
        EXPECT_FALSE(SyncTwice(world).report.Changes(sync::Side::kFolder));
        EXPECT_EQ(world.InBox(), "copy direct:S third");
    }
}

TEST(MailSync, WhatTheLimitsHideIsNoDeletion) {
    for (const int count : {3, 40}) {
        MailWorld world;
        for (int i = 0; i < count; ++i) world.Add("m" + std::to_string(i));
        world.Add("fresh");
        SyncTwice(world);
        for (const mail::Mail& mail : world.eudora.mails) {
            if (mail.subject != "fresh") world.eudora.hidden.insert(mail.id);
        }
        world.Add("late");
        world.eudora.hidden.insert(world.eudora.mails.back().id);
        const std::string before = world.Folder();
        EXPECT_FALSE(SyncTwice(world).report.Changes(sync::Side::kFolder));
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
        int deleted, removed;
        std::optional<sync::DeleteLimit> limit;
        const char* stop;  // empty: goes on
    };
    const Case cases[] = {
        {10, 0, {}, ""},
        {12, 0, {}, "12 mails would be removed from the Maildir, more than the 10 allowed"},
        {0, 12, {}, "12 mails would be removed from Eudora"},
        {1, 0, sync::DeleteLimit{0, false}, "--max-delete 1"},
        {12, 0, sync::DeleteLimit{12, false}, ""},
        {21, 0, sync::DeleteLimit{50, true}, "more than the 20 allowed"},
        {40, 0, {}, "Eudora's in-box is empty"},
        {40, 0, sync::DeleteLimit{40, false}, ""},
        {0, 40, {}, "the Maildir holds none of them"},
        {8, 8, {}, ""},
        {0, 40, sync::DeleteLimit{100, true}, ""},
    };
    for (const auto& [deleted, removed, limit, stop] : cases) {
        MailWorld world;
        for (int i = 0; i < 40; ++i) world.Add("m" + std::to_string(i));
        SyncTwice(world);
        for (int i = 0; i < deleted; ++i) world.Delete("m" + std::to_string(i));
        for (int i = 0; i < removed; ++i) {
            (void)world.maildir.Remove(world.File("m" + std::to_string(39 - i)));
        }
        world.options.maxDelete = limit;
        const mailsync::MailPlan plan = world.MakePlan();
        EXPECT_EQ(plan.stop.has_value(), *stop != '\0') << deleted << ", " << removed;
        EXPECT_THAT(plan.stop.value_or(""), HasSubstr(stop));
    }
}

TEST(MailSync, ReportsByNameAndInCounts) {
    const auto lines = [](sync::Report report, bool countsOnly = false) {
        return cli::SyncOutput(std::move(report), cli::Subject::kMails, countsOnly).lines;
    };
    MailWorld world;
    for (const char* subject : {"a", "b", "e"}) world.Add(subject);
    world.Deliver("other");
    world.Deliver("draft", "D");
    EXPECT_THAT(lines(SyncTwice(world).report),
                ElementsAre("add to the Maildir: a from a@b", "add to the Maildir: b from a@b",
                            "add to the Maildir: e from a@b", "add to Eudora: other from a@b",
                            "mails: in Eudora 1 added, 0 changed, 0 removed; in the Maildir 3 "
                            "added, 0 changed, 0 removed",
                            "1 file in the Maildir drafts: left alone"));
    world.SetRead("a", true);
    world.Delete("b");
    (void)world.maildir.SetFlags(world.File("e"), "S");
    world.Deliver("sent", "", true, ".Outbox\\");
    const sync::Report report = SyncTwice(world).report;
    EXPECT_EQ(report.Code(), base::ExitCode::kChangesMade);
    EXPECT_THAT(
        lines(report),
        ElementsAre("mark read in the Maildir: a from a@b", "mark read in Eudora: e from a@b",
                    "remove from the Maildir: b from a@b", "queue in Eudora's Out: sent from a@b",
                    "mails: in Eudora 0 added, 1 changed, 0 removed; in the Maildir 0 added, 1 "
                    "changed, 1 removed; 1 queued to be sent",
                    "1 file in the Maildir drafts: left alone"));
    EXPECT_EQ(lines(report, true).size(), 2u);
    EXPECT_EQ(world.MakePlan().report.Code(), base::ExitCode::kNothingToDo);
    // Room for no other file: flags and removals need none, Eudora waits for the Maildir.
    world.disk.LimitDisk(world.disk.AllFiles().size());
    world.SetRead("a", false);
    world.Add("d");
    world.Deliver("another");
    world.Delete("e");
    sync::Report part;
    (void)world.Sync(&part);
    EXPECT_EQ(part.Code(), base::ExitCode::kFailed);
    EXPECT_THAT(
        lines(part, true),
        ElementsAre("mails: in Eudora 0 added, 0 changed, 0 removed; in the Maildir 0 "
                    "added, 1 changed, 1 removed",
                    "2 mails left to the next run", "1 file in the Maildir drafts: left alone"));
}

}  // namespace
}  // namespace host::testing
