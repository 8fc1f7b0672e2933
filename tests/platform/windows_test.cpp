#include <filesystem>
#include <tuple>

#include "platform/os/code_page.h"
#include "platform/os/safe_write.h"
#include "platform/testing/scripted_dialogs.h"
#include "platform/windows/system_call.h"
#include "tests/platform/files_contract.h"

namespace test {

namespace {

using namespace std::chrono_literals;
using platform::ErrorCode;
using platform::NativeFiles;
using platform::NativeSystem;
using platform::OpenMode;
using platform::RegistryRoot;
using platform::Share;
using platform::windows::Handle;

// Bytes for bytes: the C++ library would convert the name.
std::string In(const TempFolder& folder, const std::string& name) {
    return folder.Path().string() + "\\" + name;
}

std::string BesideProgram(const char* name) {
    char path[MAX_PATH];
    GetModuleFileNameA(nullptr, path, sizeof path);
    return std::filesystem::path(path).replace_filename(name).string();
}

}  // namespace

TEST(WindowsFiles, KeepToTheSharingOfOtherPrograms) {
    const TempFolder folder;
    const std::string path = folder / "f";
    WriteDisk(path, "content");
    constexpr DWORD kAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    using Row = std::tuple<DWORD, DWORD, OpenMode, Share, bool>;
    for (const auto& [access, share, mode, ourShare, isGranted] :
         {Row{GENERIC_READ, FILE_SHARE_READ, OpenMode::kRead, Share::kRead, true},
          Row{GENERIC_READ, FILE_SHARE_READ, OpenMode::kReadWrite, Share::kReadWrite, false},
          Row{GENERIC_READ, kAll, OpenMode::kReadWrite, Share::kNone, false},
          Row{GENERIC_WRITE, kAll, OpenMode::kRead, Share::kRead, false},
          Row{GENERIC_WRITE, kAll, OpenMode::kReadWriteOrCreate, Share::kReadWrite, true}}) {
        SCOPED_TRACE(::testing::Message() << access << " " << share << " " << int(mode));
        const auto openForeign = [&] {
            return Handle(CreateFileA(path.c_str(), access, share, nullptr, OPEN_EXISTING, 0, {}));
        };
        Handle other = openForeign();
        EXPECT_EQ(CodeOf(NativeFiles().Open(path, mode, ourShare)),
                  isGranted ? std::nullopt : std::optional(ErrorCode::kSharingViolation));
        other = Handle();
        const auto ours = NativeFiles().Open(path, mode, ourShare);
        EXPECT_EQ(static_cast<bool>(openForeign()), isGranted);
    }
    EXPECT_EQ(ReadDisk(path), "content");
}

TEST(WindowsFiles, ReplaceKeepsAttributes) {
    const TempFolder folder;
    const std::string oldPath = folder / "old", newPath = folder / "new";
    for (const DWORD attributes :
         {FILE_ATTRIBUTE_ARCHIVE, FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM,
          FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN}) {
        SCOPED_TRACE(attributes);
        SetFileAttributesA(oldPath.c_str(), FILE_ATTRIBUTE_NORMAL);
        WriteDisk(oldPath, "old");
        WriteDisk(newPath, "new");
        ASSERT_TRUE(SetFileAttributesA(oldPath.c_str(), attributes));
        const DWORD before = GetFileAttributesA(oldPath.c_str());
        const bool isReplaced = (attributes & FILE_ATTRIBUTE_READONLY) == 0;
        EXPECT_EQ(NativeFiles().Replace(newPath, oldPath).HasValue(), isReplaced);
        EXPECT_EQ(ReadDisk(oldPath) + ReadDisk(newPath), isReplaced ? "new" : "oldnew");
        EXPECT_EQ(GetFileAttributesA(oldPath.c_str()), before);
    }
}

// The two file systems are one disk, seen through two encodings. A name that the code page cannot
// carry is listed, and harms nothing; every code page lacks one of these.
TEST(WindowsFiles, NamesInTheTwoEncodingsMeet) {
    auto& module = NativeSystem().files;
    for (const std::string name : {"M\u00FCller \u20AC.txt", "\u65E5\u8868.txt", "\u041F.txt"}) {
        const TempFolder folder;
        bool isLossy = false;
        const auto bytes = platform::FromUtf8(name, GetACP(), &isLossy);
        auto& writer = isLossy ? NativeFiles() : module;
        ASSERT_TRUE(platform::WriteWhole(writer, In(folder, isLossy ? name : bytes), "x"));
        EXPECT_EQ(*platform::ReadWhole(NativeFiles(), In(folder, name), 10), "x");
        EXPECT_EQ(NativeFiles().List(folder.Path().string(), "*.TXT")->at(0).name, name);
        const auto listed = module.List(folder.Path().string(), "*.TXT");
        EXPECT_EQ(listed->size(), 1u);
        if (isLossy) continue;
        EXPECT_EQ(listed->at(0).name, bytes);
        EXPECT_TRUE(module.Exists(module.ShortPath(In(folder, bytes)).ValueOr("none")));
    }
}

TEST(WindowsFiles, NamesThatCannotBeAreNotCutToNamesThatAre) {
    const TempFolder folder;
    WriteDisk(folder / "f", "content");
    for (const auto& path : {In(folder, std::string("f\0x", 3)), In(folder, "f\xFF"),
                             In(folder, "f|"), std::string(40'000, 'a')}) {
        EXPECT_FALSE(NativeFiles().Exists(path));
        EXPECT_FALSE(NativeFiles().Open(path, OpenMode::kReadWriteOrCreate, Share::kNone));
        EXPECT_FALSE(NativeFiles().Delete(path) || NativeFiles().Copy(folder / "f", path));
    }
    EXPECT_EQ(ReadDisk(folder / "f"), "content");
}

TEST(WindowsLibraries, RefuseWhatIsNoLibrary) {
    const TempFolder folder;
    auto& libraries = NativeSystem().libraries;
    const std::string strings = BesideProgram("kv_test_strings.dll");
    EXPECT_TRUE(libraries.LoadResources(strings));
    WriteDisk(folder / "header.dll", ReadDisk(strings).substr(0, 0x40));
    for (const auto& [path, code] : {std::pair{folder / "header.dll", ErrorCode::kCorrupt},
                                     {folder / "none.dll", ErrorCode::kNotFound},
                                     {"kv_no_such_library.dll", ErrorCode::kNotFound}}) {
        EXPECT_EQ(CodeOf(libraries.LoadResources(path)), code) << path;
        EXPECT_TRUE(CodeOf(libraries.Load(path))) << path;
    }
    const auto library = libraries.Load("kernel32.dll");
    ASSERT_TRUE(library);
    EXPECT_NE((*library)->Symbol("GetCurrentProcessId"), nullptr);
    EXPECT_EQ((*library)->Symbol("NoSuchExport"), nullptr);
}

// Other programs leave other types; a module of either kind and the 32-bit programs beside it must
// mean the same values.
TEST(RegistryContract, Windows) {
    for (const HKEY root : {HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER}) {
        const auto ours =
            root == HKEY_LOCAL_MACHINE ? RegistryRoot::kLocalMachine : RegistryRoot::kCurrentUser;
        auto& registry = NativeSystem().registry;
        HKEY software = nullptr, key = nullptr, wide = nullptr;
        RegOpenKeyExA(root, "SOFTWARE", 0, KEY_ALL_ACCESS | KEY_WOW64_32KEY, &software);
        RegDeleteTreeA(software, "Kv Test");
        KeepsWhatIsWritten(registry, ours);
        RegOpenKeyExA(root, kTestKey, 0, KEY_ALL_ACCESS | KEY_WOW64_32KEY, &key);
        EXPECT_NE(key, nullptr);
        RegOpenKeyExA(root, kTestKey, 0, KEY_READ | KEY_WOW64_64KEY, &wide);
        EXPECT_EQ(wide != nullptr, root == HKEY_CURRENT_USER) << "shared by both views";
        using Row = std::tuple<DWORD, std::string, const char*>;
        for (const auto& [type, bytes, text] :
             {Row{REG_EXPAND_SZ, {"%WINDIR%\\x", 11}, "%WINDIR%\\x"}, Row{REG_SZ, "abc", "abc"},
              Row{REG_SZ, "", ""}, Row{REG_BINARY, "abcd", "none"}, Row{REG_DWORD, "ab", "none"}}) {
            RegSetValueExA(key, "n", 0, type, reinterpret_cast<const BYTE*>(bytes.data()),
                           static_cast<DWORD>(bytes.size()));
            EXPECT_EQ(registry.ReadText(ours, kTestKey, "n").ValueOr("none"), text) << bytes;
            EXPECT_EQ(CodeOf(registry.ReadNumber(ours, kTestKey, "n")), ErrorCode::kNotFound);
        }
        RegDeleteTreeA(software, "Kv Test");
        for (const HKEY open : {software, key, wide}) RegCloseKey(open);
    }
}

TEST(WindowsSystem, StartsAndWaitsForProcesses) {
    auto& processes = NativeSystem().processes;
    EXPECT_EQ(CodeOf(processes.Start("C:\\none\\no_such_program.exe /M")), ErrorCode::kNotFound);
    const Handle signal(CreateEventA(nullptr, TRUE, FALSE, "kv_test_signal"));
    auto process = processes.Start("\"" + BesideProgram("kv_test_waiter.exe") + "\" /x");
    ASSERT_TRUE(process) << process.Error().Message();
    EXPECT_FALSE((*process)->Wait(50ms));
    SetEvent(signal.Get());
    EXPECT_TRUE((*process)->Wait(60s));

    WriteProfileStringA("KvTest", "Number", "42");
    EXPECT_EQ(processes.ProfileNumber("kvtest", "number", 7), 42);
    WriteProfileStringA("KvTest", nullptr, nullptr);
    EXPECT_EQ(processes.ProfileNumber("KvTest", "Number", 7), 7);
    EXPECT_GE(processes.Version()->major, 5u);
    EXPECT_FALSE(NativeSystem().windows.Exists("KvNoSuchWindowClass"));
    // Looking must leave a message where it is.
    ASSERT_TRUE(PostThreadMessageA(GetCurrentThreadId(), WM_APP, 5, 6));
    NativeSystem().windows.PeekMessages();
    MSG message{};
    EXPECT_TRUE(PeekMessageA(&message, nullptr, WM_APP, WM_APP, PM_REMOVE));
}

TEST(WindowsSystem, DialogsGoWhereTheSourceSays) {
    static platform::testing::ScriptedDialogs scripted;
    platform::SetDialogSource([]() -> platform::Dialogs* { return &scripted; });
    scripted.fileAnswers = {"C:\\x.txt"};
    EXPECT_EQ(NativeSystem().dialogs.OpenFile({}), "C:\\x.txt");
    platform::SetDialogSource(nullptr);
}

}  // namespace test
