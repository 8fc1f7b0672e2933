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

    void Set(std::vector<tagRTEXTFILTER> filters) {
        translator.SetTextFilter(FilterList(filters), static_cast<int>(filters.size()));
    }
    void Set(std::vector<tagRDATEFILTER> filters) {
        translator.SetDateFilter(FilterList(filters), static_cast<int>(filters.size()));
    }
    void Set(std::vector<tagRBOOLFILTER> filters) {
        translator.SetBoolFilter(FilterList(filters), static_cast<int>(filters.size()));
    }
    void SetFlag(const char* field) { Set(std::vector<tagRBOOLFILTER>{{Block(field), 1}}); }
    bool Passes(const char* field, Value value) {
        translator.records = {{{field, value}}};
        return translator.MoveFirst() == RRC_OK;
    }

    RecordTranslator translator;
};

TEST_F(FiltersTest, Texts) {
    using Row = std::tuple<const char*, const char*, int, const char*, bool>;
    const Row rows[] = {{"t", "ABC", 0, "abc", true},
                        {"t", "ABC", 0, "abcd", false},
                        {"t", "abc", 7, "xAbCx", true},
                        {"t", "abc", 7, "ab", false},
                        {"t", "", 0, "anything", true},
                        {"t", nullptr, 7, "anything", true},
                        {"no such field", "abc", 0, "x", true},
                        {"n", "abc", 0, "x", true},
                        {"missing", "abc", 0, "x", true},
                        {"t", "%s%n", 1, "a%S%Nb", true},
                        // 0x83 0x61 is one character, as is 0x83 0x41.
                        {"t", "a", 1, "\x83\x61", false},
                        {"t", "a", 1, "\x83\x61 A", true},
                        {"t", "\x83\x41", 1, "\x83\x61", false}};
    util.system.codePage = 932;
    for (const auto& [field, filter, substring, value, passes] : rows) {
        Set(std::vector<tagRTEXTFILTER>{{Block(field), Block(filter), substring}});
        EXPECT_EQ(Passes("t", value), passes) << (filter ? filter : "null") << " on " << value;
    }
}

TEST_F(FiltersTest, Dates) {
    using Row = std::tuple<const char*, double, double, int, double, bool>;
    const double kNan = std::numeric_limits<double>::quiet_NaN();
    const Row rows[] = {{"d5", 10.0, 20.0, 0, 10.0, true},
                        {"d7", 10.0, 20.0, 0, 20.0, true},
                        {"d5", 10.0, 20.0, 0, 9.999, false},
                        {"d7", 10.0, 20.0, 0, 20.001, false},
                        {"d7", kInvalid, 20.0, 0, -5.0, true},
                        {"d7", kInvalid, 20.0, 0, 21.0, false},
                        {"d7", 10.0, kInvalid, 0, 9.0, false},
                        {"d7", 10.0, kInvalid, 0, 90000.0, true},
                        {"d7", kNan, kNoDate, 0, 9.0, true},
                        {"d7", 10.0, 20.0, 1, 9.0, true},
                        {"d7", 10.0, 20.0, 0, kNoDate, true},
                        {"t", 10.0, 20.0, 0, 9.0, true},
                        {"missing date", 10.0, 20.0, 0, 9.0, true},
                        // Before 1899-12-30 the fraction counts forward.
                        {"d7", -1.25, 20.0, 0, -1.75, true},
                        {"d7", -1.75, 20.0, 0, -1.25, false}};
    for (const auto& [field, first, last, skip, value, passes] : rows) {
        Set(std::vector<tagRDATEFILTER>{{Block(field), first, last, skip}});
        EXPECT_EQ(Passes(field[0] == 'd' ? field : "d7", value), passes)
            << field << ' ' << first << ".." << last << " on " << value;
    }
}

