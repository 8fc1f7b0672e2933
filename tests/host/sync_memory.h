#pragma once

#include <map>
#include <stdexcept>
#include <string>

#include "host/base/failure.h"
#include "host/contacts/contact_store.h"
#include "host/contacts/eudora_limits.h"
#include "host/contactsync/execute.h"
#include "host/contactsync/load_sides.h"
#include "host/state/memory.h"
#include "platform/testing/fixed_clock.h"

namespace host::testing {

// The run dies here: nothing after it happens, not even an error path.
struct Killed {};

// Counts every step that leaves a trace and kills or fails the n-th.
struct Mishap {
    int killAt = 0, failAt = 0, count = 0;

    void Arm(int kill, int fail) { killAt = kill, failAt = fail, count = 0; }
    bool Fired() const {
        return (killAt != 0 && count >= killAt) || (failAt != 0 && count >= failAt);
    }
    host::base::Status Next() {
        ++count;
        if (count == killAt) throw Killed{};
        if (count == failAt) return platform::Failure{platform::ErrorCode::kIo, "injected"};
        return {};
    }
};

// Contacts in memory. `collects` makes it one that changes only at Commit, with nicknames as ids
// and the limits of Eudora's file (code page 1252); else it is like a folder.
class MemoryContacts : public contacts::ContactStore {
  public:
    struct Entry {
        base::Contact contact;
        int version = 0;
        int beyond = 0;
        std::string uid;
        bool operator==(const Entry&) const = default;
    };
    using Entries = std::map<std::string, Entry>;

    MemoryContacts(bool collects, Mishap& mishap) : m_collects(collects), m_mishap(mishap) {}

    Entries entries;
    int writes = 0;
    mutable int asked = 0;  // what it could hold
    std::chrono::system_clock::time_point changedAt{};

    // A change by a person.
    void Put(const std::string& id, const base::Contact& contact) {
        Entry& entry = entries[id];
        entry.contact = contact;
        entry.version = ++m_versions;
    }
    // After a kill: what was collected is gone.
    void Restart() { m_collected = entries; }

    host::base::Result<std::vector<base::StoreItem>> List() override {
        Restart();
        std::vector<base::StoreItem> items;
        for (const auto& [id, entry] : entries) items.push_back(ItemOf(id, entry));
        return items;
    }
    host::base::Result<contacts::StoredContact> Read(const std::string& id) override {
        const auto found = entries.find(id);
        if (found == entries.end()) return platform::Failure{platform::ErrorCode::kNotFound, id};
        const Entry& entry = found->second;
        return contacts::StoredContact{ItemOf(id, entry), entry.contact, entry.uid, entry.beyond,
                                       true};
    }
    std::optional<std::chrono::system_clock::time_point> ChangedAt(const std::string&) override {
        return changedAt;
    }
    base::Contact Hold(const base::Contact& contact) const override {
        ++asked;
        return m_collects ? contacts::HoldInEudora(contact, 1252) : contact;
    }
    std::string Nickname(const std::string& base, const std::string& suffix) const override {
        ++asked;
        return contacts::NicknameWithSuffix(base, suffix, 1252);
    }
    std::optional<std::string> Refusal(const base::Contact& values, base::FieldSet which) override {
        const bool isBad =
            m_collects && which.Has(base::Field::kName) && values[base::Field::kName] == "...";
        return isBad ? std::optional<std::string>("the name is no name") : std::nullopt;
    }
    host::base::Result<std::string> Add(const base::Contact& values,
                                        const std::string& like) override {
        const std::string id =
            m_collects ? values[base::Field::kNickname] : "card" + std::to_string(++m_ids);
        Entry entry{values, 0, 0, m_collects ? "" : "uid" + std::to_string(m_ids)};
        if (!like.empty()) entry.beyond = entries.at(like).beyond;
        return Write([&](Entries& target) {
            if (!target.emplace(id, Versioned(entry)).second) throw std::logic_error("id taken");
            return id;
        });
    }
    host::base::Result<std::string> Change(const base::StoreItem& known,
                                           const base::Contact& values,
                                           base::FieldSet which) override {
        return Write([&](Entries& target) {
            auto node = target.extract(known.id);
            if (node.empty()) throw std::logic_error("unknown id");
            for (base::Field field : base::kAllFields) {
                if (which.Has(field)) node.mapped().contact[field] = values[field];
            }
            node.mapped().version = ++m_versions;
            if (m_collects && which.Has(base::Field::kNickname))
                node.key() = values[base::Field::kNickname];
            const std::string id = node.key();
            if (!target.insert(std::move(node)).inserted) throw std::logic_error("id taken");
            return id;
        });
    }
    host::base::Status Remove(const base::StoreItem& known) override {
        auto done = Write([&](Entries& target) {
            target.erase(known.id);
            return known.id;
        });
        return done ? host::base::Status{} : done.Error();
    }
    host::base::Status Commit() override {
        if (!m_collects) return {};
        if (auto status = m_mishap.Next(); !status) return status;
        entries = m_collected;
        ++writes;
        return m_mishap.Next();
    }

