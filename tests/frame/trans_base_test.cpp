#include "frame/plain_translator.h"
#include "tests/frame/numbered_host.h"
#include "tests/frame/record_translator.h"
#include "tests/support/failing_allocation.h"

using test::ForEachFailingAllocation, test::Shortage;

namespace {

const std::string kFirst = "C:\\set\\EudoraAppInfo0001.cfg";

class OptionTranslator : public frame::PlainTranslator {
  public:
    static constexpr int kThrows = -1;
    int answer = 0, shown = 0, defaults = 0;
    std::vector<RWORD> words;

    CEudoraAppInfo& Info() { return m_appInfo; }
    const CString& Selection() const { return m_csSelection; }

    int ShowOptions() override {
        ++shown;
        m_appInfo.m_nMailAgeDays = 99;
        if (answer == kThrows) throw std::runtime_error("torn");
        return answer;
    }
    RRETURNCODE InitDefaultSettings() override {
        ++defaults;
        return RRC_FAILED;  // nobody looks
    }
    using CREudoraTransBase::GetAppInfo;
    using CREudoraTransBase::Open;
    RRETURNCODE GetAppInfo(BOOL bConfigure, RWORD value1, RWORD value2, RWORD value3,
                           CString& csSelection, RWORD word, CString& csSummary,
                           CEudoraTransUtil* pUtil) override {
        words = {static_cast<RWORD>(bConfigure), value1, value2, value3, word};
        return CREudoraTransBase::GetAppInfo(bConfigure, value1, value2, value3, csSelection, word,
                                             csSummary, pUtil);
    }
    RRETURNCODE Open(int nMode, RWORD a, RWORD b, RWORD c, RWORD d, RWORD e, RWORD f, RWORD g,
                     RWORD h, CEudoraTransUtil* pUtil) override {
        words = {static_cast<RWORD>(nMode), a, b, c, d, e, f, g, h};
        return CREudoraTransBase::Open(nMode, a, b, c, d, e, f, g, h, pUtil);
    }
};

class TransBaseTest : public FrameTest {
  protected:
    RRETURNCODE Configure(BOOL configure) {
        return translator.GetAppInfo(configure, 0, 0, 0, selection, 0, summary, &util);
    }

