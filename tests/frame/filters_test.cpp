#include "tests/frame/record_translator.h"

namespace {

class FiltersTest : public FrameTest {
  protected:
    RecordTranslator translator;
};

TEST_F(FiltersTest, AMillionFilteredRecordsNeedNoStack) {
    translator.records.assign(1'000'000, "-");
    EXPECT_EQ(translator.MoveFirst(), RRC_EOF);
    translator.records.back() = "+";
    EXPECT_EQ(translator.MoveFirst(), RRC_OK);
    EXPECT_EQ(translator.position, 999'999U);
    EXPECT_EQ(translator.MoveNext(), RRC_EOF);
}

TEST_F(FiltersTest, AFailureOnTheWayIsTheResult) {
    struct Failing : RecordTranslator {
        RRETURNCODE MoveNext() override { return RRC_FAILED; }
    } failing;
    failing.records.assign(2, "-");
    EXPECT_EQ(failing.MoveFirst(), RRC_FAILED);
    failing.throws = true;
    EXPECT_EQ(failing.MoveFirst(), RRC_FAILED);
    EXPECT_EQ(DrainErrors(), std::vector<std::string>{"MoveFirst: boom"});
    failing.throws = false;
    failing.records[0] = "+";
    EXPECT_EQ(failing.MoveFirst(), RRC_OK) << "the step is as new";
}

TEST_F(FiltersTest, DeleteAllPassesOverWhatTheFiltersHide) {
    LoadStrings({{60, "cannot delete"}});
    const auto flag = [&] {
        return machine.registry.ReadNumber(platform::RegistryRoot::kLocalMachine,
                                           "SOFTWARE\\Vorn Software\\Orlix\\3.0\\Keld",
                                           "RecCntFlag");
    };
    translator.records = {"-1", "2", "3", "-4"};
    translator.failing = "D";
    EXPECT_EQ(translator.DeleteAllRecords(), RRC_FAILED);
    EXPECT_EQ(DrainErrors(), std::vector<std::string>{"cannot delete"});
    EXPECT_FALSE(flag());
    translator.failing = "";
    EXPECT_EQ(translator.DeleteAllRecords(), RRC_OK);
    EXPECT_EQ(translator.records, (std::vector<std::string>{"-1", "-4"}));
    EXPECT_EQ(*flag(), 1U);
    machine.registry.refuseWrites = true;
    EXPECT_EQ(translator.DeleteAllRecords(), RRC_OK) << "the registry's failure is not told";
}

}  // namespace
