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

    void Sync(Prefer prefer) {
        if (!inEudora && !inFolder) return Remove();
        if (!isKnown) return Meet();
        if (inEudora && inFolder)
            return Settle(isReadInEudora != wasRead ? isReadInEudora : isReadInFolder);
        const bool isRead = inEudora ? isReadInEudora : isReadInFolder;
        if (inFolder && isFlagged) return;
        if (isRead == wasRead) return Remove();
        if (prefer == Prefer::kBoth) return;
        (prefer == Prefer::kEudora) == inEudora ? Settle(isRead) : Remove();
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

class Walk {
  public:
    explicit Walk(unsigned seed) : m_random(seed) {
        constexpr Prefer kAll[] = {Prefer::kBoth, Prefer::kEudora, Prefer::kFolder};
        world.options.prefer = kAll[seed % 3];
    }

    void Run() {
        for (int round = 0; round < 25; ++round) {
            for (int i = Pick(6); i >= 0; --i) Change();
            if (Pick(8) == 0) world.Renumber();
            Sync();
            if (::testing::Test::HasFailure()) return;
        }
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
    void ChangeInFolder(const MaildirEntry& file, Expectation& expected) {
        switch (Pick(4)) {
            case 0:
                (void)world.maildir.Remove(file);
                expected.inFolder = false;
                break;
            case 1:
                expected.isFlagged = true;
                (void)world.maildir.SetFlags(file, WithFlag(file.flags, 'F', true));
                break;
            case 2: {
                const std::string text = world.Text(file);
                (void)world.maildir.Remove(file);
                world.disk.Put("C:\\M\\cur\\" + file.unique + ",U!2," + file.flags, text);
                break;
            }
            default:
                expected.isReadInFolder = Pick(2) == 0;
                (void)world.maildir.SetFlags(file,
                                             WithFlag(file.flags, 'S', expected.isReadInFolder));
        }
    }
    void AddMail() {
        const std::string subject = "m" + std::to_string(++m_count);
        const bool isRead = Pick(2) == 0, hasId = Pick(4) != 0;
        Expectation& expected = m_expected[subject];
        if (Pick(2) == 0) {
            world.Add(subject, isRead, hasId);
            expected.inEudora = true;
            expected.isReadInEudora = isRead;
        } else {
            world.Deliver(subject, isRead ? "S" : "", hasId);
            expected.inFolder = true;
            expected.isReadInFolder = isRead;
        }
    }
    void Sync() {
        MailOutcome outcome;
        const MailPlan plan = world.Sync(&outcome);
        ASSERT_FALSE(plan.stop) << *plan.stop;
        ASSERT_TRUE(outcome.errors.empty()) << outcome.errors[0];
        std::multiset<std::string> inBox, folder, wantedInBox, wantedFolder;
        for (const auto& mail : world.eudora.mails) {
            inBox.insert(*mail.subject + (IsSeen(mail.marker) ? ":S" : ""));
        }
        for (const auto& entry : world.Files()) {
            folder.insert(world.SubjectOf(entry) + (HasFlag(entry.flags, 'S') ? ":S" : ""));
        }
        for (auto& [subject, expected] : m_expected) {
            expected.Sync(world.options.prefer);
            if (expected.inEudora) {
                wantedInBox.insert(subject + (expected.isReadInEudora ? ":S" : ""));
            }
            if (expected.inFolder) {
                wantedFolder.insert(subject + (expected.isReadInFolder ? ":S" : ""));
            }
        }
        ASSERT_EQ(inBox, wantedInBox);
        ASSERT_EQ(folder, wantedFolder);
        std::erase_if(m_expected,
                      [](const auto& one) { return !one.second.inEudora && !one.second.inFolder; });
        const int saves = world.memory.saves, changes = world.eudora.changes;
        ASSERT_TRUE(world.Sync().steps.empty());
        EXPECT_EQ(world.memory.saves, saves);
        EXPECT_EQ(world.eudora.changes, changes);
    }

    std::mt19937 m_random;
    std::map<std::string, Expectation> m_expected;
    int m_count = 0;
};

TEST(MailSyncWalk, KeepsBothSidesAsTheyAreExpectedThroughAnyChanges) {
    for (unsigned seed = 0; seed < 60; ++seed) {
        Walk walk(seed);
        walk.Run();
        ASSERT_FALSE(::testing::Test::HasFailure()) << "seed " << seed;
    }
}

}  // namespace
}  // namespace host::testing
