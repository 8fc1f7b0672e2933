#include "tests/host/mailsync_world.h"

#include <gmock/gmock.h>

#include <random>
#include <sstream>

#include "tests/support/table.h"

namespace host::testing {
namespace {

using maildir::HasFlag;
using maildir::MaildirEntry;
using sync::Direction;
using sync::Prefer;
using ::test::Fault;
using ::test::ForEveryFault;

// What is to be true of a mail, however it came about: a model of one mail on two sides.
struct Expectation {
    bool inEudora = false, isRead = false, isHidden = false;
    bool inFolder = false;
    std::string flags;                                      // of the file
    bool isKnown = false, wasRead = false, isKept = false;  // when both sides were last in step
    bool isEdited = false;                                  // the file

    // Gives whether it waits for a preference.
    bool Sync(Prefer prefer, Direction direction) {
        const bool toFolder = direction != Direction::kPush,
                   toEudora = direction != Direction::kPull;
        const bool hasNews = isRead != wasRead, isSeen = HasFlag(flags, 'S');
        const bool now = inEudora ? isRead : isSeen;
        const Prefer mine = inEudora ? Prefer::kEudora : Prefer::kFolder;
        const Prefer other = inEudora ? Prefer::kFolder : Prefer::kEudora;
        if (inEudora && inFolder) {
            const bool isPreferred =
                prefer == Prefer::kEudora || (prefer != Prefer::kFolder && isRead);
            const bool eudoraWins = isKnown ? hasNews : isPreferred;
            if (isRead == isSeen || (eudoraWins ? toFolder : toEudora)) {
                Settle(eudoraWins ? isRead : isSeen);
            } else if (!std::exchange(isKnown, true)) {
                wasRead = eudoraWins ? isSeen : isRead;
            }
        } else if (!isKnown) {
            const bool isNew = inFolder ? !HasFlag(flags, 'D') : inEudora && !isHidden;
            if (isNew && (inFolder ? toEudora : toFolder)) Settle(now);
        } else if (inFolder && HasFlag(flags, 'F')) {
            isKept = true;
        } else if (now == wasRead || isKept || prefer == other || !(inEudora || inFolder)) {
            if ((!inFolder || toFolder) && (!inEudora || toEudora)) *this = {};
        } else if (prefer == mine) {
            if (inFolder ? toEudora : toFolder) Settle(now);
        } else {
            return true;
        }
        return false;
    }

  private:
    void Settle(bool seen) {
        if (!inFolder) flags.clear(), isEdited = false;
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
        eudora.largest = std::array<std::uint64_t, 3>{0, 20, 1000}[m_random() % 3];
        options.direction = std::array{Direction::kBoth, Direction::kBoth, Direction::kPull,
                                       Direction::kPush}[m_random() % 4];
    }
    void SyncAndCheck() {
        const auto before = Contents();
        const sync::Report report = SyncWhole();
        EXPECT_FALSE(options.direction == Direction::kPull && eudora.isTouched);
        EXPECT_TRUE(options.direction != Direction::kPush || Contents() == before);
        if (options.direction != Direction::kPull) m_sent.merge(m_toSend);
        Names waiting;
        for (auto& [subject, mail] : m_expected) {
            if (mail.Sync(options.prefer, options.direction)) waiting.insert(subject + " from a@b");
        }
        Names conflicts;
        for (const sync::Notice& notice : report.conflicts) conflicts.insert(notice.name);
        EXPECT_EQ(conflicts, waiting);
        Check();
        if (!waiting.empty() && Pick(2) == 0) Resolve(*waiting.begin());
    }

  private:
    int Pick(int count) { return static_cast<int>(m_random() % static_cast<unsigned>(count)); }

