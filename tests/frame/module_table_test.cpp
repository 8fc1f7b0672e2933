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

std::unique_ptr<platform::Library> LoadModule() {
    const auto folder = std::filesystem::path(platform::ProgramPath()).parent_path();
    auto loaded = platform::LoadNativeLibrary((folder / "libkvtEUD.so").string());
    if (!loaded) loaded = platform::LoadNativeLibrary((folder / "kvtEUD.dll").string());
    EXPECT_TRUE(loaded) << "no module beside " << folder;
    return *std::move(loaded);
}

template <class Function>
Function Find(platform::Library& library, const char* name) {
    return reinterpret_cast<Function>(library.Symbol(name));
}

// Each operation is known by its result and by the line that it logs first. Settings files live
// from the first call to the removal.
TEST(ModuleTest, EveryOperationStandsAtItsPosition) {
    const auto library = LoadModule();
    for (const char* inside : {"_Z9TransUtilv", "_ZTV17CREudoraTransBase", "_ZN5CMapi9MapiLogonEv",
                               "_ZN8platform12NativeSystemEv"}) {
        EXPECT_EQ(library->Symbol(inside), nullptr) << inside << " is exported";
    }
    platform::Files& files = platform::NativeSystem().files;
    const std::string folder = *files.TempFolder() + "kv_module_test";
    (void)files.CreateFolder(folder);
    tagRENVSETTINGS env{"", ""};
    tagRTRANSSETTINGS settings{0, folder.c_str(), nullptr, nullptr};
    RWORD zero = 9;
    CEudoraTransUtil* util = nullptr;
    (void)Find<exports::InitTranslatorExFn>(*library, exports::kInitTranslatorEx)(
        &env, &settings, "EN", &zero, &util, nullptr, 0);
    ASSERT_NE(util, nullptr);
    EXPECT_NE(util->hModule, nullptr);
    EXPECT_NE(util->hModule, platform::OwnInstance()) << "the module's, not this program's";
    CRRecordTranslator* made = nullptr;
    Find<exports::GetTranslatorObjectFn>(*library, exports::kGetTranslatorObject)(2, 0, &made);
    const std::unique_ptr<CRRecordTranslator> object(made);

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
    // What is reserved or not supported, by the number of words that it takes.
    const std::pair<std::function<RRETURNCODE(std::size_t)>, std::vector<std::size_t>> others[] = {
        {with(), {11, 20, 39, 40}},
        {with(w), {16, 18, 19, 21, 22, 23, 30, 31, 32, 35, 36, 42, 50}},
        {with(w), {51, 52, 53, 67, 68, 69, 70, 71}},
        {with(w, w), {17, 61, 62, 63, 64, 65, 66}},
        {with(w, w, w), {10}},
        {with(w, w, w, w), {27}},
        {with(w, w, w, w, w), {60}}};
    for (const auto& [call, positions] : others) {
        for (const auto at : positions) EXPECT_EQ(call(at), RRC_NOT_SUPPORTED) << at;
    }
    EXPECT_EQ(properties, 0x80070000UL);
    EXPECT_EQ(selection.Str(), folder + "\\EudoraAppInfo0001.cfg");
    EXPECT_TRUE(files.Exists(selection.Str()));
    for (const CString& summary : summaries) EXPECT_FALSE(summary.IsEmpty());
    EXPECT_EQ(type + tag + ordinal, 231U) << "no field: arguments untouched";
    EXPECT_EQ(counts[0], -1);
    EXPECT_EQ(counts[1] + static_cast<long>(zero), 0) << "no fields";
    EXPECT_EQ(flags[0] + flags[1], 2);

    settings.pszSettingsDir = nullptr;  // the folder is known from above
    const auto remove = Find<exports::RemoveTranslatorFn>(*library, exports::kRemoveTranslator);
    const auto diagnose = Find<exports::SelfDiagnoseFn>(*library, exports::kSelfDiagnose);
    const auto end = Find<exports::UninitTranslatorFn>(*library, exports::kUninitTranslator);
    EXPECT_EQ(remove(env, settings, nullptr, 0), RRC_OK);
    EXPECT_EQ(diagnose(nullptr, nullptr, 0), 1);
    EXPECT_EQ(end(), RRC_OK);
    EXPECT_TRUE(files.RemoveFolder(folder)) << "something was left behind";
}

}  // namespace