    NumberedHost host{&util};
    OptionTranslator translator;
    CString selection, summary;
};

TEST_F(TransBaseTest, ShortFormsCarryTheWordsToTheLongOnes) {
    EXPECT_EQ(translator.GetAppInfo(1, &host, selection, 55, summary, 66), RRC_OK);
    EXPECT_EQ(translator.words, (std::vector<RWORD>{1, 1, 2, 3, 55}));
    EXPECT_EQ(translator.Open(9, 71, 72, 73, &host, 74), RRC_OK);
    EXPECT_EQ(translator.words, (std::vector<RWORD>{9, 2, 3, 4, 72, 73, 5, 6, 7}));
    EXPECT_EQ(host.calls, "23U1234567U");
    EXPECT_EQ(translator.Open(9, 1, 2, nullptr), RRC_FAILED);
    EXPECT_EQ(translator.GetAppInfo(0, nullptr, selection, 1, summary), RRC_FAILED);
}

TEST_F(TransBaseTest, AnEmptySelectionMakesANewFile) {
    util.AddErrorText("old");
    util.AddWarningText("old");
    EXPECT_EQ(Configure(0), RRC_OK);
    EXPECT_EQ(selection.Str(), kFirst);
    EXPECT_EQ(translator.Selection(), selection);
    EXPECT_EQ(machine.files.Get(kFirst)->size(), 45U) << "no fields, default options";
    EXPECT_EQ(summary, translator.Info().GetSummaryText());
    EXPECT_EQ(util.GetNextError(summary), RRC_NONE);
    EXPECT_EQ(util.GetNextWarning(summary), RRC_NONE);
    // A second call reads nothing, whatever the selection says.
    selection = "C:\\set\\other.cfg";
    EXPECT_EQ(Configure(0), RRC_OK);
    EXPECT_EQ(translator.Selection().Str(), "C:\\set\\other.cfg");
    EXPECT_EQ(translator.defaults, 1);
    EXPECT_EQ(translator.shown, 0);
    EXPECT_TRUE(machine.dialogs.messages.empty());
}

TEST_F(TransBaseTest, ADialogThatIsCancelledOrFailsTakesANewFileBack) {
    for (const auto& [answer, code] :
         {std::pair{4, RRC_CANCELLED}, {translator.kThrows, RRC_FAILED}}) {
        util.DeleteAllSettings();
        translator.Info().SetLoaded(0);
        selection.Empty();
        translator.answer = answer;
        EXPECT_EQ(Configure(1), code);
        EXPECT_EQ(selection.Str(), kFirst) << "the path stays";
        EXPECT_EQ(machine.files.Get(kFirst), std::nullopt);
        EXPECT_EQ(translator.Info().IsLoaded(), 0);
        selection.Empty();
        translator.answer = 0;
        EXPECT_EQ(Configure(0), RRC_OK);
        translator.answer = answer;
        EXPECT_EQ(Configure(1), code);
        EXPECT_TRUE(machine.files.Get(kFirst)) << "an older file stays";
        EXPECT_EQ(translator.Info().IsLoaded(), 1);
    }
}

TEST_F(TransBaseTest, AnExistingFileIsReadAndNotRewritten) {
    CEudoraAppInfo stored;
    stored.m_nMailAgeDays = 31;
    ASSERT_TRUE(util.StoreSettings(stored, kFirst.c_str()));
    const auto good = *machine.files.Get(kFirst);
    for (const auto& content : {good, std::string("damaged")}) {
        OptionTranslator fresh;
        machine.files.Put(kFirst, content);
        selection = CString(kFirst);
        EXPECT_EQ(fresh.GetAppInfo(0, 0, 0, 0, selection, 0, summary, &util), RRC_OK);
        EXPECT_EQ(fresh.defaults, content == good ? 0 : 1);
        EXPECT_EQ(machine.dialogs.messages.size(), content == good ? 0U : 1U);
        EXPECT_EQ(fresh.Info().m_nMailAgeDays, content == good ? 31 : 7);
        EXPECT_EQ(fresh.GetAppInfo(1, 0, 0, 0, selection, 0, summary, &util), RRC_OK);
        EXPECT_EQ(fresh.Info().m_nMailAgeDays, 99);
        EXPECT_EQ(machine.files.Get(kFirst), content);
    }
    EXPECT_EQ(machine.dialogs.messages[0].text,
              "Unable to read the config file.  Loading default settings.");
}

TEST_F(TransBaseTest, AFileThatCannotBeMadeIsAnError) {
    LoadStrings({{66, "cannot write"}});
    util.csSettingsDir = "C:\\nowhere";
    EXPECT_EQ(Configure(1), RRC_FAILED);
    EXPECT_EQ(DrainErrors(), std::vector<std::string>{"cannot write"});
    EXPECT_EQ(translator.shown, 0);
    EXPECT_EQ(translator.Info().IsLoaded(), 0);
}

TEST_F(TransBaseTest, MemoryThatRunsOutIsAResultAndTheNextCallWorks) {
    for (const Shortage shortage : {Shortage::kOne, Shortage::kLasting}) {
        ForEachFailingAllocation(
            [&](auto run) {
                util.DeleteAllSettings();
                frame::PlainTranslator fresh;
                CString path;
                const auto configure = [&] {
                    path.Empty();
                    return fresh.GetAppInfo(1, 0, 0, 0, path, 0, summary, &util);
                };
                RRETURNCODE code = RRC_EOF;
                EXPECT_TRUE(run([&] { code = configure(); })) << "thrown at the host";
                EXPECT_TRUE(code == RRC_OK || code == RRC_FAILED) << code;
                EXPECT_TRUE(code == RRC_OK || shortage == Shortage::kLasting ||
                            !machine.files.Get(kFirst))
                    << "the host knows nothing of a file";
                EXPECT_EQ(configure(), RRC_OK);
            },
            shortage);
    }
}

TEST_F(TransBaseTest, MessagesComeOnceAndInOrder) {
    frame::PlainTranslator fresh;  // saw neither GetAppInfo nor Open
    util.AddErrorText("first");
    util.AddErrorText("second");
    CString text("untouched");
    EXPECT_EQ(fresh.GetNextWarningMessage(text), RRC_NONE);
    EXPECT_EQ(text.Str(), "untouched");
    EXPECT_EQ(fresh.GetFirstErrorMessage(text), RRC_OK);
    EXPECT_EQ(text.Str(), "first");
    EXPECT_EQ(fresh.GetNextErrorMessage(text), RRC_OK);
    EXPECT_EQ(fresh.GetNextErrorMessage(text), RRC_NONE);
    EXPECT_EQ(text.Str(), "second");
    util.AddErrorText("error");
    util.AddWarningText("warning");
    EXPECT_EQ(translator.Open(3, 0, 0, 0, 0, 0, 0, 0, 0, &util), RRC_OK);
    EXPECT_EQ(translator.GetFirstErrorMessage(text), RRC_NONE) << "opening clears the errors only";
    EXPECT_EQ(translator.GetFirstWarningMessage(text), RRC_OK);
    EXPECT_EQ(text.Str(), "warning");
}

TEST_F(TransBaseTest, FieldNamesComeFromTheBundleOrTheDescriptor) {
    LoadStrings({{41, "From"}});
    RecordTranslator fields;
    fields.AddField("1", 4, 41);
    fields.AddField("2", 7, 42);  // not in the bundle
    fields.AddField("3", 1, -5);
    CString id, name("old");
    unsigned long type = 0, tag = 0;
    unsigned short ordinal = 0;
    std::string seen;
    RRETURNCODE code = fields.GetFirstFieldInfo(id, name, &type, &tag, &ordinal);
    for (; code == RRC_OK; code = fields.GetNextFieldInfo(id, name, &type, &tag, &ordinal)) {
        seen += id.Str() + '=' + name.Str() + '/' + std::to_string(type) + '/' +
                std::to_string(ordinal) + ' ';
        EXPECT_EQ(tag, 0xC0000000UL);
    }
    EXPECT_EQ(seen, "1=From/4/1 2=name 2/7/2 3=name 3/1/3 ");
    EXPECT_EQ(id.Str() + name.Str(), "3name 3") << "the end leaves the arguments alone";
    EXPECT_EQ(fields.GetNextFieldInfo(id, name, &type, &tag, &ordinal), RRC_NONE);
}

TEST_F(TransBaseTest, FieldsWithoutRecordsGiveEmptyValues) {
    struct Plain : frame::PlainTranslator {
        Plain() {
            CREudoraField field;
            field.Set("1", 0, 0, "", kFieldText, 0, false);
            m_appInfo.m_fields.Add(field);
        }
    } plain;
    std::int32_t number = 17;
    double date = 1.5;
    char* text = nullptr;
    const auto get = [&](unsigned long type, void* cell, const char* id = "1") {
        return plain.GetField(id, &type, cell);
    };
    EXPECT_EQ(get(1, &number), RRC_OK);
    EXPECT_EQ(get(3, &number), RRC_OK);
    EXPECT_EQ(number, 17);
    for (unsigned long type : {5UL, 6UL, 7UL}) EXPECT_EQ(get(type, &date), RRC_OK);
    EXPECT_EQ(date, 1.5);
    EXPECT_EQ(get(4, &text), RRC_OK);
    EXPECT_STREQ(text, "");
    FreeVornString(text);
    for (unsigned long bad : {0UL, 2UL, 8UL, 0xFFFFFFFFUL}) EXPECT_EQ(get(bad, &date), RRC_FAILED);
    EXPECT_EQ(get(1, &number, "9"), RRC_FAILED);
    unsigned long type = 1;
    for (const char* id : {"1", "9"}) EXPECT_EQ(plain.SetField(id, &type, &number), RRC_FAILED);
}

// Each step may end the operation with its own result; none behind it runs then.
TEST_F(TransBaseTest, OperationsStopAtTheFirstResultThatIsNotZero) {
    RecordTranslator steps;
    CString a, b;
    const std::pair<std::function<RRETURNCODE()>, std::string> rows[] = {
        {[&] { return steps.EditRecord("id"); }, "GE"},
        {[&] { return steps.UpdateRecord(a, b); }, "UIM"},
        {[&] { return steps.DeleteRecord("id"); }, "GD"}};
    for (const auto& [run, all] : rows) {
        for (std::size_t i = 0; i <= all.size(); ++i) {
            steps.failing = all.substr(i, 1);
            steps.ran.clear();
            EXPECT_EQ(run(), i < all.size() ? RRC_CANCELLED : RRC_OK);
            EXPECT_EQ(steps.ran, all.substr(0, i + 1));
        }
    }
}

}  // namespace
