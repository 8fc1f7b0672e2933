#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

#include "fuzz/fuzz.h"
#include "host/vcard/card.h"
#include "host/vcard/card_fields.h"
#include "host/vcard/content_line.h"
#include "tests/host/one_of.h"

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
        vcard::Card card = Parse(std::string("X:1\n") + before + "REV:1\n");
        base::Contact contact;
        contact[field] = value;
        base::FieldSet which;
        which.Add(field);
        vcard::WriteFields(card, contact, which, {});
        std::string body = card.Serialise();
        const std::string revision = "REV:19700101T000000Z\n";
        const auto at = body.find(revision);
        ASSERT_NE(at, body.npos) << body;
        EXPECT_EQ(body.erase(at, revision.size()), Parse(std::string("X:1\n") + after).Serialise());
    }
}

// Random cards with everything that other programs write, in their spelling.
class Generator {
  public:
    explicit Generator(unsigned seed) : m_random(seed), m_lineEnd(Pick(2) ? "\r\n" : "\n") {}

    std::string Card() {
        std::string bytes = Pick(4) == 0 ? "\xEF\xBB\xBF" : "";
        bytes += "BEGIN:VCARD" + m_lineEnd + "VERSION:" + (Pick(2) ? "3.0" : "4.0") + m_lineEnd;
        for (auto count = Pick(14); count > 0; --count) bytes += Property();
        return bytes + "END:VCARD" + (Pick(5) ? m_lineEnd : "");
    }
    std::string Text(bool mayHaveLines) {
        const std::string more = mayHaveLines ? "|\n" : "|-";
        std::string text;
        for (auto count = Pick(30); count > 0; --count)
            text += OneOf(m_random,
                          "a|B |,|;|\\|:|\"|\xC3\xBC|\xE5\xB1\xB1|=3D|^|n|x@y|long word " + more);
        return text;
    }
    std::size_t Pick(std::size_t count) { return m_random() % count; }

  private:
    std::string Property() {
        std::string line =
            OneOf(
                m_random,
                "N|FN|NICKNAME|item1.TEL;TYPE=home,voice|tel;fax;work|REV|UID|NOTE|ADR|CATEGORIES|"
                "TEL;TYPE=\"a:b;c\"|EMAIL;PREF=1|item2.EMAIL|ADR;TYPE=home;LABEL=\"x^ny\"|"
                "note;language=de|PHOTO;ENCODING=b;TYPE=JPEG|X-ABLabel|item1.X-ABLABEL") +
            ':' + (Pick(4) ? vcard::EscapeText(Text(true)) : ";a;b\\,c,d;" + Text(false));
        // Folded where another program might, even inside a character.
        for (std::size_t at = 20; Pick(2) && at < line.size(); at += 20)
            line.insert(at, m_lineEnd + (Pick(2) ? " " : "\t"));
        return line + m_lineEnd + (Pick(12) ? "" : m_lineEnd);
    }

    std::mt19937 m_random;
    std::string m_lineEnd;
};

// The property that the fuzz target holds, too.
TEST(Card, AnEditKeepsEveryByteOfTheRest) {
    for (unsigned seed = 1; seed <= 6000 && !HasFailure(); ++seed) {
        const std::string bytes = Generator(seed).Card();
        vcard::Card card;
        EXPECT_FALSE(card.Parse(bytes)) << bytes;
        EXPECT_NO_THROW(Check(bytes)) << "seed " << seed << '\n' << bytes;
    }
}

}  // namespace
}  // namespace host::testing
