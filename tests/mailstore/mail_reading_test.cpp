#include <cstring>
#include <random>
#include <set>

#include "mailstore/mail_date.h"
#include "mailstore/mail_fields.h"
#include "tests/mailstore/mail_world.h"
#include "tests/support/fault_sweep.h"
#include "text/ascii.h"

namespace {

using namespace std::chrono;
using platform::testing::Fault;

TEST_F(ReadingTest, TheHostLearnsElevenFieldsInOrder) {
    ASSERT_EQ(mail.InitDefaultSettings(), RRC_OK);
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

TEST_F(ReadingTest, WhatAMailLacksIsNull) {
    Show({.subject = "Hello %s%n"});
    EXPECT_EQ(Text("5"), "Hello %s%n");
    for (const char* field : {"1", "2", "3", "4", "7"}) EXPECT_EQ(Text(field), "(null)");
    for (const char* field : {"0", "12", ""}) EXPECT_EQ(Text(field), "(untouched)") << field;
}

TEST_F(ReadingTest, StatusComesFromTwoFlags) {
    const std::pair<std::uint32_t, const char*> rows[] = {
        {0, "131073"}, {1, "1"}, {4, "4"}, {5, "4"}, {0xFFFFFFFA, "131073"}, {0x80000001, "1"}};
    for (const auto& [flags, status] : rows) {
        Show({.flags = flags});
        CString marker;
        EXPECT_EQ(mail.GetModifiedInfo(marker), RRC_OK);
        EXPECT_EQ(marker, status) << flags;
    }
}

TEST_F(ReadingTest, WithoutAMailNothingIsRead) {
    char* cell = nullptr;
    for (const char* field : {"1", "6", "7", "9", "10", "11"}) {
        EXPECT_EQ(mail.GetField(field, nullptr, &cell), RRC_FAILED) << field;
        EXPECT_EQ(DrainErrors(), Texts{"m58"}) << field;
    }
    mail.m_appInfo.m_bAttachments = 1;
    EXPECT_EQ(mail.GetField("8", nullptr, &cell), RRC_FAILED);
    CString marker("old");
    EXPECT_EQ(mail.GetModifiedInfo(marker), RRC_FAILED);
    EXPECT_TRUE(marker.IsEmpty());
    EXPECT_EQ(DrainErrors(), (Texts{"m76", "m58", "m65"}));
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
        {"<x-flowed>a</x-flowed>b<x-flowed>", 0, "ab"},
        {"</x-<x-flowed>flowed>a<X-FLOWED>", 0, "a<X-FLOWED>"},
        {"a" + trailer, 0, "a\r\n\r\nAttachment Converted: \"x\""},
        {trailer, 1, ""},
        {"a" + trailer + trailer + trailer, 2, "a\r\n\r\nAttachment Converted: \"x\""},
    };
    for (const Row& row : rows) {
        Show({.note = row.note, .files = std::vector<ScriptedMail::File>(row.files)});
        EXPECT_EQ(Text("7"), row.body) << row.note;
        std::size_t size = 0;
        EXPECT_EQ(mail.GetField("9", nullptr, &size), RRC_OK);
        EXPECT_EQ(size, row.note.size()) << "as the library gave it";
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
    std::string marks, trailers;
    for (int i = 0; i < 500'000; ++i) {
        marks += "<x-flowed>a";
        trailers += "\r\n\r\nx";
    }
    EXPECT_EQ(mailstore::BodyOf(marks).size(), 500'000U);
    EXPECT_EQ(mailstore::LengthWithoutTrailers(trailers, 500'000, "x"), 0U);
    EXPECT_EQ(mailstore::LengthWithoutTrailers(trailers, 500'000, "\r\ny"), trailers.size());
}

TEST(MailDateTest, FivePiecesMakeADate) {
    const std::pair<std::string, std::optional<double>> rows[] = {
        {"2004/02/29 06:00", 38046.25},
        {"1899/12/29 18:00", -1.75},
        {"9999/12/31 00:00", 2958465.0},
        {"///2000//1/ 1 : 12::0", 36526.5},
        {"", {}},
        {"2000/01/01 12:", {}},
        // What no calendar and no clock has.
        {"0099/12/31 00:00", {}},
        {"1900/02/29 00:00", {}},
        {"2000/01/01 24:00", {}},
        {"2000/01/01 -1:00", {}},
        // What would be one if it were cut to 16, 32 or 64 bits.
        {"67536/01/01 00:00", {}},
        {"2000/01/01 12:99999999999999999999", {}},
    };
    for (const auto& [text, date] : rows) {
        EXPECT_EQ(mailstore::ParseDate(text), date) << text.substr(0, 60);
    }
}

class WalkTest : public ReadingTest {
  protected:
    // Mails whose letters say whether the size limit of 1 KB lets them pass: 'p', or not: 'f'.
    void SetMails(std::string_view kinds) {
        library.mailbox.clear();
        for (const char kind : kinds) AddMail().note = std::string(kind == 'p' ? 1024 : 1025, 'x');
        mail.m_appInfo.m_bLimitMailSize = 1;
        mail.m_appInfo.m_nMailLimitKB = 1;
    }
    // The ids that a walk meets, with the code that ended it.
    std::string Walk() {
        std::string ids;
        auto code = mail.MoveFirst();
        for (; code == RRC_OK; code = mail.MoveNext()) ids += Id().substr(9) + ' ';
        return ids + std::to_string(code);
    }
    std::size_t CostOfGoingTo(const std::string& id) {
        library.calls.clear();
        EXPECT_EQ(mail.GoToRecord(id.c_str()), RRC_OK) << id;
        EXPECT_EQ(Id(), id);
        return library.Count("find");
    }
};

TEST_F(WalkTest, FilteredMailsAreNeverSeen) {
    for (const auto& [kinds, walk] :
         {std::pair{"", "5"}, {"pffpfp", "1 4 6 5"}, {"ffpf", "3 5"}, {"ff", "5"}, {"p", "1 5"}}) {
        SetMails(kinds);
        EXPECT_EQ(Walk(), walk) << kinds;
    }
}

TEST_F(WalkTest, ManyFilteredMailsNeedNoStack) {
    SetMails("");
    for (int i = 0; i < 65'000; ++i) AddMail().note = "xx";
    AddMail();
    mail.m_appInfo.m_nMailLimitKB = 0;
    ASSERT_EQ(mail.MoveFirst(), RRC_OK);
    EXPECT_EQ(Id(), "0x0000FDE9");
    EXPECT_EQ(library.Count("find"), 65'001U);
    EXPECT_EQ(mail.MoveNext(), RRC_EOF);
}

// The seek point lies right before the mail that passed, not where the host's move began; from
// there the walk goes on, after one look at the first mail.
TEST_F(WalkTest, TheSeekPointMovesWithTheFilteredWalk) {
    SetMails("pfffpppp");
    ASSERT_EQ(mail.MoveFirst(), RRC_OK);
    ASSERT_EQ(mail.MoveNext(), RRC_OK);
    EXPECT_EQ(CostOfGoingTo("0x00000006"), 1U + 2);
    SetMails("fffppp");
    ASSERT_EQ(mail.MoveFirst(), RRC_OK);
    EXPECT_EQ(CostOfGoingTo("0x00000005"), 1U + 2);
    // Later moves leave the seek point where it is.
    ASSERT_EQ(mail.MoveFirst(), RRC_OK);
    ASSERT_EQ(mail.MoveNext(), RRC_OK);
    EXPECT_EQ(CostOfGoingTo("0x00000006"), 1U + 3);
}

TEST_F(WalkTest, GoingToAMailAppliesNoFilter) {
    SetMails("fpf");
    for (const char* id : {"0x00000003", "0x00000001"}) {
        EXPECT_EQ(mail.GoToRecord(id), RRC_OK);
        EXPECT_EQ(Id(), id);
    }
    EXPECT_EQ(mail.GoToRecord("0x00000009"), RRC_FAILED);
    EXPECT_EQ(mail.GoToRecord(nullptr), RRC_FAILED);
    EXPECT_EQ(DrainErrors(), (Texts{"m31", "m58"}));
    EXPECT_EQ(CostOfGoingTo(""), 0U) << "what is sent, without moving";
    CString marker("old");
    EXPECT_EQ(mail.GetModifiedInfo(marker), RRC_OK);
    EXPECT_TRUE(marker.IsEmpty());
}

TEST_F(WalkTest, FailuresOfTheLibraryEndTheMove) {
    SetMails("pp");
    ASSERT_EQ(mail.MoveFirst(), RRC_OK);
    library.results[mapi::Entry::kReadMail] = {mapi::kInvalidMessage};
    EXPECT_EQ(mail.MoveNext(), RRC_FAILED);
    library.results[mapi::Entry::kFindNext] = {mapi::kInvalidMessage};
    EXPECT_EQ(mail.MoveFirst(), RRC_FAILED);
    EXPECT_EQ(DrainErrors(), (Texts{"m32", "m32"}));
}

TEST_F(WalkTest, AgesAreCountedInLocalDays) {
    const auto march = [](unsigned day, minutes time) {
        return sys_days{year{2004} / March / static_cast<int>(day)} + time;
    };
    struct Row {
        system_clock::time_point now;
        minutes offset;
        int days;
        const char* date;
        int passes;
    };
    const Row rows[] = {
        {march(10, 15h), 0h, 7, "2004/03/04 00:00", 1},
        {march(10, 15h), 0h, 7, "2004/03/03 23:59", 0},
        {march(10, 30min), -1h, 7, "2004/03/02 23:59", 0},
        // The day of a change of the clocks: midnight counts in the offset of now.
        {march(28, 22h), 2h, 1, "2004/03/28 00:00", 1},
        {march(10, 15h), 0h, INT32_MAX, "0100/01/01 00:00", 1},
        {march(10, 15h), 0h, 7, "no date", 1},
    };
    for (const Row& row : rows) {
        machine.clock.now = row.now;
        machine.clock.offset = row.offset;
        mail.m_appInfo.m_bLimitMailAge = 0;
        Show({.date = row.date});
        mail.m_appInfo.m_bLimitMailAge = 1;
        mail.m_appInfo.m_nMailAgeDays = row.days;
        EXPECT_EQ(mail.PassesFilters(), row.passes) << row.date << ' ' << row.days;
    }
    EXPECT_EQ(DrainErrors(), Texts{"m75"});
}

CArray<CRAttachmentInfo> ListOf(const std::string& text) {
    CArray<CRAttachmentInfo> list;
    EXPECT_EQ(StrToAttachmentInfo(text.c_str(), list), RRC_OK);
    return list;
}

class AttachmentsOutTest : public ReadingTest {
  protected:
    AttachmentsOutTest() { mail.m_appInfo.m_bAttachments = 1; }

    // Makes a mail with files of that size current; their names are a, b, c and so on.
    void ShowFiles(const std::vector<std::size_t>& sizes) {
        ScriptedMail one;
        for (const std::size_t size : sizes) {
            const std::string name(1, static_cast<char>('a' + one.files.size()));
            one.files.push_back({"C:\\lib\\" + name, "C:\\sent\\" + name + ".txt", 0});
            machine.files.Put(*one.files.back().path, std::string(size, 'x'));
        }
        Show(one);
        // The files of the mail that was current went away with it.
        for (std::size_t i = 0; i < sizes.size(); ++i) {
            machine.files.Put(*one.files[i].path, std::string(sizes[i], 'x'));
        }
    }
    // The names and the sizes of the copies that field 8 lists.
    std::string Listed() {
        std::string all;
        for (const auto& item : ListOf(Text("8"))) {
            EXPECT_TRUE(item.dwInfoFlag == 1 && item.bDeleteSource == 1);
            EXPECT_EQ(item.csDisplayName, item.csFileName);
            EXPECT_THAT(item.csFilePath.Str(), ::testing::StartsWith("C:\\temp\\Qzv"));
            const auto copy = machine.files.Get(item.csFilePath.Str());
            all += item.csFileName.Str() + ' ' + std::to_string(copy.value_or("none").size()) + '|';
        }
        return all;
    }
};

TEST_F(AttachmentsOutTest, SettingsChooseWhatIsCopied) {
    struct Row {
        int isOn, isLimited, limitKB;
        const char* listed;
    };
    for (const Row& row : {Row{1, 1, 5, "a.txt 5120|c.txt 0|d.txt 3|"},
                           {1, 0, 5, "a.txt 5120|b.txt 5121|c.txt 0|d.txt 3|"},
                           {1, 1, 0, "c.txt 0|"},
                           {0, 0, 0, ""}}) {
        mail.m_appInfo.m_bAttachments = row.isOn;
        mail.m_appInfo.m_bLimitAttachSize = row.isLimited;
        mail.m_appInfo.m_nAttachLimitKB = row.limitKB;
        ShowFiles({5120, 5121, 0, 3});
        EXPECT_EQ(Listed(), row.listed) << row.limitKB;
    }
    Show({.files = {{"C:\\nowhere", "x", mapi::kOle}, {"C:\\nowhere", "y", mapi::kOleStatic | 8}}});
    EXPECT_EQ(Listed(), "") << "no files";
}

// Whatever fails, the field fails as a whole and with its own message, the library's files stay,
// and what was made is found by the pattern of the clean-up.
TEST_F(AttachmentsOutTest, FaultsLeaveNothingButTemporaryFiles) {
    std::map<Fault, std::set<Texts>> failures;
    const auto play = [&](Fault fault, int number) {
        ShowFiles({10, 20});
        machine.faults.Arm(fault, number);
        char* cell = nullptr;
        const auto code = mail.GetField("8", nullptr, &cell);
        const bool fired = machine.faults.Disarm();
        EXPECT_EQ(code == RRC_OK ? ListOf(cell).GetSize() : 2, 2);
        EXPECT_TRUE(code == RRC_OK || cell == nullptr);
        FreeVornString(cell);
        const auto errors = DrainErrors();
        if (code != RRC_OK) failures[fault].insert(errors);
        EXPECT_EQ(machine.files.OpenCount(), 0);
        mailstore::DeleteAttachFile(machine.system);
        EXPECT_EQ(machine.files.AllFiles(), (Texts{"C:\\lib\\a", "C:\\lib\\b"}));
        return fired;
    };
    test::ForEveryFault(play, 1, {Fault::kTornWrite, Fault::kKill});
    // A size is asked for twice; a failed copy is in the log alone.
    EXPECT_EQ(failures[Fault::kTornWrite], (std::set{Texts{}, Texts{"m62"}}));
    EXPECT_EQ(failures[Fault::kKill], (std::set{Texts{}, Texts{"m62"}, Texts{"m63"}}));
}

}  // namespace
