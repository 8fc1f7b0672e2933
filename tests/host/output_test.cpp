#include <gtest/gtest.h>

#include "host/base/output.h"

namespace host {
namespace {

TEST(TerminalText, ColumnsAreCutAtWholeCharacters) {
    EXPECT_EQ(base::Column("abc", 5), "abc  ");
    EXPECT_EQ(base::Column("\xE6\x97\xA5\xE6\x9C\xAC", 3), "\xE6\x97\xA5 ");
    EXPECT_EQ(base::Visible("a\x1B[2Jb\r\n\tc\x7F\xC2\x9B\xD8\x9C\xE2\x80\xAE\xFF\xC3\xA9"),
              "a\xE2\x90\x9B[2Jb\xE2\x90\x8D\n\tc\xE2\x90\xA1\xEF\xBF\xBD\xEF\xBF\xBD"
              "\xEF\xBF\xBD\xEF\xBF\xBD\xC3\xA9")
        << "what was there can be seen";
    EXPECT_EQ(base::Column("\xC3\xA9\xC3\xA9\xC3\xA9", 2), "\xC3\xA9\xC3\xA9");
}

}  // namespace
}  // namespace host