    // One conflict is settled, and nothing else done.
    void Resolve(const std::string& name) {
        const auto winner = Pick(2) == 0 ? sync::Side::kEudora : sync::Side::kFolder;
        options.resolve = {name, winner};
        options.direction = Direction::kBoth;
        EXPECT_EQ(Sync().changes.size(), 1u);
        EXPECT_EQ(MakePlan().report.stop->why.what, "there is no conflict " + name);
        options.resolve.reset();
        m_expected[name.substr(0, name.find(' '))].Sync(
            winner == sync::Side::kEudora ? Prefer::kEudora : Prefer::kFolder, Direction::kBoth);
        Check();
    }
    // Of the files that are no outgoing mails.
    std::map<std::string, std::string> Contents() {
        std::map<std::string, std::string> contents;
        for (const std::string& path : disk.AllFiles()) {
            if (path.starts_with("C:\\M\\") && path[5] != '.') contents[path] = *disk.Get(path);
        }
        return contents;
    }
    void Check() {
        Names inBox, folder;
        for (const auto& [subject, mail] : m_expected) {
            if (mail.inEudora) inBox.insert(subject + (mail.isRead ? ":S" : ":"));
            if (mail.inFolder) folder.insert(subject + ':' + mail.flags);
        }
        ASSERT_EQ(InBox(), inBox);
        ASSERT_EQ(Folder(), folder);
        for (const auto& [subject, mail] : m_expected) {
            EXPECT_TRUE(!mail.isEdited || !mail.inFolder || Text(File(subject)).ends_with("edited"))
                << subject;
        }
        std::erase_if(m_expected, [](const auto& one) {
            return !one.second.inEudora && !one.second.inFolder && !one.second.isKnown;
        });
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
        EXPECT_EQ(inMaildir, folder.size() + m_sent.size() + m_toSend.size() + m_left);
        for (const state::RememberedMail& row : memory.rows) {
            EXPECT_EQ(row.content.find('\n'), std::string::npos) << "names of copies";
            if (options.direction != Direction::kPush) CheckAttachments(row);
        }
    }
    // A file that was made of Eudora's mail holds all that the limits ever let pass.
    void CheckAttachments(const state::RememberedMail& row) {
        const auto mail = eudora.At(row.id);
        const auto present = *folders.mails.List();
        const auto file = std::ranges::find(present, row.unique, &MaildirEntry::unique);
        if (mail == eudora.mails.end() || file == present.end() || row.size == 0 ||
            HasFlag(file->flags, 'T')) {
            return;
        }
        // Another mail may have got the id of one that is gone.
        if (row.name != *mail->subject + " from a@b" || m_expected[*mail->subject].isEdited) return;
        EXPECT_EQ(Text(*file).size(), row.size);
        for (const mail::MailAttachment& one : mail->attachments) {
            const bool mustBeThere = disk.Get(one.path)->size() <= eudora.largest;
            EXPECT_TRUE(!mustBeThere || Text(*file).find(one.name) != std::string::npos)
                << one.name;
        }
    }

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
        const int what = Pick(9);
        const char flag = "TFRDSS"[std::clamp(what - 2, 0, 5)];
        // Without Message-ID an edited file would be another one under another name.
        if (what == 8) {
            if (text.find("Message-ID") == std::string::npos) return;
            disk.Put("C:\\M\\" + std::string(file.isNew ? "new\\" : "cur\\") + file.name,
                     text + "edited");
            expected.isEdited = true;
        } else if (what < 2) {
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
                                                  subject + "@x", "shared@x"};
        const auto& id = ids[Pick(4)];
        const std::string flags = isRead ? "S" : Pick(5) == 0 ? "D" : "";
        const int where = Pick(5);
        if (where == 0) {
            Deliver(subject, flags, subject, ".Outbox\\");
            flags == "D" ? void(++m_left) : void(m_toSend.insert(subject));
        } else if (where < 3) {
            mail::Mail& mail = Add(subject, id, isRead);
            if (Pick(2) == 0) Attach(mail, Pick(2) == 0 ? 10 : 30);
            m_expected[subject].inEudora = true;
            m_expected[subject].isRead = isRead;
        } else {
            Deliver(subject, flags, !id ? "" : *id == "shared@x" ? "shared" : subject);
            m_expected[subject].inFolder = true;
            m_expected[subject].flags = flags;
        }
    }

