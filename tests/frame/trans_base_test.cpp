#include <functional>

#include "tests/frame/frame_fixture.h"
#include "tests/frame/numbered_host.h"
#include "tests/support/failing_allocation.h"

using test::ForEachFailingAllocation, test::Shortage;

namespace {

using Texts = std::vector<std::string>;
const std::string kFirst = "C:\\set\\EudoraAppInfo0001.cfg";

// A translator over records that a test makes up: a record is its id, and the filters hide it if
// that begins with '-'. It notes the steps that ran by their letters; one of them may fail.
class RecordTranslator : public CREudoraTransBase {
  public:
    using CREudoraTransBase::DeleteRecord;
    using CREudoraTransBase::EditRecord;
    using CREudoraTransBase::m_appInfo;
    using CREudoraTransBase::m_csSelection;
    RRETURNCODE MoveFirst() override {
        position = 0;
        return position == records.size() ? RRC_EOF : EndMove("MoveFirst");
    }
    RRETURNCODE MoveNext() override {
        if (failing == "N") return RRC_FAILED;
        if (position < records.size()) ++position;
        return position == records.size() ? RRC_EOF : EndMove("MoveNext");
    }
    RRETURNCODE GoToRecord(LPCTSTR) override { return Step("G"); }
    RRETURNCODE EditRecord() override { return Step("E"); }
    RRETURNCODE DeleteRecord() override {
        const auto code = Step("D");
        if (code == RRC_OK && position < records.size()) {
            records.erase(records.begin() + static_cast<std::ptrdiff_t>(position));
        }
        return code;
    }
    RRETURNCODE GetRecordID(CString&) override { return Step("I"); }
    RRETURNCODE GetModifiedInfo(CString&) override { return Step("M"); }
    RRETURNCODE PrepareForUpdate() override { return Step("U"); }
    int PassesFilters() override {
        if (failing == "P") throw std::runtime_error("boom");
        return records[position].starts_with('-') ? 0 : 1;
    }
    int ShowOptions() override {
        m_appInfo.m_nMailAgeDays = 99;
        if (failing == "S") throw std::runtime_error("torn");
        return failing == "C" ? 4 : 0;
    }
    using CREudoraTransBase::GetAppInfo, CREudoraTransBase::Open;
    RRETURNCODE GetAppInfo(BOOL bConfigure, RWORD a, RWORD b, RWORD c, CString& csSelection,
                           RWORD word, CString& csSummary, CEudoraTransUtil* pUtil) override {
        words = {static_cast<RWORD>(bConfigure), a, b, c, word};
        return CREudoraTransBase::GetAppInfo(bConfigure, a, b, c, csSelection, word, csSummary,
                                             pUtil);
    }
    RRETURNCODE Open(int nMode, RWORD a, RWORD b, RWORD c, RWORD d, RWORD e, RWORD f, RWORD g,
                     RWORD h, CEudoraTransUtil* pUtil) override {
        words = {static_cast<RWORD>(nMode), a, b, c, d, e, f, g, h};
        return CREudoraTransBase::Open(nMode, a, b, c, d, e, f, g, h, pUtil);
    }

    RRETURNCODE Step(const char* name) {
        ran += name;
        return failing == name ? RRC_CANCELLED : RRC_OK;
    }

    Texts records;
    std::size_t position = 0;
    std::string failing, ran;
    std::vector<RWORD> words;
};

class TransBaseTest : public FrameTest {
  protected:
    RRETURNCODE Configure(CREudoraTransBase& object, BOOL configure) {
        return object.GetAppInfo(configure, 0, 0, 0, selection, 0, summary, &util);
    }

