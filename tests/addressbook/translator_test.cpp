#include <map>
#include <sstream>
#include <string>

#include "tests/addressbook/book_fixture.h"
#include "tests/support/failing_allocation.h"

using test::ForEachFailingAllocation, test::Shortage;

namespace {

struct Sink final : CRBatchSink {
    void Reserved() override { told.push_back("reserved"); }
    void RecordStored(const char* id, const char* same, const char* info) override {
        told.push_back(std::string("stored ") + id + (std::string(id) == same ? "" : "?"));
        markers.push_back(info);
    }
    void RecordDeleted(const char* id) override { told.push_back(std::string("deleted ") + id); }
    Texts told, markers;
};

using Values = std::map<std::string, std::string>;

RRETURNCODE GiveValue(void* context, const char* id, void** cell, unsigned long*, BOOL* has) {
    static const char* text;
    const auto& values = *static_cast<Values*>(context);
    const auto found = values.find(id);
    *has = found != values.end() ? 1 : 0;
    text = *has != 0 ? found->second.c_str() : nullptr;
    *cell = &text;
    return RRC_FAILED;  // not looked at
}

class TranslatorTest : public BookTest {
  public:
    RRETURNCODE Read() { return book.Open(0, 0, 0, 0, 0, 0, 0, 0, 0, nullptr); }
    RRETURNCODE Select(BOOL configure = 0) {
        return book.GetAppInfo(configure, 0, 0, 0, selection, 0, summary, &util);
    }
    void Open(std::string_view content) {
        machine.files.Put(kBookPath, content);
        ASSERT_EQ(Select(), RRC_OK);
        ASSERT_EQ(book.Open(0, 0, 0, 0, 0, 0, 0, 0, 0, nullptr), RRC_OK);
    }
    std::string Get(const char* id) {
        unsigned long type = 4;
        char* cell = nullptr;
        EXPECT_EQ(book.GetField(id, &type, &cell), RRC_OK);
        const std::string text = cell != nullptr ? cell : "null";
        FreeVornString(cell);
        return text;
    }
    RRETURNCODE Set(const char* id, const char* value) {
        unsigned long type = 4;
        return book.SetField(id, &type, &value);
    }
    std::string Update() {
        CString id, info("old");
        EXPECT_EQ(book.UpdateRecord(id, info), RRC_OK);
        EXPECT_EQ(info, "");
        return id.Str();
    }
    std::string Walk() {
        std::string ids;
        for (auto r = book.MoveFirst(); r == RRC_OK; r = book.MoveNext()) {
            CString id;
            book.GetRecordID(id);
            ids += id.Str() + ' ';
        }
        return ids;
    }
    void Filter(const char* id, const char* text) {
        book.SetTextFilter(FilterList<tagRTEXTFILTER>({{Block(id), Block(text), 0}}), 1);
    }
    std::string Check(Values values) {
        BOOL ok = 7;
        const auto result = book.IsOkToSetRecord(0, GiveValue, &values, &ok);
        std::string said = std::to_string(result) + "/" + std::to_string(ok);
        for (const auto& error : DrainErrors()) said += " " + error;
        for (CString text; util.GetNextWarning(text) == RRC_OK;) said += " ~" + text.Str();
        return said;
    }

