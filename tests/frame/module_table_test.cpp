#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <functional>
#include <memory>

#include "frame/interface/exports.h"
#include "frame/interface/translators.h"
#include "platform/os/program.h"
#include "platform/os/system.h"
#include "platform/testing/scripted_dialogs.h"
#include "tests/frame/log_capture.h"

// The built module, called by nothing but its exported names and the positions in the table.

namespace {

// Position of an operation in the table, counted from 1; the destructor is the first. It takes two
// places of the compiler's table, so an operation's own place is its position.
template <class... Arguments>
RRETURNCODE CallAt(CRRecordTranslator& object, std::size_t position, Arguments... arguments) {
    using Member = RRETURNCODE (CRRecordTranslator::*)(Arguments...);
    const std::uintptr_t words[2] = {position * sizeof(void*) + 1, 0};
    Member member;
    static_assert(sizeof member == sizeof words);
    std::memcpy(&member, words, sizeof member);
    return (object.*member)(arguments...);
}

class ModuleTest : public ::testing::Test {
  protected:
    static void SetUpTestSuite() {
        const std::filesystem::path folder =
            std::filesystem::path(platform::ProgramPath()).parent_path();
        for (const char* name : {"libkvtEUD.so", "kvtEUD.dll"}) {
            if (auto loaded = platform::LoadNativeLibrary((folder / name).string())) {
                s_library = *std::move(loaded);
            }
        }
        ASSERT_TRUE(s_library) << "no module beside " << folder;
    }
    static void TearDownTestSuite() { s_library.reset(); }

    template <class Function>
    Function Find(const char* name) {
        auto* const function = reinterpret_cast<Function>(s_library->Symbol(name));
        EXPECT_NE(function, nullptr) << name;
        return function;
    }
    std::unique_ptr<CRRecordTranslator> Make(unsigned long kind) {
        CRRecordTranslator* object = nullptr;
        EXPECT_EQ(
            Find<exports::GetTranslatorObjectFn>(exports::kGetTranslatorObject)(kind, 0, &object),
            RRC_OK);
        return std::unique_ptr<CRRecordTranslator>(object);
    }

