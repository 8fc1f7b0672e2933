#include "platform/prefix/prefix_system.h"

#include <gmock/gmock.h>

#include "platform/os/system.h"
#include "tests/platform/files_contract.h"
#include "tests/platform/prefix_folder.h"
#include "tests/support/fault_sweep.h"

namespace test {

using platform::ErrorCode;
using platform::NativeFiles;
using platform::RegistryRoot;
using platform::prefix::MakeRegistry;
using ::testing::HasSubstr;
using ::testing::StartsWith;

namespace {

constexpr auto kMachine = RegistryRoot::kLocalMachine;
constexpr auto kUser = RegistryRoot::kCurrentUser;
const char* const kHead =
    "WINE REGISTRY Version 2\n;; All keys relative to REGISTRY\\\\Machine\n\n";

}  // namespace

// A 32-bit program in a prefix of 64 bits has its own Software keys, but for Classes.
TEST(PrefixRegistry, SeesAndWritesTheNodeOf32BitPrograms) {
    struct Case {
        const char* arch;
        RegistryRoot root;
        const char* key;
        const char* lookedFor;
        const char* written;
    };
    const Case cases[] = {
        {"win64", kMachine, "SOFTWARE\\App", "node", "[Software\\\\Wow6432Node\\\\App]"},
        {"win64", kMachine, "Software\\Plain", "plain", "[Software\\\\Wow6432Node\\\\Plain]"},
        {"win64", kMachine, "Software\\Classes\\App", "class", "[Software\\\\Classes\\\\App]"},
        {"win64", kMachine, "Software\\Wow6432Node\\App", "node",
         "[Software\\\\Wow6432Node\\\\App]"},
        {"win64", kMachine, "System\\App", "system", "[System\\\\App]"},
        {"win32", kMachine, "Software\\App", "app", "[Software\\\\App]"},
        {"win64", kUser, "Software\\App", "app", "[Software\\\\App]"},
    };
    const std::string keys =
        "\n[Software\\\\App] 1\n@=\"app\"\n\n[Software\\\\Plain] 1\n@=\"plain\"\n\n"
        "[Software\\\\Wow6432Node\\\\App] 1\n@=\"node\"\n\n[Software\\\\Classes\\\\App] 1\n"
        "@=\"class\"\n\n[Software\\\\Wow6432Node\\\\Classes\\\\App] 1\n@=\"wrong\"\n\n"
        "[System\\\\App] 1\n@=\"system\"\n";
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.arch) + " " + c.key);
        const PrefixFolder prefix;
        const std::string file = prefix.Path() + (c.root == kUser ? "/user.reg" : "/system.reg");
        WriteDisk(file, std::string(kHead) + "#arch=" + c.arch + "\n" + keys);
        const auto registry = MakeRegistry(prefix.Path(), NativeFiles(), 1252);
        EXPECT_EQ(*registry->ReadText(c.root, c.key, ""), c.lookedFor);
        ASSERT_TRUE(registry->WriteNumber(c.root, c.key, "Flag", 1));
        EXPECT_EQ(*registry->ReadNumber(c.root, c.key, "FLAG"), 1u);
        const std::string text = ReadDisk(file);
        const std::string section = text.substr(0, text.find("\"Flag\"=dword:00000001\n"));
        EXPECT_THAT(section.substr(section.rfind("\n[") + 1), StartsWith(c.written));
    }
}

TEST(PrefixRegistry, MakesAMissingFileAndReadsAChangedOneAgain) {
    const PrefixFolder prefix;
    const auto registry = MakeRegistry(prefix.Path(), NativeFiles(), 1252);
    ASSERT_TRUE(registry->WriteText(kMachine, "K\\L", "", "caf\xE9 \x80"));
    const std::string machine = ReadDisk(prefix.Path() + "/system.reg");
    EXPECT_THAT(machine, StartsWith(std::string(kHead) + "#arch=win32\n\n[K\\\\L] "));
    EXPECT_THAT(machine, HasSubstr("\n@=\"caf\\xe9 \\x20ac\"\n"));
    prefix.PutRegistry(
        "[K] 1\n\"n\"=dword:00000063\n\"z\"=hex(1):61,00,00,00,62,00\n"
        "\"short\"=hex(4):01\n\"b\"=hex:01,02,03,04\n\"e\"=str(2):\"%x%\"\n");
    EXPECT_EQ(*registry->ReadNumber(kMachine, "K", "n"), 99u);
    EXPECT_EQ(*registry->ReadText(kMachine, "K", "z") + *registry->ReadText(kMachine, "K", "e"),
              "a%x%");
    for (const char* name : {"short", "b"}) {
        EXPECT_EQ(CodeOf(registry->Read(kMachine, "K", name)), ErrorCode::kNotFound) << name;
    }
    const auto nowhere = MakeRegistry(prefix.Path() + "/none", NativeFiles(), 1252);
    EXPECT_EQ(CodeOf(nowhere->WriteNumber(kMachine, "K", "n", 1)), ErrorCode::kNotFound);
}

TEST(PrefixRegistry, AFaultLeavesTheOldFileOrTheNewOne) {
    ForEveryFault([](Fault fault, int number) {
        const PrefixFolder prefix;
        const std::string old = std::string(kHead) + "[K] 1\n\"n\"=dword:00000001\n;tail";
        prefix.PutRegistry(old);
        platform::testing::FaultyFiles faulty(NativeFiles());
        const auto registry = MakeRegistry(prefix.Path(), faulty, 1252);
        faulty.Arm(fault, number);
        const auto status = registry->WriteNumber(kMachine, "K", "n", 2);
        const bool fired = faulty.Disarm();
        std::string expected = old;
        if (status) expected.replace(expected.find("0001\n"), 4, "0002");
        EXPECT_EQ(ReadDisk(prefix.Path() + "/system.reg"), expected);
        EXPECT_TRUE(registry->WriteNumber(kMachine, "K", "n", 2));
        EXPECT_EQ(*registry->ReadNumber(kMachine, "K", "n"), 2u);
        return fired;
    });
}

}  // namespace test
