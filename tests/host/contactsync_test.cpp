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

// A contact in one line: "nickname|name|phone|e-mail|note|address|fax", "~" for a line break.
base::Contact C(const std::string& line) {
    base::Contact contact;
    std::istringstream parts(line);
    for (Field field : kOrder) {
        std::getline(parts, contact[field], '|');
        std::ranges::replace(contact[field], '~', '\n');
    }
    return contact;
}

// What a side holds, with "; " between the contacts.
std::string Lines(ContactWorld& world, sync::Side side) {
    std::multiset<std::string> lines;
    for (const auto& [id, contact] : world.Of(side)) {
        std::string line;
        for (Field field : kOrder) line += contact[field] + '|';
        std::ranges::replace(line, '\n', '~');
        lines.insert(line.substr(0, line.find_last_not_of('|') + 1));
    }
    std::string all;
    for (const std::string& line : lines) all += (all.empty() ? "" : "; ") + line;
    return all;
}

// One case: what is in step at first, how the sides are edited, what both hold afterwards ("=": the
// folder holds the same as Eudora). An edit is "old nickname>new contact"; "nick>" deletes, a
// contact alone is added.
struct Case {
    const char *what, *before, *eudoraEdits, *folderEdits, *eudoraAfter, *folderAfter;
    sync::Prefer prefer = sync::Prefer::kBoth;
    bool folderIsNewer = true;
    std::size_t conflicts = 0, refused = 0;
};

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

