#include <gtest/gtest.h>

#include <random>

#include "tests/host/mailsync_world.h"

namespace host::testing {
namespace {

// What is to be true of a mail, however it came about: a model of one mail on two sides.
struct Expectation {
    bool inEudora = false, inFolder = false;
    bool isReadInEudora = false, isReadInFolder = false;
    bool isKnown = false, wasRead = false;  // when both sides were last in step
    bool isFlagged = false, isHidden = false;

    void Sync(sync::Prefer prefer) {
        if (!inEudora && !inFolder) return Remove();
        if (!isKnown) return Meet();
        if (inEudora && inFolder)
            return Settle(isReadInEudora != wasRead ? isReadInEudora : isReadInFolder);
        const bool isRead = inEudora ? isReadInEudora : isReadInFolder;
        if (inFolder && isFlagged) return;
        if (isRead == wasRead) return Remove();
        if (prefer == sync::Prefer::kBoth || prefer == sync::Prefer::kNewer) return;
        (prefer == sync::Prefer::kEudora) == inEudora ? Settle(isRead) : Remove();
    }

  private:
    void Meet() {
        if (inFolder) return Settle(isReadInFolder);
        if (inEudora && !isHidden) Settle(isReadInEudora);
    }
    void Settle(bool isRead) {
        inEudora = inFolder = isKnown = true;
        isReadInEudora = isReadInFolder = wasRead = isRead;
    }
    void Remove() { inEudora = inFolder = isKnown = false; }
};

// Changes on both sides between runs, and what both sides and the out-box must hold then.
class Walk {
  public:
    explicit Walk(unsigned seed) : m_random(seed) {
        constexpr sync::Prefer kAll[] = {sync::Prefer::kBoth, sync::Prefer::kEudora,
                                         sync::Prefer::kFolder, sync::Prefer::kNewer};
        world.options.prefer = kAll[seed % 4];
    }

    void Edit(int count) {
        for (; count > 0; --count) Change();
        if (Pick(8) == 0) world.Renumber();
    }
    void Sync() {
        sync::Report report;
        const mailsync::MailPlan plan = world.Sync(&report);
        ASSERT_FALSE(plan.stop) << *plan.stop;
        ASSERT_TRUE(report.errors.empty()) << report.errors[0];
        Check();
    }
    void Check() {
        std::multiset<std::string> inBox, folder;
        for (auto& [subject, mail] : m_expected) {
            mail.Sync(world.options.prefer);
            if (mail.inEudora) inBox.insert(subject + (mail.isReadInEudora ? ":S" : ""));
            if (mail.inFolder) folder.insert(subject + (mail.isReadInFolder ? ":S" : ""));
        }
        ASSERT_EQ(world.InBox(), world.Joined(inBox));
        ASSERT_EQ(world.FolderStates(), world.Joined(folder));
        std::erase_if(m_expected,
                      [](const auto& one) { return !one.second.inEudora && !one.second.inFolder; });
        for (const maildir::MaildirEntry& entry : world.Files()) {
            const std::string text = world.Text(entry);
            EXPECT_NE(text.find("the text of " + world.SubjectOf(entry)), text.npos) << text;
        }
        EXPECT_EQ(std::multiset(world.eudora.queued.begin(), world.eudora.queued.end()), m_sent);
        EXPECT_EQ(world.folders.sent.List()->size(), m_sent.size());
        // Nothing but these mails lies in the Maildir, and nothing but their attachments beside
        // Eudora; nothing is left to do.
        EXPECT_EQ(world.FilesBelow("C:\\M\\").size(), folder.size() + m_sent.size());
        EXPECT_EQ(world.FilesBelow("C:\\Attach\\"), world.eudora.AttachmentPaths());
        for (const state::RememberedMail& row : world.memory.rows) {
            EXPECT_EQ(row.content.find('\n'), std::string::npos) << "names of copies";
        }
        const int saves = world.memory.saves, changes = world.eudora.changes;
        ASSERT_TRUE(world.Sync().steps.empty());
        EXPECT_EQ(world.memory.saves, saves);
        EXPECT_EQ(world.eudora.changes, changes);
    }

    MailWorld world;

  private:
    int Pick(int count) { return static_cast<int>(m_random() % static_cast<unsigned>(count)); }

