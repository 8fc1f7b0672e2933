#include <gtest/gtest.h>

#include <random>

#include "tests/host/mailsync_world.h"

namespace host::testing {
namespace {

// What is to be true of a mail, however it came about.
struct Expectation {
    bool inEudora = true;
    bool wasCarried = false;
    bool isDropped = false;
    bool isFlagged = false;
    bool isHidden = false;

    bool InFolder() const { return wasCarried && !isDropped && (inEudora || isFlagged); }
};

class Walk {
  public:
    explicit Walk(unsigned seed) : m_random(seed) {}

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
        const MaildirEntry file = world.File(subject);
        switch (Pick(6)) {
            case 0:
                if (expected.inEudora) world.Delete(subject);
                expected.inEudora = false;
                break;
            case 1:
                if (expected.inEudora) world.SetRead(subject, Pick(2) == 0);
                break;
            case 2:
                if (expected.inEudora) world.eudora.hidden.insert(world.eudora.Get(subject).id);
                expected.isHidden = true;
                break;
            case 3:
                if (!file.name.empty()) (void)world.maildir.Remove(file);
                expected.isDropped = expected.isDropped || !file.name.empty();
                break;
            case 4:
                if (file.name.empty()) break;
                expected.isFlagged = true;
                (void)world.maildir.SetFlags(file, WithFlag(file.flags, 'F', true));
                break;
            default:
                if (!file.name.empty()) {
                    (void)world.maildir.SetFlags(file, WithFlag(file.flags, 'S', Pick(2) == 0));
                }
        }
    }
    void AddMail() {
        const std::string subject = "m" + std::to_string(m_expected.size());
        world.Add(subject, Pick(2) == 0, Pick(4) != 0);
        m_expected[subject];
    }
    void Sync() {
        MailOutcome outcome;
        const MailPlan plan = world.Sync(&outcome);
        ASSERT_FALSE(plan.stop) << *plan.stop;
        ASSERT_TRUE(outcome.errors.empty()) << outcome.errors[0];
        std::multiset<std::string> actual, wanted;
        for (const auto& entry : world.Files()) actual.insert(world.SubjectOf(entry));
        for (auto& [subject, expected] : m_expected) {
            if (expected.inEudora && !expected.isHidden) expected.wasCarried = true;
            if (expected.InFolder()) wanted.insert(subject);
        }
        ASSERT_EQ(actual, wanted);
        const int reads = world.eudora.reads, saves = world.memory.saves;
        ASSERT_TRUE(world.Sync().steps.empty());
        EXPECT_EQ(world.memory.saves, saves);
        EXPECT_LE(world.eudora.reads, reads + static_cast<int>(m_expected.size()));
    }

    std::mt19937 m_random;
    std::map<std::string, Expectation> m_expected;
};

TEST(MailSyncWalk, KeepsTheMaildirAsItIsExpectedThroughAnyChanges) {
    for (unsigned seed = 0; seed < 60; ++seed) {
        Walk walk(seed);
        walk.Run();
        ASSERT_FALSE(::testing::Test::HasFailure()) << "seed " << seed;
    }
}

}  // namespace
}  // namespace host::testing
