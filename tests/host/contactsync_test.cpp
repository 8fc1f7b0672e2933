#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <random>
#include <set>
#include <sstream>

#include "host/contacts/eudora_contacts.h"
#include "host/contacts/vdir_contacts.h"
#include "host/contactsync/execute.h"
#include "tests/host/built_module.h"
#include "tests/host/sync_world.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/table.h"

namespace host::testing {
namespace {

using enum sync::Side;
using base::Field;
using ::test::Fault;
using ::testing::IsEmpty;
using Contents = std::map<std::string, base::Contact>;  // by id

// One address book for all.
BuiltModule& TheModule() {
    static BuiltModule module(
        [](const auto& folder) { test::WriteDisk(folder / "nndbase.txt", ""); });
    return module;
}

base::Result<translator::TranslatorSession> OpenBook() {
    return translator::TranslatorSession::OpenContacts(
        *TheModule().host, TheModule().setup.eudoraFolder + "\\nndbase.txt");
}

// Eudora's address book through the built translator library. Its changes, too, count as operations
// that meet faults.
struct FaultyBook : contacts::EudoraContacts {
    explicit FaultyBook(SyncWorld& world)
        : EudoraContacts(OpenBook, 1252, std::nullopt), m_world(world) {}

    std::chrono::system_clock::time_point changedAt{};

    std::optional<std::chrono::system_clock::time_point> ChangedAt(
        const base::StoreItem&) const override {
        return changedAt;
    }
    base::Result<std::string> Add(const std::string& id, const base::Contact& values,
                                  const std::string& like) override {
        if (auto struck = m_world.Strike("add"); !struck) return struck.Error();
        return EudoraContacts::Add(id, values, like);
    }
    base::Result<std::string> Change(const base::StoreItem& known, const base::Contact& values,
                                     base::FieldSet which) override {
        if (auto struck = m_world.Strike(known.id); !struck) return struck.Error();
        return EudoraContacts::Change(known, values, which);
    }
    base::Status Remove(const base::StoreItem& known) override {
        auto struck = m_world.Strike(known.id);
        return struck ? EudoraContacts::Remove(known) : struck;
    }
    base::Status Commit() override {
        auto struck = m_world.Strike("book");
        return struck ? EudoraContacts::Commit() : struck;
    }

  private:
    SyncWorld& m_world;
};

// With Eudora's address book on the disk and a folder of vCards in memory.
struct ContactWorld : SyncWorld {
    FaultyBook eudora{*this};
    int uids = 0;
    std::function<std::string()> newUid = [this] { return "uid" + std::to_string(++uids); };
    contacts::VdirContacts folder{files, "C:\\cards", clock, newUid};
    // What a person uses to change the same book and folder: no fault meets it.
    contacts::EudoraContacts ownBook{OpenBook, 1252, std::nullopt};
    contacts::VdirContacts ownFolder{disk, "C:\\cards", clock, newUid};
    contacts::Stores stores{eudora, folder};
    MemoryOf<state::Remembered, state::MemoryChange> memory{*this};

    ContactWorld() { test::WriteDisk(TheModule().eudora / "nndbase.txt", ""); }

    contacts::ContactStore& Own(sync::Side side) {
        if (side == kEudora) return ownBook;
        return ownFolder;
    }
    Contents Of(sync::Side side) {
        Contents contents;
        const auto items = *Own(side).List();
        for (const base::StoreItem& item : items) {
            const auto stored = Own(side).Read(item.id);
            EXPECT_TRUE(stored) << stored.Error().Message();
            if (!stored) continue;
            EXPECT_EQ(stored->item.marker, item.marker);
            EXPECT_TRUE(contents.emplace(item.id, stored->contact).second) << item.id;
        }
        return contents;
    }
    // Changes by a person; without an id the contact is a new one.
    void Put(sync::Side side, const std::string& id, const base::Contact& contact) {
        auto& store = Own(side);
        (void)store.List();
        EXPECT_TRUE(id.empty()
                        ? store.Add(store.NewId(), contact, "")
                        : store.Change(store.Read(id)->item, contact, base::FieldSet::All()));
        EXPECT_TRUE(store.Commit());
    }
    void Remove(sync::Side side, const std::string& id) {
        auto& store = Own(side);
        (void)store.List();
        EXPECT_TRUE(store.Remove(store.Read(id)->item));
        EXPECT_TRUE(store.Commit());
    }

