#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <functional>
#include <memory>

#include "frame/interface/exports.h"
#include "frame/interface/translators.h"
#include "frame/trans_util.h"
#include "platform/os/program.h"
#include "platform/os/system.h"
#include "tests/frame/log_capture.h"
#include "tests/frame/numbered_host.h"

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

    inline static std::unique_ptr<platform::Library> s_library;
};

TEST_F(ModuleTest, ReservedOperationsAnswerNotSupportedAndTheKindDecidesTheProperties) {
    // By the number of words that they take.
    const std::vector<std::size_t> rows[] = {
        {11, 20, 39, 40},
        {16, 18, 19, 21, 22, 23, 30, 31, 32, 35, 36, 42, 51, 52, 53, 67, 68, 69, 70, 71},
        {17, 61, 62, 63, 64, 65, 66},
        {},
        {27},
        {60}};
    constexpr RWORD w = ~RWORD{0};
    for (const unsigned long kind : {1UL, 2UL, 20UL, 0UL, ~0UL}) {
        const auto object = Make(kind);
        unsigned long properties = 0;
        EXPECT_EQ(CallAt(*object, 2, &properties), RRC_OK);
        EXPECT_EQ(properties, kind == 1 ? 0x80070004UL : 0x80070000UL) << kind;
        for (std::size_t words = 0; words < std::size(rows); ++words) {
            for (const std::size_t at : rows[words]) {
                const RRETURNCODE code = words == 0   ? CallAt(*object, at)
                                         : words == 1 ? CallAt(*object, at, w)
                                         : words == 2 ? CallAt(*object, at, w, w)
                                         : words == 4 ? CallAt(*object, at, w, w, w, w)
                                                      : CallAt(*object, at, w, w, w, w, w);
                EXPECT_EQ(code, RRC_NOT_SUPPORTED) << "kind " << kind << ", position " << at;
            }
        }
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
    // Calls with these arguments.
    const auto with = [&o](auto... arguments) {
        return [=, &o](std::size_t at) { return CallAt(o, at, arguments...); };
    };
    const auto message = [&](std::size_t at) { return CallAt<CString&>(o, at, a); };
    const auto field = [&](std::size_t at) {
        return CallAt<CString&, CString&>(o, at, a, b, &word, &tag, &ordinal);
    };
    const auto update = [&](std::size_t at) { return CallAt<CString&, CString&>(o, at, a, b); };
    const auto value = with(id, &word, static_cast<void*>(&cell));
    constexpr RWORD w = 5;
    const Row rows[] = {
        {2, RRC_OK, "GetAppProperties\n", with(&word)},
        {8, RRC_OK, "Open - Input : Mode - 8",
         with(8, w, w, w, w, w, w, w, w, static_cast<CEudoraTransUtil*>(nullptr))},
        {9, RRC_OK, "Close - Input : Mode - 5", with(5)},
        {10, RRC_NOT_SUPPORTED, nullptr, with(w, static_cast<tagRAPPINFO*>(nullptr), w)},
        {12, RRC_NONE, "GetFirstErrorMessage\n", message},
        {13, RRC_NONE, "GetNextErrorMessage\n", message},
        {14, RRC_NONE, "GetFirstWarningMessage\n", message},
        {15, RRC_NONE, "GetNextWarningMessage\n", message},
        {24, RRC_OK, "SetDateFilter\n", with(static_cast<tagRDATEFILTER*>(nullptr), 0)},
        {25, RRC_OK, "SetTextFilter\n", with(static_cast<tagRTEXTFILTER*>(nullptr), 0)},
        {26, RRC_OK, "SetBoolFilter\n", with(static_cast<tagRBOOLFILTER*>(nullptr), 0)},
        {28, RRC_NONE, "GetFirstFieldInfo\n", field},
        {29, RRC_NONE, "GetNextFieldInfo\n", field},
        {33, RRC_NONE, "GetRecordCount\n", with(&count)},
        {34, RRC_OK, "GetFieldCount\n", with(&count)},
        {37, RRC_EOF, "MoveFirst\n", with()},
        {38, RRC_EOF, "MoveNext\n", with()},
        {41, RRC_OK, "GoToRecord", with(id)},
        {43, RRC_FAILED, "AddNewRecord\n", with(w)},
        {44, RRC_OK, "EditRecord\n", with()},
        {45, RRC_OK, "EditRecord: no such\n", with(id)},
        {46, RRC_FAILED, "UpdateRecord\n", update},
        {47, RRC_OK, "DeleteRecord\n", with()},
        {48, RRC_OK, "DeleteRecord: no such\n", with(id)},
        {49, RRC_OK, "DeleteAllRecords\n", with()},
        {50, RRC_NOT_SUPPORTED, nullptr, with(static_cast<CRBatchSink*>(nullptr))},
        {54, RRC_OK, "GetRecordID\n", message},
        {55, RRC_FAILED, "GetModifiedInfo\n", message},
        {56, RRC_FAILED, "GetField : Input - Field Id : no such\n", value},
        {57, RRC_FAILED, "SetField : Input - Field Id : no such\n", value},
        {58, RRC_OK, "IsOkToSetRecord\n",
         with(w, static_cast<RFIELDCALLBACK>(nullptr), static_cast<void*>(nullptr), &flag)},
        {59, RRC_OK, "IsOkToProceed\n", with(w, w, &flag)},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.at);
        LogCapture log;
        EXPECT_EQ(row.call(row.at), row.code);
        LogCapture::Lines().resize(1);  // an empty one if there is none
        // The name ends there: "EditRecord" must not pass for "EditRecord: id".
        const std::string line = LogCapture::Lines()[0] + '\n';
        const std::string start = row.line != nullptr ? "5 Enter CREudoraTransBase::" : "";
        EXPECT_TRUE(line.starts_with(start + (row.line != nullptr ? row.line : "\n"))) << line;
        EXPECT_TRUE(row.at != 33 || count == -1);
        EXPECT_TRUE(row.at < 58 || std::exchange(flag, 77) == 1);
    }
    EXPECT_EQ(count, 0) << "no fields";
    EXPECT_EQ(word, 0x80070000UL);
    EXPECT_TRUE(a.IsEmpty());
    EXPECT_EQ(tag + ordinal, 154U) << "no field: arguments untouched";
}

