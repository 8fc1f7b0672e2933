#include "tests/frame/record_translator.h"

namespace {

const std::string kFirst = "C:\\set\\EudoraAppInfo0001.cfg";

// Hands out numbers that tell which operation gave them, and notes the order.
class NumberedHost final : public CRHostContext {
  public:
    explicit NumberedHost(CEudoraTransUtil& util) : m_util(util) {}
    std::string calls;

    void GetContextValue1(RWORD* value) override { Give(value, '1'); }
    void GetContextValue2(RWORD* value) override { Give(value, '2'); }
    void GetContextValue3(RWORD* value) override { Give(value, '3'); }
    void GetContextValue4(RWORD* value) override { Give(value, '4'); }
    void GetUtil(RWORD* value) override {
        calls += 'U';
        *value = reinterpret_cast<RWORD>(&m_util);
    }
    void GetContextValue5(RWORD* value) override { Give(value, '5'); }
    void GetContextValue6(RWORD* value) override { Give(value, '6'); }
    void GetContextValue7(RWORD* value) override { Give(value, '7'); }

  private:
    void Give(RWORD* value, char which) {
        calls += which;
        *value = static_cast<RWORD>(which - '0');
    }
    CEudoraTransUtil& m_util;
};

class OptionTranslator : public CREudoraTransBase {
  public:
    int answer = 0;
    int shown = 0, defaults = 0;
    std::vector<RWORD> words;

    CEudoraAppInfo& Info() { return m_appInfo; }
    const CString& Selection() const { return m_csSelection; }

    int ShowOptions() override {
        ++shown;
        m_appInfo.m_nMailAgeDays = 99;
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
    RRETURNCODE Open(int nMode, RWORD value2, RWORD value3, RWORD value4, RWORD word, RWORD word2,
                     RWORD value5, RWORD value6, RWORD value7, CEudoraTransUtil* pUtil) override {
        words = {
            static_cast<RWORD>(nMode), value2, value3, value4, word, word2, value5, value6, value7};
        return CREudoraTransBase::Open(nMode, value2, value3, value4, word, word2, value5, value6,
                                       value7, pUtil);
    }
};

class TransBaseTest : public FrameTest {
  protected:
    RRETURNCODE Configure(BOOL configure) {
        return translator.GetAppInfo(configure, 0, 0, 0, selection, 0, summary, &util);
    }