    contactsync::Plan MakePlan() {
        const state::Remembered remembered = *memory.Load();
        auto sides = contactsync::LoadSides(stores, remembered, progress);
        if (sides) return contactsync::MakePlan(*sides, remembered, stores, options);
        contactsync::Plan plan;
        plan.report.stop = {sides.Error()};
        return plan;
    }
    // With what failed, or the reason to stop, as the report's errors.
    sync::Report Sync() {
        contactsync::Plan plan = MakePlan();
        if (plan.report.stop) plan.report.errors = {plan.report.stop->why.Message()};
        if (plan.report.stop || plan.IsEmpty()) return plan.report;
        return contactsync::Execute(
            plan, stores, memory, [&] { return Strike("backup"); }, progress);
    }
};

constexpr Field kOrder[] = {Field::kNickname, Field::kName,    Field::kPhone, Field::kEmail,
                            Field::kNote,     Field::kAddress, Field::kFax};

// A contact in one line: "nickname/name/phone/e-mail/note/address/fax", "~" for a line break.
base::Contact C(const std::string& line) {
    base::Contact contact;
    std::istringstream parts(line);
    for (Field field : kOrder) {
        std::getline(parts, contact[field], '/');
        std::ranges::replace(contact[field], '~', '\n');
    }
    return contact;
}

// What a side holds, with "; " between the contacts.
std::string Lines(ContactWorld& world, sync::Side side) {
    std::multiset<std::string> lines;
    for (const auto& [id, contact] : world.Of(side)) {
        std::string line;
        for (Field field : kOrder) line += contact[field] + '/';
        std::ranges::replace(line, '\n', '~');
        lines.insert(line.substr(0, line.find_last_not_of('/') + 1));
    }
    std::string all;
    for (const std::string& line : lines) all += (all.empty() ? "" : "; ") + line;
    return all;
}

void Edit(ContactWorld& world, sync::Side side, const std::string& edits) {
    for (std::size_t at = 0; at < edits.size();) {
        const auto end = std::min(edits.find("; ", at), edits.size());
        const std::string edit = edits.substr(at, end - at);
        const auto arrow = edit.find('>');
        const std::string old = edit.substr(0, arrow), now = edit.substr(arrow + 1);
        std::string id;
        for (const auto& [key, contact] : world.Of(side)) {
            if (contact[Field::kNickname] == old) id = key;
        }
        now.empty() ? world.Remove(side, id) : world.Put(side, id, C(now));
        at = end + 2;
    }
}

// Every case, and again cut off at its n-th operation or with a failure there, for every n: the
// next run ends where the whole run would have ended and leaves a third one nothing to do, no card
// is ever a half one, and what a failure kept from being done is told.
TEST(ContactSync, BringsBothSidesIntoStepWhateverFails) {
    using sync::Prefer;
    using T = std::string;
    for (const auto& [what, before, eudoraEdits, folderEdits, eudoraAfter, folderAfter, preferred,
                      conflicts, refused] :
         ::test::Table<T, T, T, T, T, T, T, std::size_t, std::size_t>("contacts in step")) {
        const Prefer prefer = sync::ParsePrefer(preferred).value_or(Prefer::kNone);
        SCOPED_TRACE(what);
        test::ForEveryFault([&](Fault fault, int n) {
            ContactWorld world;
            const std::string others[] = {".hidden.vcf", "a.vcf.kvnew", "color", "sub\\c.vcf"};
            for (const std::string& other : others) world.disk.Put("C:\\cards\\" + other, "?");
            Edit(world, kFolder, before);
            world.Sync();
            world.options.prefer = prefer;
            if (prefer == Prefer::kNewer) world.eudora.changedAt = world.eudora.changedAt.max();
            Edit(world, kEudora, eudoraEdits);
            Edit(world, kFolder, folderEdits);
            const auto expectInStep = [&] {
                EXPECT_EQ(Lines(world, kEudora), eudoraAfter);
                EXPECT_EQ(Lines(world, kFolder), folderAfter == "=" ? eudoraAfter : folderAfter);
            };
            const std::size_t held[] = {world.Of(kEudora).size(), world.Of(kFolder).size()};
            world.files.Arm(fault, n);
            const sync::Report report = world.Sync();
            const bool fired = world.files.Disarm();
            for (const sync::Side side : {kEudora, kFolder}) {
                EXPECT_EQ(world.Of(side).size() + report.Count(side, sync::Verb::kRemove),
                          held[side == kFolder] + report.Count(side, sync::Verb::kAdd))
                    << "what was done is told";
            }
            EXPECT_EQ(world.disk.OpenCount(), 0);
            if (report.errors.empty()) {
                expectInStep();
                EXPECT_EQ(report.conflicts.size() + report.notes.size(), conflicts);
                EXPECT_EQ(report.refused.size(), refused);
            }
            EXPECT_TRUE(fired || report.errors.empty());
            world.Sync();
            expectInStep();
            EXPECT_THAT(world.memory.intents, IsEmpty());
            const auto inEudora = world.Of(kEudora).size(), inFolder = world.Of(kFolder).size();
            EXPECT_EQ(world.disk.AllFiles().size(), inFolder + std::size(others)) << "side files";
            for (const state::RememberedPair& pair : world.memory.rows) {
                EXPECT_EQ(pair.beyond,
                          world.eudora.Hold(pair.folder.contact) != pair.folder.contact);
            }
            const contactsync::Plan again = world.MakePlan();
            EXPECT_TRUE(again.IsEmpty() && !again.report.stop);
            EXPECT_EQ(again.report.refused.size(), refused);
            const auto& waiting = again.report.conflicts;
            EXPECT_EQ(waiting.size(), prefer == Prefer::kNone ? conflicts : 0u);
            if (!waiting.empty() && waiting[0].text.starts_with("removed")) return fired;
            // A lost memory doubles nothing.
            const std::string lines = Lines(world, kFolder);
            world.memory.rows.clear();
            world.Sync();
            EXPECT_TRUE(!before.empty() || Lines(world, kFolder) == lines);
            EXPECT_EQ(world.Of(kEudora).size(), inEudora);
            EXPECT_EQ(world.Of(kFolder).size(), inFolder);
            return fired;
        });
    }
}

// Two people who edit both sides at random between runs, some of which are cut off.
TEST(ContactSync, RandomEditsNeverLoseAContactAndConverge) {
    for (unsigned seed = 1; seed <= 300 && !HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        ContactWorld world;
        std::mt19937 random(seed);
        const auto pick = [&](std::size_t count) { return random() % count; };
        const auto number = [&](std::size_t count) { return std::to_string(pick(count)); };
        const bool waits = seed % 2 == 0;     // every conflict, until it is resolved
        const bool mayBeCut = seed % 4 != 0;  // then an addition may be forgotten, and come twice
        bool isWhole = true;                  // the run before
        // Since that, in Eudora, where a rename with another edit makes a new contact.
        std::set<std::string> edited;
        std::set<std::string> ofEudora;  // notes of contacts that began there
        int count = 0;
        std::set<std::string> notes;  // of the contacts that nobody deleted; never edited
        std::set<std::pair<sync::Side, std::string>> removed;  // and never to come back
        const auto notesOf = [&](sync::Side side) {
            std::multiset<std::string> there;
            for (const auto& [id, contact] : world.Of(side)) there.insert(contact[Field::kNote]);
            return there;
        };
        const auto lost = [&] {
            std::set<std::string> missing = notes;
            for (const sync::Side side : {kEudora, kFolder}) {
                for (const std::string& note : notesOf(side)) missing.erase(note);
            }
            return missing;
        };
        for (int edit = 0; edit < 36; ++edit) {
            const sync::Side side = pick(2) == 0 ? kEudora : kFolder;
            const Contents contents = world.Of(side);
            if (contents.empty() || pick(4) == 0) {
                const std::string nickname = "n" + number(20);
                const std::string note = "t" + std::to_string(++count);
                if (contents.contains(nickname)) continue;
                notes.insert(note);
                if (side == kEudora) ofEudora.insert(note);
                world.Put(side, "", C(nickname + "/Name " + number(5) + "///" + note));
            } else {
                auto [id, contact] = *std::next(contents.begin(), long(pick(contents.size())));
                const std::string fresh =
                    side == kFolder ? "common" : "r" + std::to_string(++count);
                const bool mayEdit =
                    !waits || side == kFolder || edited.insert(contact[Field::kNote]).second;
                const bool isOfEudora = ofEudora.contains(contact[Field::kNote]);
                switch (mayEdit ? pick(5) : 0) {
                    case 0:
                        // A run that was cut off may not have got to know what came from the
                        // folder. The content may live on in a copy or on a changed other side.
                        notes.erase(contact[Field::kNote]);
                        world.Remove(side, id);
                        if (waits && !notesOf(side).contains(contact[Field::kNote]) &&
                            (isWhole || (side == kEudora && isOfEudora))) {
                            removed.emplace(side, contact[Field::kNote]);
                        }
                        continue;
                    case 1:
                        contact[Field::kNickname] = fresh;
                        break;
                    case 2:
                        contact[Field::kName] = pick(2) == 0 ? "Name \xE5\xB1\xB1" : "Name";
                        break;
                    default:
                        contact[Field::kPhone] = number(1000);
                }
                world.Put(side, id, contact);
            }
            if (pick(3) != 0) continue;
            world.eudora.changedAt = {};
            if (pick(2) == 0) world.eudora.changedAt = world.eudora.changedAt.max();
            world.options.prefer = waits ? sync::Prefer::kNone : sync::Prefer::kBoth;
            using Way = sync::Direction;
            const sync::Side unchanged = pick(2) == 0 ? kEudora : kFolder;
            const Way oneWay = unchanged == kEudora ? Way::kPull : Way::kPush;
            world.options.direction = pick(3) == 0 ? Way::kBoth : oneWay;
            const Contents before = world.Of(unchanged);
            if (pick(3) == 0 && mayBeCut) world.files.Arm(Fault::kKill, 1 + int(pick(40)));
            isWhole = world.Sync().errors.empty();
            if (isWhole) edited.clear();
            world.files.Disarm();
            EXPECT_TRUE(world.options.direction != oneWay || world.Of(unchanged) == before);
            for (const sync::Side at : {kEudora, kFolder}) {
                const auto there = notesOf(at);
                for (const std::string& note : there) {
                    EXPECT_FALSE(removed.contains({at, note})) << note << " is back";
                    EXPECT_TRUE(mayBeCut || there.count(note) == 1) << "two of " << note;
                }
            }
        }
        world.options.direction = sync::Direction::kBoth;
        world.Sync();
        EXPECT_THAT(lost(), IsEmpty());
        // One conflict after the other is resolved, and nothing else is done.
        for (auto plan = world.MakePlan();
             waits && !plan.report.stop && !plan.report.conflicts.empty();) {
            const auto& [name, text] = plan.report.conflicts[pick(plan.report.conflicts.size())];
            EXPECT_TRUE(plan.IsEmpty());
            world.options.resolve = {name, pick(2) == 0 ? kEudora : kFolder};
            const sync::Report report = world.Sync();
            ASSERT_FALSE(report.stop) << report.stop->why.Message();
            EXPECT_EQ(report.changes.size(), 1u) << name << ": " << text;
            world.options.resolve.reset();
            auto next = world.MakePlan();
            EXPECT_EQ(next.report.conflicts.size() + 1, plan.report.conflicts.size());
            plan = std::move(next);
        }
        world.options.resolve.reset();
        world.Sync();
        const contactsync::Plan again = world.MakePlan();
        if (again.report.stop) continue;  // a side that is empty stops every run on purpose
        EXPECT_TRUE(again.IsEmpty());
        std::multiset<std::string> held[2];
        for (const sync::Side side : {kEudora, kFolder}) {
            for (const auto& [id, contact] : world.Of(side)) {
                held[side == kFolder].insert(base::BeyondNickname(world.eudora.Hold(contact)));
            }
        }
        EXPECT_EQ(held[0], held[1]);
        EXPECT_TRUE(waits || lost().empty()) << "but for what was decided";
    }
}

// Twice the contacts of one nickname, twice the work.
TEST(ContactSync, PlansInProportionToTheContacts) {
    const auto work = [](int contacts) {
        ContactWorld world;
        for (int i = 0; i < contacts; ++i) world.Put(kFolder, "", C("bob/B" + std::to_string(i)));
        const auto before = test::BytesRequested();
        EXPECT_EQ(world.MakePlan().steps.size(), static_cast<std::size_t>(contacts));
        return test::BytesRequested() - before;
    };
    EXPECT_LT(work(200), 3 * work(100));
}

TEST(Deletions, HaveALimit) {
    using Size = unsigned long;
    for (const auto& [total, limit, allowed] :
         ::test::Table<Size, std::string, Size>("deletions allowed")) {
        EXPECT_EQ(sync::DeletionsAllowed(total, sync::ParseLimit(limit)), allowed)
            << total << ", " << limit;
    }
}

TEST(ContactSync, AFullDiskEndsTheRunWithOneLine) {
    ContactWorld world;
    for (const char* nickname : {"a", "b", "c", "d", "e"}) world.Put(kEudora, "", C(nickname));
    world.disk.LimitDisk(500);
    const sync::Report report = world.Sync();
    const std::string stored = std::to_string(world.Of(kFolder).size());
    EXPECT_EQ(report.Count(kFolder, sync::Verb::kAdd), world.Of(kFolder).size());
    EXPECT_EQ(report.undone + report.changes.size(), 5u);
    EXPECT_THAT(report.errors,
                ::testing::ElementsAre(::testing::StartsWith(stored + " of 5 stored, ")));
    world.disk.LimitDisk(std::nullopt);
    EXPECT_EQ(world.Sync().changes.size() + report.changes.size(), 5u);
}

TEST(VdirContacts, LeavesWhatSomebodyElseChangedMeanwhile) {
    ContactWorld world;
    world.Put(kFolder, "", C("a/A/1"));
    const base::StoreItem item = (*world.folder.List())[0];
    world.Put(kFolder, item.id, C("a/A/2"));
    EXPECT_THAT(world.folder.Change(item, C("a/A/3"), base::FieldSet::All()).Error().Message(),
                ::testing::HasSubstr("changed during the run"));
    EXPECT_FALSE(world.folder.Remove(item));
    EXPECT_EQ(Lines(world, kFolder), "a/A/2");
}

}  // namespace
}  // namespace host::testing
