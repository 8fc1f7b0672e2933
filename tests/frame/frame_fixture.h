#pragma once

#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include "frame/trans_base.h"
#include "platform/kvutil/kvutil.h"
#include "platform/testing/test_system.h"

// Switches the log on and collects its lines as "<level> <text>" while it lives.
class LogCapture {
  public:
    LogCapture() {
        Lines().clear();
        g_pfnLog = &Collect;
        g_bEnableLog = 1;
    }
    ~LogCapture() { g_bEnableLog = 0; }

    static std::vector<std::string>& Lines() {
        static std::vector<std::string> lines;
        return lines;
    }

  private:
    static void Collect(int level, const char* format, ...) {
        char text[2048];
        va_list arguments;
        va_start(arguments, format);
        std::vsnprintf(text, sizeof text, format, arguments);
        va_end(arguments);
        Lines().push_back(std::to_string(level) + ' ' + text);
    }
};

// A host that answers each question with the question's number and notes the order of them.
class NumberedHost final : public CRHostContext {
  public:
    explicit NumberedHost(CEudoraTransUtil* util) : m_util(reinterpret_cast<RWORD>(util)) {}
    void GetContextValue1(RWORD* value) override { Give('1', value, 1); }
    void GetContextValue2(RWORD* value) override { Give('2', value, 2); }
    void GetContextValue3(RWORD* value) override { Give('3', value, 3); }
    void GetContextValue4(RWORD* value) override { Give('4', value, 4); }
    void GetUtil(RWORD* value) override { Give('U', value, m_util); }
    void GetContextValue5(RWORD* value) override { Give('5', value, 5); }
    void GetContextValue6(RWORD* value) override { Give('6', value, 6); }
    void GetContextValue7(RWORD* value) override { Give('7', value, 7); }

    std::string calls;

  private:
    void Give(char name, RWORD* value, RWORD answer) {
        calls += name;
        *value = answer;
    }
    RWORD m_util;
};

// A machine in memory with the module's global object over it; settings go to C:\set.
class FrameTest : public ::testing::Test {
  protected:
    FrameTest() {
        machine.files.MakeFolders("C:\\set");
        util.csSettingsDir = "C:\\set";
        UseTransUtil(&util);
    }
    ~FrameTest() override { UseTransUtil(nullptr); }

    // Gives the bundle these strings.
    void LoadStrings(platform::testing::FakeLibraries::Strings strings) {
        machine.libraries.AddResources("C:\\b\\xEN.dll", std::move(strings));
        ASSERT_TRUE(util.bundle.Load("x", "C:\\b", "EN", "", true));
    }
    std::vector<std::string> DrainErrors() {
        std::vector<std::string> messages;
        for (CString text; util.GetNextError(text) == RRC_OK;) messages.push_back(text.Str());
        return messages;
    }

    platform::testing::TestSystem machine;
    CEudoraTransUtil util{machine.system};
};

// A text block as a host hands it over.
inline char* Block(const char* text) {
    if (text == nullptr) return nullptr;
    char* block = static_cast<char*>(::operator new(std::strlen(text) + 1));
    return std::strcpy(block, text);
}
