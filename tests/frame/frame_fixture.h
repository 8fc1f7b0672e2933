#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <new>
#include <string>
#include <vector>

#include "frame/trans_base.h"
#include "frame/trans_util.h"
#include "platform/testing/test_system.h"
#include "tests/frame/log_capture.h"

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

template <class Filter>
Filter* FilterList(const std::vector<Filter>& filters) {
    auto* list = static_cast<Filter*>(::operator new(filters.size() * sizeof(Filter)));
    std::memcpy(list, filters.data(), filters.size() * sizeof(Filter));
    return list;
}
