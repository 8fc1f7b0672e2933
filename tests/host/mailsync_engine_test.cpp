#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "host/mailsync/load_mail.h"
#include "tests/host/mailsync_world.h"
#include "tests/support/failing_allocation.h"

namespace host::testing {
namespace {

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

// What is in step at first, the edits, and what both sides hold afterwards. An edit begins with its
// side, E or M: "E+a" adds a mail, "E-a" removes it, "Ma:FS" sets its flags (in Eudora its read
// state), "M~a" gives its file another name, "E?a" hides it behind the limits. '|' is a run between
// edits, '!' a lost memory. Mails called "no..." have no Message-ID, "odd" has none for a file.
struct Case {
    const char *what, *before, *edits, *inBox, *folder;
    sync::Prefer prefer = sync::Prefer::kBoth;
    std::size_t conflicts = 0;
    int changes = -1;  // of Eudora's, where they are counted
};

constexpr const char* kMet = "Ma:FS M-b M+b M+foreign:S ! E?b";
constexpr const char* kCrossed = "M-a Ea:S E-b Mb:S";

const Case kCases[] = {
    {"changes of both sides", "a b:S c d e f",
     "Ma:RS Mb:F M-c Md:ST Me:FS E-e M+new M+nob:S M+draft:DS", "a:S b f new nob:S",
     "a:RS b:F d:ST draft:DS e:FS f new nob:S"},
    {"what came from the Maildir or was taken back is a mail like any other", "d e",
     "Md:ST Me:FS E-e M+new M+nob:S | Enew:S E-nob Md:S Me:S", "d:S new:S", "d:S new:S"},
    {"a renamed file is the same mail", "a nob c", "M~a:S M~nob M~c E-c", "a:S nob",
     "a:S nob:", sync::Prefer::kBoth, 0, 1},
    {"what is there already, for Eudora", "a b:S noc odd:S", kMet, "a b:S foreign:S noc odd:S",
     "a:F b:S foreign:S noc odd:S", sync::Prefer::kEudora},
    {"for the folder", "a b:S noc odd:S", kMet, "a:S b foreign:S noc odd:S",
     "a:FS b foreign:S noc odd:S", sync::Prefer::kFolder},
    {"what was read anywhere is read", "a b:S noc odd:S", kMet, "a:S b:S foreign:S noc odd:S",
     "a:FS b:S foreign:S noc odd:S"},
    {"removed on one side and read on the other waits", "a b", kCrossed, "a:S", "b:S",
     sync::Prefer::kNewer, 2, 0},
    {"for Eudora", "a b", kCrossed, "a:S", "a:S", sync::Prefer::kEudora},
    {"for the folder", "a b", kCrossed, "b:S", "b:S", sync::Prefer::kFolder},
};

void Edit(MailWorld& world, const std::string& edit) {
    if (edit == "!") return world.memory.rows.clear();
    if (edit == "|") return (void)SyncTwice(world);
    const std::size_t start = edit.find_first_of("+-~?") == 1 ? 2 : 1;
    const char verb = start == 2 ? edit[1] : ' ';
    const auto colon = std::min(edit.find(':'), edit.size());
    const std::string subject = edit.substr(start, colon - start);
    const std::string flags = colon < edit.size() ? edit.substr(colon + 1) : "";
    const bool hasId = !subject.starts_with("no");
    if (edit[0] == 'E') {
        if (verb == '-') return world.Delete(subject);
        if (verb == '+') {
            mail::Mail& mail = world.Add(subject, flags == "S", hasId);
            if (subject == "odd") mail.messageId = "no id for a header\r\n";
        } else if (verb == '?') {
            world.eudora.hidden.insert(world.eudora.Get(subject).id);
        } else {
            world.SetRead(subject, flags == "S");
        }
        return;
    }
    if (verb == '+') return world.Deliver(subject, flags, hasId);
    const maildir::MaildirEntry file = world.File(subject);
    if (verb == ' ') return (void)world.maildir.SetFlags(file, flags);
    const std::string text = world.Text(file);
    (void)world.maildir.Remove(file);
    if (verb == '~') world.disk.Put("C:\\M\\cur\\" + file.unique + ",U=7!2," + flags, text);
}

TEST(MailSync, BringsBothSidesIntoStep) {
    for (const Case& test : kCases) {
        SCOPED_TRACE(test.what);
        MailWorld world;
        world.options.prefer = test.prefer;
        std::istringstream before(test.before), edits(test.edits);
        for (std::string mail; before >> mail;) Edit(world, "E+" + mail);
        SyncTwice(world);
        EXPECT_EQ(world.backups, 0) << "nothing of Eudora's was changed";
        for (std::string edit; edits >> edit;) Edit(world, edit);
        world.eudora.changes = world.backups = 0;
        EXPECT_EQ(SyncTwice(world).report.conflicts.size(), test.conflicts);
        EXPECT_EQ(world.InBox(), test.inBox);
        EXPECT_EQ(world.Folder(), test.folder);
        EXPECT_EQ(world.backups, world.eudora.changes > 0 ? 1 : 0);
        EXPECT_TRUE(test.changes < 0 || world.eudora.changes == test.changes);
    }
}

TEST(MailSync, SendsWhatLiesInTheOutbox) {
    MailWorld world;
    world.Deliver("first", "", true, ".Outbox\\");
    world.Deliver("unfinished", "D", true, ".Outbox\\");
    world.Deliver("withdrawn", "T", true, ".Outbox\\");
    // One that cannot go stays and keeps no other.
    world.disk.Put("C:\\M\\.Outbox\\new\\1.0", "Subject: to nobody\n\nx\n");
    world.Deliver("second", "", true, ".Outbox\\");
    sync::Report report;
    EXPECT_EQ(world.Sync(&report).report.drafts, 1u);
    ASSERT_EQ(report.errors.size(), 1u);
    EXPECT_THAT(report.errors[0], HasSubstr("to nobody"));
    EXPECT_EQ(std::set(world.eudora.queued.begin(), world.eudora.queued.end()),
              (std::set<std::string>{"first", "second"}));
    EXPECT_EQ(world.folders.outbox.List()->size(), 3u);
    EXPECT_EQ(world.folders.sent.List()->front().flags, "S");
    EXPECT_TRUE(world.memory.rows.empty());
    // After a run that was cut off the out-box tells what was done; if Eudora ran in between,
    // nobody.
    state::RememberedMail row;
    row.link = state::MailLink::kSending;
    row.unique = "1.0";
    for (const std::size_t before : {2, 1, 9}) {
        row.size = before;
        world.memory.rows.push_back(row);
        const mailsync::MailPlan next = world.MakePlan();
        EXPECT_EQ(next.report.Count(sync::Side::kEudora, sync::Verb::kQueue),
                  before == 2 ? 1u : 0u);
        EXPECT_EQ(next.report.Count(sync::Side::kFolder, sync::Verb::kFile), before == 1 ? 1u : 0u);
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
    const struct {
        int deleted, removed;
        std::optional<sync::DeleteLimit> limit;
        const char* stop;  // empty: goes on
    } cases[] = {
        {12, 0, {}, "12 mails would be removed from the Maildir, more than the 10 allowed"},
        {0, 12, {}, "12 mails would be removed from Eudora"},
        {8, 8, {}, ""},
        {40, 0, {}, "Eudora's in-box is empty"},
        {0, 40, {}, "the Maildir holds none of them"},
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
        const auto stopped = world.MakePlan().stop;
        EXPECT_EQ(stopped.has_value(), *stop != '\0') << deleted << ", " << removed;
        EXPECT_THAT(stopped.value_or(""), HasSubstr(stop));
    }
}

}  // namespace
}  // namespace host::testing
