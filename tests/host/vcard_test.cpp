#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <set>
#include <sstream>

#include "host/vcard/card.h"
#include "host/vcard/card_fields.h"
#include "host/vcard/content_line.h"
#include "tests/host/one_of.h"
#include "tests/support/failing_allocation.h"

namespace host::testing {
namespace {

TEST(Card, SaysWhereDamageIsAndKeepsWhatItHad) {
    struct Case {
        std::string bytes;
        std::size_t line;
        const char* what;
    };
    const std::string head = "BEGIN:VCARD\r\nVERSION:4.0\r\n", tail = "END:VCARD\r\n";
    const std::string whole = head + "FN:x\r\n" + tail;
    const Case cases[] = {
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
    for (const Case& test : cases) {
        SCOPED_TRACE(test.bytes);
        vcard::Card card;
        ASSERT_FALSE(card.Parse(whole));
        const auto error = card.Parse(test.bytes);
        ASSERT_TRUE(error);
        EXPECT_EQ(error->line, test.line);
        EXPECT_THAT(error->what, ::testing::HasSubstr(test.what));
        EXPECT_EQ(card.Serialise(), whole);
    }
}

// Twice the size, twice the work, whatever a card is made of.
TEST(Card, HostileShapesCostInProportionToTheirSize) {
    const struct {
        const char *head, *part, *tail;
    } shapes[] = {{"TEL", ";A=b", ":1"},
                  {"TEL;TYPE=", "a,", "fax:1"},
                  {"NOTE:", "\r", "x"},
                  {"", "TEL;TYPE=fax:1\n", ""},
                  {"ADR:;;", "a\\n", ";b;c;d"},
                  {"N:", "a ;", ""},
                  {"ADR;LABEL=\"", "^n", "\":;;;"},
                  {"NOTE;CHARSET=ISO-8859-1;ENCODING=QUOTED-PRINTABLE:", "=E9=0A", ""},
                  {"", "UID:a\n", ""}};
    for (const auto& shape : shapes) {
        const auto work = [&](int count) {
            std::string bytes = std::string("BEGIN:VCARD\nVERSION:4.0\n") + shape.head;
            for (int i = 0; i < count; ++i) bytes += shape.part;
            bytes += std::string(shape.tail) + "\nEND:VCARD\n";
            const auto before = test::BytesRequested();
            vcard::Card card;
            EXPECT_FALSE(card.Parse(bytes)) << bytes.substr(0, 80);
            vcard::WriteFields(card, vcard::ReadFields(card).contact, base::FieldSet::All(), {});
            EXPECT_FALSE(card.Serialise().empty());
            return test::BytesRequested() - before;
        };
        EXPECT_LT(work(8000), 3 * work(4000)) << shape.head << shape.part;
    }
}

vcard::Card Parse(const std::string& lines, const char* version = "4.0") {
    vcard::Card card;
    std::string bytes =
        "BEGIN:VCARD\nVERSION:" + std::string(version) + "\n" + lines + "END:VCARD\n";
    const auto error = card.Parse(bytes);
    EXPECT_FALSE(error) << bytes << error->what;
    return card;
}

TEST(CardFields, ReadsWhatOtherProgramsWrite) {
    struct Case {
        const char* lines;
        base::Field field;
        const char* value;
    };
    const Case cases[] = {
        {"NICKNAME:Jim,Jimmie\n", base::Field::kNickname, "Jim"},
        {"N:Lee;Ann;M.;Dr.;Jr.\n", base::Field::kName, "Dr. Ann M. Lee Jr."},
        {"FN:\nN:Lee;Ann;;;\n", base::Field::kName, "Ann Lee"},
        {"FN:bob\nN:;;;;\nNICKNAME:bob\n", base::Field::kName, ""},
        {"FN;CHARSET=ISO-8859-1:G\xFC\n", base::Field::kName, "G\xC3\xBC"},
        {"FN:G\xFC\n", base::Field::kName, "G\xEF\xBF\xBD"},
        {"FN;ENCODING=QUOTED-PRINTABLE:G=C3=BC=\nx=zz\n", base::Field::kName, "G\xC3\xBCx=zz"},
        {"NOTE;QUOTED-PRINTABLE:a=0D=0Ab\n", base::Field::kNote, "a\nb"},
        {"NOTE:a\\nb\\Nc\\\\n\\;\\,\\x\n", base::Field::kNote, "a\nb\nc\\n;,\\x"},
        {"NOTE:fol\n ded\n\t here\n", base::Field::kNote, "folded here"},
        {"TEL;TYPE=fax:1\nTEL;TYPE=cell:2\nTEL:3\n", base::Field::kPhone, "2"},
        {"TEL;TYPE=\"work,fax\":1\nTEL:3\n", base::Field::kPhone, "3"},
        {"item1.EMAIL;TYPE=x:a@b\nitem1.X-ABLabel:c\nEMAIL:d@e\n", base::Field::kEmail, "a@b"},
        {"ADR:;;Main St 1;Town;ST;123;Land\n", base::Field::kAddress,
         "Main St 1\nTown ST 123\nLand"},
        {"ADR:Box 1;Apt 2;A,B;;;;\n", base::Field::kAddress, "Box 1\nApt 2\nA\nB"},
        {"ADR;LABEL=\"1 St^nTown; ^'x^'\":;;;;;;\n", base::Field::kAddress, "1 St\nTown; \"x\""},
    };
    for (const Case& test : cases) {
        EXPECT_EQ(vcard::ReadFields(Parse(test.lines, "3.0")).contact[test.field], test.value)
            << test.lines;
    }
}

TEST(CardFields, CountsWhatNoFieldShowsAndKnowsGroups) {
    EXPECT_EQ(
        vcard::ReadFields(Parse("FN:x\nTEL:1\nTEL:2\nPHOTO:x\nEMAIL:a\nEMAIL:b\nREV:1\n")).beyond,
        3);
    EXPECT_EQ(vcard::ReadFields(Parse("FN:x\nN:x;;;;\nUID:1\n")).beyond, 0);
    EXPECT_FALSE(vcard::ReadFields(Parse("KIND:group\nFN:x\n")).isPerson);
    EXPECT_TRUE(vcard::ReadFields(Parse("KIND:Individual\nFN:x\n")).isPerson);
}

// A line as it is after one field got a new value; the rest of the card is fixed.
TEST(CardFields, ChangesOneLineAndKeepsItsShape) {
    struct Case {
        const char* before;
        base::Field field;
        const char* value;
        const char* after;
    };
    const Case cases[] = {
        {"NICKNAME:Jim,Jimmie\n", base::Field::kNickname, "J,m", "NICKNAME:J\\,m,Jimmie\n"},
        {"item1.TEL;TYPE=home;PREF=1:5\n", base::Field::kPhone, "6",
         "item1.TEL;TYPE=home;PREF=1:6\n"},
        {"TEL;VALUE=uri:tel:5\n", base::Field::kPhone, "6", "TEL:6\n"},
        {"TEL;home:5\n", base::Field::kFax, "6", "TEL;home:5\nTEL;TYPE=fax:6\n"},
        {"NOTE;ENCODING=QUOTED-PRINTABLE;CHARSET=ISO-8859-1:=FC\n", base::Field::kNote, "a\nb",
         "NOTE:a\\nb\n"},
        {"FN:Ann Lee\nN:Lee;Ann;;;\n", base::Field::kName, "Bo van Dyk",
         "FN:Bo van Dyk\nN:Dyk;Bo van;;;\n"},
        {"FN:Ann\n", base::Field::kName, "", "FN:?\nN:;;;;\n"},
        {"ADR;TYPE=home:;;S 1;T;R;9;L\n", base::Field::kAddress, "S 2\nT R 9\nL",
         "ADR;TYPE=home:;;S 2;T;R;9;L\n"},
        {"ADR:;;S 1;T;;;L\n", base::Field::kAddress, "S 1\nU\nL", "ADR:;;S 1\\nU;;;;L\n"},
        {"ADR:a;;s;;;;L\n", base::Field::kAddress, "a\n\ns\n\nL", "ADR:;;a\\n\\ns\\n\\nL;;;;\n"},
        {"ADR;LABEL=x:;;x;;;;\n", base::Field::kAddress, "a, b\nc",
         "ADR;LABEL=\"a, b^nc\":;;a\\, b\\nc;;;;\n"},
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(std::string(test.before) + test.value);
        vcard::Card card = Parse(std::string("X:1\n") + test.before + "REV:1\n");
        base::Contact contact;
        contact[test.field] = test.value;
        base::FieldSet which;
        which.Add(test.field);
        vcard::WriteFields(card, contact, which, {});
        std::string body = card.Serialise();
        const auto rev = body.find("REV:19700101T000000Z\n");
        ASSERT_NE(rev, std::string::npos) << body;
        body.erase(rev, std::string("REV:19700101T000000Z\n").size());
        EXPECT_EQ(body,
                  "BEGIN:VCARD\nVERSION:4.0\nX:1\n" + std::string(test.after) + "END:VCARD\n");
    }
}

// Random cards with everything that other programs write, in their spelling.
class Generator {
  public:
    explicit Generator(unsigned seed) : m_random(seed), m_lineEnd(Pick(2) ? "\r\n" : "\n") {}

    std::string Card() {
        std::string bytes = Pick(4) == 0 ? "\xEF\xBB\xBF" : "";
        bytes += "BEGIN:VCARD" + m_lineEnd + "VERSION:" + (Pick(2) ? "3.0" : "4.0") + m_lineEnd;
        for (int count = Pick(14); count > 0; --count) bytes += Property();
        return bytes + "END:VCARD" + (Pick(5) ? m_lineEnd : "");
    }
    base::Contact Values() {
        base::Contact contact;
        for (base::Field field : base::kAllFields) {
            contact[field] = Pick(4) == 0 ? "" : base::Canonical(Text(base::HoldsLines(field)));
        }
        return contact;
    }
    base::FieldSet Fields() {
        base::FieldSet set;
        for (base::Field field : base::kAllFields) {
            if (Pick(2)) set.Add(field);
        }
        return set;
    }
    int Pick(int count) { return static_cast<int>(m_random() % static_cast<unsigned>(count)); }

  private:
    std::string Text(bool mayHaveLines) {
        std::string text;
        for (int count = Pick(30); count > 0; --count) {
            text += Pick(15) == 0
                        ? (mayHaveLines ? "\n" : "-")
                        : OneOf(m_random,
                                "a|B |,|;|\\|:|\"|\xC3\xBC|\xE5\xB1\xB1|=3D|^|n|x@y|long word ");
        }
        return text;
    }
    std::string Property() {
        std::string line =
            OneOf(
                m_random,
                "N|FN|NICKNAME|item1.TEL;TYPE=home,voice|tel;fax;work|REV|UID|"
                "TEL;TYPE=\"a:b;c\"|EMAIL;PREF=1|item2.EMAIL|ADR;TYPE=home;LABEL=\"x^ny\"|ADR|NOTE|"
                "note;language=de|PHOTO;ENCODING=b;TYPE=JPEG|X-ABLabel|item1.X-ABLABEL|"
                "CATEGORIES") +
            ':' + (Pick(4) ? vcard::EscapeText(Text(true)) : ";a;b\\,c,d;" + Text(false));
        // Folded where another program might, even inside a character.
        for (std::size_t at = 20; Pick(2) && at < line.size(); at += 20) {
            line.insert(at, m_lineEnd + (Pick(2) ? " " : "\t"));
        }
        return line + m_lineEnd + (Pick(12) ? "" : m_lineEnd);
    }

    std::mt19937 m_random;
    std::string m_lineEnd;
};

std::vector<std::string> RawLines(const vcard::Card& card, bool ours) {
    const std::set<std::string> names{"N", "FN", "NICKNAME", "TEL", "EMAIL", "ADR", "NOTE", "REV"};
    std::vector<std::string> lines;
    for (const vcard::Property& property : card.Properties()) {
        if (ours || !names.contains(property.name)) lines.push_back(property.raw);
    }
    return lines;
}

TEST(Card, FoldsWithoutCuttingACharacter) {
    vcard::Card card = vcard::Card::Create("1");
    base::Contact contact;
    for (int i = 0; i < 60; ++i) contact[base::Field::kNote] += "\xE5\xB1\xB1";
    vcard::WriteFields(card, contact, base::FieldSet::All(), {});
    std::string line;
    for (std::istringstream bytes(card.Serialise()); std::getline(bytes, line, '\n');) {
        EXPECT_LE(line.size(), 76u);
        EXPECT_EQ(base::Canonical(line).find("\xEF\xBF\xBD"), std::string::npos) << line;
    }
}

TEST(Card, AnEditKeepsEveryByteOfTheRest) {
    for (unsigned seed = 1; seed <= 3000; ++seed) {
        Generator generator(seed);
        const std::string bytes = generator.Card();
        SCOPED_TRACE("seed " + std::to_string(seed) + "\n" + bytes);
        vcard::Card card;
        ASSERT_FALSE(card.Parse(bytes));
        ASSERT_EQ(card.Serialise(), bytes);
        const base::Contact before = vcard::ReadFields(card).contact, values = generator.Values();
        const base::FieldSet which = generator.Fields();
        const auto others = RawLines(card, false);
        vcard::WriteFields(card, values, which, std::chrono::system_clock::from_time_t(0));

        vcard::Card again;
        ASSERT_FALSE(again.Parse(card.Serialise())) << card.Serialise();
        EXPECT_EQ(RawLines(again, true), RawLines(card, true));
        EXPECT_EQ(RawLines(again, false), others);
        const base::Contact after = vcard::ReadFields(again).contact;
        for (base::Field field : base::kAllFields) {
            // What is taken away may show the next of its kind; a nameless card shows a name.
            if (which.Has(field) && !values[field].empty()) {
                EXPECT_EQ(after[field], values[field]) << base::FieldName(field);
            } else if (!which.Has(field) && field != base::Field::kName) {
                EXPECT_EQ(after[field], before[field]) << base::FieldName(field);
            }
        }
        if (HasFailure()) break;
    }
}

}  // namespace
}  // namespace host::testing
