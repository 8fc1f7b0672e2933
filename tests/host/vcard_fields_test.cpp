#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/vcard/card.h"
#include "host/vcard/card_fields.h"

namespace host {
namespace {

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
        {"NICKNAME:a\\,b,c\n", base::Field::kNickname, "a,b"},
        {"FN: Ann\\, Lee \n", base::Field::kName, "Ann, Lee"},
        {"N:Lee;Ann;M.;Dr.;Jr.\n", base::Field::kName, "Dr. Ann M. Lee Jr."},
        {"FN:\nN:Lee;Ann;;;\n", base::Field::kName, "Ann Lee"},
        {"FN:bob\nN:;;;;\nNICKNAME:bob\n", base::Field::kName, ""},
        {"FN:bob\nNICKNAME:bob\n", base::Field::kName, "bob"},
        {"fn;charset=utf-8:G\xC3\xBC\n", base::Field::kName, "G\xC3\xBC"},
        {"FN;CHARSET=ISO-8859-1:G\xFC\n", base::Field::kName, "G\xC3\xBC"},
        {"FN:G\xFC\n", base::Field::kName, "G\xEF\xBF\xBD"},
        {"FN;ENCODING=QUOTED-PRINTABLE:G=C3=BC=\nx=zz\n", base::Field::kName, "G\xC3\xBCx=zz"},
        {"NOTE;QUOTED-PRINTABLE:a=0D=0Ab\n", base::Field::kNote, "a\nb"},
        {"NOTE:a\\nb\\Nc\\\\n\\;\\,\\x\n", base::Field::kNote, "a\nb\nc\\n;,\\x"},
        {"NOTE:fol\n ded\n\t here\n", base::Field::kNote, "folded here"},
        {"TEL;TYPE=fax:1\nTEL;TYPE=cell:2\nTEL:3\n", base::Field::kPhone, "2"},
        {"TEL;TYPE=\"work,fax\":1\nTEL:3\n", base::Field::kPhone, "3"},
        {"TEL;WORK;FAX:1\nTEL:3\n", base::Field::kFax, "1"},
        {"TEL;VALUE=uri:tel:+1-2\n", base::Field::kPhone, "+1-2"},
        {"item1.EMAIL;TYPE=x:a@b\nitem1.X-ABLabel:c\nEMAIL:d@e\n", base::Field::kEmail, "a@b"},
        {"ADR:;;Main St 1;Town;ST;123;Land\n", base::Field::kAddress,
         "Main St 1\nTown ST 123\nLand"},
        {"ADR:Box 1;Apt 2;A,B;;;;\n", base::Field::kAddress, "Box 1\nApt 2\nA\nB"},
        {"ADR;LABEL=\"1 St^nTown; ^'x^'\":;;;;;;\n", base::Field::kAddress, "1 St\nTown; \"x\""},
        {"ADR:short\n", base::Field::kAddress, "short"},
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
        {"EMAIL:a\nEMAIL:b\n", base::Field::kEmail, "", "EMAIL:b\n"},
        {"FN:Ann Lee\nN:Lee;Ann;;;\n", base::Field::kName, "Bo van Dyk",
         "FN:Bo van Dyk\nN:Dyk;Bo van;;;\n"},
        {"FN:Ann Lee\n", base::Field::kName, "Bo", "FN:Bo\n"},
        {"FN:Ann\n", base::Field::kName, "", "FN:?\nN:;;;;\n"},
        {"ADR;TYPE=home:;;S 1;T;R;9;L\n", base::Field::kAddress, "S 2\nT R 9\nL",
         "ADR;TYPE=home:;;S 2;T;R;9;L\n"},
        {"ADR:;;S 1;T;;;L\n", base::Field::kAddress, "S 1\nU\nL", "ADR:;;S 1\\nU;;;;L\n"},
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

TEST(AddressLines, AnyLinesOverAnyAddressComeBack) {
    for (const char* old : {"", "a;b;c;d;e;f;g", ";;Main St;Town;ST;1;Land", "x", ";;;T;;;",
                            ";;a\\,b,c;d;e;f;g;h;i"}) {
        for (const char* lines : {"", "one", "Main St\nTown ST 1\nLand", "Main St\nLand", "Land",
                                  "T", "a\nb\nc\nd e f\ng", "b\na", "x;y\\,z\n, ;", "d e f\ng"}) {
            EXPECT_EQ(vcard::AddressLines(vcard::ChangeAddress(old, lines)), lines) << old << "\n"
                                                                                    << lines;
        }
    }
}

}  // namespace
}  // namespace host