TEST_F(FiltersTest, AllListsMustHoldAndAnEmptyOneFreesTheOld) {
    const RecordTranslator::Record good = {{"t", "x"}, {"b", 1}, {"d7", 15.0}};
    const auto with = [&](const char* field, Value value) {
        auto record = good;
        record[field] = value;
        return record;
    };
    Set(std::vector<tagRTEXTFILTER>{{Block("t"), Block("x"), 0}});
    SetFlag("b");
    Set(std::vector<tagRDATEFILTER>{{Block("d7"), 10.0, 20.0, 0}, {Block("d7"), 12.0, 20.0, 0}});
    translator.records = {with("t", "y"), good, with("b", 0), with("d7", 11.0), good};
    EXPECT_EQ(translator.MoveFirst(), RRC_OK);
    EXPECT_EQ(translator.position, 1U);
    EXPECT_EQ(translator.MoveNext(), RRC_OK);
    EXPECT_EQ(translator.position, 4U);
    EXPECT_EQ(translator.MoveNext(), RRC_EOF);
    EXPECT_EQ(translator.SetTextFilter(nullptr, 0), RRC_OK);
    EXPECT_EQ(translator.SetBoolFilter(nullptr, 0), RRC_OK);
    EXPECT_EQ(translator.MoveFirst(), RRC_OK);
    EXPECT_EQ(translator.position, 0U) << "only the dates count now";
}

TEST_F(FiltersTest, AMillionFilteredRecordsNeedNoStack) {
    SetFlag("b");
    EXPECT_FALSE(Passes("b", 2)) << "compared as numbers";
    EXPECT_TRUE(Passes("n", 0));
    translator.records.assign(1'000'000, {{"b", 0}});
    EXPECT_EQ(translator.MoveFirst(), RRC_EOF);
    translator.records.back() = {{"b", 1}};
    EXPECT_EQ(translator.MoveFirst(), RRC_OK);
    EXPECT_EQ(translator.position, 999'999U);
}

TEST_F(FiltersTest, AFailureOnTheWayIsTheResult) {
    struct Failing : RecordTranslator {
        bool throws = false;
        RRETURNCODE MoveNext() override { return RRC_FAILED; }
        int PassesFilters() override {
            return throws ? throw std::runtime_error("boom") : RecordTranslator::PassesFilters();
        }
    } failing;
    failing.AddField("b", kFieldBool);
    failing.records.assign(2, {{"b", 0}});
    failing.SetBoolFilter(FilterList<tagRBOOLFILTER>({{Block("b"), 1}}), 1);
    EXPECT_EQ(failing.MoveFirst(), RRC_FAILED);
    failing.throws = true;
    EXPECT_EQ(failing.MoveFirst(), RRC_FAILED);
    EXPECT_EQ(DrainErrors(), std::vector<std::string>{"MoveFirst: boom"});
    failing.throws = false;
    failing.records[0] = {{"b", 1}};
    EXPECT_EQ(failing.MoveFirst(), RRC_OK) << "the step is as new";
}

TEST_F(FiltersTest, DeleteAllPassesOverWhatTheFiltersHide) {
    LoadStrings({{60, "cannot delete"}});
    const auto flag = [&] {
        return machine.registry.ReadNumber(platform::RegistryRoot::kLocalMachine,
                                           "SOFTWARE\\Vorn Software\\Orlix\\3.0\\Keld",
                                           "RecCntFlag");
    };
    SetFlag("b");
    for (const RRETURNCODE code : {RRC_NOT_SUPPORTED, RRC_OK}) {
        translator.records = {{{"b", 0}}, {{"b", 1}}, {{"b", 1}}, {{"b", 0}}};
        translator.deleteCode = code;
        EXPECT_EQ(translator.DeleteAllRecords(), code == RRC_OK ? RRC_OK : RRC_FAILED);
        EXPECT_EQ(translator.records.size(), code == RRC_OK ? 2U : 4U);
        EXPECT_EQ(DrainErrors().size(), code == RRC_OK ? 0U : 1U);
        EXPECT_EQ(flag().HasValue(), code == RRC_OK);
    }
    EXPECT_EQ(*flag(), 1U);
    machine.registry.refuseWrites = true;
    EXPECT_EQ(translator.DeleteAllRecords(), RRC_OK) << "the registry's failure is not told";
}

}  // namespace
