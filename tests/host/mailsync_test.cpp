#include "tests/host/mailsync_world.h"

#include <gmock/gmock.h>

#include <random>

namespace host::testing {
namespace {

using maildir::HasFlag;
using maildir::MaildirEntry;
using sync::Prefer;
using ::test::Fault;
using ::test::ForEveryFault;

// What is to be true of a mail, however it came about: a model of one mail on two sides.
struct Expectation {
    bool inEudora = false, isRead = false, isHidden = false;
    bool inFolder = false;
    std::string flags;                                      // of the file
    bool isKnown = false, wasRead = false, isKept = false;  // when both sides were last in step

    // Gives whether it waits for a preference.
    bool Sync(Prefer prefer) {
        const bool hasNews = isRead != wasRead, isSeen = HasFlag(flags, 'S');
        const bool now = inEudora ? isRead : isSeen;
        const Prefer mine = inEudora ? Prefer::kEudora : Prefer::kFolder;
        const Prefer other = inEudora ? Prefer::kFolder : Prefer::kEudora;
        if (inEudora && inFolder) {
            const bool isPreferred =
                prefer == Prefer::kEudora || (prefer != Prefer::kFolder && isRead);
            Settle((isKnown ? hasNews : isPreferred) ? isRead : isSeen);
        } else if (!isKnown) {
            if (inFolder ? !HasFlag(flags, 'D') : inEudora && !isHidden) Settle(now);
        } else if (inFolder && HasFlag(flags, 'F')) {
            isKept = true;
        } else if (now == wasRead || isKept || prefer == other || !(inEudora || inFolder)) {
            *this = {};
        } else if (prefer == mine) {
            Settle(now);
        } else {
            return true;
        }
        return false;
    }

  private:
    void Settle(bool seen) {
        if (!inFolder) flags.clear();
        if (!inEudora) isHidden = false;
        inEudora = inFolder = isKnown = true;
        isRead = wasRead = seen;
        flags = maildir::WithFlag(flags, 'S', seen);
    }
};

// Changes on both sides between runs, and what both sides and the out-box must hold then.
class Walk : public MailWorld {
  public:
    explicit Walk(unsigned seed) : m_random(seed), m_losesMemory(seed >= 60) {
        options.prefer =
            std::array{Prefer::kBoth, Prefer::kEudora, Prefer::kFolder, Prefer::kNewer}[seed % 4];
    }

    void Edit(int count) {
        for (; count > 0; --count) Change();
        if (Pick(8) == 0) m_losesMemory ? LoseMemory() : Renumber();
        if (Pick(12) == 0) {
            for (const mail::Mail& mail : eudora.mails) Hide(*mail.subject);
        }
    }
    void SyncAndCheck() {
        Names inBox, folder, waiting;
        const sync::Report report = SyncWhole();
        for (auto& [subject, mail] : m_expected) {
            if (mail.Sync(options.prefer)) waiting.insert(subject + " from a@b");
            if (mail.inEudora) inBox.insert(subject + (mail.isRead ? ":S" : ":"));
            if (mail.inFolder) folder.insert(subject + ':' + mail.flags);
        }
        ASSERT_EQ(InBox(), inBox);
        ASSERT_EQ(Folder(), folder);
        std::erase_if(m_expected,
                      [](const auto& one) { return !one.second.inEudora && !one.second.inFolder; });
        Names conflicts;
        for (const sync::Notice& notice : report.conflicts) conflicts.insert(notice.name);
        EXPECT_EQ(conflicts, waiting);
        EXPECT_EQ(eudora.queued, m_sent);
        EXPECT_EQ(folders.sent.List()->size(), m_sent.size());
        // Nothing but these mails lies in the Maildir, and nothing but their attachments beside
        // Eudora.
        std::set<std::string> copies = eudora.AttachmentPaths();
        std::size_t inMaildir = 0;
        for (const std::string& path : disk.AllFiles()) {
            inMaildir += path.starts_with("C:\\M\\");
            EXPECT_EQ(path.starts_with("C:\\Attach\\"), copies.erase(path) == 1) << path;
            EXPECT_TRUE(!path.starts_with("C:\\Attach") || path.size() < 20) << "grows with each";
        }
        EXPECT_TRUE(copies.empty());
        EXPECT_EQ(inMaildir, folder.size() + m_sent.size() + m_left);
        for (const state::RememberedMail& row : memory.rows) {
            EXPECT_EQ(row.content.find('\n'), std::string::npos) << "names of copies";
        }
    }

  private:
    int Pick(int count) { return static_cast<int>(m_random() % static_cast<unsigned>(count)); }