const Case kCases[] = {
    {"one nickname pairs and joins", "", "ann|Ann|1", "ann|Ann||a@x", "ann|Ann|1|a@x", "="},
    {"name and first address pair under two nicknames", "", "ann|Ann Lee||a@x", "al|Ann Lee|7|a@x",
     "ann|Ann Lee|7|a@x", "al|Ann Lee|7|a@x"},
    {"a nickname from the address", "", "", "|||x@y", "x@y|||x@y", "|||x@y"},
    {"changes of two fields", "a|A|1|x@y", "a>a|A|2|x@y", "a>a|A|1|z@y", "a|A|2|z@y", "="},
    {"every field of both sides", "a|A|1|x@y|n|s|2; b|B|1|x@y|n|s|2; c|C|1|x@y|n|s|2",
     "a>a|Z|3|z@y|m~m|t~t|4; c>c|C", "b>b|Z|3|z@y|m~m|t~t|4",
     "a|Z|3|z@y|m~m|t~t|4; b|Z|3|z@y|m~m|t~t|4; c|C", "="},
    {"texts that look like marks", "", "",
     "a|name:y|phone:z|x@y|name:in a note|a;b\\c|\"1\"; bob;|O'N;B \\n||b@x|a;b,c\\n \"d\" :e; "
     "J\xC3\xBC n|\xC3\x89mile|||fax:\xE2\x82\xAC 5|Stra\xC3\x9F 1",
     "J\xC3\xBC n|\xC3\x89mile|||fax:\xE2\x82\xAC 5|Stra\xC3\x9F 1; a|name:y|phone:z|x@y|name:in a "
     "note|a;b\\c|\"1\"; bob;|O'N;B \\n||b@x|a;b,c\\n \"d\" :e",
     "="},
    {"a field cleared in the folder too", "a|A|1||n", "", "a>a|A|||n", "a|A|||n", "="},
    {"an emptied name stays in Eudora", "a|A|1", "", "a>a||1", "a|A|1", "a||1"},
    {"deletions", "a|A; b|B; c|C; d|D", "a>; d>", "b>; d>", "c|C", "="},
    {"rename with another change", "a|Ann|1|a@x; b|B", "a>z|Ann|2|a@x", "", "b|B; z|Ann|2|a@x",
     "="},
    {"rename in the folder to a nickname that is taken", "a|Ann|1; b|Bob|2", "", "a>b|Ann|1",
     "b1|Ann|1; b|Bob|2", "b|Ann|1; b|Bob|2"},
    {"conflict: the older one of Eudora marked", "a|A|1", "a>a|A|2", "a>a|A|3",
     "a (older)|A (older)|2; a|A|3", "=", sync::Prefer::kBoth, true, 1},
    {"for the newer", "a|A|1", "a>a|A|2", "a>a|A|3", "a|A|2", "=", sync::Prefer::kNewer, false},
    {"a long nickname makes room for the mark", "123456789012345678901234567|A|1",
     "123456789012345678901234567>123456789012345678901234567|A|2",
     "123456789012345678901234567>123456789012345678901234567|A|3",
     "1234567890123456789 (older)|A (older)|2; 123456789012345678901234567|A|3", "=",
     sync::Prefer::kBoth, true, 1},
    {"deleted here, changed there: kept", "a|A|1; b|B|1", "a>; b>b|B|2", "a>a|A|2; b>",
     "a|A|2; b|B|2", "=", sync::Prefer::kBoth, true, 2},
    {"the preferred side's deletion", "a|A|1; b|B|1", "a>", "a>a|A|2", "b|B|1", "=",
     sync::Prefer::kEudora},
    {"characters outside the code page stay in the folder", "", "", "g|G\xC3\xBC \xE5\xB1\xB1",
     "g|G\xC3\xBC ?", "g|G\xC3\xBC \xE5\xB1\xB1"},
    {"and survive a change beside them", "g|G \xE5\xB1\xB1 x|1", "g>g|G ? yz|1", "", "g|G ? yz|1",
     "g|G \xE5\xB1\xB1 yz|1"},
    {"an edit beside two of them", "g|\xE5\xB1\xB1\xE6\x9C\xA8 x|1", "g>g|??? x|1", "", "g|??? x|1",
     "g|\xE5\xB1\xB1\xE6\x9C\xA8? x|1"},
    {"an edit on each side, of which Eudora cannot see the folder's", "g|G \xE5\xB1\xB1|1",
     "g>g|G ? x|1", "g>g|G \xE6\x9C\xA8|1", "g|G ? x|1", "g|G \xE6\x9C\xA8 x|1"},
    {"an edit of a nickname that is longer in Eudora", "Group x|A", "_Group x>_Group yz|A", "",
     "_Group yz|A", "="},
    {"a change that Eudora cannot see", "g|G|1||\xE5\xB1\xB1", "", "g>g|G|1||\xE6\x9C\xA8",
     "g|G|1||?", "g|G|1||\xE6\x9C\xA8"},
    {"a line break in a one-line field", "", "", "n|No~Name|1", "n|No Name|1", "n|No~Name|1"},
    {"angle brackets, commas and length of a nickname", "", "",
     "a<b,c|A; 12345678901234567890123456789|B; Group x|C",
     "123456789012345678901234567|B; _Group x|C; a b c|A",
     "12345678901234567890123456789|B; Group x|C; a<b,c|A"},
    {"letters that Eudora lacks, and no name of its making", "", "",
     "|\xC5\x81ukasz \xC5\x8A\xEF\xAC\x81|1; |\xC5\x81ukasz \xC5\x8A\xEF\xAC\x81|2",
     "Lukasz Nfi1|Lukasz Nfi|2; Lukasz Nfi|Lukasz Nfi|1",
     "|\xC5\x81ukasz \xC5\x8A\xEF\xAC\x81|1; |\xC5\x81ukasz \xC5\x8A\xEF\xAC\x81|2"},
    {"an edit beside such letters", "g|\xEF\xAC\x81 \xC5\x81 x|1", "g>g|fi L yz|1", "",
     "g|fi L yz|1", "g|\xEF\xAC\x81 \xC5\x81 yz|1"},
    {"and in front of them", "g|x\xC5\x81|1", "g>g|yL|1", "", "g|yL|1", "g|y\xC5\x81|1"},
    {"a conflict waits, and what else changed goes over", "a|A|1||n", "a>a|A|2|x@y|n", "a>a|B|3||n",
     "a|B|2|x@y|n", "a|B|3|x@y|n", sync::Prefer::kNone, true, 1},
    {"and with a first pairing", "", "a|A|1", "a|A|2||n", "a|A|1||n", "a|A|2||n",
     sync::Prefer::kNone, true, 1},
    {"removed here, changed there: waits", "a|A|1; b|B|1", "a>; b>b|B|2", "a>a|A|2; b>", "b|B|2",
     "a|A|2", sync::Prefer::kNone, true, 2},
    {"a name that Eudora refuses holds nothing else up", "a|A|1", "", "a>a|...|1; b|B",
     "a|A|1; b|B", "a|...|1; b|B", sync::Prefer::kBoth, true, 0, 1},
};

