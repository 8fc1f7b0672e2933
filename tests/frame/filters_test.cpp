#include <limits>

#include "tests/frame/record_translator.h"

namespace {

using Value = RecordTranslator::Value;

constexpr double kInvalid = 1e9;

class FiltersTest : public FrameTest {
  protected:
    FiltersTest() {
        translator.AddField("n", kFieldInteger);
        translator.AddField("b", kFieldBool);
        translator.AddField("t", kFieldText);
        translator.AddField("d5", 5);
        translator.AddField("d7", 7);
        translator.AddField("missing", kFieldText);
        translator.AddField("missing date", 6);
    }

    void SetText(std::vector<tagRTEXTFILTER> filters) {
        translator.SetTextFilter(FilterList(filters), static_cast<int>(filters.size()));
    }
    void SetDates(std::vector<tagRDATEFILTER> filters) {
        translator.SetDateFilter(FilterList(filters), static_cast<int>(filters.size()));
    }
    void SetBools(std::vector<tagRBOOLFILTER> filters) {
        translator.SetBoolFilter(FilterList(filters), static_cast<int>(filters.size()));
    }
    bool Passes(const char* field, Value value) {
        translator.records = {{{field, value}}};
        return translator.MoveFirst() == RRC_OK;
    }

    RecordTranslator translator;
};

TEST_F(FiltersTest, Texts) {
    struct Row {
        const char* field;
        const char* filter;
        bool substring;
        const char* value;
        bool passes;
    };
    const Row rows[] = {
        {"t", "ABC", false, "abc", true},
        {"t", "ABC", false, "abcd", false},
        {"t", "ABC", true, "xabcx", true},
        {"t", "abc", true, "xAbCx", true},
        {"t", "abc", true, "ab", false},
        {"t", "abc", true, "", false},
        {"t", "", false, "anything", true},
        {"t", nullptr, true, "anything", true},
        {"no such field", "abc", false, "x", true},
        {"n", "abc", false, "x", true},
        {"missing", "abc", false, "x", true},
        {"t", "%s%n", true, "a%S%Nb", true},
    };
    for (const Row& row : rows) {
        SetText({{Block(row.field), Block(row.filter), row.substring ? 7 : 0}});
        EXPECT_EQ(Passes("t", row.value), row.passes)
            << (row.filter != nullptr ? row.filter : "null") << " on " << row.value;
    }
}

TEST_F(FiltersTest, ATrailByteIsNoLetterAndNoBeginning) {
    machine.processes.codePage = 932;
    // 0x83 0x61 is one character, as is 0x83 0x41.
    SetText({{Block("t"), Block("a"), 1}});
    EXPECT_FALSE(Passes("t", "\x83\x61"));
    EXPECT_TRUE(Passes("t", "\x83\x61 A"));
    SetText({{Block("t"), Block("\x83\x41"), 1}});
    EXPECT_FALSE(Passes("t", "\x83\x61"));
}

TEST_F(FiltersTest, Dates) {
    struct Row {
        const char* field;
        double first, last;
        int skip;
        double value;
        bool passes;
    };
    const Row rows[] = {
        {"d5", 10.0, 20.0, 0, 10.0, true},
        {"d5", 10.0, 20.0, 0, 20.0, true},
        {"d7", 10.0, 20.0, 0, 9.999, false},
        {"d7", 10.0, 20.0, 0, 20.001, false},
        {"d7", kInvalid, 20.0, 0, -5.0, true},
        {"d7", kInvalid, 20.0, 0, 21.0, false},
        {"d7", 10.0, kInvalid, 0, 9.0, false},
        {"d7", 10.0, kInvalid, 0, 90000.0, true},
        {"d7", kInvalid, kInvalid, 0, 9.0, true},
        {"d7", std::numeric_limits<double>::quiet_NaN(), kNoDate, 0, 9.0, true},
        {"d7", 10.0, 20.0, 1, 9.0, true},
        {"d7", 10.0, 20.0, 0, kNoDate, true},
        {"t", 10.0, 20.0, 0, 9.0, true},
        {"n", 10.0, 20.0, 0, 9.0, true},
        {"missing date", 10.0, 20.0, 0, 9.0, true},
        {"no such field", 10.0, 20.0, 0, 9.0, true},
        // Before 1899-12-30 the fraction counts forward: -1.75 is later in the day than -1.25.
        {"d7", -1.25, 20.0, 0, -1.75, true},
        {"d7", -1.75, 20.0, 0, -1.25, false},
    };
    for (const Row& row : rows) {
        SetDates({{Block(row.field), row.first, row.last, row.skip}});
        const std::string field = row.field[0] == 'd' ? row.field : "d7";
        EXPECT_EQ(Passes(field.c_str(), row.value), row.passes)
            << row.field << ' ' << row.first << ".." << row.last << " on " << row.value;
    }
}

TEST_F(FiltersTest, BoolsAreComparedAsNumbers) {
    SetBools({{Block("b"), 1}});
    EXPECT_TRUE(Passes("b", 1));
    EXPECT_FALSE(Passes("b", 2));
    EXPECT_FALSE(Passes("b", 0));
    EXPECT_TRUE(Passes("n", 0));
    SetBools({{Block("t"), 1}, {Block("no such field"), 1}});
    EXPECT_TRUE(Passes("b", 0));
}

TEST_F(FiltersTest, AllListsMustHoldAndAnEmptyOneFreesTheOld) {
    const RecordTranslator::Record good = {{"t", "x"}, {"b", 1}, {"d7", 15.0}};
    const auto with = [&](const char* field, Value value) {
        auto record = good;
        record[field] = value;
        return record;
    };
    SetText({{Block("t"), Block("x"), 0}});
    SetBools({{Block("b"), 1}});
    SetDates({{Block("d7"), 10.0, 20.0, 0}, {Block("d7"), 12.0, 20.0, 0}});
    translator.records = {with("t", "y"), good, with("b", 0), with("d7", 11.0), good};
    EXPECT_EQ(translator.MoveFirst(), RRC_OK);
    EXPECT_EQ(translator.position, 1U);
    EXPECT_EQ(translator.MoveNext(), RRC_OK);
    EXPECT_EQ(translator.position, 4U);
    EXPECT_EQ(translator.MoveNext(), RRC_EOF);
    translator.Close(0);
    EXPECT_EQ(translator.SetTextFilter(nullptr, 0), RRC_OK);
    EXPECT_EQ(translator.SetBoolFilter(nullptr, 0), RRC_OK);
    EXPECT_EQ(translator.MoveFirst(), RRC_OK);
    EXPECT_EQ(translator.position, 0U) << "only the dates count now";
}

TEST_F(FiltersTest, AMillionFilteredRecordsNeedNoStack) {
    SetBools({{Block("b"), 1}});
    translator.records.assign(1'000'000, {{"b", 0}});
    translator.records.back() = {{"b", 1}};
    EXPECT_EQ(translator.MoveFirst(), RRC_OK);
    EXPECT_EQ(translator.position, 999'999U);
    translator.records.back() = {{"b", 0}};
    EXPECT_EQ(translator.MoveFirst(), RRC_EOF);
}

TEST_F(FiltersTest, AFailureOnTheWayIsTheResult) {
    struct Failing : RecordTranslator {
        RRETURNCODE MoveNext() override { return RRC_FAILED; }
    } failing;
    failing.AddField("b", kFieldBool);
    failing.records.assign(2, {{"b", 0}});
    failing.SetBoolFilter(FilterList<tagRBOOLFILTER>({{Block("b"), 1}}), 1);
    EXPECT_EQ(failing.MoveFirst(), RRC_FAILED);
    failing.records[0] = {{"b", 1}};
    EXPECT_EQ(failing.MoveFirst(), RRC_OK) << "the step is as new";
}

TEST_F(FiltersTest, AnExceptionStaysInside) {
    struct Throwing : RecordTranslator {
        int PassesFilters() override { throw std::runtime_error("boom"); }
    } throwing;
    throwing.records.resize(1);
    EXPECT_EQ(throwing.MoveFirst(), RRC_FAILED);
    EXPECT_EQ(DrainErrors(), std::vector<std::string>{"MoveFirst: boom"});
    EXPECT_EQ(throwing.MoveFirst(), RRC_FAILED) << "the step is as new";
}

TEST_F(FiltersTest, DeleteAllPassesOverWhatTheFiltersHide) {
    SetBools({{Block("b"), 1}});
    translator.records = {{{"b", 0}}, {{"b", 1}}, {{"b", 1}}, {{"b", 0}}};
    EXPECT_EQ(translator.DeleteAllRecords(), RRC_OK);
    EXPECT_EQ(translator.records.size(), 2U);
    const auto flag = [&] {
        return machine.registry.ReadNumber(platform::RegistryRoot::kLocalMachine,
                                           "SOFTWARE\\Vorn Software\\Orlix\\3.0\\Keld",
                                           "RecCntFlag");
    };
    ASSERT_TRUE(flag());
    EXPECT_EQ(*flag(), 1U);
}

TEST_F(FiltersTest, DeleteAllStopsAtTheFirstFailure) {
    LoadStrings({{60, "cannot delete"}});
    translator.records.resize(2);
    for (const RRETURNCODE code : {RRC_FAILED, RRC_NOT_SUPPORTED}) {
        translator.deleteCode = code;
        LogCapture log;
        EXPECT_EQ(translator.DeleteAllRecords(), RRC_FAILED);
        EXPECT_TRUE(LogCapture::Has("1 Error while deleting the reocrd\n"));
        EXPECT_EQ(DrainErrors(), std::vector<std::string>{"cannot delete"});
    }
    machine.registry.refuseWrites = true;
    translator.deleteCode = RRC_OK;
    EXPECT_EQ(translator.DeleteAllRecords(), RRC_OK) << "the registry's failure is not told";
}

}  // namespace
