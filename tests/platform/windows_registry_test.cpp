#include <gtest/gtest.h>

#include <string>

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
    EXPECT_EQ(Text("x"), "<none>");
    EXPECT_EQ(Open(KEY_WOW64_32KEY), nullptr) << "reading makes no key";
    for (const std::string& text :
         {std::string(), std::string("%PATH%"), std::string("C:\\\xC4rger \x80 \xFF"),
          std::string(255, 'a'), std::string(256, 'b'), std::string(70'000, 'c')}) {
        SCOPED_TRACE(text.size());
        ASSERT_TRUE(Registry().WriteText(GetParam(), kKey, "Name", text));
        ASSERT_TRUE(Registry().WriteText(GetParam(), kKey, "", "default"));
        EXPECT_EQ(Text("nAME", "software\\KV TEST\\values"), text);
        EXPECT_EQ(Text(""), "default");
    }
}

TEST_P(WindowsRegistry, OtherTypesAreNoTextAndNoNumber) {
    ASSERT_TRUE(Registry().WriteNumber(GetParam(), kKey, "Number", 0xFFFFFFFE));
    Put("Expand", REG_EXPAND_SZ, std::string("%WINDIR%\\x", 11));
    Put("NoZero", REG_SZ, "abc");
    Put("TwoZeros", REG_SZ, std::string("abc\0\0", 5));
    Put("Nothing", REG_SZ, "");
    Put("Binary", REG_BINARY, "abcd");
    Put("Short", REG_DWORD, "ab");
    struct Case {
        const char *name, *text, *number;
    };
    for (const Case& c : {Case{"Number", "<none>", "4294967294"},
                          {"Expand", "%WINDIR%\\x", "<none>"},
                          {"NoZero", "abc", "<none>"},
                          {"Nothing", "", "<none>"},
                          {"Binary", "<none>", "<none>"},
                          {"Short", "<none>", "<none>"},
                          {"Missing", "<none>", "<none>"}}) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(Text(c.name), c.text);
        auto number = Registry().ReadNumber(GetParam(), kKey, c.name);
        EXPECT_TRUE(number || number.Error().code == ErrorCode::kNotFound);
        EXPECT_EQ(number ? std::to_string(*number) : "<none>", c.number);
    }
    EXPECT_EQ(Text("TwoZeros").substr(0, 3), "abc");
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
