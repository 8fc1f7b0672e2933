#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "tests/host/sync_world.h"

namespace host::testing {
namespace {

using enum sync::Side;
using ::testing::IsEmpty;
using Texts = std::vector<std::string>;

constexpr base::Field kOrder[] = {base::Field::kNickname, base::Field::kName, base::Field::kPhone,
                                  base::Field::kEmail, base::Field::kNote};

// A contact in one line: "nickname|name|phone|e-mail|note", "~" for a line break.
base::Contact C(const std::string& line) {
    base::Contact contact;
    std::istringstream parts(line);
    for (base::Field field : kOrder) {
        std::getline(parts, contact[field], '|');
        std::ranges::replace(contact[field], '~', '\n');
    }
    return contact;
}

Texts Lines(ContactWorld& world, sync::Side side) {
    Texts lines;
    for (const auto& [id, contact] : world.Of(side)) {
        std::string line;
        for (base::Field field : kOrder) line += contact[field] + '|';
        std::ranges::replace(line, '\n', '~');
        lines.push_back(line.substr(0, line.find_last_not_of('|') + 1));
    }
    std::ranges::sort(lines);
    return lines;
}

// "a; b" taken apart.
Texts Split(const std::string& all) {
    Texts parts;
    for (std::size_t at = 0, end = 0; end != std::string::npos && !all.empty(); at = end + 2) {
        end = all.find("; ", at);
        parts.push_back(all.substr(at, end - at));
    }
    return parts;
}

// One case: what is in step at first, how the sides are edited, what both hold afterwards ("=": the
// folder holds the same as Eudora). An edit is "old nickname>new contact"; "nick>" deletes,
// ">contact" adds.
struct Case {
    const char *what, *before, *eudoraEdits, *folderEdits, *eudoraAfter, *folderAfter;
    sync::Prefer prefer = sync::Prefer::kBoth;
    bool folderIsNewer = true;
    std::size_t conflicts = 0, refused = 0;
    const char* Folder() const { return *folderAfter == '=' ? eudoraAfter : folderAfter; }
};

void Edit(ContactWorld& world, sync::Side side, const std::string& edit) {
    const auto arrow = edit.find('>');
    const std::string old = edit.substr(0, arrow), now = edit.substr(arrow + 1);
    std::string id;
    for (const auto& [key, contact] : world.Of(side)) {
        if (!old.empty() && contact[base::Field::kNickname] == old) id = key;
    }
    now.empty() ? world.Remove(side, id) : world.Put(side, id, C(now));
}

const Case kCases[] = {
    {"one nickname pairs and joins", "", ">ann|Ann|1", ">ann|Ann||a@x", "ann|Ann|1|a@x", "="},
    {"name and first address pair under two nicknames", "", ">ann|Ann Lee||a@x",
     ">al|Ann Lee|7|a@x", "ann|Ann Lee|7|a@x", "al|Ann Lee|7|a@x"},
    {"a nickname from the name", "", "", ">|Smith, John", "Smith  John|Smith, John",
     "|Smith, John"},
    {"a nickname from the address", "", "", ">|||x@y", "x@y|||x@y", "|||x@y"},
    {"two cards of one nickname", "", "", ">bob|B1; >bob|B2", "bob1|B2; bob|B1", "bob|B1; bob|B2"},
    {"changes of two fields", "a|A|1|x@y", "a>a|A|2|x@y", "a>a|A|1|z@y", "a|A|2|z@y", "="},
    {"a field cleared in the folder too", "a|A|1||n", "", "a>a|A|||n", "a|A|||n", "="},
    {"an emptied name stays in Eudora", "a|A|1", "", "a>a||1", "a|A|1", "a||1"},
    {"deletions", "a|A; b|B; c|C; d|D", "a>; d>", "b>; d>", "c|C", "="},
    {"rename with another change", "a|Ann|1|a@x; b|B", "a>z|Ann|2|a@x", "", "b|B; z|Ann|2|a@x",
     "="},
    {"rename in the folder to a nickname that is taken", "a|Ann|1; b|Bob|2", "", "a>b|Ann|1",
     "b1|Ann|1; b|Bob|2", "b|Ann|1; b|Bob|2"},
    {"conflict: the older one of Eudora marked", "a|A|1", "a>a|A|2", "a>a|A|3",
     "a (older)|A (older)|2; a|A|3", "=", sync::Prefer::kBoth, true, 1},
    {"conflict: the older one of the folder marked", "a|A|1", "a>a|A|2", "a>a|A|3",
     "a (older)|A (older)|3; a|A|2", "=", sync::Prefer::kBoth, false, 1},
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
    {"characters outside the code page stay in the folder", "", "", ">g|G\xC3\xBC \xE5\xB1\xB1",
     "g|G\xC3\xBC ?", "g|G\xC3\xBC \xE5\xB1\xB1"},
    {"and survive a change beside them", "g|G \xE5\xB1\xB1 x|1", "g>g|G ? yz|1", "", "g|G ? yz|1",
     "g|G \xE5\xB1\xB1 yz|1"},
    {"an edit beside two of them", "g|\xE5\xB1\xB1\xE6\x9C\xA8|1", "g>g|???|1", "", "g|???|1",
     "g|\xE5\xB1\xB1\xE6\x9C\xA8?|1"},
    {"a change that Eudora cannot see", "g|G|1||\xE5\xB1\xB1", "", "g>g|G|1||\xE6\x9C\xA8",
     "g|G|1||?", "g|G|1||\xE6\x9C\xA8"},
    {"a line break in a one-line field", "", "", ">n|No~Name|1", "n|No Name|1", "n|No~Name|1"},
    {"angle brackets, commas and length of a nickname", "", "",
     ">a<b,c|A; >12345678901234567890123456789|B; >Group x|C",
     "123456789012345678901234567|B; _Group x|C; a b c|A",
     "12345678901234567890123456789|B; Group x|C; a<b,c|A"},
    {"a name that Eudora refuses holds nothing else up", "a|A|1", "", "a>a|...|1; >b|B",
     "a|A|1; b|B", "a|...|1; b|B", sync::Prefer::kBoth, true, 0, 1},
};

// The sides in step and then edited, in front of the run that matters.
void Prepare(ContactWorld& world, const Case& test) {
    for (const std::string& contact : Split(test.before)) Edit(world, kFolder, '>' + contact);
    world.Sync();
    world.options.prefer = test.prefer;
    if (!test.folderIsNewer) world.eudora.changedAt = world.eudora.changedAt.max();
    for (const std::string& edit : Split(test.eudoraEdits)) Edit(world, kEudora, edit);
    for (const std::string& edit : Split(test.folderEdits)) Edit(world, kFolder, edit);
}

bool IsInStep(ContactWorld& world, const Case& test) {
    return Lines(world, kEudora) == Split(test.eudoraAfter) &&
           Lines(world, kFolder) == Split(test.Folder());
}

void ExpectInStep(ContactWorld& world, const Case& test) {
    EXPECT_EQ(Lines(world, kEudora), Split(test.eudoraAfter));
    EXPECT_EQ(Lines(world, kFolder), Split(test.Folder()));
    EXPECT_THAT(world.memory.intents, IsEmpty());
    for (const state::RememberedPair& pair : world.memory.pairs.rows) {
        EXPECT_EQ(pair.beyond, world.eudora.Hold(pair.folder.contact) != pair.folder.contact);
    }
    const std::string before = world.Trace();
    const sync::Report again = world.Sync().report;
    EXPECT_THAT(again.changes, IsEmpty());
    EXPECT_EQ(again.refused.size(), test.refused);
    EXPECT_EQ(world.Trace(), before);
}

TEST(Engine, BringsBothSidesIntoStepAndRestsThen) {
    for (const Case& test : kCases) {
        SCOPED_TRACE(test.what);
        ContactWorld world;
        Prepare(world, test);
        Texts errors;
        const sync::Report report = world.Sync(&errors).report;
        EXPECT_THAT(errors, IsEmpty());
        EXPECT_EQ(report.conflicts.size(), test.conflicts);
        EXPECT_EQ(report.refused.size(), test.refused);
        ExpectInStep(world, test);
        // A lost memory doubles nothing.
        world.memory.pairs.rows.clear();
        world.Sync();
        EXPECT_EQ(world.Of(kEudora).size(), Split(test.eudoraAfter).size());
        EXPECT_EQ(world.Of(kFolder).size(), Split(test.Folder()).size());
    }
}

// Every case again, cut off at its n-th operation or with a failure there, for every n: the next
// run ends where the whole run would have ended, no card is ever a half one, and what a failure
// kept from being done is told.
TEST(Engine, ACutOffRunOrAFailedStepLosesAndDoublesNothing) {
    for (const Case& test : kCases) {
        SCOPED_TRACE(test.what);
        ForEveryFault([&](Fault fault, int n) {
            ContactWorld world;
            Prepare(world, test);
            world.files.Arm(fault, n);
            Texts errors;
            const bool isStopped = world.Sync(&errors).stop.has_value();
            const bool fired = world.files.Disarm();
            EXPECT_EQ(world.disk.OpenCount(), 0);
            EXPECT_TRUE(isStopped || !errors.empty() || IsInStep(world, test));
            world.Sync();
            ExpectInStep(world, test);
            EXPECT_EQ(world.disk.AllFiles().size(), world.Of(kFolder).size()) << "side files";
            return fired;
        });
    }
}

// Twice the contacts of one nickname, and the conflicts beside older ones, twice the work.
TEST(Engine, PlansInProportionToTheContacts) {
    const auto work = [](int contacts) {
        ContactWorld world;
        for (const char* round : {">p#|P#|1", "", "p#>p#|P#|2", ">o# (older)|O#", ">bob|B#"}) {
            if (*round == '\0') world.Sync();
            for (int i = 0; i < contacts && *round != '\0'; ++i) {
                std::string edit = round;
                for (std::size_t at; (at = edit.find('#')) != std::string::npos;)
                    edit.replace(at, 1, std::to_string(i));
                Edit(world, kFolder, edit);
                if (edit[0] == 'p') Edit(world, kEudora, edit + "3");
            }
        }
        world.eudora.asked = 0;
        const contactsync::Plan plan = world.MakePlan();
        EXPECT_EQ(plan.report.conflicts.size(), static_cast<std::size_t>(contacts));
        return world.eudora.asked;
    };
    EXPECT_LT(work(200), 2.2 * work(100));
}

TEST(Engine, AllowsTheLargerOfTenAndAQuarterToBeDeleted) {
    const std::pair<std::optional<sync::DeleteLimit>, unsigned long> limits[] = {
        {{}, 10}, {sync::DeleteLimit{11, false}, 11}, {sync::DeleteLimit{28, true}, 11}};
    for (const auto& [limit, allowed] : limits) {
        EXPECT_EQ(sync::DeletionsAllowed(40, limit), allowed);
        EXPECT_FALSE(sync::TooManyDeletions(allowed, "", 40, limit));
        EXPECT_TRUE(sync::TooManyDeletions(allowed + 1, "", 40, limit));
    }
    EXPECT_EQ(sync::DeletionsAllowed(200, {}), 50u);
}

constexpr const char* kAnn =
    "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Ann\r\nPHOTO:abc\r\nTEL:1\r\nEND:VCARD\r\n";

TEST(VdirContacts, SeesCardsOnlyAndLeavesOtherFilesAlone) {
    ContactWorld world;
    EXPECT_THAT(*world.folder.List(), IsEmpty());
    for (const char* name : {".hidden.vcf", "a.vcf.kvnew", "color", "sub\\c.vcf"}) {
        world.disk.Put(std::string("C:\\cards\\") + name, "?");
    }
    const auto others = world.disk.AllFiles();
    world.disk.Put("C:\\cards\\a.vcf", kAnn);
    world.disk.Put("C:\\cards\\.kvsync-a.vcf.tmp", "half");
    const auto items = *world.folder.List();
    ASSERT_EQ(items.size(), 1u);
    base::FieldSet phone;
    phone.Add(base::Field::kPhone);
    ASSERT_TRUE(world.folder.Change(items[0], C("||2"), phone));
    EXPECT_EQ(*world.disk.Get("C:\\cards\\a.vcf"),
              "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Ann\r\nPHOTO:abc\r\nTEL:2\r\n"
              "REV:19700101T000000Z\r\nEND:VCARD\r\n");
    // By now somebody else changed it once more.
    EXPECT_THAT(world.folder.Change(items[0], C("||3"), phone).Error().Message(),
                ::testing::HasSubstr("changed during the run"));
    EXPECT_FALSE(world.folder.Remove(items[0]));
    ASSERT_TRUE(world.folder.Remove((*world.folder.List())[0]));
    EXPECT_EQ(world.disk.AllFiles(), others) << "the leftover of a run went with the first change";
}

}  // namespace
}  // namespace host::testing
