#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "tests/host/sync_memory.h"

namespace host::testing {
namespace {

// A contact in one line: "nickname|name|phone|e-mail|note", "~" for a line break.
Contact C(const std::string& line) {
    constexpr Field kOrder[] = {Field::kNickname, Field::kName, Field::kPhone, Field::kEmail,
                                Field::kNote};
    Contact contact;
    std::istringstream parts(line);
    for (Field field : kOrder) {
        std::getline(parts, contact[field], '|');
        for (char& byte : contact[field]) byte = byte == '~' ? '\n' : byte;
    }
    return contact;
}

std::string L(const Contact& contact) {
    std::string line = contact[Field::kNickname];
    for (Field field : {Field::kName, Field::kPhone, Field::kEmail, Field::kNote}) {
        line += '|' + contact[field];
    }
    for (char& byte : line) byte = byte == '\n' ? '~' : byte;
    return line.substr(0, line.find_last_not_of('|') + 1);
}

std::vector<std::string> Lines(const MemoryContacts& store) {
    std::vector<std::string> lines;
    for (const auto& [id, entry] : store.entries) lines.push_back(L(entry.contact));
    std::sort(lines.begin(), lines.end());
    return lines;
}

using Texts = std::vector<std::string>;

// One case: what is in step at first, how the sides are edited, what both hold afterwards. An edit
// is "old nickname>new contact"; "nick>" deletes, ">contact" adds.
struct Case {
    const char* what;
    Texts before, eudoraEdits, folderEdits, eudoraAfter, folderAfter;
    Prefer prefer = Prefer::kBoth;
    bool folderIsNewer = true;
    std::size_t conflicts = 0, refused = 0;
};

void Edit(MemoryContacts& store, const std::string& edit, bool isEudora) {
    const auto arrow = edit.find('>');
    const std::string old = edit.substr(0, arrow), now = edit.substr(arrow + 1);
    std::string id;
    for (const auto& [key, entry] : store.entries) {
        if (!old.empty() && entry.contact[Field::kNickname] == old) id = key;
    }
    if (now.empty()) {
        store.entries.erase(id);
        return;
    }
    const Contact contact = C(now);
    if (isEudora && id != contact[Field::kNickname]) store.entries.erase(id);
    if (isEudora) id = contact[Field::kNickname];
    store.Put(id.empty() ? "file-" + now : id, contact);
}

const Case kCases[] = {
    {"first run fills both sides",
     {},
     {">ann|Ann"},
     {">bob|Bob"},
     {"ann|Ann", "bob|Bob"},
     {"ann|Ann", "bob|Bob"}},
    {"first run pairs the same nickname and joins what is empty",
     {},
     {">ann|Ann|1"},
     {">ann|Ann||a@x"},
     {"ann|Ann|1|a@x"},
     {"ann|Ann|1|a@x"}},
    {"first run pairs name and first address under two nicknames",
     {},
     {">ann|Ann Lee||a@x"},
     {">al|Ann Lee|7|a@x"},
     {"ann|Ann Lee|7|a@x"},
     {"al|Ann Lee|7|a@x"}},
    {"a card without nickname gets one in Eudora from its name",
     {},
     {},
     {">|Smith, John"},
     {"Smith  John|Smith, John"},
     {"|Smith, John"}},
    {"a card without name gets a nickname from its address",
     {},
     {},
     {">|||x@y"},
     {"x@y|||x@y"},
     {"|||x@y"}},
    {"two cards of one nickname get two",
     {},
     {},
     {">bob|B1", ">bob|B2"},
     {"bob1|B2", "bob|B1"},
     {"bob|B1", "bob|B2"}},
    {"a change on one side goes to the other",
     {"a|A|1", "b|B|1"},
     {"a>a|A|2"},
     {"b>b|B|3"},
     {"a|A|2", "b|B|3"},
     {"a|A|2", "b|B|3"}},
    {"changes of two fields meet",
     {"a|A|1|x@y"},
     {"a>a|A|2|x@y"},
     {"a>a|A|1|z@y"},
     {"a|A|2|z@y"},
     {"a|A|2|z@y"}},
    {"the same change on both sides is none",
     {"a|A|1"},
     {"a>a|A|2"},
     {"a>a|A|2"},
     {"a|A|2"},
     {"a|A|2"}},
    {"a cleared field is a change", {"a|A|1||n"}, {"a>a|A|1"}, {}, {"a|A|1"}, {"a|A|1"}},
    {"a field cleared in the folder too",
     {"a|A|1||n"},
     {},
     {"a>a|A|||n"},
     {"a|A|||n"},
     {"a|A|||n"}},
    {"an emptied name stays in Eudora", {"a|A|1"}, {}, {"a>a||1"}, {"a|A|1"}, {"a||1"}},
    {"deletion on each side", {"a|A", "b|B", "c|C"}, {"a>"}, {"b>"}, {"c|C"}, {"c|C"}},
    {"deleted on both sides", {"a|A", "b|B"}, {"a>"}, {"a>"}, {"b|B"}, {"b|B"}},
    {"rename in Eudora", {"a|Ann|1"}, {"a>z|Ann|1"}, {}, {"z|Ann|1"}, {"z|Ann|1"}},
    {"rename in Eudora with another change of a known address",
     {"a|Ann|1|a@x", "b|B"},
     {"a>z|Ann|2|a@x"},
     {},
     {"b|B", "z|Ann|2|a@x"},
     {"b|B", "z|Ann|2|a@x"}},
    {"rename in the folder", {"a|Ann|1"}, {}, {"a>z|Ann|1"}, {"z|Ann|1"}, {"z|Ann|1"}},
    {"rename in the folder to a nickname that is taken",
     {"a|Ann|1", "b|Bob|2"},
     {},
     {"a>b|Ann|1"},
     {"b1|Ann|1", "b|Bob|2"},
     {"b|Ann|1", "b|Bob|2"}},
    {"conflict: both kept, the older one of Eudora marked",
     {"a|A|1"},
     {"a>a|A|2"},
     {"a>a|A|3"},
     {"a (older)|A (older)|2", "a|A|3"},
     {"a (older)|A (older)|2", "a|A|3"},
     Prefer::kBoth,
     true,
     1},
    {"conflict: both kept, the older one of the folder marked",
     {"a|A|1"},
     {"a>a|A|2"},
     {"a>a|A|3"},
     {"a (older)|A (older)|3", "a|A|2"},
     {"a (older)|A (older)|3", "a|A|2"},
     Prefer::kBoth,
     false,
     1},
    {"conflict for Eudora",
     {"a|A|1"},
     {"a>a|A|2"},
     {"a>a|A|3"},
     {"a|A|2"},
     {"a|A|2"},
     Prefer::kEudora},
    {"conflict for the folder",
     {"a|A|1"},
     {"a>a|A|2"},
     {"a>a|A|3"},
     {"a|A|3"},
     {"a|A|3"},
     Prefer::kFolder},
    {"conflict for the newer",
     {"a|A|1"},
     {"a>a|A|2"},
     {"a>a|A|3"},
     {"a|A|2"},
     {"a|A|2"},
     Prefer::kNewer,
     false},
    {"deleted here, changed there: kept",
     {"a|A|1", "b|B|1"},
     {"a>", "b>b|B|2"},
     {"a>a|A|2", "b>"},
     {"a|A|2", "b|B|2"},
     {"a|A|2", "b|B|2"},
     Prefer::kBoth,
     true,
     2},
    {"deleted here, changed there: the preferred side's deletion",
     {"a|A|1", "b|B|1"},
     {"a>"},
     {"a>a|A|2"},
     {"b|B|1"},
     {"b|B|1"},
     Prefer::kEudora},
    {"characters outside the code page stay in the folder",
     {},
     {},
     {">g|G\xC3\xBC \xE5\xB1\xB1"},
     {"g|G\xC3\xBC ?"},
     {"g|G\xC3\xBC \xE5\xB1\xB1"}},
    {"and survive a change beside them in Eudora",
     {"g|G \xE5\xB1\xB1 x|1"},
     {"g>g|G ? yz|1"},
     {},
     {"g|G ? yz|1"},
     {"g|G \xE5\xB1\xB1 yz|1"}},
    {"a change that Eudora cannot see is none for it",
     {"g|G|1||\xE5\xB1\xB1"},
     {},
     {"g>g|G|1||\xE6\x9C\xA8"},
     {"g|G|1||?"},
     {"g|G|1||\xE6\x9C\xA8"}},
    {"a line break in a one-line field stays in the folder",
     {},
     {},
     {">n|No~Name|1"},
     {"n|No Name|1"},
     {"n|No~Name|1"}},
    {"angle brackets, commas and length of a nickname",
     {},
     {},
     {">a<b,c|A", ">12345678901234567890123456789|B", ">Group x|C"},
     {"123456789012345678901234567|B", "_Group x|C", "a b c|A"},
     {"12345678901234567890123456789|B", "Group x|C", "a<b,c|A"}},
    {"a name that Eudora refuses holds nothing else up",
     {"a|A|1"},
     {},
     {"a>a|...|1", ">b|B"},
     {"a|A|1", "b|B"},
     {"a|...|1", "b|B"},
     Prefer::kBoth,
     true,
     0,
     1},
};

// The sides in step and then edited, in front of the run that matters.
void Prepare(World& world, const Case& test) {
    for (const std::string& contact : test.before) Edit(world.folder, ">" + contact, false);
    world.Sync();
    world.options.prefer = test.prefer;
    world.folder.changedAt += std::chrono::seconds(test.folderIsNewer ? 1 : -1);
    for (const std::string& edit : test.eudoraEdits) Edit(world.eudora, edit, true);
    for (const std::string& edit : test.folderEdits) Edit(world.folder, edit, false);
}

TEST(Engine, BringsBothSidesIntoStepAndRestsThen) {
    for (const Case& test : kCases) {
        SCOPED_TRACE(test.what);
        World world;
        Prepare(world, test);
        Outcome outcome;
        const Plan plan = world.Sync(&outcome);
        EXPECT_THAT(outcome.errors, ::testing::IsEmpty());
        EXPECT_EQ(plan.conflicts.size(), test.conflicts);
        EXPECT_EQ(plan.refused.size(), test.refused);
        EXPECT_EQ(Lines(world.eudora), test.eudoraAfter);
        EXPECT_EQ(Lines(world.folder), test.folderAfter);
        const int writes = world.Writes();
        const Plan again = world.Sync();
        EXPECT_FALSE(again.ChangesAnything());
        EXPECT_EQ(world.Writes(), writes);
        EXPECT_EQ(again.refused.size(), test.refused);
        // A lost memory doubles nothing.
        world.memory.content = {};
        world.Sync();
        EXPECT_EQ(world.eudora.entries.size(), test.eudoraAfter.size());
        EXPECT_EQ(world.folder.entries.size(), test.folderAfter.size());
    }
}

// Every case again, cut off at its n-th step for every n: the next run ends where the whole run
// would have ended.
TEST(Engine, ACutOffRunLosesAndDoublesNothing) {
    for (const Case& test : kCases) {
        bool fired = true;
        for (int n = 1; fired; ++n) {
            SCOPED_TRACE(std::string(test.what) + ", killed at step " + std::to_string(n));
            World world;
            Prepare(world, test);
            world.mishap.Arm(n, 0);
            try {
                world.Sync();
            } catch (const Killed&) {
            }
            fired = world.mishap.Fired();
            world.mishap.Arm(0, 0);
            world.Sync();
            EXPECT_EQ(Lines(world.eudora), test.eudoraAfter);
            EXPECT_EQ(Lines(world.folder), test.folderAfter);
            EXPECT_FALSE(world.Sync().ChangesAnything());
        }
    }
}

// The same with a step that fails: the run reports it, and the next one makes good.
TEST(Engine, AFailedStepIsReportedAndMadeGood) {
    for (const Case& test : kCases) {
        bool fired = true;
        for (int n = 1; fired; ++n) {
            SCOPED_TRACE(std::string(test.what) + ", step " + std::to_string(n) + " fails");
            World world;
            Prepare(world, test);
            world.mishap.Arm(0, n);
            Outcome outcome;
            world.Sync(&outcome);
            fired = world.mishap.Fired();
            EXPECT_EQ(!outcome.errors.empty(), fired);
            world.mishap.Arm(0, 0);
            world.Sync();
            EXPECT_EQ(Lines(world.eudora), test.eudoraAfter);
            EXPECT_EQ(Lines(world.folder), test.folderAfter);
        }
    }
}

TEST(Engine, StopsBeforeAMassDeletion) {
    World world;
    for (int i = 0; i < 40; ++i) {
        Edit(world.folder, ">n" + std::to_string(i) + "|Name " + std::to_string(i), false);
    }
    world.Sync();
    const auto remove = [&](int from, int to) {
        for (int i = from; i < to; ++i) Edit(world.folder, "n" + std::to_string(i) + ">", false);
    };
    remove(0, 11);
    struct Limit {
        std::optional<DeleteLimit> limit;
        bool stops;
    };
    for (const Limit& test :
         {Limit{{}, true}, Limit{DeleteLimit{10, false}, true},
          Limit{DeleteLimit{11, false}, false}, Limit{DeleteLimit{27, true}, true},
          Limit{DeleteLimit{28, true}, false}}) {
        world.options.maxDelete = test.limit;
        EXPECT_EQ(world.MakeRunPlan().stop.has_value(), test.stops);
    }
    world.options.maxDelete = DeleteLimit{100, true};
    remove(11, 40);
    const int writes = world.Writes();
    EXPECT_THAT(world.Sync().stop.value_or(""), ::testing::HasSubstr("folder is empty"));
    EXPECT_EQ(world.Writes(), writes);
}

}  // namespace
}  // namespace host::testing
