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

namespace host::testing {
namespace {

using enum base::Field;

TEST(Card, SaysWhereDamageIsAndKeepsWhatItHad) {
    const std::string head = "BEGIN:VCARD\r\nVERSION:4.0\r\n", tail = "END:VCARD\r\n";
    const std::string whole = head + "FN:x\r\n" + tail;
    const struct {
        std::string bytes;
        std::size_t line;
        const char* what;
    } cases[] = {
        {"", 0, "no BEGIN"},
        {"BEGIN:VCALENDAR\r\n", 1, "no BEGIN"},
        {head + "FN:x\r\nEND:VCAR", 4, "no END"},
        {head + "NOTE:a\r\n b\r\n\r\nTEL\r\n" + tail, 6, "no colon"},
        {head + "X;P=\"a:b\r\n" + tail, 3, "no colon"},
        {head + "ADR;P\" =a\"b:;;c\r\n" + tail, 3, "a quote"},
        {head + "g.:x\r\n" + tail, 3, "no property name"},
        {head + "FN:" + std::string(1, '\0') + "\r\n" + tail, 3, "zero byte"},
        {whole + whole, 5, "a second vCard"},
        {head + whole + tail, 3, "inside"},
        {"BEGIN:VCARD\r\nFN:x\r\n" + tail, 3, "no VERSION"},
        {"BEGIN:VCARD\r\nVERSION:2.1\r\n" + tail, 3, "version 2.1"},
    };
    for (const auto& [bytes, line, what] : cases) {
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

TEST(CardFields, ReadsWhatOtherProgramsWrite) {
    const struct {
        const char* lines;
        base::Field field;
        const char* value;
    } cases[] = {
        {"NICKNAME:Jim,Jimmie\n", kNickname, "Jim"},
        {"N:Lee;Ann;M.;Dr.;Jr.\n", kName, "Dr. Ann M. Lee Jr."},
        {"FN:\nN:Lee;Ann;;;\n", kName, "Ann Lee"},
        {"FN:bob\nN:;;;;\nNICKNAME:bob\n", kName, ""},
        {"FN;CHARSET=ISO-8859-1:G\xFC\n", kName, "G\xC3\xBC"},
        {"FN:G\xFC\n", kName, "G\xEF\xBF\xBD"},
        {"FN;ENCODING=QUOTED-PRINTABLE:G=C3=BC=\nx=zz\n", kName, "G\xC3\xBCx=zz"},
        {"NOTE;QUOTED-PRINTABLE:a=0D=0Ab\n", kNote, "a\nb"},
        {"NOTE:a\\nb\\Nc\\\\n\\;\\,\\x\n", kNote, "a\nb\nc\\n;,\\x"},
        {"NOTE:fol\n ded\n\t here\n", kNote, "folded here"},
        {"TEL;TYPE=fax:1\nTEL;TYPE=cell:2\nTEL:3\n", kPhone, "2"},
        {"TEL;TYPE=\"work,fax\":1\nTEL:3\n", kPhone, "3"},
        {"item1.EMAIL;TYPE=x:a@b\nitem1.X-ABLabel:c\nEMAIL:d@e\n", kEmail, "a@b"},
        {"ADR:;;Main St 1;Town;ST;123;Land\n", kAddress, "Main St 1\nTown ST 123\nLand"},
        {"ADR:Box 1;Apt 2;A,B;;;;\n", kAddress, "Box 1\nApt 2\nA\nB"},
        {"ADR;LABEL=\"1 St^nTown; ^'x^'\":;;;;;;\n", kAddress, "1 St\nTown; \"x\""},
    };
    for (const auto& [lines, field, value] : cases) {
        EXPECT_EQ(vcard::ReadFields(Parse(lines)).contact[field], value) << lines;
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
    const struct {
        const char* before;
        base::Field field;
        const char *value, *after;
    } cases[] = {
        {"NICKNAME:Jim,Jimmie\n", kNickname, "J,m", "NICKNAME:J\\,m,Jimmie\n"},
        {"item1.TEL;TYPE=home;PREF=1:5\n", kPhone, "6", "item1.TEL;TYPE=home;PREF=1:6\n"},
        {"TEL;VALUE=uri:tel:5\n", kPhone, "6", "TEL:6\n"},
        {"TEL;home:5\n", kFax, "6", "TEL;home:5\nTEL;TYPE=fax:6\n"},
        {"NOTE;ENCODING=QUOTED-PRINTABLE;CHARSET=ISO-8859-1:=FC\n", kNote, "a\nb", "NOTE:a\\nb\n"},
        {"FN:Ann Lee\nN:Lee;Ann;;;\n", kName, "Bo van Dyk", "FN:Bo van Dyk\nN:Dyk;Bo van;;;\n"},
        {"FN:Ann\n", kName, "", "FN:?\nN:;;;;\n"},
        {"ADR;TYPE=home:;;S 1;T;R;9;L\n", kAddress, "S 2\nT R 9\nL",
         "ADR;TYPE=home:;;S 2;T;R;9;L\n"},
        {"ADR:;;S 1;T;;;L\n", kAddress, "S 1\nU\nL", "ADR:;;S 1\\nU;;;;L\n"},
        {"ADR:a;;s;;;;L\n", kAddress, "a\n\ns\n\nL", "ADR:;;a\\n\\ns\\n\\nL;;;;\n"},
        {"ADR;LABEL=x:;;x;;;;\n", kAddress, "a, b\nc", "ADR;LABEL=\"a, b^nc\":;;a\\, b\\nc;;;;\n"},
    };
    for (const auto& [before, field, value, after] : cases) {
        vcard::Card card = Parse(std::string("REV:1\nX:1\n") + before);
        base::Contact contact;
        contact[field] = value;
        base::FieldSet which;
        which.Add(field);
        vcard::WriteFields(card, contact, which, {});
        EXPECT_EQ(card.Serialise(),
                  Parse(std::string("REV:19700101T000000Z\nX:1\n") + after).Serialise());
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
