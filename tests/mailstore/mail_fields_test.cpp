#include <cstring>
#include <random>

#include "mailstore/mail_date.h"
#include "mailstore/mail_fields.h"
#include "tests/mailstore/reading_fixture.h"
#include "text/ascii.h"

namespace {

TEST_F(ReadingTest, TheHostLearnsElevenFieldsInOrder) {
    ASSERT_EQ(mail.InitDefaultSettings(), RRC_OK);
    ASSERT_EQ(mail.InitDefaultSettings(), RRC_OK) << "replaces the list";
    std::string all;
    CString id, name;
    unsigned long type = 0, tag = 0;
    unsigned short ordinal = 0;
    auto code = mail.GetFirstFieldInfo(id, name, &type, &tag, &ordinal);
    for (; code == RRC_OK; code = mail.GetNextFieldInfo(id, name, &type, &tag, &ordinal)) {
        char row[80];
        std::snprintf(row, sizeof row, "%s %s %lu %lX|", id.Str().c_str(), name.Str().c_str(), type,
                      tag & 0xFFFFFFFFUL);
        all += row;
    }
    EXPECT_EQ(all,
              "1 From 4 2BD|2 m42 4 800002BE|3 m43 4 2BF|4 m44 4 2C0|5 m45 4 14|"
              "6 m46 7 800002C2|7 m47 4 15|10 MailStatus 1 80002C6|11 MessageId 4 80002C7|"
              "9 Size 1 80002C3|8 Attachment 4 800001F|");
}

TEST_F(ReadingTest, TextFieldsAreCopiesOrNull) {
    Show({.originator = "Ann Lee <ann@x.org>",
          .subject = "Hello %s%n",
          .recipients = {{mapi::kTo, "SMTP:a@x"}, {mapi::kCc, "c@x"}, {mapi::kTo, "b@SMTP:x"}}});
    for (const auto& [field, text] : {std::pair{"1", "ann@x.org"},
                                      {"2", "a@x; b@SMTP:x"},
                                      {"3", "c@x"},
                                      {"4", "(null)"},
                                      {"5", "Hello %s%n"}}) {
        EXPECT_EQ(Text(field), text) << field;
    }
    Show({});
    for (const char* field : {"1", "2", "3", "4", "5", "7"}) EXPECT_EQ(Text(field), "(null)");
    for (const char* field : {"0", "12", "-1", "", "99999999"}) {
        EXPECT_EQ(Text(field), "(untouched)") << field;
    }
}

TEST_F(ReadingTest, StatusComesFromTwoFlags) {
    const std::pair<std::uint32_t, std::int32_t> rows[] = {
        {0, 0x20001}, {1, 1}, {4, 4}, {5, 4}, {2, 0x20001}, {0xFFFFFFFA, 0x20001}, {0x80000001, 1}};
    for (const auto& [flags, status] : rows) {
        Show({.flags = flags});
        EXPECT_EQ(Number("10"), status) << flags;
        CString marker;
        EXPECT_EQ(mail.GetModifiedInfo(marker), RRC_OK);
        EXPECT_EQ(marker.Str(), std::to_string(status));
    }
}

TEST_F(ReadingTest, WithoutAMailNothingIsRead) {
    char* cell = nullptr;
    unsigned long type = kFieldText;
    for (const char* field : {"1", "2", "3", "4", "5", "6", "7", "9", "10", "11"}) {
        EXPECT_EQ(mail.GetField(field, &type, &cell), RRC_FAILED) << field;
        EXPECT_EQ(DrainErrors(), Texts{"m58"}) << field;
    }
    mail.m_appInfo.m_bAttachments = 1;
    EXPECT_EQ(mail.GetField("8", &type, &cell), RRC_FAILED);
    EXPECT_EQ(DrainErrors(), Texts{"m76"});
    CString marker("old");
    EXPECT_EQ(mail.GetModifiedInfo(marker), RRC_FAILED);
    EXPECT_TRUE(marker.IsEmpty());
    EXPECT_EQ(DrainErrors(), (Texts{"m58", "m65"}));
    mail.m_bOutBox = true;
    EXPECT_EQ(mail.GetModifiedInfo(marker), RRC_OK) << "a record that is not stored has no marker";
}

TEST_F(ReadingTest, MessageIdsAreKnownFromOpening) {
    Show({});
    EXPECT_EQ(mail.m_ids.Give("one@x"), "0x00000001");
    EXPECT_EQ(Text("11"), "one@x");
    AddMail();
    ASSERT_EQ(mail.MoveNext(), RRC_OK);
    char* cell = nullptr;
    EXPECT_EQ(mail.GetField("11", nullptr, &cell), RRC_FAILED) << "arrived after opening";
    EXPECT_EQ(DrainErrors(), Texts{"m58"});
}

TEST_F(ReadingTest, BodiesLoseMarksAndTrailers) {
    const std::string trailer = "\n\nAttachment Converted: \"x\"";
    struct Row {
        std::string note;
        std::size_t files;
        std::string body;
    };
    const Row rows[] = {
        {"a\r\nb", 0, "a\r\r\nb"},
        {"", 1, "(untouched)"},
        {"<x-flowed></x-flowed>", 0, "(untouched)"},
        {"<x-flowed>a</x-flowed>b<x-flowed>", 0, "ab"},
        {"</x-<x-flowed>flowed>a<X-FLOWED>", 0, "a<X-FLOWED>"},
        {"a" + trailer, 0, "a\r\n\r\nAttachment Converted: \"x\""},
        {trailer, 1, ""},
        {"a" + trailer + trailer + trailer, 2, "a\r\n\r\nAttachment Converted: \"x\""},
        {"a" + trailer + "\n\nmore\n", 3, "a"},
        {"a\nAttachment Converted: x", 1, "a\r\nAttachment Converted: x"},
        {"a\r\n\r\nAttachment Converted: x", 1, "a\r\r\n\r\r\nAttachment Converted: x"},
    };
    for (const Row& row : rows) {
        Show({.note = row.note, .files = std::vector<ScriptedMail::File>(row.files)});
        EXPECT_EQ(Text("7"), row.body) << row.note;
        EXPECT_EQ(Number("9"), static_cast<int>(row.note.size())) << "as the library gave it";
    }
}

// The scan from the last character to the first, on a text that is ended where it is cut.
std::size_t CutByScan(std::string text, std::size_t count, const std::string& marker) {
    text += '\0';
    for (std::size_t i = text.size() - 1; i >= 3 && count > 0; --i) {
        if (text.compare(i - 3, 4, "\r\n\r\n") != 0) continue;
        if (std::strncmp(text.c_str() + i + 1, marker.c_str(), marker.size()) != 0) continue;
        text[i - 3] = '\0';
        --count;
    }
    return std::strlen(text.c_str());
}

TEST(MailBodyTest, TrailersAreCutAsByAScan) {
    std::mt19937 random(7);
    const auto draw = [&](const char* letters, std::size_t most) {
        std::string text(random() % most, ' ');
        for (char& letter : text) letter = letters[random() % std::strlen(letters)];
        return text;
    };
    for (int round = 0; round < 20'000; ++round) {
        const std::string text = text::Replaced(draw("\n\n\nAB\r", 24), "\n", "\r\n");
        const std::string marker = 'A' + draw("AB\r\n", 4);
        const std::size_t count = random() % 4;
        ASSERT_EQ(mailstore::LengthWithoutTrailers(text, count, marker),
                  CutByScan(text, count, marker))
            << ::testing::PrintToString(text) << ::testing::PrintToString(marker) << count;
    }
    EXPECT_EQ(mailstore::LengthWithoutTrailers("a\r\n\r\nb", 1, ""), 6U);
}

// What takes more than time in proportion would not end here.
TEST(MailBodyTest, LongBodiesTakeTimeInProportion) {
    const std::string lines(10'000'000, '\n');
    const std::string body = mailstore::BodyOf(lines);
    EXPECT_EQ(body.size(), 2 * lines.size());
    EXPECT_EQ(mailstore::LengthWithoutTrailers(body, 1'000'000, "\r\nx"), body.size());
    std::string marks, trailers;
    for (int i = 0; i < 500'000; ++i) {
        marks += "<x-flowed>a";
        trailers += "\r\n\r\nx";
    }
    EXPECT_EQ(mailstore::BodyOf(marks).size(), 500'000U);
    EXPECT_EQ(mailstore::LengthWithoutTrailers(trailers, 500'000, "x"), 0U);
}

TEST(MailDateTest, FivePiecesMakeADate) {
    const std::pair<std::string, std::optional<double>> rows[] = {
        {"2004/02/29 06:00", 38046.25},
        {"1899/12/30 18:00", 0.75},
        {"1899/12/29 18:00", -1.75},
        {"0100/01/01 00:00", -657434.0},
        {"9999/12/31 00:00", 2958465.0},
        {"///2000//1/ 1 : 12::0", 36526.5},
        {"2000/01/01 xx:yy", 36526.0},
        {"2000/01/01 12h:00m", 36526.5},
        {"2000/01/01 12:" + std::string(5000, '0'), 36526.5},
        {"", {}},
        {"2000/01/01 12:", {}},
        {std::string(5000, '/'), {}},
        // What no calendar and no clock has.
        {"0099/12/31 00:00", {}},
        {"10000/01/01 00:00", {}},
        {"2000/13/01 00:00", {}},
        {"1900/02/29 00:00", {}},
        {"2000/01/01 24:00", {}},
        {"2000/01/01 23:60", {}},
        {"2000/01/01 -1:00", {}},
        // What would be one if it were cut to 16, 32 or 64 bits.
        {"67536/01/01 00:00", {}},
        {"2000/01/01 12:99999999999999999999", {}},
        {"4294969296/01/01 12:00", {}},
    };
    for (const auto& [text, date] : rows) {
        EXPECT_EQ(mailstore::ParseDate(text), date) << text.substr(0, 60);
    }
}

TEST_F(ReadingTest, DatesReachTheHost) {
    using Date = ScriptedMail::Text;
    for (const auto& [date, code, number] : {std::tuple{Date{}, RRC_OK, kNoDate},
                                             {"2000/01/01 12:00", RRC_OK, 36526.5},
                                             {"tomorrow", RRC_FAILED, kNoDate}}) {
        double cell = 5;
        Show({.date = date});
        EXPECT_EQ(mail.GetField("6", nullptr, &cell), code);
        EXPECT_EQ(cell, number);
    }
    EXPECT_EQ(DrainErrors(), Texts{"m75"});
}

}  // namespace
