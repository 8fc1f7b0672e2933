#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <random>
#include <sstream>

#include "fuzz/fuzz.h"
#include "host/vcard/card.h"
#include "host/vcard/card_fields.h"
#include "host/vcard/content_line.h"
#include "tests/platform/temp_folder.h"
#include "tests/support/table.h"

namespace host::testing {
namespace {

TEST(Card, SaysWhereDamageIsAndKeepsWhatItHad) {
    const std::string whole = "BEGIN:VCARD\r\nVERSION:4.0\r\nFN:x\r\nEND:VCARD\r\n";
    for (const auto& [bytes, line, what] :
         ::test::Table<std::string, std::size_t, std::string>("damaged cards")) {
        SCOPED_TRACE(bytes);
        vcard::Card card;
        ASSERT_FALSE(card.Parse(whole));
        const auto error = card.Parse(bytes);
        ASSERT_TRUE(error);
        EXPECT_EQ(error->line, line);
        EXPECT_THAT(error->what, ::testing::HasSubstr(what));
        EXPECT_EQ(card.Serialise(), whole);
    }
}

vcard::Card Parse(const std::string& lines) {
    vcard::Card card;
    EXPECT_FALSE(card.Parse("BEGIN:VCARD\nVERSION:4.0\n" + lines + "END:VCARD\n")) << lines;
    return card;
}

base::Field Named(const std::string& name) {
    const auto found = std::ranges::find(base::kAllFields, name, base::FieldName);
    EXPECT_NE(found, std::end(base::kAllFields)) << name;
    return found == std::end(base::kAllFields) ? base::Field() : *found;
}

TEST(CardFields, ReadsWhatOtherProgramsWrite) {
    for (const auto& [lines, field, value] : ::test::Rows<3>("fields of cards")) {
        EXPECT_EQ(vcard::ReadFields(Parse(lines)).contact[Named(field)], value) << lines;
    }
    // What no field shows is counted, and groups are known.
    EXPECT_EQ(vcard::ReadFields(Parse("TEL:1\nTEL:2\nPHOTO:x\nEMAIL:a\nEMAIL:b\nREV:1\n")).beyond,
              3);
    EXPECT_EQ(vcard::ReadFields(Parse("FN:x\nN:x;;;;\nUID:1\n")).beyond, 0);
    EXPECT_FALSE(vcard::ReadFields(Parse("KIND:group\nFN:x\n")).isPerson);
    EXPECT_TRUE(vcard::ReadFields(Parse("KIND:Individual\nFN:x\n")).isPerson);
}

// A line as it is after one field got a new value; the rest of the card is fixed.
TEST(CardFields, ChangesOneLineAndKeepsItsShape) {
    for (const auto& [before, name, value, after] : ::test::Rows<4>("changes of cards")) {
        vcard::Card card = Parse("REV:1\nX:1\n" + before);
        const base::Field field = Named(name);
        base::Contact contact;
        contact[field] = value;
        base::FieldSet which;
        which.Add(field);
        vcard::WriteFields(card, contact, which, {});
        EXPECT_EQ(card.Serialise(), Parse("REV:19700101T000000Z\nX:1\n" + after).Serialise());
    }
}

// The property that the fuzz target holds, for cards of lines of its corpus in any order: what
// other programs write, folds and odd line ends included.
TEST(Card, AnEditKeepsEveryByteOfTheRest) {
    std::vector<std::string> lines;
    for (const auto& file : std::filesystem::directory_iterator(KV_CARDS)) {
        std::istringstream text(test::ReadDisk(file.path()));
        for (std::string line; std::getline(text, line);) {
            if (!line.starts_with("BEGIN") && !line.starts_with("END")) lines.push_back(line);
        }
    }
    std::mt19937 random(1);
    int cards = 0;
    for (int round = 0; round < 9000 && !HasFailure(); ++round) {
        std::string bytes = "BEGIN:VCARD\nVERSION:4.0\n";
        for (auto count = random() % 14; count > 0; --count) {
            bytes += lines[random() % lines.size()] + (random() % 9 == 0 ? "\n " : "\n");
        }
        bytes += "END:VCARD\n";
        vcard::Card card;
        cards += !card.Parse(bytes);
        EXPECT_NO_THROW(Check(bytes)) << bytes;
    }
    EXPECT_GT(cards, 3000);
}

}  // namespace
}  // namespace host::testing
