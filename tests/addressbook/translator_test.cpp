#include <sstream>

#include "tests/addressbook/book_fixture.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/fault_sweep.h"
#include "tests/support/table.h"

using test::Fault, test::ForEachFailingAllocation, test::Shortage;

namespace {

struct Sink final : CRBatchSink {
    void Reserved() override { told.push_back("reserved"); }
    void RecordStored(const char* id, const char* same, const char* info) override {
        told.push_back(std::string("stored ") + id + " " + same + " " + info);
    }
    void RecordDeleted(const char* id) override { told.push_back(std::string("deleted ") + id); }
    Texts told;
};

class TranslatorTest : public BookTest {
  public:
    RRETURNCODE Read() { return book.Open(0, 0, 0, 0, 0, 0, 0, 0, 0, nullptr); }
    RRETURNCODE Select(const char* path) {
        CString selection(path), summary;
        return book.GetAppInfo(0, 0, 0, 0, selection, 0, summary, &util);
    }
    void Open(std::string_view content) {
        machine.files.Put(kBookPath, content);
        ASSERT_EQ(Select(""), RRC_OK);
        ASSERT_EQ(Read(), RRC_OK);
    }
    RRETURNCODE Set(const char* id, const char* value) {
        unsigned long type = 4;
        return book.SetField(id, &type, &value);
    }

    CREudora4 book;
};

TEST_F(TranslatorTest, TakesNullTextsAndKeepsCharactersWhole) {
    util.system.codePage = 932;
    Open("alias \x83\x5c a\nnote \x83\x5c <name:\x83\x61>\n");
    EXPECT_EQ(std::pair(machine.dialogs.waitsBegun, machine.dialogs.waitsEnded), std::pair(1, 1));
    EXPECT_EQ(Set("1", nullptr), RRC_FAILED) << "no record is current";
    EXPECT_EQ(book.GoToRecord(nullptr), RRC_NONE);
    // Second bytes that equal a small letter or a backslash are parts of characters.
    for (const auto* text : {"\x83\x41", "\x83\x61"}) {
        book.SetTextFilter(new tagRTEXTFILTER{Block("2"), Block(text), 0}, 1);
        EXPECT_EQ(book.MoveFirst(), text[1] == 'A' ? RRC_EOF : RRC_OK);
    }
    machine.files.SetReadOnly(kBookPath);
    EXPECT_EQ(book.DeleteAllRecords(), RRC_OK);
    EXPECT_EQ(book.BatchUpdate(nullptr), RRC_FAILED);
    machine.files.SetReadOnly(kBookPath, false);
    EXPECT_EQ(book.BatchUpdate(nullptr), RRC_OK);
    EXPECT_EQ(Saved(), "");
}

const std::string kToc = "C:\\Eudora\\nndbase.toc", kSide = std::string(kBookPath) + ".kvnew";
const char* const kOther = "C:\\Eudora\\other.txt";
const std::string kCarla = "Carla-of-a-long-nickname";

// One machine and book for one attempt.
struct Scene final : TranslatorTest {
    using BookTest::Saved;
    using FrameTest::DrainErrors;
    using FrameTest::machine;