    static std::unique_ptr<platform::Library> s_library;
};

std::unique_ptr<platform::Library> ModuleTest::s_library;

TEST_F(ModuleTest, ReservedOperationsAnswerNotSupported) {
    struct Row {
        std::vector<std::size_t> positions;
        int words;
    };
    const Row rows[] = {
        {{11, 20, 39, 40}, 0},
        {{16, 18, 19, 21, 22, 23, 30, 31, 32, 35, 36, 42, 51, 52, 53, 67, 68, 69, 70, 71}, 1},
        {{17, 61, 62, 63, 64, 65, 66}, 2},
        {{27}, 4},
        {{60}, 5}};
    for (const unsigned long kind : {1UL, 2UL, 20UL}) {
        const auto object = Make(kind);
        ASSERT_TRUE(object);
        constexpr RWORD w = ~RWORD{0};
        int count = 0;
        for (const Row& row : rows) {
            for (const std::size_t at : row.positions) {
                RRETURNCODE code = RRC_OK;
                if (row.words == 0) code = CallAt(*object, at);
                if (row.words == 1) code = CallAt(*object, at, w);
                if (row.words == 2) code = CallAt(*object, at, w, w);
                if (row.words == 4) code = CallAt(*object, at, w, w, w, w);
                if (row.words == 5) code = CallAt(*object, at, w, w, w, w, w);
                EXPECT_EQ(code, RRC_NOT_SUPPORTED) << "kind " << kind << ", position " << at;
                ++count;
            }
        }
        EXPECT_EQ(count, 33);
    }
}

// Each operation is known by its result and by the line that it logs first.
TEST_F(ModuleTest, EveryOperationStandsAtItsPosition) {
    CString a("a"), b("b");
    unsigned long word = 77, tag = 77;
    unsigned short ordinal = 77;
    long count = 77;
    BOOL flag = 77;
    std::int32_t cell = 0;
    const auto id = static_cast<LPCTSTR>("no such");
    const auto object = Make(2);
    CRRecordTranslator& o = *object;
    struct Row {
        std::size_t at;
        RRETURNCODE code;
        const char* line;  // behind "Enter CREudoraTransBase::"
        std::function<RRETURNCODE(std::size_t)> call;
    };
    const auto plain = [&](std::size_t at) { return CallAt(o, at); };
    const auto withId = [&](std::size_t at) { return CallAt(o, at, id); };
    const auto message = [&](std::size_t at) { return CallAt<CString&>(o, at, a); };
    const auto field = [&](std::size_t at) {
        return CallAt<CString&, CString&>(o, at, a, b, &word, &tag, &ordinal);
    };
    const auto value = [&](std::size_t at) {
        return CallAt(o, at, id, &word, static_cast<void*>(&cell));
    };
    const Row rows[] = {
        {2, RRC_OK, "GetAppProperties", [&](auto at) { return CallAt(o, at, &word); }},
        {8, RRC_OK, "Open - Input : Mode - 8",
         [&](auto at) {
             return CallAt(o, at, 8, RWORD{2}, RWORD{3}, RWORD{4}, RWORD{}, RWORD{}, RWORD{5},
                           RWORD{6}, RWORD{7}, static_cast<CEudoraTransUtil*>(nullptr));
         }},
        {9, RRC_OK, "Close - Input : Mode - 5", [&](auto at) { return CallAt(o, at, 5); }},
        {10, RRC_NOT_SUPPORTED, nullptr,
         [&](auto at) {
             return CallAt(o, at, RWORD{}, static_cast<tagRAPPINFO*>(nullptr), RWORD{});
         }},
        {12, RRC_NONE, "GetFirstErrorMessage", message},
        {13, RRC_NONE, "GetNextErrorMessage", message},
        {14, RRC_NONE, "GetFirstWarningMessage", message},
        {15, RRC_NONE, "GetNextWarningMessage", message},
        {24, RRC_OK, "SetDateFilter",
         [&](auto at) { return CallAt(o, at, static_cast<tagRDATEFILTER*>(nullptr), 0); }},
        {25, RRC_OK, "SetTextFilter",
         [&](auto at) { return CallAt(o, at, static_cast<tagRTEXTFILTER*>(nullptr), 0); }},
        {26, RRC_OK, "SetBoolFilter",
         [&](auto at) { return CallAt(o, at, static_cast<tagRBOOLFILTER*>(nullptr), 0); }},
        {28, RRC_NONE, "GetFirstFieldInfo", field},
        {29, RRC_NONE, "GetNextFieldInfo", field},
        {33, RRC_NONE, "GetRecordCount", [&](auto at) { return CallAt(o, at, &count); }},
        {34, RRC_OK, "GetFieldCount", [&](auto at) { return CallAt(o, at, &count); }},
        {37, RRC_EOF, "MoveFirst", plain},
        {38, RRC_EOF, "MoveNext", plain},
        {41, RRC_OK, "GoToRecord", withId},
        {43, RRC_FAILED, "AddNewRecord", [&](auto at) { return CallAt(o, at, RWORD{9}); }},
        {44, RRC_OK, "EditRecord\n", plain},
        {45, RRC_OK, "EditRecord: no such\n", withId},
        {46, RRC_FAILED, "UpdateRecord",
         [&](auto at) { return CallAt<CString&, CString&>(o, at, a, b); }},
        {47, RRC_OK, "DeleteRecord\n", plain},
        {48, RRC_OK, "DeleteRecord: no such\n", withId},
        {49, RRC_OK, "DeleteAllRecords", plain},
        {50, RRC_NOT_SUPPORTED, nullptr,
         [&](auto at) { return CallAt(o, at, static_cast<CRBatchSink*>(nullptr)); }},
        {54, RRC_OK, "GetRecordID", message},
        {55, RRC_FAILED, "GetModifiedInfo", message},
        {56, RRC_FAILED, "GetField : Input - Field Id : no such\n", value},
        {57, RRC_FAILED, "SetField : Input - Field Id : no such\n", value},
        {58, RRC_OK, "IsOkToSetRecord",
         [&](auto at) {
             return CallAt(o, at, RWORD{}, static_cast<RFIELDCALLBACK>(nullptr),
                           static_cast<void*>(nullptr), &flag);
         }},
        {59, RRC_OK, "IsOkToProceed",
         [&](auto at) { return CallAt(o, at, RWORD{}, RWORD{}, &flag); }},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.at);
        LogCapture log;
        EXPECT_EQ(row.call(row.at), row.code);
        if (row.line == nullptr) {
            EXPECT_TRUE(LogCapture::Lines().empty());
        } else {
            ASSERT_FALSE(LogCapture::Lines().empty());
            const std::string expected = std::string("5 Enter CREudoraTransBase::") + row.line;
            const std::string& line = LogCapture::Lines().front();
            const auto next = line.substr(0, expected.size() + 1);
            EXPECT_TRUE(next.starts_with(expected)) << line;
            // "EditRecord" must not pass for "EditRecord: id".
            EXPECT_TRUE(expected.back() == '\n' || next.back() == '\n' || next.back() == ':');
        }
        if (row.at == 2) {
            EXPECT_EQ(word, 0x80070000UL);
        }
        if (row.at == 33) {
            EXPECT_EQ(count, -1);
        }
        if (row.at == 34) {
            EXPECT_EQ(count, 0);
        }
        if (row.at == 54) {
            EXPECT_TRUE(a.IsEmpty());
        }
        if (row.at >= 58) {
            EXPECT_EQ(std::exchange(flag, 77), 1);
        }
    }
    EXPECT_EQ(tag + ordinal, 154U) << "no field: arguments untouched";
}

