#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <set>

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
        {"\r\n\r\n", 2, "no BEGIN"},
        {"BEGIN:VCALENDAR\r\n", 1, "no BEGIN"},
        {head + "FN:x\r\nEND:VCAR", 4, "no END"},
        {head + "NOTE:a\r\n b\r\n\r\nTEL\r\n" + tail, 6, "no colon"},
        {head + "X;P=\"a:b\r\n" + tail, 3, "no colon"},
        {head + "ADR;P\" =a\"b:;;c\r\n" + tail, 3, "a quote"},
        {head + "F N:x\r\n" + tail, 3, "no property name"},
        {head + "g.:x\r\n" + tail, 3, "no property name"},
        {head + "FN:" + std::string(1, '\0') + "\r\n" + tail, 3, "zero byte"},
        {whole + whole, 5, "a second vCard"},
        {whole + "FN:y\r\n", 5, "behind END"},
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
                  {"TEL;X=", "\"\"", ":1"},
                  {"TEL;TYPE=", "a,", "fax:1"},
                  {"NOTE:x\n", " y\n", ""},
                  {"NOTE:", "\\", "n"},
                  {"NOTE:", "\r", "x"},
                  {"NOTE:", "\\n", ""},
                  {"\n", "\n", ""},
                  {"X:1\n", "X:1\n", ""},
                  {"", "TEL;TYPE=fax:1\n", ""},
                  {"NICKNAME:", "a,", ""},
                  {"ADR:", "a;", ""},
                  {"ADR:;;", "a,", ";b;c;d"},
                  {"ADR:;;", "a\\n", ";b;c;d"},
                  {"N:", "a ;", ""},
                  {"FN:", "a ,", ""},
                  {"ADR;LABEL=\"", "^n", "\":;;;"},
                  {"FN:", "\xC3\xA9", ""},
                  {"NOTE;ENCODING=QUOTED-PRINTABLE:", "x=\n", ""},
                  {"NOTE;CHARSET=ISO-8859-1;ENCODING=QUOTED-PRINTABLE:", "=E9=0A", ""},
                  {"EMAIL;VALUE=uri:", "mailto:", ""},
                  {"NOTE:", "\xFF", ""},
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
            ':' + vcard::EscapeText(Text(true));
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

TEST(Card, FoldsWithoutCuttingACharacter) {
    vcard::Card card = vcard::Card::Create("urn:uuid:1");
    base::Contact contact;
    for (int i = 0; i < 100; ++i) contact[base::Field::kNote] += "\xE5\xB1\xB1";
    vcard::WriteFields(card, contact, base::FieldSet::All(), {});
    std::size_t start = 0;
    const std::string bytes = card.Serialise();
    for (std::size_t end; (end = bytes.find("\r\n", start)) != std::string::npos; start = end + 2) {
        const std::string line = bytes.substr(start, end - start);
        EXPECT_LE(line.size(), 75u);
        EXPECT_EQ(base::Canonical(line), line[0] == ' ' ? line.substr(1) : line);
    }
    EXPECT_EQ(vcard::ReadFields(card).contact[base::Field::kNote], contact[base::Field::kNote]);
}

}  // namespace
}  // namespace host::testing