    CREudora4 book;
    CString selection, summary;
};

TEST_F(TranslatorTest, SelectsTheFile) {
    unsigned long properties = 0;
    EXPECT_EQ(book.GetAppProperties(&properties), RRC_OK);
    EXPECT_EQ(properties, 0x80070004UL);
    EXPECT_EQ(Select(), RRC_FAILED);
    EXPECT_EQ(DrainErrors(), Texts{"no file"});
    EXPECT_EQ(selection, kBookPath);
    machine.files.Put(kBookPath, "");
    EXPECT_EQ(Select(), RRC_OK);
    EXPECT_EQ(summary, kBookPath);
    // A folder passes here, and fails when it is opened.
    selection = "C:\\Eudora";
    EXPECT_EQ(Select(), RRC_OK);
    EXPECT_EQ(book.Open(0, 0, 0, 0, 0, 0, 0, 0, 0, nullptr), RRC_FAILED);
    EXPECT_EQ(DrainErrors(), Texts{"cannot open C:\\Eudora"});
}

TEST_F(TranslatorTest, AsksTheUser) {
    machine.files.Put("C:\\other.txt", "alias a 1");
    machine.dialogs.fileAnswers = {"C:\\no", std::nullopt, "C:\\other"};
    EXPECT_EQ(Select(1), RRC_CANCELLED);
    EXPECT_EQ(selection, kBookPath);
    EXPECT_EQ(Select(1), RRC_OK);
    EXPECT_EQ(selection, "C:\\other.txt");
    EXPECT_EQ(book.Open(0, 0, 0, 0, 0, 0, 0, 0, 0, nullptr), RRC_OK);
    EXPECT_EQ(Walk(), "a ");
}

TEST_F(TranslatorTest, TellsItsFields) {
    Open("");
    EXPECT_EQ(book.MoveFirst(), RRC_EOF);
    long count = -7;
    EXPECT_EQ(book.GetRecordCount(&count), RRC_NOT_SUPPORTED);
    EXPECT_EQ(count, -7);
    CString id, name;
    unsigned long type = 0, tag = 0;
    unsigned short ordinal = 0;
    std::string all;
    for (auto r = book.GetFirstFieldInfo(id, name, &type, &tag, &ordinal); r == RRC_OK;
         r = book.GetNextFieldInfo(id, name, &type, &tag, &ordinal)) {
        char text[80];
        std::snprintf(text, sizeof text, "%s %s %lu %lX %d;", id.Str().c_str(), name.Str().c_str(),
                      type, tag, ordinal);
        all += text;
    }
    EXPECT_EQ(all,
              "1 Nickname 4 4000015C 1;2 Name 4 C0000130 2;3 Address 4 4000013E 3;"
              "4 Phone 4 4000013F 4;5 Fax 4 40000141 5;6 E-mail 4 40000143 6;7 Note 4 40000015 7;");
}

TEST_F(TranslatorTest, GivesFields) {
    Open("alias a 1,2\nnote a <address:x\x03y><name:p\x03q>\nalias b \n");
    EXPECT_EQ(std::pair(machine.dialogs.waitsBegun, machine.dialogs.waitsEnded), std::pair(1, 1));
    book.MoveFirst();
    EXPECT_EQ(Get("1") + "|" + Get("2") + "|" + Get("3") + "|" + Get("4") + "|" + Get("6"),
              "a|p\x03q|x\r\ny||1");
    EXPECT_EQ(Get("7"), "null");
    EXPECT_EQ(Get("9"), "null");
    EXPECT_EQ(book.GoToRecord("b"), RRC_OK);
    EXPECT_EQ(Get("6"), "");
    EXPECT_EQ(book.GoToRecord("c"), RRC_NONE);
    EXPECT_EQ(book.EditRecord("c"), RRC_FAILED);
    EXPECT_EQ(book.DeleteRecord("c"), RRC_OK);
}

TEST_F(TranslatorTest, FiltersByTextAnywhereInAField) {
    Open(
        "alias a 1\nnote a <name:John SMITH>\nalias b 2\nnote b <name:Smithe>\n"
        "alias c 3\nnote c <name:J\xF6nes><address:x\x03y>\n");
    for (const auto& [id, text, found] : {std::tuple{"2", " smith ", "a b "},
                                          {"3", "X\r\nY", "c "},
                                          {"2", "J\xD6", "c "},
                                          {"2", " ", "a b c "}}) {
        Filter(id, text);
        EXPECT_EQ(Walk(), found) << text;
    }
    Filter("2", "nobody");
    EXPECT_EQ(book.MoveFirst(), RRC_EOF);
    book.SetTextFilter(nullptr, 0);
    EXPECT_EQ(Walk(), "a b c ");
}

TEST_F(TranslatorTest, ReportsABatchOnce) {
    Open("alias a 1\nalias b 2\nalias c 3\nalias d 4\n");
    EXPECT_EQ(book.EditRecord("a"), RRC_OK);
    Set("2", "Ann");
    EXPECT_EQ(Update(), "a");
    book.EditRecord("a");
    EXPECT_EQ(Update(), "a");
    book.EditRecord("b");
    Set("1", "bb");
    EXPECT_EQ(Update(), "bb");
    book.AddNewRecord(0);
    Set("1", "a");
    Set("6", "<new>");
    EXPECT_EQ(Update(), "a1");
    book.AddNewRecord(0);
    Set("1", "gone");
    Update();
    book.DeleteRecord("gone");
    book.GoToRecord("c");
    book.DeleteRecord();
    machine.files.SetReadOnly(kBookPath);
    Sink sink;
    EXPECT_EQ(book.BatchUpdate(&sink), RRC_FAILED);
    EXPECT_TRUE(sink.told.empty());
    machine.files.SetReadOnly(kBookPath, false);
    EXPECT_EQ(book.BatchUpdate(&sink), RRC_OK);
    EXPECT_EQ(sink.told, (Texts{"stored a", "stored a", "stored bb", "stored a1", "deleted gone"}));
    EXPECT_EQ(sink.markers[0], sink.markers[1]);
    EXPECT_NE(sink.markers[0], "");
    EXPECT_EQ(Saved(),
              "alias a 1\r\nnote a <name:Ann>\r\nalias a1  new \r\nalias bb 2\r\nalias d 4");
    sink.told.clear();
    EXPECT_EQ(book.BatchUpdate(&sink), RRC_OK);
    EXPECT_TRUE(sink.told.empty());
}

TEST_F(TranslatorTest, DeletesAllAtOnce) {
    Open("alias a 1\nalias \"group\" a\n");
    machine.files.SetReadOnly(kBookPath);
    EXPECT_EQ(book.DeleteAllRecords(), RRC_OK);
    machine.files.SetReadOnly(kBookPath, false);
    EXPECT_EQ(book.DeleteAllRecords(), RRC_OK);
    EXPECT_EQ(Saved(), "alias \"group\" a");
    EXPECT_EQ(book.MoveFirst(), RRC_EOF);
}

TEST_F(TranslatorTest, VetsValues) {
    Open("");
    const std::string name27(27, 'n');
    const std::string tooLong = " ~Nickname is longer than 27";
    const std::pair<Values, std::string> rows[] = {
        {{}, "0/1"},
        {{{"1", name27}, {"2", "Ann"}, {"3", ""}, {"4", "1,2\r\n"}}, "0/1"},
        {{{"1", name27 + "<"}}, "3/0" + tooLong},
        {{{"1", name27 + ","}}, "2/0 comma in Nickname"},
        {{{"1", "<"}, {"2", "."}}, "2/0 bracket in Nickname"},
        {{{"1", name27 + "n"}, {"2", ". -"}}, "2/0 no Name" + tooLong},
        {{{"2", ""}}, "2/0 no Name"},
        {{{"2", "a>"}}, "2/0 bracket in Name"},
        {{{"2", "...a"}, {"7", "x<y"}}, "2/0 bracket in Note"}};
    for (const auto& [values, said] : rows) EXPECT_EQ(Check(values), said);
}

TEST_F(TranslatorTest, SurvivesCallsOutOfOrder) {
    CString id, info;
    EXPECT_EQ(book.UpdateRecord(id, info), RRC_FAILED);
    EXPECT_EQ(Set("1", "x"), RRC_FAILED);
    EXPECT_EQ(book.DeleteRecord(), RRC_OK);
    EXPECT_EQ(book.MoveFirst(), RRC_EOF);
    EXPECT_EQ(book.Open(0, 0, 0, 0, 0, 0, 0, 0, 0, nullptr), RRC_OK);
    EXPECT_EQ(book.BatchUpdate(nullptr), RRC_FAILED);
    Open("alias a 1\n");
    EXPECT_EQ(Set("1", nullptr), RRC_FAILED);
    EXPECT_EQ(book.GoToRecord(nullptr), RRC_NONE);
}

const std::string kCarla = "Carla-of-a-long-nickname", kOther = "C:\\Eudora\\other.txt";

// One machine and book for one attempt.
struct Scene final : TranslatorTest {
    using BookTest::Saved;
    using FrameTest::DrainErrors;
    using FrameTest::machine;