// Every case, and again cut off at its n-th operation or with a failure there, for every n: the
// next run ends where the whole run would have ended and leaves a third one nothing to do, no card
// is ever a half one, and what a failure kept from being done is told.
TEST(ContactSync, BringsBothSidesIntoStepWhateverFails) {
    for (const Case& test : kCases) {
        SCOPED_TRACE(test.what);
        test::ForEveryFault([&](Fault fault, int n) {
            ContactWorld world;
            const std::string others[] = {".hidden.vcf", "a.vcf.kvnew", "color", "sub\\c.vcf"};
            for (const std::string& other : others) world.disk.Put("C:\\cards\\" + other, "?");
            Edit(world, kFolder, test.before);
            world.Sync();
            world.options.prefer = test.prefer;
            if (!test.folderIsNewer) world.eudora.changedAt = world.eudora.changedAt.max();
            Edit(world, kEudora, test.eudoraEdits);
            Edit(world, kFolder, test.folderEdits);
            const auto expectInStep = [&] {
                EXPECT_EQ(Lines(world, kEudora), test.eudoraAfter);
                EXPECT_EQ(Lines(world, kFolder),
                          *test.folderAfter == '=' ? test.eudoraAfter : test.folderAfter);
            };
            const std::size_t before[] = {world.Of(kEudora).size(), world.Of(kFolder).size()};
            world.files.Arm(fault, n);
            const sync::Report report = world.Sync();
            const bool fired = world.files.Disarm();
            for (const sync::Side side : {kEudora, kFolder}) {
                EXPECT_EQ(world.Of(side).size() + report.Count(side, sync::Verb::kRemove),
                          before[side == kFolder] + report.Count(side, sync::Verb::kAdd))
                    << "what was done is told";
            }
            EXPECT_EQ(world.disk.OpenCount(), 0);
            if (report.errors.empty()) {
                expectInStep();
                EXPECT_EQ(report.conflicts.size() + report.notes.size(), test.conflicts);
                EXPECT_EQ(report.refused.size(), test.refused);
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
            EXPECT_EQ(again.report.refused.size(), test.refused);
            const auto& waiting = again.report.conflicts;
            EXPECT_EQ(waiting.size(), test.prefer == sync::Prefer::kNone ? test.conflicts : 0u);
            if (!waiting.empty() && waiting[0].text.starts_with("removed")) return fired;
            // A lost memory doubles nothing.
            const std::string lines = Lines(world, kFolder);
            world.memory.rows.clear();
            world.Sync();
            EXPECT_TRUE(*test.before != 0 || Lines(world, kFolder) == lines);
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
        for (int edit = 0; edit < 36; ++edit) {
            const sync::Side side = pick(2) == 0 ? kEudora : kFolder;
            const Contents contents = world.Of(side);
            if (contents.empty() || pick(4) == 0) {
                const std::string nickname = "n" + number(20);
                const std::string note = "t" + std::to_string(++count);
                if (contents.contains(nickname)) continue;
                notes.insert(note);
                if (side == kEudora) ofEudora.insert(note);
                world.Put(side, "", C(nickname + "|Name " + number(5) + "|||" + note));
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
        for (const sync::Side side : {kEudora, kFolder}) {
            for (const std::string& note : notesOf(side)) notes.erase(note);
        }
        EXPECT_THAT(notes, IsEmpty()) << "what is lost";
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
                notes.erase(contact[Field::kNote]);
            }
        }
        EXPECT_EQ(held[0], held[1]);
        EXPECT_THAT(notes, IsEmpty()) << "what is lost";
    }
}

// Twice the contacts of one nickname, twice the work.
TEST(ContactSync, PlansInProportionToTheContacts) {
    const auto work = [](int contacts) {
        ContactWorld world;
        for (int i = 0; i < contacts; ++i) world.Put(kFolder, "", C("bob|B" + std::to_string(i)));
        const auto before = test::BytesRequested();
        EXPECT_EQ(world.MakePlan().steps.size(), static_cast<std::size_t>(contacts));
        return test::BytesRequested() - before;
    };
    EXPECT_LT(work(200), 3 * work(100));
}

TEST(Deletions, HaveALimit) {
    const std::tuple<unsigned long, const char*, unsigned long> rows[] = {
        {12, "", 10},  {40, "", 10}, {48, "", 12},    {48, "28%", 13},
        {48, "0%", 0}, {48, "5", 5}, {48, "100%", 48}};
    for (const auto& [total, limit, allowed] : rows) {
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
    world.Put(kFolder, "", C("a|A|1"));
    const base::StoreItem item = (*world.folder.List())[0];
    world.Put(kFolder, item.id, C("a|A|2"));
    EXPECT_THAT(world.folder.Change(item, C("a|A|3"), base::FieldSet::All()).Error().Message(),
                ::testing::HasSubstr("changed during the run"));
    EXPECT_FALSE(world.folder.Remove(item));
    EXPECT_EQ(Lines(world, kFolder), "a|A|2");
}

}  // namespace
}  // namespace host::testing