    NumberedHost host{util};
    OptionTranslator translator;
    CString selection, summary;
};

TEST_F(TransBaseTest, ShortFormsCarryTheWordsToTheLongOnes) {
    EXPECT_EQ(translator.GetAppInfo(1, &host, selection, 55, summary, 66), RRC_OK);
    EXPECT_EQ(host.calls, "23U1");
    EXPECT_EQ(translator.words, (std::vector<RWORD>{1, 1, 2, 3, 55}));
    host.calls.clear();
    EXPECT_EQ(translator.Open(9, 71, 72, 73, &host, 74), RRC_OK);
    EXPECT_EQ(host.calls, "234567U");
    EXPECT_EQ(translator.words, (std::vector<RWORD>{9, 2, 3, 4, 72, 73, 5, 6, 7}));
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
    EXPECT_EQ(translator.shown, 0);
    EXPECT_EQ(util.GetNextError(summary), RRC_NONE);
    EXPECT_EQ(util.GetNextWarning(summary), RRC_NONE);
    // A second call reads nothing, whatever the selection says.
    selection = "C:\\set\\other.cfg";
    EXPECT_EQ(Configure(0), RRC_OK);
    EXPECT_EQ(translator.Selection().Str(), "C:\\set\\other.cfg");
    EXPECT_EQ(translator.defaults, 1);
    EXPECT_TRUE(machine.dialogs.messages.empty());
}

TEST_F(TransBaseTest, ACancelledDialogTakesANewFileBack) {
    translator.answer = 4;
    EXPECT_EQ(Configure(1), RRC_CANCELLED);
    EXPECT_EQ(selection.Str(), kFirst) << "the path stays";
    EXPECT_EQ(machine.files.Get(kFirst), std::nullopt);
    EXPECT_EQ(translator.Info().IsLoaded(), 0);
    EXPECT_TRUE(translator.Selection().IsEmpty());
    selection.Empty();
    translator.answer = 0;
    EXPECT_EQ(Configure(1), RRC_OK);
    EXPECT_EQ(selection.Str(), kFirst);
    ASSERT_TRUE(machine.files.Get(kFirst));
    translator.answer = 1;
    EXPECT_EQ(Configure(1), RRC_CANCELLED);
    EXPECT_TRUE(machine.files.Get(kFirst)) << "an older file stays";
    EXPECT_EQ(translator.Info().IsLoaded(), 1);
}

TEST_F(TransBaseTest, AnExistingFileIsReadAndNotRewritten) {
    CEudoraAppInfo stored;
    stored.m_nMailAgeDays = 31;
    ASSERT_EQ(util.StoreSettings(stored, kFirst.c_str()), 1);
    const auto bytes = machine.files.Get(kFirst);
    selection = CString(kFirst);
    EXPECT_EQ(Configure(0), RRC_OK);
    EXPECT_EQ(translator.Info().m_nMailAgeDays, 31);
    EXPECT_EQ(translator.defaults, 0);
    EXPECT_EQ(Configure(1), RRC_OK);
    EXPECT_EQ(translator.Info().m_nMailAgeDays, 99);
    EXPECT_EQ(machine.files.Get(kFirst), bytes);
}

TEST_F(TransBaseTest, AnUnreadableFileIsToldAndReplacedByDefaults) {
    for (const char* content : {"", "damaged"}) {
        SCOPED_TRACE(content);
        OptionTranslator fresh;
        machine.dialogs.messages.clear();
        if (*content != '\0') machine.files.Put(kFirst, content);
        selection = CString(kFirst);
        EXPECT_EQ(fresh.GetAppInfo(0, 0, 0, 0, selection, 0, summary, &util), RRC_OK);
        ASSERT_EQ(machine.dialogs.messages.size(), 1U);
        EXPECT_EQ(machine.dialogs.messages[0].text,
                  "Unable to read the config file.  Loading default settings.");
        EXPECT_EQ(fresh.defaults, 1);
        EXPECT_EQ(fresh.Info().m_nMailAgeDays, 7);
        EXPECT_EQ(fresh.Info().IsLoaded(), 1);
        EXPECT_EQ(machine.files.Get(kFirst).value_or(""), content);
    }
}

TEST_F(TransBaseTest, AFileThatCannotBeMadeIsAnError) {
    LoadStrings({{66, "cannot write"}});
    util.csSettingsDir = "C:\\nowhere";
    LogCapture log;
    EXPECT_EQ(Configure(1), RRC_FAILED);
    EXPECT_EQ(DrainErrors(), std::vector<std::string>{"cannot write"});
    EXPECT_TRUE(LogCapture::Has("1 Unable to store AppInfo to file\n"));
    EXPECT_EQ(translator.shown, 0);
    EXPECT_EQ(translator.Info().IsLoaded(), 0);
}

TEST_F(TransBaseTest, OpenClearsErrorsOnly) {
    util.AddErrorText("error");
    util.AddWarningText("warning");
    LogCapture log;
    EXPECT_EQ(translator.Open(3, 0, 0, 0, 0, 0, 0, 0, 0, &util), RRC_OK);
    EXPECT_EQ(LogCapture::Lines(),
              (std::vector<std::string>{"5 Enter CREudoraTransBase::Open - Input : Mode - 3\n",
                                        "5 Exit CREudoraTransBase::Open\n"}));
    CString text;
    EXPECT_EQ(translator.GetFirstErrorMessage(text), RRC_NONE);
    EXPECT_EQ(translator.GetFirstWarningMessage(text), RRC_OK);
    EXPECT_EQ(text.Str(), "warning");
}

TEST_F(TransBaseTest, MessagesComeOnceAndInOrder) {
    CREudoraTransBase fresh;  // saw neither GetAppInfo nor Open
    util.AddErrorText("first");
    util.AddErrorText("second");
    CString text("untouched");
    EXPECT_EQ(fresh.GetNextWarningMessage(text), RRC_NONE);
    EXPECT_EQ(text.Str(), "untouched");
    EXPECT_EQ(fresh.GetFirstErrorMessage(text), RRC_OK);
    EXPECT_EQ(text.Str(), "first");
    EXPECT_EQ(fresh.GetNextErrorMessage(text), RRC_OK);
    EXPECT_EQ(text.Str(), "second");
    EXPECT_EQ(fresh.GetNextErrorMessage(text), RRC_NONE);
    EXPECT_EQ(text.Str(), "second");
}

TEST_F(TransBaseTest, FieldNamesComeFromTheBundleOrTheDescriptor) {
    LoadStrings({{41, "From"}});
    RecordTranslator fields;
    fields.AddField("1", 4, false, 41);
    fields.AddField("2", 7, false, 42);  // not in the bundle
    fields.AddField("3", 1, false, -5);
    LogCapture log;
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
    EXPECT_EQ(code, RRC_NONE);
    EXPECT_EQ(id.Str() + name.Str(), "3name 3") << "the end leaves the arguments alone";
    EXPECT_EQ(fields.GetNextFieldInfo(id, name, &type, &tag, &ordinal), RRC_NONE);
    EXPECT_TRUE(
        LogCapture::Has("1 WARNING: String for ID 42 not found.(CEudoraTransUtil::GetString)"));
    long count = 0;
    EXPECT_EQ(fields.GetFieldCount(&count), RRC_OK);
    EXPECT_EQ(count, 3);
}

TEST_F(TransBaseTest, FieldsWithoutRecordsGiveEmptyValues) {
    struct Plain : RecordTranslator {
        RRETURNCODE GetField(LPCTSTR id, unsigned long* type, void* cell) override {
            return CREudoraTransBase::GetField(id, type, cell);
        }
    } plain;
    plain.AddField("1", kFieldText);
    LogCapture log;
    std::int32_t number = 17;
    double date = 1.5;
    char* text = nullptr;
    unsigned long type = 0;
    const auto get = [&](unsigned long asked, void* cell) {
        type = asked;
        return plain.GetField("1", &type, cell);
    };
    EXPECT_EQ(get(1, &number), RRC_OK);
    EXPECT_EQ(get(3, &number), RRC_OK);
    EXPECT_EQ(number, 17);
    EXPECT_EQ(get(6, &date), RRC_OK);
    EXPECT_EQ(date, 1.5);
    EXPECT_EQ(get(4, &text), RRC_OK);
    EXPECT_STREQ(text, "");
    FreeVornString(text);
    EXPECT_TRUE(LogCapture::Has("4 CREudoraTransBase::GetField Id: 1, Data: 17"));
    EXPECT_TRUE(LogCapture::Has("4 CREudoraTransBase::GetField Id: 1, Data: TRUE"));
    for (unsigned long bad : {0UL, 2UL, 8UL, 0xFFFFFFFFUL}) EXPECT_EQ(get(bad, &date), RRC_FAILED);
    EXPECT_TRUE(LogCapture::Has("1 CREudoraTransBase::GetField - Unsupported field type\n"));
    EXPECT_EQ(plain.GetField("9", &type, &number), RRC_FAILED);
    EXPECT_TRUE(
        LogCapture::Has("1 CREudoraTransBase::SetField Field Id '9' is not found in the list"));
    EXPECT_EQ(plain.SetField("1", &type, &number), RRC_FAILED);
    EXPECT_EQ(plain.SetField("9", &type, &number), RRC_FAILED);
}

TEST_F(TransBaseTest, SpecialFieldsAreOfferedFirst) {
    struct Special : CREudoraTransBase {
        BOOL handled = 0;
        RRETURNCODE code = RRC_OK;
        RRETURNCODE GetSpecialField(CREudoraField&, void*, BOOL* pbHandled) override {
            *pbHandled = handled;
            return code;
        }
        RRETURNCODE SetSpecialField(CREudoraField& f, void* c, BOOL* pbHandled) override {
            return GetSpecialField(f, c, pbHandled);
        }
        void Add(bool special) {
            CREudoraField field;
            field.Set("1", 0, 0, "", kFieldInteger, 0, special);
            m_appInfo.m_fields.Add(field);
        }
    };
    struct Row {
        bool special;
        BOOL handled;
        RRETURNCODE code, get, set;
    };
    const Row rows[] = {{true, 1, RRC_FAILED, RRC_OK, RRC_OK},
                        {true, 0, RRC_EOF, RRC_EOF, RRC_EOF},
                        {true, 0, RRC_OK, RRC_OK, RRC_FAILED},
                        {false, 1, RRC_EOF, RRC_OK, RRC_FAILED}};
    for (const Row& row : rows) {
        Special translatorWithField;
        translatorWithField.Add(row.special);
        translatorWithField.handled = row.handled;
        translatorWithField.code = row.code;
        std::int32_t cell = 0;
        unsigned long type = kFieldInteger;
        EXPECT_EQ(translatorWithField.GetField("1", &type, &cell), row.get);
        EXPECT_EQ(translatorWithField.SetField("1", &type, &cell), row.set);
    }
}

// Each step may end the operation with its own result; none behind it runs then.
TEST_F(TransBaseTest, EditingStopsAtTheFirstResultThatIsNotZero) {
    struct Steps : CREudoraTransBase {
        std::string failing, ran;
        RRETURNCODE Step(const char* name) {
            ran += name;
            return failing == name ? RRC_CANCELLED : RRC_OK;
        }
        bool IsAdding() const { return m_bAddNewRecord != 0; }
        RRETURNCODE PrepareForAdd() override { return Step("A"); }
        RRETURNCODE PrepareForEdit() override { return Step("E"); }
        RRETURNCODE PrepareForUpdate() override { return Step("U"); }
        RRETURNCODE FinishUpdate() override { return Step("F"); }
        RRETURNCODE GoToRecord(LPCTSTR) override { return Step("G"); }
        RRETURNCODE GetRecordID(CString&) override { return Step("I"); }
        RRETURNCODE GetModifiedInfo(CString&) override { return Step("M"); }
        using CREudoraTransBase::DeleteRecord;
        RRETURNCODE DeleteRecord() override { return Step("D"); }
    };
    struct Row {
        int operation;  // 0 add, 1 edit by id, 2 update, 3 delete by id
        const char* steps;
        RRETURNCODE code;
        bool adding;
    };
    const Row rows[] = {{0, "A", RRC_FAILED, true},
                        {1, "GE", RRC_OK, false},
                        {2, "UIMF", RRC_OK, true},
                        {3, "GD", RRC_OK, true}};
    Steps steps;
    CString a, b;
    const auto run = [&](int operation) {
        steps.ran.clear();
        switch (operation) {
            case 0:
                return steps.AddNewRecord(0);
            case 1:
                return steps.EditRecord("id");
            case 2:
                return steps.UpdateRecord(a, b);
            default:
                return steps.DeleteRecord("id");
        }
    };
    for (const Row& row : rows) {
        const std::string all = row.steps;
        for (std::size_t i = 0; i < all.size(); ++i) {
            steps.failing = all.substr(i, 1);
            EXPECT_EQ(run(row.operation), RRC_CANCELLED);
            EXPECT_EQ(steps.ran, all.substr(0, i + 1));
        }
        steps.failing.clear();
        EXPECT_EQ(run(row.operation), row.code);
        EXPECT_EQ(steps.ran, all);
        run(0);
        EXPECT_TRUE(steps.IsAdding());
        run(row.operation);
        EXPECT_EQ(steps.IsAdding(), row.adding);
    }
}

}  // namespace
