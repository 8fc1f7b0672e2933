#include <cstring>
#include <filesystem>
#include <functional>
#include <memory>

#include "frame/interface/exports.h"
#include "platform/os/program.h"
#include "tests/frame/frame_fixture.h"

// The built module, called by nothing but its exported names and the positions in the table.

namespace {

// Position of an operation in the table, counted from 1; the destructor is the first. It takes two
// places of the compiler's table, so an operation's own place is its position. References travel
// as pointers.
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
    void SetUp() override {
        const auto folder = std::filesystem::path(platform::ProgramPath()).parent_path();
        for (const char* name : {"libkvtEUD.so", "kvtEUD.dll"}) {
            auto loaded = platform::LoadNativeLibrary((folder / name).string());
            if (loaded) library = *std::move(loaded);
        }
        ASSERT_TRUE(library) << "no module beside " << folder;
    }

    template <class Function>
    Function Find(const char* name) {
        return reinterpret_cast<Function>(library->Symbol(name));
    }
    std::unique_ptr<CRRecordTranslator> Make(unsigned long kind) {
        CRRecordTranslator* object = nullptr;
        const auto make = Find<exports::GetTranslatorObjectFn>(exports::kGetTranslatorObject);
        EXPECT_EQ(make(kind, 0, &object), RRC_OK);
        return std::unique_ptr<CRRecordTranslator>(object);
    }

    std::unique_ptr<platform::Library> library;
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
        const auto with = [&](auto... arguments) {
            return [=, &object](std::size_t at) { return CallAt(*object, at, arguments...); };
        };
        const std::function<RRETURNCODE(std::size_t)> calls[] = {
            with(), with(w), with(w, w), nullptr, with(w, w, w, w), with(w, w, w, w, w)};
        for (std::size_t words = 0; words < std::size(rows); ++words) {
            for (const std::size_t at : rows[words]) {
                EXPECT_EQ(calls[words](at), RRC_NOT_SUPPORTED) << kind << ", position " << at;
            }
        }
    }
    for (const char* inside : {"_Z9TransUtilv", "_ZTV17CREudoraTransBase", "_ZN5CMapi9MapiLogonEv",
                               "_ZN8platform12NativeSystemEv"}) {
        EXPECT_EQ(library->Symbol(inside), nullptr) << inside << " is exported";
    }
}