    Scene() {
        machine.files.Put(kOther, "alias other-of-a-long-nickname o\r\nalias \"group o\" o\r\n");
        Open("alias " + kCarla + " carla@vance.example.com,second\nnote " + kCarla +
             " text<fax:1><name:Carla Vance of Springfield>a note of more than 15 bytes\nalias " +
             kCarla + " later\nalias b 2\nalias \"group friends\" b\n");
    }
    void TestBody() override {}
    // One operation; allocates nothing by itself.
    RRETURNCODE Do(const char* step) {
        const std::string_view name(step);
        CString id, info;
        return name == "open"             ? Read()
               : name == "find"           ? book.GoToRecord(kCarla.c_str())
               : name == "first"          ? book.MoveFirst()
               : name == "next"           ? book.MoveNext()
               : name == "delete all"     ? book.DeleteAllRecords()
               : name == "edit"           ? book.EditRecord(kCarla.c_str())
               : name == "new"            ? book.AddNewRecord(0)
               : name == "store"          ? book.UpdateRecord(id, info)
               : name.starts_with("set ") ? Set(step + 4, step + 6)
                                          : book.DeleteRecord(step + 7);
    }
    void DoAll(const std::string& steps) {
        std::istringstream lines(steps);
        for (std::string step; std::getline(lines, step);) Do(step.c_str());
    }
    // What a host can see and what it saves.
    Texts State() {
        CString id;
        book.GetRecordID(id);
        Texts all{id.Str()};
        for (const char* field : {"1", "2", "3", "6", "7"}) {
            unsigned long type = 4;
            char* cell = nullptr;
            book.GetField(field, &type, &cell);
            all.push_back(cell != nullptr ? cell : "null");
            FreeVornString(cell);
        }
        Sink sink;
        EXPECT_EQ(book.BatchUpdate(&sink), RRC_OK);
        all.insert(all.end(), sink.told.begin(), sink.told.end());
        for (const auto& path : machine.files.AllFiles()) {
            all.push_back(path + ": " + *machine.files.Get(path));
        }
        return all;
    }
};

TEST(BookMemory, WhatFailsHasChangedNothingAndWorksTheNextTime) {
    const std::string longer = "longer-than-15-bytes";
    const std::pair<std::string, std::string> operations[] = {{"edit\nset 2 x", "open"},
                                                              {"", "find"},
                                                              {"delete b", "first"},
                                                              {"first", "next"},
                                                              {"", "delete all"},
                                                              {"edit\nset 2 x", "set 7 " + longer},
                                                              {"edit", "set 1 c"},
                                                              {"new", "set 6 " + longer},
                                                              {"edit\nset 1 " + longer, "store"},
                                                              {"new\nset 1 " + kCarla, "store"},
                                                              {"new\nset 2 " + longer, "store"},
                                                              {"", "delete " + kCarla}};
    for (const auto& [before, act] : operations) {
        SCOPED_TRACE(before + "; " + act);
        const auto state = [&](bool acts) {
            Scene scene;
            scene.DoAll(before);
            if (act == "open") scene.selection = kOther, scene.Select();
            EXPECT_TRUE(!acts || scene.Do(act.c_str()) == RRC_OK);
            return scene.State();
        };
        const auto untouched = state(false), done = state(true);
        EXPECT_NE(untouched, done);
        for (const auto shortage : {Shortage::kOne, Shortage::kLasting}) {
            for (const bool isRepeated : {false, true}) {
                ForEachFailingAllocation(
                    [&](auto run) {
                        Scene scene;
                        scene.DoAll(before);
                        if (act == "open") scene.selection = kOther, scene.Select();
                        RRETURNCODE code = RRC_EOF;
                        EXPECT_TRUE(run([&] { code = scene.Do(act.c_str()); }))
                            << "thrown at the host";
                        EXPECT_TRUE(code == RRC_OK || code == RRC_FAILED) << code;
                        if (code == RRC_FAILED && isRepeated) code = scene.Do(act.c_str());
                        // Opening may fail behind the book, which then is the new one, whole.
                        const bool isWhole = code == RRC_FAILED && act == "open";
                        const auto left = scene.State();
                        EXPECT_TRUE(left == (code == RRC_OK ? done : untouched) ||
                                    (isWhole && left == done))
                            << ::testing::PrintToString(left);
                    },
                    shortage);
            }
        }
    }
}

TEST(BookMemory, ASaveThatFailsLeavesTheOldFileAndTellsAllNextTime) {
    const std::string changes = "edit\nset 1 Dora-of-a-long-nickname\nstore\ndelete b";
    Scene good;
    const auto before = good.Saved();
    good.DoAll(changes);
    Sink expected;
    ASSERT_EQ(good.book.BatchUpdate(&expected), RRC_OK);
    const auto saves = [&](Shortage shortage) {
        return [&, shortage](auto run) {
            Scene scene;
            scene.DoAll(changes);
            RRETURNCODE code = RRC_EOF;
            Sink sink, again;
            EXPECT_TRUE(run([&] { code = scene.book.BatchUpdate(&sink); }));
            EXPECT_EQ(scene.machine.files.OpenCount(), 0);
            const bool isTold = shortage == Shortage::kOne && scene.Saved() == before;
            EXPECT_TRUE(!isTold || scene.machine.files.AllFiles().size() == 2) << "a side file";
            if (isTold) {
                EXPECT_EQ(scene.DrainErrors(),
                          (Texts{"cannot open C:\\Eudora\\nndbase.txt", "no memory"}));
            }
            EXPECT_TRUE(scene.Saved() == before || scene.Saved() == good.Saved());
            EXPECT_TRUE(code == RRC_OK || scene.book.BatchUpdate(&again) == RRC_OK);
            EXPECT_EQ(code == RRC_OK ? sink.told : again.told, expected.told);
            EXPECT_EQ(scene.Saved(), good.Saved());
            EXPECT_EQ(scene.machine.files.AllFiles().size(), 2U);
        };
    };
    for (const auto shortage : {Shortage::kOne, Shortage::kLasting}) {
        ForEachFailingAllocation(saves(shortage), shortage);
    }
}

// Second bytes that equal a backslash, a small letter or a bar are parts of characters.
TEST_F(TranslatorTest, KeepsCharactersWhole) {
    util.system.codePage = 932;
    Open("alias \x83\x5c a\nnote \x83\x5c <name:\x83\x61>\n");
    Filter("2", "\x83\x41");
    EXPECT_EQ(book.MoveFirst(), RRC_EOF);
    Filter("2", "\x83\x61");
    EXPECT_EQ(Walk(), "\x83\x5c ");
    book.AddNewRecord(0);
    std::string pairs;
    for (int i = 0; i < 30; ++i) pairs += "\x83\x5c";
    Set("1", pairs.c_str());
    EXPECT_EQ(Update().size(), 38U);
}

}  // namespace