    std::mt19937 m_random;
    // Or its mailbox is built anew: without both a mail with no Message-ID cannot be told again.
    bool m_losesMemory;
    std::map<std::string, Expectation> m_expected;
    Names m_toSend, m_sent;
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
            for (mail::Mail& mail : walk.eudora.mails) {
                if (mail.attachments.empty()) walk.Attach(mail, 10);
            }
            walk.options.direction = Direction::kBoth;
            walk.eudora.largest = 0;
            walk.SyncAndCheck();
            walk.Edit(30);
            walk.eudora.largest = 1000;  // files are composed again
            walk.files.Arm(fault, n);
            (void)walk.Sync();
            const bool fired = walk.files.Disarm();
            if (seed % 2 != 0) walk.disk.Crash();
            if (walk.options.direction == Direction::kBoth) {
                walk.options.direction = Direction::kPush;
                (void)walk.Sync();
                walk.options.direction = Direction::kBoth;
            }
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
    for (const char* subject : {"huge", "other"}) world.Deliver(subject, "", subject);
    world.disk.Put("C:\\M\\.Outbox\\new\\1.0", "Subject: to nobody\n\nx\n");
    world.Deliver("sent", "", "sent", ".Outbox\\");
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
    world.Deliver("first", "", "first", ".Outbox\\");
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

TEST(MailSync, TellsMailsOfOneMessageIdApartByWhatTheyHold) {
    const auto traits = [](const std::string& mails) {
        std::vector<mailsync::Traits> all;
        std::istringstream list(mails);
        for (std::string mail; std::getline(list, mail, ';');) {
            mailsync::Traits& one = all.emplace_back();
            std::istringstream words(mail);
            words >> one.name >> one.people >> one.text >> one.ties.emplace_back();
        }
        return all;
    };
    for (const auto& [left, right, answer] : ::test::Rows<3>("mails of one Message-ID")) {
        const auto told = mailsync::TellApart(traits(left), traits(right));
        std::string found;
        for (std::size_t i = 0; i < told.rightOf.size(); ++i) {
            found += told.rightOf[i]         ? std::to_string(*told.rightOf[i])
                     : told.isUnclearLeft[i] ? "?"
                                             : "-";
        }
        found += '/';
        for (const bool isUnclear : told.isUnclearRight) found += isUnclear ? '?' : '.';
        EXPECT_EQ(found, answer) << left << " and " << right;
    }
}

// With the same subject, sender and recipients, and other texts than the files: nothing is removed,
// added or marked, with and without a memory, until somebody decides.
TEST(MailSync, LeavesAloneWhatCannotBeToldApart) {
    MailWorld world;
    for (const char* text : {"x", "y"})
        world.eudora.Put(world.eudora.mails, "s", text, "i@x", false);
    world.Deliver("s", "S", "i");
    const sync::Report report = world.SyncWhole();
    EXPECT_TRUE(report.changes.empty());
    EXPECT_EQ(report.leftAlone.size(), 1u);
    (void)world.folders.mails.Remove(world.File("s"));
    EXPECT_EQ(world.SyncWhole().Count(sync::Side::kFolder, sync::Verb::kAdd), 2u);
    // Another program gives both files other names and texts.
    const auto files = *world.folders.mails.List();
    for (const MaildirEntry& file : files) {
        world.disk.Put("C:\\M\\cur\\other-" + file.unique + "!2,", world.Text(file) + "edited");
        (void)world.folders.mails.Remove(file);
    }
    EXPECT_TRUE(world.SyncWhole().changes.empty());
    // Numbered anew while one of them went and the other changed.
    world.Delete("s");
    mail::Mail& other = world.eudora.Get("s");
    other.id = world.eudora.NextId();
    other.body = "edited";
    EXPECT_TRUE(world.SyncWhole().changes.empty());
}

// A list's copy and the direct one have one Message-ID and one subject: without a memory each finds
// its own file by its text, and of twins by its state; when one goes its own file goes.
TEST(MailSync, TellsMailsOfOneMessageIdApart) {
    MailWorld world;
    for (const char* name : {"copy", "twin", "twin"}) {
        world.eudora.Put(world.eudora.mails, "s", std::string("the text of ") + name, "same@x",
                         world.eudora.mails.size() == 2);
    }
    world.SyncWhole();
    for (int i = 0; i < 2; ++i) {
        world.memory.rows.clear();
        std::ranges::reverse(world.eudora.mails);
        const sync::Report report = world.SyncWhole();
        EXPECT_TRUE(report.changes.empty() && report.leftAlone.empty());
    }
    world.eudora.mails.erase(world.eudora.mails.begin());
    world.SyncWhole();
    EXPECT_EQ(world.Folder(), (Names{"twin:", "twin:S"}));
}

}  // namespace
}  // namespace host::testing