// Each operation is known by its result and by the line that it logs first.
TEST_F(ModuleTest, EveryOperationStandsAtItsPositionAndNothingIsLeftAfterTheRemoval) {
    platform::Files& files = platform::NativeSystem().files;
    const std::string folder = *files.TempFolder() + "kv_module_test";
    (void)files.CreateFolder(folder);
    tagRENVSETTINGS env{"", ""};
    tagRTRANSSETTINGS settings{0, folder.c_str(), nullptr, nullptr};
    RWORD zero = 9;
    CEudoraTransUtil* util = nullptr;
    char buffer[200];
    (void)Find<exports::InitTranslatorExFn>(exports::kInitTranslatorEx)(&env, &settings, "EN",
                                                                        &zero, &util, buffer, 200);
    ASSERT_NE(util, nullptr);
    EXPECT_NE(util->hModule, nullptr);
    EXPECT_NE(util->hModule, platform::OwnInstance()) << "the module's, not this program's";

    NumberedHost numbered(util);
    CRHostContext* const host = &numbered;
    CString a("a"), b("b"), selection, summaries[3];
    unsigned long properties = 0, type = 77, tag = 77;
    unsigned short ordinal = 77;
    long counts[2] = {77, 77};
    BOOL flags[2] = {77, 77};
    std::int32_t cell = 0;
    const char* const id = "no such";
    void* const none = nullptr;
    constexpr RWORD w = 5;
    const auto object = Make(2);
    const auto with = [&o = *object](auto... arguments) {
        return [=, &o](std::size_t at) { return CallAt(o, at, arguments...); };
    };
    const struct {
        std::size_t at;
        RRETURNCODE code;
        const char* line;
        std::function<RRETURNCODE(std::size_t)> call;
    } rows[] = {
        {2, RRC_OK, "GetAppProperties", with(&properties)},
        {3, RRC_OK, "GetAppInfo", with(0, host, &selection, w, &summaries[0], w)},
        {4, RRC_OK, "GetAppInfo", with(0, host, &selection, w, &summaries[1])},
        {5, RRC_OK, "GetAppInfo", with(0, w, w, w, &selection, w, &summaries[2], util)},
        {6, RRC_OK, "Open - Input : Mode - 61", with(61, w, w, w, host, w)},
        {7, RRC_OK, "Open - Input : Mode - 71", with(71, w, w, host)},
        {8, RRC_OK, "Open - Input : Mode - 8", with(8, w, w, w, w, w, w, w, w, util)},
        {9, RRC_OK, "Close - Input : Mode - 5", with(5)},
        {12, RRC_NONE, "GetFirstErrorMessage", with(&a)},
        {13, RRC_NONE, "GetNextErrorMessage", with(&a)},
        {14, RRC_NONE, "GetFirstWarningMessage", with(&a)},
        {15, RRC_NONE, "GetNextWarningMessage", with(&a)},
        {24, RRC_OK, "SetDateFilter", with(none, 0)},
        {25, RRC_OK, "SetTextFilter", with(none, 0)},
        {26, RRC_OK, "SetBoolFilter", with(none, 0)},
        {28, RRC_NONE, "GetFirstFieldInfo", with(&a, &b, &type, &tag, &ordinal)},
        {29, RRC_NONE, "GetNextFieldInfo", with(&a, &b, &type, &tag, &ordinal)},
        {33, RRC_NONE, "GetRecordCount", with(&counts[0])},
        {34, RRC_OK, "GetFieldCount", with(&counts[1])},
        {37, RRC_EOF, "MoveFirst", with()},
        {38, RRC_EOF, "MoveNext", with()},
        {41, RRC_OK, "GoToRecord: no such", with(id)},
        {43, RRC_FAILED, "AddNewRecord", with(w)},
        {44, RRC_OK, "EditRecord", with()},
        {45, RRC_OK, "EditRecord: no such", with(id)},
        {46, RRC_FAILED, "UpdateRecord", with(&a, &b)},
        {47, RRC_OK, "DeleteRecord", with()},
        {48, RRC_OK, "DeleteRecord: no such", with(id)},
        {49, RRC_OK, "DeleteAllRecords", with()},
        {54, RRC_OK, "GetRecordID", with(&a)},
        {55, RRC_FAILED, "GetModifiedInfo", with(&a)},
        {56, RRC_FAILED, "GetField : Input - Field Id : no such", with(id, &type, &cell)},
        {57, RRC_FAILED, "SetField : Input - Field Id : no such", with(id, &type, &cell)},
        {58, RRC_OK, "IsOkToSetRecord", with(w, none, none, &flags[0])},
        {59, RRC_OK, "IsOkToProceed", with(w, w, &flags[1])},
    };
    for (const auto& [at, code, line, call] : rows) {
        const LogCapture log;
        EXPECT_EQ(call(at), code) << at;
        ASSERT_FALSE(LogCapture::Lines().empty()) << at;
        EXPECT_EQ(LogCapture::Lines()[0], std::string("5 Enter CREudoraTransBase::") + line + '\n')
            << at;
    }
    EXPECT_EQ(CallAt(*object, 10, w, none, w), RRC_NOT_SUPPORTED);
    EXPECT_EQ(CallAt(*object, 50, none), RRC_NOT_SUPPORTED);
    EXPECT_EQ(properties, 0x80070000UL);
    EXPECT_EQ(selection.Str(), folder + "\\EudoraAppInfo0001.cfg");
    EXPECT_TRUE(files.Exists(selection.Str()));
    for (const CString& summary : summaries) EXPECT_FALSE(summary.IsEmpty());
    EXPECT_EQ(type + tag + ordinal, 231U) << "no field: arguments untouched";
    EXPECT_TRUE(a.IsEmpty());
    EXPECT_EQ(counts[0], -1);
    EXPECT_EQ(counts[1] + static_cast<long>(zero), 0) << "no fields";
    EXPECT_EQ(flags[0] + flags[1], 2);

    settings.pszSettingsDir = nullptr;  // the folder is known from above
    EXPECT_EQ(
        Find<exports::RemoveTranslatorFn>(exports::kRemoveTranslator)(env, settings, nullptr, 0),
        RRC_OK);
    EXPECT_EQ(Find<exports::SelfDiagnoseFn>(exports::kSelfDiagnose)(nullptr, nullptr, 0), 1);
    EXPECT_EQ(Find<exports::UninitTranslatorFn>(exports::kUninitTranslator)(), RRC_OK);
    EXPECT_TRUE(files.RemoveFolder(folder)) << "something was left behind";
}

}  // namespace
