#include <cstring>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <sstream>

#include "frame/interface/exports.h"
#include "platform/os/program.h"
#include "tests/frame/frame_fixture.h"
#include "tests/support/table.h"

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
    const std::map<std::string, std::function<RRETURNCODE(std::size_t)>> calls = {
        {"properties", with(&properties)},
        {"ask for information", with(0, host, &selection, w, &summaries[0], w)},
        {"ask shortly", with(0, host, &selection, w, &summaries[1])},
        {"ask at length", with(0, w, w, w, &selection, w, &summaries[2], util)},
        {"open", with(61, w, w, w, host, w)},
        {"open shortly", with(71, w, w, host)},
        {"open at length", with(8, w, w, w, w, w, w, w, w, util)},
        {"mode", with(5)},
        {"text", with(&a)},
        {"filters", with(none, 0)},
        {"field", with(&a, &b, &type, &tag, &ordinal)},
        {"records", with(&counts[0])},
        {"fields", with(&counts[1])},
        {"nothing", with()},
        {"id", with(id)},
        {"word", with(w)},
        {"texts", with(&a, &b)},
        {"cell", with(id, &type, &cell)},
        {"may set", with(w, none, none, &flags[0])},
        {"may proceed", with(w, w, &flags[1])},
        {"2 words", with(w, w)},
        {"3 words", with(w, w, w)},
        {"4 words", with(w, w, w, w)},
        {"5 words", with(w, w, w, w, w)},
    };
    std::set<std::size_t> tested;
    for (const auto& [positions, code, call, line] :
         test::Table<std::string, int, std::string, std::string>("operations")) {
        std::istringstream numbers(positions);
        for (std::size_t at = 0; numbers >> at;) {
            const LogCapture log;
            EXPECT_TRUE(tested.insert(at).second) << at << " twice";
            EXPECT_EQ(calls.at(call)(at), code) << at;
            const std::string first = log.Lines().empty() ? "" : log.Lines()[0];
            EXPECT_EQ(first, line.empty() ? "" : "5 Enter CREudoraTransBase::" + line + '\n');
        }
    }
    EXPECT_EQ(*tested.rbegin(), 71U);
    EXPECT_EQ(tested.size(), 70U) << "each position behind the destructor's has a row";
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