    // The mailbox is built anew: every mail has another id, or that of another one.
    void Renumber() {
        std::set<std::string> nowHidden;
        const bool isShuffled = Pick(2) == 0;
        std::string last = eudora.NextId();
        for (mail::Mail& mail : eudora.mails) {
            const bool isHidden = eudora.hidden.contains(mail.id);
            if (isShuffled && mail.messageId) {
                std::swap(last, mail.id);
            } else {
                mail.id = eudora.NextId();
            }
            if (isHidden) nowHidden.insert(mail.id);
        }
        eudora.hidden = nowHidden;
    }
    void LoseMemory() {
        memory.rows.clear();
        for (auto& [subject, mail] : m_expected) mail.isKnown = mail.isKept = false;
    }
    void Hide(const std::string& subject) {
        eudora.hidden.insert(eudora.Get(subject).id);
        m_expected[subject].isHidden = true;
    }
    void Change() {
        if (m_expected.empty() || Pick(3) == 0) return AddMail();
        auto& [subject, expected] =
            *std::next(m_expected.begin(), Pick(static_cast<int>(m_expected.size())));
        if (Pick(2) == 0) {
            if (expected.inEudora) ChangeInEudora(subject, expected);
        } else if (expected.inFolder) {
            ChangeInFolder(File(subject), expected);
        }
    }
    void ChangeInEudora(const std::string& subject, Expectation& expected) {
        const int what = Pick(6);
        if (what < 2) {
            Delete(subject);
            expected.inEudora = expected.isHidden = false;
        } else if (what < 5) {
            expected.isRead = Pick(2) == 0;
            eudora.Get(subject).marker = eudora.MarkerOf(expected.isRead);
        } else {
            Hide(subject);
        }
    }
    void ChangeInFolder(const MaildirEntry& file, Expectation& expected) {
        const std::string text = Text(file);
        const int what = Pick(8);
        const char flag = "TFRDSS"[std::max(what - 2, 0)];
        if (what < 2) {
            (void)folders.mails.Remove(file);
            // Another program gives it another name.
            if (what == 1)
                disk.Put("C:\\M\\cur\\" + file.unique + ",U!2," + file.flags, text);
            else
                expected.inFolder = false;
        } else if (flag != 'D' || HasFlag(file.flags, 'D')) {
            expected.flags = maildir::WithFlag(file.flags, flag, !HasFlag(file.flags, flag));
            (void)folders.mails.SetFlags(file, expected.flags);
            expected.inFolder = flag != 'T';
            m_left += flag == 'T';
        }
    }
    void AddMail() {
        const std::string subject = "m" + std::to_string(++m_count);
        const bool isRead = Pick(2) == 0;
        const std::optional<std::string> ids[] = {std::nullopt, subject + " is no id\r\n",
                                                  subject + "@x", subject + "@x"};
        const auto& id = ids[Pick(4)];
        const std::string flags = isRead ? "S" : Pick(5) == 0 ? "D" : "";
        const int where = Pick(5);
        if (where == 0) {
            Deliver(subject, flags, id.has_value(), ".Outbox\\");
            flags == "D" ? void(++m_left) : void(m_sent.insert(subject));
        } else if (where < 3) {
            Add(subject, id, isRead);
            m_expected[subject].inEudora = true;
            m_expected[subject].isRead = isRead;
        } else {
            Deliver(subject, flags, id.has_value());
            m_expected[subject].inFolder = true;
            m_expected[subject].flags = flags;
        }
    }