// A host context that gives one number for every question.
class FlatHost final : public CRHostContext {
  public:
    explicit FlatHost(CEudoraTransUtil* util) : m_util(util) {}
    void GetContextValue1(RWORD* value) override { *value = 1; }
    void GetContextValue2(RWORD* value) override { *value = 2; }
    void GetContextValue3(RWORD* value) override { *value = 3; }
    void GetContextValue4(RWORD* value) override { *value = 4; }
    void GetUtil(RWORD* value) override { *value = reinterpret_cast<RWORD>(m_util); }
    void GetContextValue5(RWORD* value) override { *value = 5; }
    void GetContextValue6(RWORD* value) override { *value = 6; }
    void GetContextValue7(RWORD* value) override { *value = 7; }

  private:
    CEudoraTransUtil* m_util;
};

TEST_F(ModuleTest, SettingsLiveFromFirstCallToRemoval) {
    platform::Files& files = platform::NativeSystem().files;
    const auto temp = files.TempFolder();
    ASSERT_TRUE(temp) << temp.Error().Message();
    const std::string folder = *temp + "kv_module_test";
    (void)files.CreateFolder(folder);
    const std::string path = folder + "\\EudoraAppInfo0001.cfg";

    tagRENVSETTINGS env{"", ""};
    tagRTRANSSETTINGS settings{0, folder.c_str(), nullptr, nullptr};
    RWORD word = 9;
    CEudoraTransUtil* util = nullptr;
    std::string buffer(200, 'x');
    const auto code = Find<exports::InitTranslatorExFn>(exports::kInitTranslatorEx)(
        &env, &settings, "EN", &word, &util, buffer.data(), 200);
    EXPECT_EQ(word, 0U);
    EXPECT_NE(util, nullptr);
    if (code != RRC_OK) {
        EXPECT_STREQ(buffer.c_str(), "Eudora is not installed on this computer.");
    }
    const auto object = Make(2);
    FlatHost host(util);
    CString selection, summary;
    // The six-word, the five-word and the eight-word form, by position.
    EXPECT_EQ((CallAt<BOOL, CRHostContext*, CString&, RWORD, CString&, RWORD>(
                  *object, 3, 0, &host, selection, 1, summary, 1)),
              RRC_OK);
    EXPECT_TRUE(selection == path.c_str()) << selection;
    EXPECT_TRUE(files.Exists(path));
    EXPECT_FALSE(summary.IsEmpty());
    summary.Empty();
    EXPECT_EQ((CallAt<BOOL, CRHostContext*, CString&, RWORD, CString&>(*object, 4, 0, &host,
                                                                       selection, 1, summary)),
              RRC_OK);
    EXPECT_FALSE(summary.IsEmpty());
    summary.Empty();
    EXPECT_EQ((CallAt<BOOL, RWORD, RWORD, RWORD, CString&, RWORD, CString&, CEudoraTransUtil*>(
                  *object, 5, 0, 1, 2, 3, selection, 1, summary, util)),
              RRC_OK);
    EXPECT_FALSE(summary.IsEmpty());
    LogCapture log;
    EXPECT_EQ((CallAt<int, RWORD, RWORD, RWORD, CRHostContext*, RWORD>(*object, 6, 61, 0, 0, 0,
                                                                       &host, 0)),
              RRC_OK);
    EXPECT_EQ((CallAt<int, RWORD, RWORD, CRHostContext*>(*object, 7, 71, 0, 0, &host)), RRC_OK);
    EXPECT_TRUE(LogCapture::Has("5 Enter CREudoraTransBase::Open - Input : Mode - 61\n"));
    EXPECT_TRUE(LogCapture::Has("5 Enter CREudoraTransBase::Open - Input : Mode - 71\n"));

    settings.pszSettingsDir = nullptr;  // the folder is known from above
    EXPECT_EQ(
        Find<exports::RemoveTranslatorFn>(exports::kRemoveTranslator)(env, settings, nullptr, 0),
        RRC_OK);
    EXPECT_FALSE(files.Exists(path));
    EXPECT_EQ(Find<exports::SelfDiagnoseFn>(exports::kSelfDiagnose)(nullptr, nullptr, 0), 1);
    EXPECT_EQ(Find<exports::UninitTranslatorFn>(exports::kUninitTranslator)(), RRC_OK);
    EXPECT_TRUE(files.RemoveFolder(folder)) << "something was left behind";
}