TEST_F(ModuleTest, SettingsLiveFromFirstCallToRemoval) {
    platform::Files& files = platform::NativeSystem().files;
    const std::string folder = *files.TempFolder() + "kv_module_test";
    (void)files.CreateFolder(folder);
    const std::string path = folder + "\\EudoraAppInfo0001.cfg";

    tagRENVSETTINGS env{"", ""};
    tagRTRANSSETTINGS settings{0, folder.c_str(), nullptr, nullptr};
    RWORD word = 9;
    CEudoraTransUtil* util = nullptr;
    std::string buffer(200, 'x');
    (void)Find<exports::InitTranslatorExFn>(exports::kInitTranslatorEx)(
        &env, &settings, "EN", &word, &util, buffer.data(), 200);
    ASSERT_NE(util, nullptr);
    EXPECT_EQ(word, 0U);
    EXPECT_NE(util->hModule, nullptr);
    EXPECT_NE(util->hModule, platform::OwnInstance()) << "the module's, not this program's";
    NumberedHost host(util);
    CString selection, summary;
    constexpr RWORD w = 1;
    const auto object = Make(2);
    // The six-word, the five-word and the eight-word form, by position.
    const std::function<RRETURNCODE()> forms[] = {
        [&] {
            return CallAt<BOOL, CRHostContext*, CString&, RWORD, CString&, RWORD>(
                *object, 3, 0, &host, selection, w, summary, w);
        },
        [&] {
            return CallAt<BOOL, CRHostContext*, CString&, RWORD, CString&>(*object, 4, 0, &host,
                                                                           selection, w, summary);
        },
        [&] {
            return CallAt<BOOL, RWORD, RWORD, RWORD, CString&, RWORD, CString&, CEudoraTransUtil*>(
                *object, 5, 0, 1, 2, 3, selection, 1, summary, util);
        }};
    for (const auto& form : forms) {
        summary.Empty();
        EXPECT_EQ(form(), RRC_OK);
        EXPECT_EQ(selection.Str(), path);
        EXPECT_TRUE(files.Exists(path));
        EXPECT_FALSE(summary.IsEmpty());
    }
    LogCapture log;
    CRHostContext* const context = &host;
    EXPECT_EQ(CallAt(*object, 6, 61, w, w, w, context, w), RRC_OK);
    EXPECT_EQ(CallAt(*object, 7, 71, w, w, context), RRC_OK);
    EXPECT_TRUE(LogCapture::Has("5 Enter CREudoraTransBase::Open - Input : Mode - 61\n"));
    EXPECT_TRUE(LogCapture::Has("5 Enter CREudoraTransBase::Open - Input : Mode - 71\n"));

    settings.pszSettingsDir = nullptr;  // the folder is known from above
    EXPECT_EQ(
        Find<exports::RemoveTranslatorFn>(exports::kRemoveTranslator)(env, settings, nullptr, 0),
        RRC_OK);
    EXPECT_EQ(Find<exports::SelfDiagnoseFn>(exports::kSelfDiagnose)(nullptr, nullptr, 0), 1);
    EXPECT_EQ(Find<exports::UninitTranslatorFn>(exports::kUninitTranslator)(), RRC_OK);
    EXPECT_TRUE(files.RemoveFolder(folder)) << "something was left behind";
}

TEST_F(ModuleTest, InsidesAreNotExported) {
    for (const char* name : {"_Z9TransUtilv", "_ZTV17CREudoraTransBase", "_ZN5CMapi9MapiLogonEv",
                             "_ZN8platform12NativeSystemEv"}) {
        EXPECT_EQ(s_library->Symbol(name), nullptr) << name;
    }
}

}  // namespace
