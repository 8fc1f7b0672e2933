#include <gmock/gmock.h>

#include <random>

#include "platform/os/code_page.h"
#include "platform/os/little_endian.h"
#include "platform/os/safe_write.h"
#include "platform/prefix/path_mapper.h"
#include "platform/prefix/pe_strings.h"
#include "platform/prefix/prefix_system.h"
#include "platform/prefix/registry_text.h"
#include "platform/testing/scripted_dialogs.h"
#include "tests/platform/files_contract.h"
#include "tests/support/fault_sweep.h"
#include "tests/support/table.h"
#include "text/ascii.h"
#include "text/utf.h"

namespace test {

using platform::ErrorCode;
using platform::NativeFiles;
using platform::RegistryRoot;
using platform::prefix::MakeRegistry;
using platform::prefix::PathMapper;
using platform::prefix::PeStrings;
using platform::prefix::PrefixSystem;
using platform::prefix::RegistryValue;
using ::testing::HasSubstr;
using ::testing::StartsWith;

namespace {

constexpr auto kMachine = RegistryRoot::kLocalMachine;
constexpr auto kUser = RegistryRoot::kCurrentUser;

FilesStore InPrefix() {
    struct Owner {
        PrefixFolder prefix;
        PrefixSystem system{prefix.Path()};
    };
    const auto owner = std::make_shared<Owner>();
    const auto folder = owner->prefix.DriveC() / "Work";
    std::filesystem::create_directory(folder);
    return {owner, owner->system.system.files, "c:\\work\\", [=](const auto& name) {
                std::filesystem::permissions(folder / name, std::filesystem::perms::owner_read);
            }};
}

std::u16string Wide(const std::string& text) {
    return platform::ToUtf16(text, text::kUtf8);
}

// As tables tell it: the type and behind it the text or the bytes.
std::optional<RegistryValue> Value(const std::string& told) {
    if (told == "none") return std::nullopt;
    const std::string data = told.substr(2);
    const unsigned type = static_cast<unsigned>(told[0] - '0');
    return RegistryValue{
        type, type <= RegistryValue::kExpandText ? text::BytesFromUtf16(Wide(data)) : data};
}

}  // namespace

INSTANTIATE_TEST_SUITE_P(Prefix, FilesContract, ::testing::Values(&InPrefix));
INSTANTIATE_TEST_SUITE_P(Prefix, FilesWalk, ::testing::Values(&InPrefix));

TEST(PathMapper, LeadsAsWineDoes) {
    const PrefixFolder prefix;
    const TempFolder other;
    prefix.LinkDrive("e:", other.Path());
    for (const char* file : {"Program Files/Eudora/Eudora.exe", "twice/A.txt", "twice/a.txt",
                             "Stra\u00DFe \u00C4/\u00C9t\u00E9.txt", "\u8868.txt", "\u8868/in"}) {
        WriteDisk(prefix.DriveC() / file, "");
    }
    WriteDisk(other / "mail/In.mbx", "");
    for (const auto& [codePage, path, expected] :
         Table<unsigned, std::string, std::string>("paths of Windows")) {
        SCOPED_TRACE(path);
        const auto mapped = PathMapper(prefix.Path(), codePage).Map(path);
        if (!mapped) {
            EXPECT_EQ(Reason(mapped), expected);
            continue;
        }
        const auto native = expected.starts_with("E:") ? other.Path() / expected.substr(2)
                                                       : prefix.DriveC() / expected;
        EXPECT_EQ(mapped->exists, exists(native));
        // Equal in letters too, also where the file system under test ignores case.
        EXPECT_EQ(weakly_canonical(std::filesystem::path(mapped->path)).string(),
                  weakly_canonical(native).string());
    }
}

TEST(PathMapper, GoesBothWays) {
    const PrefixFolder prefix;
    const TempFolder other;
    const std::string c = canonical(prefix.DriveC()), e = canonical(other.Path());
    prefix.LinkDrive("e:", e);
    std::filesystem::create_directory_symlink(e, c + "/link");
    WriteDisk(c + "/Mail/\u00C4.mbx", "");
    const PathMapper mapper(prefix.Path(), 1252);
    for (const auto& [windows, native] : {std::pair{"C:\\", c},
                                          {"C:\\Mail\\\xC4.mbx", c + "/Mail/\u00C4.mbx"},
                                          {"C:\\no\\such\\file", c + "/no/such/file"},
                                          {"E:\\new", e + "/new"}}) {
        EXPECT_EQ(mapper.NativePath(windows), native);
        EXPECT_EQ(mapper.WindowsPath(native), windows);
    }
    EXPECT_EQ(mapper.NativePath("c:/MAIL/\xE4.MBX"), c + "/Mail/\u00C4.mbx");
    EXPECT_EQ(mapper.NativePath("C:\\link\\x"), e + "/x");
    EXPECT_EQ(mapper.WindowsPath(c + "/link/x"), "E:\\x");
    for (const char* none : {"", "x", "C:", "C:x", "Q:\\x", "\\\\server\\x"}) {
        EXPECT_FALSE(mapper.NativePath(none)) << none;
    }
    EXPECT_FALSE(mapper.WindowsPath("/nowhere/x") || mapper.WindowsPath(c + "/\u65E5"));
    // The shorter of two ways, and of two as short ones the first drive.
    prefix.LinkDrive("m:", c + "/Mail");
    prefix.LinkDrive("d:", e);
    EXPECT_EQ(mapper.WindowsPath(c + "/Mail/x"), "M:\\x");
    EXPECT_EQ(mapper.WindowsPath(e + "/x"), "D:\\x");
}

TEST(RegistryText, Finds) {
    for (const auto& [lines, expected] : Rows<2>("registry lines")) {
        SCOPED_TRACE(lines);
        const std::string text = "WINE REGISTRY Version 2\n\n[K\\\\L\\[b\\]\\x3042] 1\n" + lines;
        const std::u16string key = u"\\k\\\\L[b]\u3042\\";
        EXPECT_EQ(platform::prefix::FindValue(text, key, u"a"), Value(expected));
        if (lines.find('\r') != std::string::npos) continue;
        EXPECT_EQ(platform::prefix::FindValue(text::WithCrLf(text), key, u"a"), Value(expected));
    }
}

TEST(RegistryText, WritesInTheFormOfItsNeighbours) {
    for (const auto& [before, key, name, value, expected] : Rows<5>("registry values written")) {
        const auto now = std::chrono::system_clock::from_time_t(1'700'000'000);
        const std::string after =
            platform::prefix::WithValue(before, Wide(key), Wide(name), *Value(value), now);
        EXPECT_EQ(after, expected);
        EXPECT_EQ(platform::prefix::FindValue(after, Wide(key), Wide(name)), Value(value));
    }
}

// A 32-bit program in a prefix of 64 bits has its own Software keys, but for Classes. Where it has
// none of its own, it reads the other one.
TEST(PrefixRegistry, SeesAndWritesTheNodeOf32BitPrograms) {
    for (const auto& [arch, name, key, place] : Rows<4>("keys of 32-bit programs")) {
        SCOPED_TRACE(arch + " " + key);
        const auto root = name == "user" ? kUser : kMachine;
        const PrefixFolder prefix;
        const std::string file = prefix.Path() + "/" + name + ".reg";
        WriteDisk(file, "WINE REGISTRY Version 2\n\n#arch=win" + arch +
                            "\n\n[Software\\\\App] 1\n\"n\"=dword:02\n\"other\"=dword:03\n"
                            "[Software\\\\Wow6432Node\\\\Classes\\\\App] 1\n\"n\"=dword:02\n");
        const auto registry = MakeRegistry(prefix.Path(), NativeFiles(), 1252);
        EXPECT_EQ(*registry->ReadNumber(root, "Software\\App", "other"), 3u);
        ASSERT_TRUE(registry->WriteNumber(root, key, "n", 1));
        EXPECT_EQ(*registry->ReadNumber(root, key, "N"), 1u);
        EXPECT_EQ(platform::prefix::FindValue(ReadDisk(file), Wide(place), u"n"),
                  Value(std::string("4 \1\0\0\0", 6)));
    }
}

TEST(PrefixRegistry, MakesAMissingFileAndReadsAChangedOneAgain) {
    const PrefixFolder prefix;
    const auto registry = MakeRegistry(prefix.Path(), NativeFiles(), 1252);
    ASSERT_TRUE(registry->WriteText(kMachine, "K\\L", "", "caf\xE9 \x80"));
    const std::string machine = ReadDisk(prefix.Path() + "/system.reg");
    EXPECT_THAT(machine, StartsWith("WINE REGISTRY Version 2\n;; All keys relative to "
                                    "REGISTRY\\\\Machine\n\n#arch=win32\n\n[K\\\\L] "));
    EXPECT_THAT(machine, HasSubstr("\n@=\"caf\\xe9 \\x20ac\"\n"));
    KeepsWhatIsWritten(*registry, kMachine);
    KeepsWhatIsWritten(*registry, kUser);
    prefix.PutRegistry(
        "[K] 1\n\"z\"=hex(1):61,00,00,00,62,00\n\"e\"=str(2):\"%x%\"\n"
        "\"short\"=hex(4):01\n\"b\"=hex:01,02,03,04\n");
    EXPECT_EQ(*registry->ReadText(kMachine, "K", "z") + *registry->ReadText(kMachine, "K", "e"),
              "a%x%");
    EXPECT_FALSE(registry->Read(kMachine, "K", "short") || registry->Read(kMachine, "K", "b"));
    const auto nowhere = MakeRegistry(prefix.Path() + "/none", NativeFiles(), 1252);
    EXPECT_EQ(CodeOf(nowhere->WriteNumber(kMachine, "K", "n", 1)), ErrorCode::kNotFound);
}

TEST(PrefixRegistry, AFaultLeavesTheOldFileOrTheNewOne) {
    ForEveryFault([](Fault fault, int number) {
        const PrefixFolder prefix;
        prefix.PutRegistry("[K] 1\n\"n\"=dword:00000001\n;tail");
        platform::testing::FaultyFiles faulty(NativeFiles());
        const auto registry = MakeRegistry(prefix.Path(), faulty, 1252);
        faulty.Arm(fault, number);
        const auto status = registry->WriteNumber(kMachine, "K", "n", 2);
        const bool fired = faulty.Disarm();
        EXPECT_EQ(ReadDisk(prefix.Path() + "/system.reg"),
                  std::string("[K] 1\n\"n\"=dword:0000000") + (status ? "2" : "1") + "\n;tail");
        EXPECT_TRUE(registry->WriteNumber(kMachine, "K", "n", 2));
        EXPECT_EQ(*registry->ReadNumber(kMachine, "K", "n"), 2u);
        return fired;
    });
}

TEST(PrefixSystem, SaysWhatThePrefixSays) {
    for (const auto& [values, major, minor] :
         Table<std::string, unsigned, unsigned>("versions of Windows")) {
        SCOPED_TRACE(values);
        const PrefixFolder prefix;
        prefix.PutRegistry("\n[Software\\\\Microsoft\\\\Windows NT\\\\CurrentVersion] 1\n" +
                           values);
        const PrefixSystem owner(prefix.Path());
        const auto version = owner.system.processes.Version();
        EXPECT_EQ(std::pair(version->major, version->minor), std::pair(major, minor));
        EXPECT_EQ(owner.system.codePage, 1252u);
        EXPECT_EQ(CodeOf(owner.system.processes.Start("C:\\x.exe")), ErrorCode::kNotSupported);
    }
    const PrefixFolder prefix;
    prefix.PutRegistry(
        "[System\\\\CurrentControlSet\\\\Control\\\\Nls\\\\CodePage] 1\n\"ACP\"=\"932\"\n");
    const PrefixSystem owner(prefix.Path());
    EXPECT_EQ(owner.system.codePage, 932u);
    EXPECT_EQ(owner.system.processes.ProfileNumber("Mail", "MAPI", 5), 5);
    WriteDisk(prefix.DriveC() / "windows/WIN.INI",
              "MAPI=9\r\n[other]\r\nMAPI=8\r\n[MAIL]\r\n; MAPI=7\r\n mapi = 1 \r\nText=yes\r\n"
              "Neg=-3x\r\nPlus=+2\r\nBig=99999999999\r\nLast=4");
    for (const auto& [key, expected] : {std::pair{"MAPI", 1},
                                        {"text", 0},
                                        {"neg", -3},
                                        {"plus", 2},
                                        {"Big", 0},
                                        {"last", 4},
                                        {"none", 5}}) {
        EXPECT_EQ(owner.system.processes.ProfileNumber("mail", key, 5), expected) << key;
    }

    auto& files = owner.system.files;
    ASSERT_TRUE(platform::WriteWhole(files, "C:\\\x95\\\x8E\xA6.txt", "1"));
    EXPECT_EQ(ReadDisk(prefix.DriveC() / "\u8868\u793A.txt"), "1");
    WriteDisk(prefix.DriveC() / "caf\u00E9", "");
    WriteDisk(prefix.DriveC() / "back\\slash", "");
    std::set<std::string> names;
    const auto entries = files.List("C:\\", "*");
    for (const auto& entry : *entries) names.insert(entry.name);
    EXPECT_THAT(names, ::testing::ElementsAre("caf?", "windows", "\x95\\\x8E\xA6.txt"));
    for (const auto& [from, to, named] : Rows<3>("files that a failed move names")) {
        EXPECT_EQ(files.Move(from, to).Error().context, named) << from << " " << to;
    }

    EXPECT_EQ(*files.TempFolder(), "C:\\windows\\temp\\");
    EXPECT_TRUE(std::filesystem::is_directory(prefix.DriveC() / "windows/temp"));
    WriteDisk(prefix.Path() + "/user.reg", "\n[Environment] 1\n\"TMP\"=\"C:\\\\Users\\\\me\"\n");
    EXPECT_EQ(*files.TempFolder(), "C:\\windows\\temp\\") << "a folder that is not there";
    std::filesystem::create_directories(prefix.DriveC() / "users/me");
    EXPECT_EQ(*files.TempFolder(), "C:\\Users\\me\\");
}

TEST(PrefixLibraries, AreFoundInTheOwnFolderAndOnTheDrive) {
    const PrefixFolder prefix;
    const TempFolder own;
    for (const char* path :
         {"Bundles/KVLEUDJP.DLL", "windows/system32/kvlEUDFR.dll", "Eudora/EUMAPI32.DLL"}) {
        WriteDisk(prefix.DriveC() / path, ReadDisk(KV_TEST_STRINGS));
    }
    WriteDisk(own / "kvlEUDEN.dll", ReadDisk(KV_TEST_STRINGS));
    WriteDisk(prefix.DriveC() / "windows/system32/kvlEUDEN.dll", "hidden by the own one");
    WriteDisk(prefix.DriveC() / "windows/text.dll", "no library");
    std::filesystem::copy_file(KV_TEST_LIBRARY, own / "libEUMAPI32.so");
    const PathMapper mapper(prefix.Path(), 932);
    const auto libraries = platform::prefix::MakeLibraries(mapper, own.Path().string());

    auto japanese = libraries->LoadResources("c:\\bundles\\kvlEUDJP.dll");
    ASSERT_TRUE(japanese) << japanese.Error().Message();
    EXPECT_EQ((*japanese)->Text(17, 3), "\x93\xFA") << "no half of a character";
    EXPECT_EQ((*japanese)->Text(17, 100), "\x93\xFA\x96{?x");
    EXPECT_TRUE(libraries->LoadResources("kvlEUDEN.dll"));
    EXPECT_TRUE(libraries->LoadResources("kvleudfr.DLL"));
    // The mail library's place is taken by the stand-in of the own folder.
    for (const char* path : {"C:\\Eudora\\eumapi32.dll", "Q:\\x\\EuMapi32.Dll", KV_TEST_LIBRARY}) {
        auto library = libraries->Load(path);
        ASSERT_TRUE(library) << path;
        EXPECT_EQ(reinterpret_cast<int (*)()>((*library)->Symbol("Answer"))(), 42);
        EXPECT_EQ((*library)->Symbol("NoSuchName"), nullptr);
    }
    std::filesystem::remove(own / "libEUMAPI32.so");
    for (const auto& [isCode, path, reason] :
         Table<bool, std::string, std::string>("libraries that are none")) {
        EXPECT_EQ(isCode ? Reason(libraries->Load(path)) : Reason(libraries->LoadResources(path)),
                  reason)
            << path;
    }
}

TEST(HostedDialogs, AskTheProviderAtEachUse) {
    static platform::testing::ScriptedDialogs provider;
    const PrefixFolder prefix;
    const PrefixSystem owner(prefix.Path());
    for (const bool isProvided : {false, true, false}) {
        platform::SetDialogSource(isProvided ? +[]() -> platform::Dialogs* { return &provider; }
                                             : nullptr);
        provider.fileAnswers = {"C:\\x"};
        ::testing::internal::CaptureStderr();
        owner.system.dialogs.ShowMessage("caf\xE9", "Error", platform::MessageIcon::kError);
        EXPECT_EQ(owner.system.dialogs.OpenFile({}).has_value(), isProvided);
        EXPECT_EQ(::testing::internal::GetCapturedStderr(), isProvided ? "" : "Error: caf\u00E9\n");
    }
}

// The second library is the same one for 64-bit machines: its header is 16 bytes longer, the gap
// behind it shorter. Whatever is cut off or spoilt, a text is the right one or missing, and nothing
// outside the file is read (the sanitizers watch).
TEST(PeStrings, ReadsBothWidthsAndNothingElse) {
    const std::string good = ReadDisk(KV_TEST_STRINGS);
    const std::size_t optional = *platform::ReadU32(good, 0x3C) + 24;
    std::string wide = good;
    platform::WriteNumber<std::uint16_t>(wide, optional, 0x20B);
    wide[optional - 4] = static_cast<char>(wide[optional - 4] + 16);
    wide.insert(optional + 92, 16, '\0');
    wide.erase(*platform::ReadU32(wide, optional + 60), 16);
    for (const auto& file : {good, wide}) {
        const auto strings = PeStrings::Parse(file);
        ASSERT_TRUE(strings);
        EXPECT_TRUE(strings->Text(1) + strings->Text(32) == u"plainneutral");
        EXPECT_TRUE(strings->Text(17) == u"\u65E5\u672C\U0001F600x");
        EXPECT_TRUE((strings->Text(0) + strings->Text(33) + strings->Text(0xFFFFFFFF)).empty());
        for (std::size_t size = 0; size < file.size(); ++size) {
            const auto part = PeStrings::Parse(file.substr(0, size));
            const std::u16string found = part ? part->Text(17) : std::u16string();
            EXPECT_TRUE(found.empty() || found == strings->Text(17)) << size;
            EXPECT_TRUE(size > optional || CodeOf(part) == ErrorCode::kCorrupt);
        }
    }
    for (const std::size_t place : {std::size_t{0}, std::size_t{0x3F}, optional - 24, optional,
                                    optional - 17, optional - 3}) {
        std::string bad = good;
        bad[place] = '\xFF';
        EXPECT_EQ(CodeOf(PeStrings::Parse(bad)), ErrorCode::kCorrupt) << place;
    }
    std::mt19937 random(5);
    for (int round = 0; round < 10'000; ++round) {
        std::string bad = good;
        for (unsigned i = random() % 9 + 1; i > 0; --i)
            bad[random() % bad.size()] ^= 1 << random() % 8;
        const auto strings = PeStrings::Parse(bad);
        EXPECT_TRUE(!strings || strings->Text(17).size() * 2 <= bad.size());
    }
}

}  // namespace test
