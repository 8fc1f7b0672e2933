#include "tests/frame/frame_fixture.h"
#include "tests/support/failing_allocation.h"

using test::ForEachFailingAllocation, test::Shortage;

namespace {

using Texts = std::vector<std::string>;
const std::string kFirst = "C:\\set\\EudoraAppInfo0001.cfg";

// A translator over records that a test makes up: a record is its id, and the filters hide it if
// that begins with '-'. One of its steps, known by its letter, may fail.
class RecordTranslator : public CREudoraTransBase {
  public:
    using CREudoraTransBase::DeleteRecord;
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
    RRETURNCODE GoToRecord(LPCTSTR) override { return failing == "G" ? RRC_CANCELLED : RRC_OK; }
    RRETURNCODE DeleteRecord() override {
        if (failing == "D" || position >= records.size()) return RRC_CANCELLED;
        records.erase(records.begin() + static_cast<std::ptrdiff_t>(position));
        return RRC_OK;
    }
    int PassesFilters() override {
        if (failing == "P") throw std::runtime_error("boom");
        return records[position].starts_with('-') ? 0 : 1;
    }
    int ShowOptions() override {
        shown = m_appInfo.m_nMailAgeDays;
        if (failing == "S") throw std::runtime_error("torn");
        return failing == "C" ? 4 : 0;
    }

    Texts records;
    std::size_t position = 0;
    std::string failing;
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
    for (const char* text : {"first", "second"}) util.AddErrorText(text);
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
                // The host knows nothing of a file.
                EXPECT_TRUE(code == RRC_OK || shortage == Shortage::kLasting ||
                            !machine.files.Get(kFirst));
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

    const std::string known = "-x-xxxxx-";  // by type; numbers and dates stay as preset
    double cell = 1.5;
    char* text = nullptr;
    for (type = 0; type < known.size(); ++type) {
        void* const value = type == kFieldText ? static_cast<void*>(&text) : &cell;
        EXPECT_EQ(translator.GetField("1", &type, value) == RRC_OK, known[type] == 'x') << type;
        EXPECT_EQ(translator.GetField("9", &type, value), RRC_FAILED);
    }
    EXPECT_STREQ(text, "");
    FreeVornString(text);
    EXPECT_EQ(cell, 1.5);
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

    translator.records = {"-1", "2", "3", "-4"};
    translator.position = 1;
    translator.failing = "G";
    EXPECT_EQ(translator.EditRecord("gone"), RRC_CANCELLED) << "not the current record";
    EXPECT_EQ(translator.DeleteRecord("gone"), RRC_CANCELLED);
    translator.failing = "D";
    EXPECT_EQ(translator.DeleteAllRecords(), RRC_FAILED);
    EXPECT_EQ(DrainErrors(), Texts{"cannot delete"});
    const char* const key = "SOFTWARE\\Vorn Software\\Orlix\\3.0\\Keld";
    const auto root = platform::RegistryRoot::kLocalMachine;
    EXPECT_FALSE(machine.registry.ReadNumber(root, key, "RecCntFlag"));
    translator.failing = "";
    EXPECT_EQ(translator.DeleteAllRecords(), RRC_OK);
    EXPECT_EQ(translator.records, (Texts{"-1", "-4"}));
    EXPECT_EQ(*machine.registry.ReadNumber(root, key, "RecCntFlag"), 1U);
}

}  // namespace
