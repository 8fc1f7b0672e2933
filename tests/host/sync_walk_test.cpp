#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <set>

#include "tests/host/sync_memory.h"

namespace host::testing {
namespace {

// Two people who edit both sides at random between runs, some of which are cut off.
class Walk {
  public:
    explicit Walk(unsigned seed) : m_random(seed) {}

    void Round() {
        for (int edits = Pick(4); edits >= 0; --edits) Edit(Pick(2) == 0);
        world.folder.changedAt += std::chrono::seconds(Pick(3) - 1);
        world.mishap.Arm(Pick(3) == 0 ? 1 + Pick(12) : 0, 0);
        try {
            world.Sync();
        } catch (const Killed&) {
        }
        world.mishap.Arm(0, 0);
    }

    World world;
    std::set<std::string> tokens;  // of every contact that nobody deleted

  private:
    int Pick(int count) { return static_cast<int>(m_random() % static_cast<unsigned>(count)); }
    std::string Token() { return "t" + std::to_string(++m_tokens); }

    void Edit(bool inEudora) {
        MemoryContacts& store = inEudora ? world.eudora : world.folder;
        if (store.entries.empty() || Pick(4) == 0) return Add(store, inEudora);
        auto place = std::next(store.entries.begin(), Pick(static_cast<int>(store.entries.size())));
        const std::string id = place->first;
        base::Contact contact = place->second.contact;
        switch (Pick(5)) {
            case 0:
                Delete(store, id);
                break;
            case 1:
                if (inEudora) {
                    contact[base::Field::kNickname] = "r" + std::to_string(++m_tokens);
                    const auto beyond = place->second.beyond;
                    store.entries.erase(place);
                    store.Put(contact[base::Field::kNickname], contact);
                    store.entries[contact[base::Field::kNickname]].beyond = beyond;
                    break;
                }
                contact[base::Field::kNickname] = "common";
                store.Put(id, contact);
                break;
            case 2:
                contact[base::Field::kName] = Pick(2) == 0 ? "Name \xE5\xB1\xB1" : "Name";
                store.Put(id, contact);
                break;
            default:
                contact[base::Field::kPhone] = std::to_string(Pick(1000));
                store.Put(id, contact);
        }
    }

    void Add(MemoryContacts& store, bool inEudora) {
        base::Contact contact;
        contact[base::Field::kNickname] = "n" + std::to_string(Pick(20));
        contact[base::Field::kName] = "Name " + std::to_string(Pick(5));
        // Never edited, and never the same twice: it tells whose content it is.
        contact[base::Field::kAddress] = Token();
        std::string id = contact[base::Field::kNickname];
        if (!inEudora) id = "new" + std::to_string(m_tokens);
        if (inEudora && store.entries.contains(id)) return;
        tokens.insert(contact[base::Field::kAddress]);
        store.Put(id, contact);
    }

    void Delete(MemoryContacts& store, const std::string& id) {
        // A person deletes; the content may live on in a copy or on a changed other side.
        tokens.erase(store.entries[id].contact[base::Field::kAddress]);
        store.entries.erase(id);
    }

    std::mt19937 m_random;
    int m_tokens = 0;
};

std::multiset<std::string> Contents(const MemoryContacts& store, const MemoryContacts& limits) {
    std::multiset<std::string> contents;
    for (const auto& [id, entry] : store.entries) {
        const base::Contact held = limits.Hold(entry.contact);
        std::string line;
        for (base::Field field : base::kAllFields) {
            if (field != base::Field::kNickname) line += held[field] + '|';
        }
        contents.insert(line);
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
        if (walk.world.MakeRunPlan().stop) continue;
        EXPECT_EQ(Contents(walk.world.eudora, walk.world.eudora),
                  Contents(walk.world.folder, walk.world.eudora));
        for (const std::string& token : walk.tokens) {
            const auto holds = [&](const auto& item) {
                return item.second.contact[base::Field::kAddress] == token;
            };
            const auto& entries = walk.world.eudora.entries;
            EXPECT_TRUE(std::any_of(entries.begin(), entries.end(), holds)) << token;
        }
        const int writes = walk.world.Writes();
        EXPECT_THAT(walk.world.Sync().report.changes, ::testing::IsEmpty());
        EXPECT_EQ(walk.world.Writes(), writes);
        if (HasFailure()) break;
    }
}

}  // namespace
}  // namespace host::testing