    explicit Scene(const std::string& steps) {
        machine.files.Put(kOther, "alias other-of-a-long-nickname o\r\nalias \"group o\" o\r\n");
        Open("alias " + kCarla + " carla@vance.example.com,second\nnote " + kCarla +
             " text<fax:1><name:Carla Vance of Springfield>a note of more than 15 bytes\nalias " +
             kCarla + " later\nalias b 2\nalias \"group friends\" b\n");
        std::istringstream lines(steps);
        for (std::string step; std::getline(lines, step);) Do(step);
    }
    void TestBody() override {}
    // One operation; allocates nothing by itself.
    RRETURNCODE Do(const std::string& step) {
        CString id, info;
        return step == "other"            ? Select(kOther)
               : step == "open"           ? Read()
               : step == "find"           ? book.GoToRecord(kCarla.c_str())
               : step == "first"          ? book.MoveFirst()
               : step == "next"           ? book.MoveNext()
               : step == "delete all"     ? book.DeleteAllRecords()
               : step == "edit"           ? book.EditRecord(kCarla.c_str())
               : step == "new"            ? book.AddNewRecord(0)
               : step == "store"          ? book.UpdateRecord(id, info)
               : step == "save"           ? book.BatchUpdate(&sink)
               : step.starts_with("set ") ? Set(step.c_str() + 4, step.c_str() + 6)
                                          : book.DeleteRecord(step.c_str() + 7);
    }
    // What a host can see, what is saved, and what the next save writes and tells.
    Texts State(std::string_view act) {
        CString id;
        if (act == "save") book.MoveFirst();
        book.GetRecordID(id);
        Texts all{act == "save" ? Saved() : "", id.Str()};
        for (const char* field : {"1", "2", "3", "6", "7"}) {
            unsigned long type = 4;
            char* cell = nullptr;
            book.GetField(field, &type, &cell);
            all.push_back(cell != nullptr ? cell : "null");
            FreeVornString(cell);
        }
        Sink next;
        EXPECT_EQ(book.BatchUpdate(&next), RRC_OK);
        const auto& told = next.told.empty() ? sink.told : next.told;
        all.insert(all.end(), told.begin(), told.end());
        for (const auto& path : machine.files.AllFiles()) {
            all.push_back(path + ": " + *machine.files.Get(path));
        }
        return all;
    }
    Sink sink;
};

TEST(BookMemory, WhatFailsHasChangedNothingAndWorksTheNextTime) {
    const auto sweep = [](const auto& operation, bool isRepeated) {
        const auto& [before, act] = operation;
        SCOPED_TRACE(before + "; " + act);
        Scene idle(before), good(before);
        EXPECT_EQ(good.Do(act), RRC_OK);
        const auto untouched = idle.State(act), done = good.State(act);
        EXPECT_NE(untouched, done);
        const auto judge = [&](Scene& scene, RRETURNCODE code, const char* reason) {
            EXPECT_TRUE(code == RRC_OK || code == RRC_FAILED) << code;
            EXPECT_EQ(scene.machine.files.OpenCount(), 0);
            if (act == "save" && reason != nullptr && scene.Saved() == untouched[0]) {
                const auto errors = scene.DrainErrors();
                EXPECT_TRUE(errors.size() == 2 && errors[1] == reason &&
                            errors[0].starts_with(std::string("cannot open ") + kBookPath))
                    << ::testing::PrintToString(errors);
            }
            if (code == RRC_FAILED && isRepeated) {
                scene.sink.told.clear();
                code = scene.Do(act);
            }
            // Opening and saving may fail behind what they do, which then is whole.
            const bool isWhole = code == RRC_FAILED && (act == "open" || act == "save");
            const auto left = scene.State(act);
            EXPECT_TRUE(left == (code == RRC_OK ? done : untouched) || (isWhole && left == done))
                << ::testing::PrintToString(left);
        };
        for (const auto shortage : {Shortage::kOne, Shortage::kLasting}) {
            const bool isShort = shortage == Shortage::kOne;
            const auto attempt = [&](auto run) {
                Scene scene(before);
                RRETURNCODE code = RRC_EOF;
                EXPECT_TRUE(run([&] { code = scene.Do(act); })) << "thrown at the host";
                EXPECT_TRUE(!isShort || scene.machine.files.AllFiles().size() == 2);
                judge(scene, code, isShort ? "no memory" : nullptr);
            };
            ForEachFailingAllocation(attempt, shortage);
        }
        if (act != "save") return;
        test::ForEveryFault(
            [&](Fault fault, int n) {
                Scene scene(before);
                scene.machine.files.Put(kToc, "t");
                scene.machine.faults.Arm(fault, n, platform::ErrorCode::kNoSpace);
                const auto code = scene.Do(act);
                const bool fired = scene.machine.faults.Disarm(), isKilled = fault == Fault::kKill;
                if (isKilled) scene.machine.files.Crash();
                const bool isOld = scene.Saved() == untouched[0];
                EXPECT_EQ(isOld, code != RRC_OK);
                EXPECT_FALSE(isKilled && !isOld && scene.machine.files.Get(kToc))
                    << "a wrong table";
                EXPECT_TRUE(isKilled || !scene.machine.files.Get(kSide)) << "a side file is left";
                judge(scene, code, "disk full");
                return fired;
            },
            6);
    };
    for (const auto& operation : test::Rows<2>("operations that need memory")) {
        for (const bool isRepeated : {false, true}) sweep(operation, isRepeated);
    }
}

}  // namespace