    std::mt19937 m_random;
    // Or its mailbox is built anew: without both a mail with no Message-ID cannot be told again.
    bool m_losesMemory;
    std::map<std::string, Expectation> m_expected;
    Names m_sent;
    std::size_t m_left = 0;  // drafts in the out-box, and files on their way out
    int m_count = 0;
};

// Now and then the disk is full: that is told, and the rest comes later.
TEST(MailSync, KeepsBothSidesAsTheyAreExpectedThroughAnyChanges) {
    for (unsigned seed = 0; seed < 120 && !HasFailure(); ++seed) {
        Walk walk(seed);
        for (int round = 0; round < 25 && !HasFailure(); ++round) {
            SCOPED_TRACE(::testing::Message() << seed << ", " << round);
            walk.Edit(6);
            if (round % 8 == 0) {
                walk.disk.LimitDisk(0);
                EXPECT_TRUE(!walk.Sync().errors.empty() || walk.MakePlan().steps.empty());
                walk.disk.LimitDisk(std::nullopt);
            }
            walk.SyncAndCheck();
        }
    }
}

// The n-th operation on files or memory fails, is torn, or is the last one before a kill or a loss
// of power, in a run with much to do. What a failure left for later comes with the next run but one
// at the latest.
TEST(MailSync, NoFaultLosesOrDoublesAnything) {
    for (unsigned seed = 0; seed < 8; ++seed) {
        ForEveryFault([&](Fault fault, int n) {
            SCOPED_TRACE(seed);
            Walk walk(seed);
            walk.Edit(20);
            walk.SyncAndCheck();
            walk.Edit(30);
            walk.files.Arm(fault, n);
            (void)walk.Sync();
            const bool fired = walk.files.Disarm();
            if (seed % 2 != 0) walk.disk.Crash();
            for (const sync::Change& change : walk.Sync().changes) EXPECT_NE(change.name, "");
            (void)walk.Sync();
            walk.SyncAndCheck();
            return fired;
        });
    }
}

// A mail that cannot be read, handed over or held in memory keeps no other; what is missing on one
// side may be that mail. Nor is it doubled when nothing is remembered of it.
TEST(MailSync, GoesOnBehindWhatCannotBeReadAndRemovesNothing) {
    MailWorld world;
    world.AddMany(4);
    world.SyncWhole();
    world.eudora.unreadable = {world.eudora.Get("m1").id};
    world.Add("new", "new@x");
    world.Delete("m0");
    (void)world.folders.mails.Remove(world.File("m2"));
    (void)world.folders.mails.SetFlags(world.File("m3"), "S");
    for (const char* subject : {"huge", "other"}) world.Deliver(subject);
    world.disk.Put("C:\\M\\.Outbox\\new\\1.0", "Subject: to nobody\n\nx\n");
    world.Deliver("sent", "", true, ".Outbox\\");
    world.tooLarge = "huge";
    const sync::Report report = world.Sync();
    EXPECT_EQ(world.InBox(), (Names{"m1:", "m2:", "m3:S", "new:", "other:"}));
    EXPECT_EQ(world.Folder(), (Names{"huge:", "m0:", "m1:", "m3:S", "new:", "other:"}));
    EXPECT_EQ(world.eudora.queued, Names{"sent"});
    EXPECT_EQ(report.errors, (std::vector<std::string>{"m1 from a@b: id2 cannot be read",
                                                       "huge from a@b: memory ran out",
                                                       "to nobody: no recipient"}));
    EXPECT_EQ(report.held, 2u);
    EXPECT_EQ(report.Code(), base::ExitCode::kFailed);
    world.memory.rows.clear();
    (void)world.Sync();
    EXPECT_EQ(world.InBox(), (Names{"m0:", "m1:", "m2:", "m3:S", "new:", "other:"}));
    EXPECT_EQ(world.Folder(), (Names{"huge:", "m0:", "m1:", "m2:", "m3:S", "new:", "other:"}));
}

// After a run that was cut off the out-box tells what was done; if Eudora ran in between, nobody.
TEST(MailSync, SendsNothingTwice) {
    MailWorld world;
    world.Deliver("first", "", true, ".Outbox\\");
    state::RememberedMail row;
    row.link = state::MailLink::kSending;
    row.unique = world.folders.outbox.List()->front().unique;
    for (const std::size_t before : {2, 1, 9}) {
        row.size = before;
        world.memory.rows = {row};
        world.eudora.queued = {"earlier", "mails"};
        const sync::Report report = world.MakePlan().report;
        EXPECT_EQ(report.Count(sync::Side::kEudora, sync::Verb::kQueue), before == 2);
        EXPECT_EQ(report.Count(sync::Side::kFolder, sync::Verb::kFile), before == 1);
        EXPECT_EQ(report.conflicts.size(), before == 9);
    }
}

// A list's copy and the direct one have one Message-ID: with and without a memory each finds its
// own file, and when one goes its own file goes.
TEST(MailSync, TellsMailsOfOneMessageIdApart) {
    MailWorld world;
    for (const char* subject : {"direct", "copy", "third"}) world.Add(subject, "same@x");
    world.eudora.Get("direct").marker = world.eudora.MarkerOf(true);
    world.SyncWhole();
    for (int i = 0; i < 2; ++i) {
        world.memory.rows.clear();
        std::ranges::reverse(world.eudora.mails);
        EXPECT_FALSE(world.SyncWhole().Changes(sync::Side::kFolder));
        EXPECT_EQ(world.InBox(), (Names{"copy:", "direct:S", "third:"}));
    }
    world.Delete("copy");
    world.SyncWhole();
    EXPECT_EQ(world.Folder(), (Names{"direct:S", "third:"}));
}

}  // namespace
}  // namespace host::testing
