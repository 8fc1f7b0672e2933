#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <set>

#include "tests/host/sync_world.h"

namespace host::testing {
namespace {

using enum sync::Side;

// Two people who edit both sides at random between runs, some of which are cut off.
class Walk {
  public:
    explicit Walk(unsigned seed) : m_random(seed) {}

    void Round() {
        for (int edits = Pick(4); edits >= 0; --edits) Edit(Pick(2) == 0 ? kEudora : kFolder);
        world.eudora.changedAt =
            Pick(2) == 0 ? world.eudora.changedAt.min() : world.eudora.changedAt.max();
        if (Pick(3) == 0) world.files.Arm(Fault::kKill, 1 + Pick(40));
        world.Sync();
        world.files.Disarm();
    }

    ContactWorld world;
    std::set<std::string> tokens;  // of every contact that nobody deleted

  private:
    int Pick(int count) { return static_cast<int>(m_random() % static_cast<unsigned>(count)); }

    void Edit(sync::Side side) {
        const auto contents = world.Of(side);
        if (contents.empty() || Pick(4) == 0) return Add(side, contents);
        auto [id, contact] = *std::next(contents.begin(), Pick(static_cast<int>(contents.size())));
        switch (Pick(5)) {
            case 0:
                // A person deletes; the content may live on in a copy or on a changed other side.
                tokens.erase(contact[base::Field::kAddress]);
                return world.Remove(side, id);
            case 1:
                contact[base::Field::kNickname] =
                    side == kEudora ? "r" + std::to_string(++m_tokens) : "common";
                break;
            case 2:
                contact[base::Field::kName] = Pick(2) == 0 ? "Name \xE5\xB1\xB1" : "Name";
                break;
            default:
                contact[base::Field::kPhone] = std::to_string(Pick(1000));
        }
        world.Put(side, id, contact);
    }

    void Add(sync::Side side, const ContactWorld::Contents& contents) {
        base::Contact contact;
        contact[base::Field::kNickname] = "n" + std::to_string(Pick(20));
        contact[base::Field::kName] = "Name " + std::to_string(Pick(5));
        // Never edited, and never the same twice: it tells whose content it is.
        contact[base::Field::kAddress] = "t" + std::to_string(++m_tokens);
        if (contents.contains(contact[base::Field::kNickname])) return;
        tokens.insert(contact[base::Field::kAddress]);
        world.Put(side, "", contact);
    }

    std::mt19937 m_random;
    int m_tokens = 0;
};

std::multiset<std::string> Contents(Walk& walk, sync::Side side) {
    std::multiset<std::string> contents;
    for (const auto& [id, contact] : walk.world.Of(side)) {
        contents.insert(base::BeyondNickname(walk.world.eudora.Hold(contact)));
    }
    return contents;
}

TEST(Engine, RandomEditsNeverLoseAContactAndConverge) {
    for (unsigned seed = 1; seed <= 300; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Walk walk(seed);
        for (int round = 0; round < 12; ++round) walk.Round();
        walk.world.Sync();
        // A side that is empty stops every run on purpose.
        if (walk.world.MakePlan().stop) continue;
        EXPECT_EQ(Contents(walk, kEudora), Contents(walk, kFolder));
        for (const auto& [id, contact] : walk.world.Of(kEudora)) {
            walk.tokens.erase(contact[base::Field::kAddress]);
        }
        EXPECT_THAT(walk.tokens, ::testing::IsEmpty()) << "what is lost";
        const std::string before = walk.world.Trace();
        EXPECT_THAT(walk.world.Sync().report.changes, ::testing::IsEmpty());
        EXPECT_EQ(walk.world.Trace(), before);
        if (HasFailure()) break;
    }
}

}  // namespace
}  // namespace host::testing