    void Change() {
        if (m_expected.empty() || Pick(3) == 0) return AddMail();
        auto at = m_expected.begin();
        std::advance(at, Pick(static_cast<int>(m_expected.size())));
        auto& [subject, expected] = *at;
        if (Pick(2) == 0) {
            if (expected.inEudora) ChangeInEudora(subject, expected);
        } else if (expected.inFolder) {
            ChangeInFolder(world.File(subject), expected);
        }
    }
    void ChangeInEudora(const std::string& subject, Expectation& expected) {
        switch (Pick(3)) {
            case 0:
                world.Delete(subject);
                expected.inEudora = false;
                break;
            case 1:
                expected.isReadInEudora = Pick(2) == 0;
                world.SetRead(subject, expected.isReadInEudora);
                break;
            default:
                world.eudora.hidden.insert(world.eudora.Get(subject).id);
                expected.isHidden = true;
        }
    }
    void ChangeInFolder(const maildir::MaildirEntry& file, Expectation& expected) {
        const std::string text = world.Text(file);
        switch (Pick(4)) {
            case 0:
                (void)world.maildir.Remove(file);
                expected.inFolder = false;
                break;
            case 1:
                expected.isFlagged = true;
                (void)world.maildir.SetFlags(file, maildir::WithFlag(file.flags, 'F', true));
                break;
            case 2:
                (void)world.maildir.Remove(file);
                world.disk.Put("C:\\M\\cur\\" + file.unique + ",U!2," + file.flags, text);
                break;
            default:
                expected.isReadInFolder = Pick(2) == 0;
                (void)world.maildir.SetFlags(
                    file, maildir::WithFlag(file.flags, 'S', expected.isReadInFolder));
        }
    }
    void AddMail() {
        const std::string subject = "m" + std::to_string(++m_count);
        const bool isRead = Pick(2) == 0, hasId = Pick(4) != 0;
        const int where = Pick(5);
        if (where == 0) {
            world.Deliver(subject, isRead ? "S" : "", hasId, ".Outbox\\");
            m_sent.insert(subject);
            return;
        }
        Expectation& expected = m_expected[subject];
        (where < 3 ? expected.inEudora : expected.inFolder) = true;
        (where < 3 ? expected.isReadInEudora : expected.isReadInFolder) = isRead;
        if (where < 3)
            world.Add(subject, isRead, hasId);
        else
            world.Deliver(subject, isRead ? "S" : "", hasId);
    }

    std::mt19937 m_random;
    std::map<std::string, Expectation> m_expected;
    std::multiset<std::string> m_sent;
    int m_count = 0;
};

TEST(MailSyncWalk, KeepsBothSidesAsTheyAreExpectedThroughAnyChanges) {
    for (unsigned seed = 0; seed < 60; ++seed) {
        SCOPED_TRACE(seed);
        Walk walk(seed);
        for (int round = 0; round < 25; ++round) {
            walk.Edit(6);
            ASSERT_NO_FATAL_FAILURE(walk.Sync());
        }
    }
}

// The n-th operation on files or memory fails, is torn, or is the last one before a kill or a loss
// of power, in a run with much to do. What a failure left for later comes with the next run but one
// at the latest.
TEST(MailSyncWalk, NoFaultLosesOrDoublesAnything) {
    for (unsigned seed = 0; seed < 8; ++seed) {
        ForEveryFault([&](Fault fault, int n) {
            SCOPED_TRACE(seed);
            Walk walk(seed);
            walk.Edit(20);
            walk.Sync();
            walk.Edit(30);
            walk.world.files.Arm(fault, n);
            (void)walk.world.Sync();
            const bool fired = walk.world.files.Disarm();
            if (seed % 2 != 0) walk.world.disk.Crash();
            for (const sync::Change& change : walk.world.Sync().report.changes) {
                EXPECT_NE(change.name, "");
            }
            (void)walk.world.Sync();
            walk.Check();
            return fired;
        });
    }
}

TEST(MailSyncWalk, AFullDiskIsReportedAndTheRestComesLater) {
    int full = 0;
    for (unsigned seed = 0; seed < 12; ++seed) {
        SCOPED_TRACE(seed);
        Walk walk(seed);
        walk.Edit(20);
        walk.world.disk.LimitDisk(walk.world.disk.AllFiles().size());
        sync::Report report;
        const mailsync::MailPlan plan = walk.world.Sync(&report);
        const bool writes = std::ranges::any_of(plan.steps, [](const mailsync::MailStep& step) {
            return step.act.verb == sync::Verb::kAdd || step.act.verb == sync::Verb::kQueue;
        });
        EXPECT_EQ(report.errors.empty(), !writes);
        full += writes;
        walk.world.disk.LimitDisk(std::nullopt);
        ASSERT_NO_FATAL_FAILURE(walk.Sync());
    }
    EXPECT_GT(full, 6);
}

}  // namespace
}  // namespace host::testing
