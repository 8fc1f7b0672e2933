#pragma once

#include <map>
#include <string>

#include "host/contacts/eudora_contacts.h"
#include "host/contacts/vdir_contacts.h"
#include "host/contactsync/execute.h"
#include "platform/testing/fixed_clock.h"
#include "platform/testing/memory_files.h"
#include "tests/host/fault_sweep.h"

namespace host::testing {

class MemoryPairs : public state::PairMemory {
  public:
    explicit MemoryPairs(platform::testing::FaultyFiles& files) : pairs(files) {}

    MemoryRows<state::RememberedPair> pairs;
    std::vector<state::Intent> intents;

    base::Result<state::Remembered> Load() override {
        return state::Remembered{pairs.rows, intents};
    }
    base::Status Save(state::MemoryChange& change) override {
        auto saved = pairs.Save(change.put, change.forget);
        if (saved && change.intents) intents = *change.intents;
        return saved;
    }
};

// An address book in memory, with nicknames as ids and the limits of Eudora's file in code page
// 1252. It changes only at Commit.
class MemoryBook : public contacts::ContactStore {
  public:
    struct Entry {
        base::Contact contact;
        int version = 0;
    };

    explicit MemoryBook(platform::testing::FaultyFiles& files) : m_files(files) {}

    std::map<std::string, Entry> entries;
    int writes = 0;
    mutable int asked = 0;  // what it could hold
    std::chrono::system_clock::time_point changedAt{};

    base::Result<std::vector<base::StoreItem>> List() override {
        m_collected = entries;
        std::vector<base::StoreItem> items;
        for (const auto& [id, entry] : entries) items.push_back(ItemOf(id));
        return items;
    }
    base::Result<contacts::StoredContact> Read(const std::string& id) override {
        return contacts::StoredContact{ItemOf(id), entries.at(id).contact, {}, 0, true};
    }
    std::optional<std::chrono::system_clock::time_point> ChangedAt(
        const base::StoreItem&) const override {
        return changedAt;
    }
    base::Contact Hold(const base::Contact& contact) const override {
        ++asked;
        return contacts::HoldInEudora(contact, 1252);
    }
    std::string Nickname(const std::string& base, const std::string& suffix) const override {
        ++asked;
        return contacts::NicknameWithSuffix(base, suffix, 1252);
    }
    std::optional<std::string> Refusal(const base::Contact& values, base::FieldSet which) override {
        const bool isBad = which.Has(base::Field::kName) && values[base::Field::kName] == "...";
        return isBad ? std::optional<std::string>("the name is no name") : std::nullopt;
    }
    base::Result<std::string> Add(const base::Contact& values, const std::string&) override {
        return Collect({}, values, base::FieldSet::All());
    }
    base::Result<std::string> Change(const base::StoreItem& known, const base::Contact& values,
                                     base::FieldSet which) override {
        EXPECT_TRUE(m_collected.contains(known.id)) << known.id;
        return Collect(known.id, values, which);
    }
    base::Status Remove(const base::StoreItem& known) override {
        if (m_files.Strikes()) return m_files.Injected(known.id);
        m_collected.erase(known.id);
        return {};
    }
    base::Status Commit() override {
        if (m_files.Strikes()) return m_files.Injected("book");
        entries = m_collected;
        ++writes;
        return {};
    }

    // A change by a person.
    void Put(const std::string& id, const base::Contact& contact) {
        entries.erase(id);
        entries[contact[base::Field::kNickname]] = {contact, ++m_versions};
    }

  private:
    base::StoreItem ItemOf(const std::string& id) const {
        return {id, std::to_string(entries.at(id).version)};
    }
    base::Result<std::string> Collect(const std::string& id, const base::Contact& values,
                                      base::FieldSet which) {
        if (m_files.Strikes()) return m_files.Injected(id);
        Entry entry = m_collected[id];
        m_collected.erase(id);
        for (base::Field field : base::kAllFields) {
            if (which.Has(field)) entry.contact[field] = values[field];
        }
        entry.version = ++m_versions;
        const std::string now = entry.contact[base::Field::kNickname];
        EXPECT_TRUE(m_collected.emplace(now, entry).second) << now << " is taken";
        return now;
    }

    platform::testing::FaultyFiles& m_files;
    std::map<std::string, Entry> m_collected;
    int m_versions = 0;
};

// An address book, a folder of vCards on a disk in memory, the memory, and the runs between them.
struct ContactWorld {
    using Contents = std::map<std::string, base::Contact>;

    platform::testing::MemoryFiles disk;
    platform::testing::FaultyFiles files{disk};
    platform::testing::FixedClock clock;
    MemoryBook eudora{files};
    contacts::VdirContacts folder{files, "C:\\cards", clock, NewUid()};
    contacts::VdirContacts person{disk, "C:\\cards", clock, NewUid()};  // in the same folder
    contacts::Stores stores{eudora, folder};
    MemoryPairs memory{files};
    sync::Options options{sync::Prefer::kBoth, sync::DeleteLimit{100, true}};

    Contents Of(sync::Side side) {
        Contents contents;
        if (side == sync::Side::kEudora) {
            for (const auto& [id, entry] : eudora.entries) contents[id] = entry.contact;
            return contents;
        }
        const auto items = *person.List();
        for (const base::StoreItem& item : items) {
            const auto card = person.Read(item.id);
            EXPECT_TRUE(card) << *disk.Get("C:\\cards\\" + item.id);
            if (card) contents[item.id] = card->contact;
        }
        return contents;
    }
    // Changes by a person; without an id the contact is a new one.
    void Put(sync::Side side, const std::string& id, const base::Contact& contact) {
        if (side == sync::Side::kEudora) return eudora.Put(id, contact);
        if (id.empty()) {
            EXPECT_TRUE(person.Add(contact, ""));
        } else {
            EXPECT_TRUE(person.Change(person.Read(id)->item, contact, base::FieldSet::All()));
        }
    }
    void Remove(sync::Side side, const std::string& id) {
        if (side == sync::Side::kEudora) {
            eudora.entries.erase(id);
        } else {
            EXPECT_TRUE(disk.Delete("C:\\cards\\" + id));
        }
    }
    // Whatever a run can change.
    std::string Trace() {
        std::string trace =
            std::to_string(eudora.writes) + ' ' + std::to_string(memory.pairs.saves);
        const auto items = *person.List();
        for (const auto& [id, marker] : items) trace += ' ' + id + '=' + marker;
        return trace;
    }

    contactsync::Plan MakePlan() {
        base::Progress progress(clock, nullptr);
        const state::Remembered remembered = *memory.Load();
        auto sides = contactsync::LoadSides(stores, remembered, progress);
        if (sides) return contactsync::MakePlan(*sides, remembered, stores, options);
        contactsync::Plan plan;
        plan.stop = sides.Error().Message();
        return plan;
    }
    contactsync::Plan Sync(std::vector<std::string>* errors = nullptr) {
        contactsync::Plan plan = MakePlan();
        if (plan.stop || plan.IsEmpty()) return plan;
        base::Progress progress(clock, nullptr);
        auto failed = contactsync::Execute(
            plan, stores, memory,
            [&] { return files.Strikes() ? files.Injected("backup") : base::Status(); }, progress);
        if (errors != nullptr) *errors = std::move(failed);
        return plan;
    }

  private:
    std::function<std::string()> NewUid() {
        return [this] { return "uid" + std::to_string(++m_uids); };
    }

    int m_uids = 0;
};

}  // namespace host::testing