  private:
    template <class Change>
    host::base::Result<std::string> Write(const Change& change) {
        if (m_collects) return change(m_collected);
        if (auto status = m_mishap.Next(); !status) return status.Error();
        ++writes;
        const std::string id = change(entries);
        if (m_mishap.count + 1 == m_mishap.killAt) (void)m_mishap.Next();
        return id;
    }
    Entry Versioned(Entry entry) {
        entry.version = ++m_versions;
        return entry;
    }
    static base::StoreItem ItemOf(const std::string& id, const Entry& entry) {
        return {id, std::to_string(entry.version)};
    }

    bool m_collects;
    Mishap& m_mishap;
    Entries m_collected;
    int m_versions = 0, m_ids = 0;
};

class MemoryPairs : public state::PairMemory {
  public:
    explicit MemoryPairs(Mishap& mishap) : m_mishap(mishap) {}

    state::Remembered content;
    int writes = 0;

    host::base::Result<state::Remembered> Load() override { return content; }
    host::base::Status Save(const state::MemoryChange& change) override {
        if (auto status = m_mishap.Next(); !status) return status;
        ++writes;
        for (state::RememberedPair pair : change.put) {
            std::erase_if(content.pairs, [&](const auto& old) { return old.key == pair.key; });
            if (pair.key == 0) pair.key = ++m_keys;
            content.pairs.push_back(std::move(pair));
        }
        for (const std::int64_t key : change.forget) {
            std::erase_if(content.pairs, [&](const auto& old) { return old.key == key; });
        }
        if (change.intents) content.intents = *change.intents;
        return m_mishap.Next();
    }

  private:
    Mishap& m_mishap;
    std::int64_t m_keys = 0;
};

// Two sides, a memory, and the runs between them.
struct World {
    Mishap mishap;
    MemoryContacts eudora{true, mishap}, folder{false, mishap};
    contacts::Stores stores{eudora, folder};
    MemoryPairs memory{mishap};
    platform::testing::FixedClock clock;
    contactsync::PlanOptions options;

    World() { options.maxDelete = sync::DeleteLimit{100, true}; }

    contactsync::Plan MakeRunPlan() {
        base::Progress progress(clock, nullptr);
        auto sides = contactsync::LoadSides(stores, memory.content, progress);
        return contactsync::MakePlan(*sides, memory.content, stores, options);
    }
    contactsync::Plan Sync(std::vector<std::string>* errors = nullptr) {
        contactsync::Plan plan = MakeRunPlan();
        if (plan.stop || plan.IsEmpty()) return plan;
        base::Progress progress(clock, nullptr);
        auto failed = contactsync::Execute(
            plan, stores, memory, [&] { return mishap.Next(); }, progress);
        if (errors != nullptr) *errors = std::move(failed);
        return plan;
    }
    int Writes() const { return eudora.writes + folder.writes + memory.writes; }
};

}  // namespace host::testing
