#include <gtest/gtest.h>

#include "platform/os/code_page.h"
#include "platform/os/system.h"

// The resource library beside the test program is one for 32-bit machines, whatever this one is.
TEST(LibrariesContract, StringsAreReadInTheSystemCodePage) {
    const platform::System& system = platform::NativeSystem();
    const unsigned codePage = system.codePage;
    const auto resources = system.libraries.LoadResources("kv_test_strings.dll");
    ASSERT_TRUE(resources) << resources.Error().Message();
    struct Case {
        unsigned id;
        std::size_t limit;
        const char* text;
    };
    for (const Case& c : {Case{1, 1023, "plain"},
                          {1, 3, "pla"},
                          {1, 0, ""},
                          {16, 1023, "Nachname ge\u00E4ndert: M\u00FCller"},
                          {17, 1023, "\u65E5\u672C\U0001F600x"},
                          {6000, 1023, "far away"},
                          {0, 1023, ""},
                          {15, 1023, ""},
                          {5999, 1023, ""},
                          {0x10001, 1023, ""},  // not string 1, though it has the same low word
                          {0xFFFFFFFF, 1023, ""}}) {
        EXPECT_EQ((*resources)->Text(c.id, c.limit), platform::FromUtf8(c.text, codePage)) << c.id;
    }
}
