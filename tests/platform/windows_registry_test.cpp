#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/os/system.h"
#include "platform/windows/windows_api.h"

namespace test {

namespace {

using platform::ErrorCode;
using platform::RegistryRoot;

constexpr char kKey[] = "SOFTWARE\\Kv Test\\Values";

platform::Registry& Registry() {
    return platform::NativeSystem().registry;
}

// Works below a key of its own, in the view of 32-bit programs, gone afterwards.
class WindowsRegistry : public ::testing::TestWithParam<RegistryRoot> {
  protected:
    WindowsRegistry() { Remove(); }
    ~WindowsRegistry() override { Remove(); }

    static HKEY Root() {
        return GetParam() == RegistryRoot::kLocalMachine ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER;
    }
    static HKEY Open(DWORD view) {
        HKEY key = nullptr;
        RegOpenKeyExA(Root(), kKey, 0, KEY_ALL_ACCESS | view, &key);
        return key;
    }
    // Whatever bytes, as another program may leave them.
    static void Put(const char* name, DWORD type, const std::string& bytes) {
        const HKEY key = Open(KEY_WOW64_32KEY);
        ASSERT_NE(key, nullptr);
        EXPECT_EQ(RegSetValueExA(key, name, 0, type, reinterpret_cast<const BYTE*>(bytes.data()),
                                 static_cast<DWORD>(bytes.size())),
                  ERROR_SUCCESS);
        RegCloseKey(key);
    }
    static std::string Text(std::string_view value, std::string_view key = kKey) {
        auto text = Registry().ReadText(GetParam(), key, value);
        if (text) return *text;
        return text.Error().code == ErrorCode::kNotFound ? "<none>" : text.Error().Message();
    }

  private:
    static void Remove() {
        HKEY software = nullptr;
        RegOpenKeyExA(Root(), "SOFTWARE", 0, KEY_ALL_ACCESS | KEY_WOW64_32KEY, &software);
        RegDeleteTreeA(software, "Kv Test");
        RegCloseKey(software);
    }
};

}  // namespace

TEST_P(WindowsRegistry, TextsComeBackAsWritten) {
    const std::string all1252 = "\xC4rger \x80 \xFF";
    const std::vector<std::string> texts = {"",
                                            "C:\\Eudora",
                                            all1252,
                                            "%PATH%",
                                            std::string(255, 'a'),
                                            std::string(256, 'b'),
                                            std::string(70'000, 'c')};
    for (const auto& text : texts) {
        SCOPED_TRACE(text.size());
        ASSERT_TRUE(Registry().WriteText(GetParam(), kKey, "Name", text));
        EXPECT_EQ(Text("nAME", "software\\KV TEST\\values"), text);
    }
    ASSERT_TRUE(Registry().WriteText(GetParam(), kKey, "", "default"));
    EXPECT_EQ(Text(""), "default");
    EXPECT_EQ(Text("Name"), texts.back());
}

TEST_P(WindowsRegistry, OtherTypesAreNoTextAndNoNumber) {
    ASSERT_TRUE(Registry().WriteNumber(GetParam(), kKey, "Number", 0xFFFFFFFE));
    Put("Expand", REG_EXPAND_SZ, std::string("%WINDIR%\\x", 11));
    Put("NoZero", REG_SZ, "abc");
    Put("TwoZeros", REG_SZ, std::string("abc\0\0", 5));
    Put("Nothing", REG_SZ, "");
    Put("List", REG_MULTI_SZ, std::string("a\0b\0\0", 5));
    Put("Binary", REG_BINARY, "abcd");
    Put("Short", REG_DWORD, "ab");
    Put("Long", REG_QWORD, "abcdefgh");
    struct Case {
        const char* name;
        std::string text;
        std::string number;
    };
    const Case cases[] = {
        {"Number", "<none>", "4294967294"}, {"Expand", "%WINDIR%\\x", "<none>"},
        {"NoZero", "abc", "<none>"},        {"Nothing", "", "<none>"},
        {"List", "<none>", "<none>"},       {"Binary", "<none>", "<none>"},
        {"Short", "<none>", "<none>"},      {"Long", "<none>", "<none>"},
        {"Missing", "<none>", "<none>"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(Text(c.name), c.text);
        auto number = Registry().ReadNumber(GetParam(), kKey, c.name);
        if (!number) {
            EXPECT_EQ(number.Error().code, ErrorCode::kNotFound) << number.Error().Message();
        }
        EXPECT_EQ(number ? std::to_string(*number) : "<none>", c.number);
    }
    EXPECT_EQ(Text("TwoZeros").substr(0, 3), "abc");
}

TEST_P(WindowsRegistry, ReadingMakesNoKey) {
    EXPECT_EQ(Text("x"), "<none>");
    EXPECT_FALSE(Registry().ReadNumber(GetParam(), kKey, "x"));
    EXPECT_EQ(Open(KEY_WOW64_32KEY), nullptr);
}

// A module of either kind and the 32-bit programs beside it must mean the same values.
TEST_P(WindowsRegistry, IsTheViewOf32BitPrograms) {
    ASSERT_TRUE(Registry().WriteText(GetParam(), kKey, "Name", "text"));
    const HKEY narrow = Open(KEY_WOW64_32KEY);
    EXPECT_NE(narrow, nullptr);
    RegCloseKey(narrow);
    const HKEY wide = Open(KEY_WOW64_64KEY);
    const bool isShared = GetParam() == RegistryRoot::kCurrentUser;
    EXPECT_EQ(wide != nullptr, isShared);
    if (wide != nullptr) RegCloseKey(wide);
}

INSTANTIATE_TEST_SUITE_P(Roots, WindowsRegistry,
                         ::testing::Values(RegistryRoot::kLocalMachine,
                                           RegistryRoot::kCurrentUser));

}  // namespace test