    RecordTranslator translator;
    CString selection, summary;
};

TEST_F(TransBaseTest, ShortFormsCarryTheWordsToTheLongOnes) {
    NumberedHost host{&util};
    EXPECT_EQ(translator.GetAppInfo(1, &host, selection, 55, summary, 66), RRC_OK);
    EXPECT_EQ(translator.words, (std::vector<RWORD>{1, 1, 2, 3, 55}));
    EXPECT_EQ(translator.Open(9, 71, 72, 73, &host, 74), RRC_OK);
    EXPECT_EQ(translator.words, (std::vector<RWORD>{9, 2, 3, 4, 72, 73, 5, 6, 7}));
    EXPECT_EQ(host.calls, "23U1234567U");
    EXPECT_EQ(translator.Open(9, 1, 2, nullptr), RRC_FAILED);
    EXPECT_EQ(translator.GetAppInfo(0, nullptr, selection, 1, summary), RRC_FAILED);
}

TEST_F(TransBaseTest, ANewFileStaysOnlyIfTheHostHearsOfIt) {
    LoadStrings({{66, "cannot write"}});
    for (const auto& [failing, code] :
         {std::pair{"", RRC_OK}, {"C", RRC_CANCELLED}, {"S", RRC_FAILED}}) {
        util.DeleteAllSettings();
        util.AddWarningText("old");
        RecordTranslator fresh;
        selection.Empty();
        fresh.failing = failing;
        EXPECT_EQ(Configure(fresh, 1), code);
        EXPECT_EQ(util.GetNextWarning(summary), RRC_NONE);
        EXPECT_EQ(selection.Str(), kFirst) << "the path stays";
        EXPECT_EQ(machine.files.Get(kFirst).has_value(), code == RRC_OK);
        EXPECT_EQ(fresh.m_appInfo.m_isLoaded, code == RRC_OK);
        selection.Empty();
        fresh.failing = "";
        EXPECT_TRUE(code == RRC_OK || Configure(fresh, 0) == RRC_OK);
        // Once loaded nothing is read, whatever the selection says, and the file stays.
        selection = "C:\\set\\other.cfg";
        EXPECT_EQ(Configure(fresh, 0), RRC_OK);
        EXPECT_EQ(fresh.m_csSelection, selection);
        fresh.failing = failing;
        EXPECT_EQ(Configure(fresh, 1), code);
        EXPECT_EQ(machine.files.Get(kFirst)->size(), 45U) << "no fields, default options";
        EXPECT_TRUE(fresh.m_appInfo.m_isLoaded);
        (void)DrainErrors();
    }
    selection.Empty();
    util.csSettingsDir = "C:\\nowhere";
    EXPECT_EQ(Configure(translator, 1), RRC_FAILED);
    EXPECT_EQ(DrainErrors(), Texts{"cannot write"});
    EXPECT_FALSE(translator.m_appInfo.m_isLoaded);
    EXPECT_TRUE(machine.dialogs.messages.empty());
}

TEST_F(TransBaseTest, AnExistingFileIsReadAndNotRewritten) {
    CEudoraAppInfo stored;
    stored.m_nMailAgeDays = 31;
    ASSERT_TRUE(util.StoreSettings(stored, kFirst.c_str()));
    const auto good = *machine.files.Get(kFirst);
    for (const auto& content : {good, std::string("damaged")}) {
        RecordTranslator fresh;
        machine.files.Put(kFirst, content);
        selection = CString(kFirst);
        EXPECT_EQ(Configure(fresh, 0), RRC_OK);
        EXPECT_EQ(machine.dialogs.messages.size(), content == good ? 0U : 1U);
        EXPECT_EQ(fresh.m_appInfo.m_nMailAgeDays, content == good ? 31 : 7);
        EXPECT_EQ(Configure(fresh, 1), RRC_OK);
        EXPECT_EQ(fresh.m_appInfo.m_nMailAgeDays, 99);
        EXPECT_EQ(machine.files.Get(kFirst), content);
    }
}

TEST_F(TransBaseTest, MemoryThatRunsOutIsAResultAndTheNextCallWorks) {
    for (const Shortage shortage : {Shortage::kOne, Shortage::kLasting}) {
        ForEachFailingAllocation(
            [&](auto run) {
                util.DeleteAllSettings();
                CREudoraTransBase fresh;
                RRETURNCODE code = RRC_EOF;
                selection.Empty();
                EXPECT_TRUE(run([&] { code = Configure(fresh, 1); })) << "thrown at the host";
                EXPECT_TRUE(code == RRC_OK || code == RRC_FAILED) << code;
                EXPECT_TRUE(code == RRC_OK || shortage == Shortage::kLasting ||
                            !machine.files.Get(kFirst))
                    << "the host knows nothing of a file";
                selection.Empty();
                EXPECT_EQ(Configure(fresh, 1), RRC_OK);
            },
            shortage);
    }
}

TEST_F(TransBaseTest, MessagesComeInOrderAndOpeningClearsErrorsOnly) {
    for (const char* text : {"first", "second", "third"}) util.AddErrorText(text);
    util.AddWarningText("warning");
    CString text;
    EXPECT_EQ(translator.GetFirstErrorMessage(text), RRC_OK);
    EXPECT_EQ(text, "first");
    EXPECT_EQ(translator.GetNextErrorMessage(text), RRC_OK);
    EXPECT_EQ(text, "second");
    EXPECT_EQ(translator.Open(3, 0, 0, 0, 0, 0, 0, 0, 0, &util), RRC_OK);
    EXPECT_EQ(translator.GetFirstErrorMessage(text), RRC_NONE);
    EXPECT_EQ(text, "second") << "untouched";
    EXPECT_EQ(translator.GetFirstWarningMessage(text), RRC_OK);
    EXPECT_EQ(text, "warning");
}

TEST_F(TransBaseTest, FieldsWithoutRecordsHaveNamesAndEmptyValues) {
    LoadStrings({{41, "From"}});
    for (const auto& [id, name] : {std::pair{"1", 41}, {"2", 42}, {"3", -5}}) {
        translator.m_appInfo.m_fields.Add(
            {id, 0, name, std::string("own") + id, kFieldText, 0xC0000000U});
    }
    CString id, name("old");
    unsigned long type = 0, tag = 0;
    unsigned short ordinal = 0;
    std::string seen;
    auto code = translator.GetFirstFieldInfo(id, name, &type, &tag, &ordinal);
    for (; code == RRC_OK; code = translator.GetNextFieldInfo(id, name, &type, &tag, &ordinal)) {
        seen += id.Str() + name.Str() + std::to_string(type) + std::to_string(ordinal) + ' ';
        EXPECT_EQ(tag, 0xC0000000UL);
    }
    EXPECT_EQ(code, RRC_NONE);
    EXPECT_EQ(seen + id.Str() + name.Str(), "1From41 2own242 3own343 3own3");

    std::int32_t number = 17;
    double date = 1.5;
    char* text = nullptr;
    const auto get = [&](unsigned long fieldType, void* cell, const char* field = "1") {
        return translator.GetField(field, &fieldType, cell);
    };
    for (unsigned long good : {1UL, 3UL}) EXPECT_EQ(get(good, &number), RRC_OK);
    for (unsigned long good : {5UL, 6UL, 7UL}) EXPECT_EQ(get(good, &date), RRC_OK);
    EXPECT_EQ(number + date, 18.5);
    EXPECT_EQ(get(4, &text), RRC_OK);
    EXPECT_STREQ(text, "");
    FreeVornString(text);
    for (unsigned long bad : {0UL, 2UL, 8UL, 0xFFFFFFFFUL}) EXPECT_EQ(get(bad, &date), RRC_FAILED);
    EXPECT_EQ(get(1, &number, "9"), RRC_FAILED);
    for (const char* any : {"1", "9"}) {
        EXPECT_EQ(translator.SetField(any, &type, &number), RRC_FAILED);
    }
}

// Each step may end the operation with its own result; none behind it runs then.
TEST_F(TransBaseTest, OperationsStopAtTheFirstResultThatIsNotZero) {
    CString a, b;
    const std::pair<std::function<RRETURNCODE()>, std::string> rows[] = {
        {[&] { return translator.EditRecord("id"); }, "GE"},
        {[&] { return translator.UpdateRecord(a, b); }, "UIM"},
        {[&] { return translator.DeleteRecord("id"); }, "GD"}};
    for (const auto& [run, all] : rows) {
        for (std::size_t i = 0; i <= all.size(); ++i) {
            translator.failing = all.substr(i, 1);
            translator.ran.clear();
            EXPECT_EQ(run(), i < all.size() ? RRC_CANCELLED : RRC_OK);
            EXPECT_EQ(translator.ran, all.substr(0, i + 1));
        }
    }
}

TEST_F(TransBaseTest, AMillionFilteredRecordsNeedNoStackAndAFailureEndsTheWalk) {
    translator.records.assign(1'000'000, "-");
    EXPECT_EQ(translator.MoveFirst(), RRC_EOF);
    translator.records.back() = "+";
    EXPECT_EQ(translator.MoveFirst(), RRC_OK);
    EXPECT_EQ(translator.position, 999'999U);
    EXPECT_EQ(translator.MoveNext(), RRC_EOF);
    translator.failing = "N";
    EXPECT_EQ(translator.MoveFirst(), RRC_FAILED);
    translator.failing = "P";
    EXPECT_EQ(translator.MoveFirst(), RRC_FAILED);
    EXPECT_EQ(DrainErrors(), Texts{"MoveFirst: boom"});
    translator.failing = "";
    EXPECT_EQ(translator.MoveFirst(), RRC_OK) << "the step is as new";
}

TEST_F(TransBaseTest, DeleteAllPassesOverWhatTheFiltersHide) {
    LoadStrings({{60, "cannot delete"}});
    const auto flag = [&] {
        return machine.registry.ReadNumber(platform::RegistryRoot::kLocalMachine,
                                           "SOFTWARE\\Vorn Software\\Orlix\\3.0\\Keld",
                                           "RecCntFlag");
    };
    translator.records = {"-1", "2", "3", "-4"};
    translator.failing = "D";
    EXPECT_EQ(translator.DeleteAllRecords(), RRC_FAILED);
    EXPECT_EQ(DrainErrors(), Texts{"cannot delete"});
    EXPECT_FALSE(flag());
    translator.failing = "";
    EXPECT_EQ(translator.DeleteAllRecords(), RRC_OK);
    EXPECT_EQ(translator.records, (Texts{"-1", "-4"}));
    EXPECT_EQ(*flag(), 1U);
    machine.registry.refuseWrites = true;
    EXPECT_EQ(translator.DeleteAllRecords(), RRC_OK) << "the registry's failure is not told";
}

}  // namespace
