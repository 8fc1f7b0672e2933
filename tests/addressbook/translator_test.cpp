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

class TranslatorTest : public BookTest {
  public:
    RRETURNCODE Read() { return book.Open(0, 0, 0, 0, 0, 0, 0, 0, 0, nullptr); }
    RRETURNCODE Select() { return book.GetAppInfo(0, 0, 0, 0, selection, 0, summary, &util); }
    void Open(std::string_view content) {
        machine.files.Put(kBookPath, content);
        ASSERT_EQ(Select(), RRC_OK);
        ASSERT_EQ(Read(), RRC_OK);
    }
    RRETURNCODE Set(const char* id, const char* value) {
        unsigned long type = 4;
        return book.SetField(id, &type, &value);
    }
    void Filter(const char* id, const char* text) {
        book.SetTextFilter(FilterList<tagRTEXTFILTER>({{Block(id), Block(text), 0}}), 1);
    }

    CREudora4 book;
    CString selection, summary;
};

TEST_F(TranslatorTest, TakesNullTexts) {
    Open("alias a 1\n");
    EXPECT_EQ(std::pair(machine.dialogs.waitsBegun, machine.dialogs.waitsEnded), std::pair(1, 1));
    EXPECT_EQ(Set("1", nullptr), RRC_FAILED) << "no record is current";
    EXPECT_EQ(book.GoToRecord(nullptr), RRC_NONE);
    machine.files.SetReadOnly(kBookPath);
    EXPECT_EQ(book.DeleteAllRecords(), RRC_OK);
    EXPECT_EQ(book.BatchUpdate(nullptr), RRC_FAILED);
    machine.files.SetReadOnly(kBookPath, false);
    EXPECT_EQ(book.BatchUpdate(nullptr), RRC_OK);
    EXPECT_EQ(Saved(), "");
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
    EXPECT_EQ(book.MoveFirst(), RRC_OK);
}

}  // namespace
