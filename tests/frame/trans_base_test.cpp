#include <functional>

#include "tests/frame/frame_fixture.h"
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
    using CREudoraTransBase::m_dwHostValue;
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
        shown = m_appInfo.m_nMailAgeDays;
        if (failing == "S") throw std::runtime_error("torn");
        return failing == "C" ? 4 : 0;
    }
    RRETURNCODE Step(const char* name) {
        ran += name;
        return failing == name ? RRC_CANCELLED : RRC_OK;
    }

    Texts records;
    std::size_t position = 0;
    std::string failing, ran;
    int shown = 0;  // of the options: the age of mails
};

class TransBaseTest : public FrameTest {
  protected:
    RRETURNCODE Configure(CREudoraTransBase& object, BOOL configure) {
        return object.GetAppInfo(configure, 0, 0, 0, selection, 0, summary, &util);
    }

    RecordTranslator translator;
    CString selection, summary;
};

TEST_F(TransBaseTest, ShortFormsAskTheHostAndOpeningClearsErrorsOnly) {
    NumberedHost host{&util};
    EXPECT_EQ(translator.GetAppInfo(0, nullptr, selection, 1, summary), RRC_FAILED);
    EXPECT_EQ(translator.GetAppInfo(0, &host, selection, 55, summary, 66), RRC_OK);
    EXPECT_EQ(translator.m_dwHostValue, 2U);
    for (const char* text : {"first", "second", "third"}) util.AddErrorText(text);
    util.AddWarningText("warning");
    CString text;
    EXPECT_EQ(translator.GetFirstErrorMessage(text), RRC_OK);
    EXPECT_EQ(text, "first");
    EXPECT_EQ(translator.Open(9, 1, 2, nullptr), RRC_FAILED);
    EXPECT_EQ(translator.Open(9, 71, 72, 73, &host, 74), RRC_OK);
    EXPECT_EQ(translator.m_dwHostValue, 2U);
    EXPECT_EQ(host.calls, "23U1234567U");
    EXPECT_EQ(translator.GetNextErrorMessage(text), RRC_NONE);
    EXPECT_EQ(text, "first") << "untouched";
    EXPECT_EQ(translator.GetFirstWarningMessage(text), RRC_OK);
    EXPECT_EQ(translator.GetAppInfo(0, &host, selection, 55, summary), RRC_OK);
    EXPECT_EQ(translator.GetNextWarningMessage(text), RRC_NONE);
}

// A new file stays only if the host hears of it; an old one is never rewritten.
TEST_F(TransBaseTest, SettingsAreMadeOrRead) {
    LoadStrings({{66, "cannot write"}});
    CEudoraAppInfo stored;
    stored.m_nMailAgeDays = 31;
    ASSERT_TRUE(util.StoreSettings(stored, kFirst.c_str()));
    const std::string good = *machine.files.Get(kFirst);
    for (const std::string& before : {std::string(), good, std::string("damaged")}) {
        for (const auto& [failing, code] :
             {std::pair{"", RRC_OK}, {"C", RRC_CANCELLED}, {"S", RRC_FAILED}}) {
            SCOPED_TRACE(before + failing);
            util.DeleteAllSettings();
            if (!before.empty()) machine.files.Put(kFirst, before);
            machine.dialogs.messages.clear();
            selection = CString(before.empty() ? "" : kFirst);
            RecordTranslator fresh;
            fresh.failing = failing;
            EXPECT_EQ(Configure(fresh, 1), code);
            EXPECT_EQ(selection.Str(), kFirst);
            const bool isKept = code == RRC_OK || !before.empty();
            EXPECT_EQ(fresh.m_appInfo.m_isLoaded, isKept);
            EXPECT_EQ(fresh.shown, before == good ? 31 : 7);
            EXPECT_EQ(machine.files.Get(kFirst).has_value(), isKept);
            // Once loaded nothing is read, whatever the selection says.
            selection = isKept ? "C:\\set\\none.cfg" : "";
            EXPECT_EQ(Configure(fresh, 0), RRC_OK);
            const auto after = machine.files.Get(kFirst).value_or("");
            EXPECT_TRUE(before.empty() ? after.size() == good.size() : after == before);
            EXPECT_EQ(machine.dialogs.messages.size(), before == "damaged" ? 1U : 0U);
        }
    }
    (void)DrainErrors();
    selection.Empty();
    util.csSettingsDir = "C:\\nowhere";
    EXPECT_EQ(Configure(translator, 1), RRC_FAILED);
    EXPECT_EQ(DrainErrors(), Texts{"cannot write"});
    EXPECT_FALSE(translator.m_appInfo.m_isLoaded);
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
    EXPECT_EQ(seen + id.Str() + name.Str(), "1From41 2own242 3own343 3own3");

    double cell = 1.5;
    char* text = nullptr;
    for (unsigned long any = 0; any < 9; ++any) {
        const bool isKnown = any == 1 || (any >= 3 && any <= 7);
        void* const value = any == kFieldText ? static_cast<void*>(&text) : &cell;
        EXPECT_EQ(translator.GetField("1", &any, value), isKnown ? RRC_OK : RRC_FAILED) << any;
        EXPECT_EQ(translator.GetField("9", &any, value), RRC_FAILED);
        EXPECT_EQ(translator.SetField("1", &any, value), RRC_FAILED);
    }
    EXPECT_STREQ(text, "");
    FreeVornString(text);
    EXPECT_EQ(cell, 1.5) << "stays as the caller preset it";
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

TEST_F(TransBaseTest, AWalkPassesOverAMillionHiddenRecordsAndDeletesTheOthers) {
    LoadStrings({{60, "cannot delete"}});
    translator.records.assign(1'000'000, "-");
    EXPECT_EQ(translator.MoveFirst(), RRC_EOF);
    translator.records.back() = "+";
    for (const auto& [failing, code] :
         {std::pair{"N", RRC_FAILED}, {"P", RRC_FAILED}, {"", RRC_OK}}) {
        translator.failing = failing;
        EXPECT_EQ(translator.MoveFirst(), code);
    }
    EXPECT_EQ(translator.position, 999'999U);
    EXPECT_EQ(translator.MoveNext(), RRC_EOF);
    EXPECT_EQ(DrainErrors(), Texts{"MoveFirst: boom"});

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
}

}  // namespace
