#include "host/cli/mail_table.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "host/output/terminal_text.h"

namespace host {
namespace {

TEST(MailTable, JsonHoldsWhatIsThere) {
    Mail mail;
    mail.subject = "a\x1B[2Jb\xC2\x9B\xE2\x80\xAE\nc\x7F";
    const std::string text = MailJson(mail, true);
    EXPECT_EQ(text.find('\n'), std::string::npos);
    EXPECT_EQ(nlohmann::json::parse(text)["subject"], *mail.subject);
    mail.subject = "caf\xE9 that is no UTF-8";
    const auto empty = nlohmann::json::parse(MailJson(mail, false));
    for (const char* key : {"from", "date", "status"}) EXPECT_TRUE(empty[key].is_null()) << key;
    EXPECT_TRUE(empty["attachments"].is_array());
    EXPECT_FALSE(empty.contains("body"));
}

TEST(TerminalText, ColumnsAreCutAtWholeCharacters) {
    EXPECT_EQ(Column("abc", 5), "abc  ");
    EXPECT_EQ(Column("\xE6\x97\xA5\xE6\x9C\xAC", 3), "\xE6\x97\xA5 ");
    EXPECT_EQ(Visible("a\x1B[2Jb\r\n\tc\x7F\xC2\x9B\xD8\x9C\xE2\x80\xAE\xFF\xC3\xA9"),
              "a\xE2\x90\x9B[2Jb\xE2\x90\x8D\n\tc\xE2\x90\xA1\xEF\xBF\xBD\xEF\xBF\xBD"
              "\xEF\xBF\xBD\xEF\xBF\xBD\xC3\xA9")
        << "what was there can be seen";
    EXPECT_EQ(Column("\xC3\xA9\xC3\xA9\xC3\xA9", 2), "\xC3\xA9\xC3\xA9");
}

}  // namespace
}  // namespace host