TEST_F(ModuleTest, TheHostsDialogsAreAsked) {
    platform::testing::ScriptedDialogs dialogs;
    SetDialogProvider(&dialogs);
    CString selection("C:\\no such folder\\x.cfg"), summary;
    const auto object = Make(2);
    EXPECT_EQ((CallAt<BOOL, RWORD, RWORD, RWORD, CString&, RWORD, CString&, CEudoraTransUtil*>(
                  *object, 5, 0, 1, 2, 3, selection, 1, summary, nullptr)),
              RRC_OK);
    SetDialogProvider(nullptr);
    ASSERT_EQ(dialogs.messages.size(), 1U);
    EXPECT_TRUE(dialogs.messages[0].text.starts_with("Unable to read the config file."));
}

TEST_F(ModuleTest, TheDataKindDecides) {
    for (const auto& [kind, expected] : {std::pair{1UL, 0x80070004UL},
                                         {2UL, 0x80070000UL},
                                         {20UL, 0x80070000UL},
                                         {0UL, 0x80070000UL},
                                         {~0UL, 0x80070000UL}}) {
        unsigned long properties = 0;
        EXPECT_EQ(CallAt(*Make(kind), 2, &properties), RRC_OK);
        EXPECT_EQ(properties, expected) << kind;
    }
    long count = 77;
    EXPECT_EQ(CallAt(*Make(1), 33, &count), RRC_NOT_SUPPORTED);
    EXPECT_EQ(count, 77);
}

TEST_F(ModuleTest, InsidesAreNotExported) {
    for (const char* name : {"_Z9TransUtilv", "_ZTV17CREudoraTransBase", "_ZN5CMapi9MapiLogonEv",
                             "_ZN8platform12NativeSystemEv"}) {
        EXPECT_EQ(s_library->Symbol(name), nullptr) << name;
    }
}

}  // namespace
