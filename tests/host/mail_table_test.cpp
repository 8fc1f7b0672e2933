#include "host/cli/mail_table.h"

#include <sstream>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "host/cli/terminal_text.h"

namespace host {
namespace {

// A mail whose every text tries to drive the terminal.
Mail Hostile() {
    const std::string text =
        "a\x1B[2Jb\rc\x7F"
        "d\xC2\x9B"
        "31me\xE2\x80\xAE"
        "f\b\a\x01";
    Mail mail;
    mail.id = "0x00000001";
    mail.from = mail.to = mail.cc = mail.bcc = mail.subject = mail.messageId = text + "\nline";
    mail.body = text + "\r\n\ttab\r\n";
    mail.attachments = {{text, ""}};
    mail.notes = {text};
    mail.status = kStatusUnread;
    mail.date = 46266.34375;
    return mail;
}

bool IsHarmless(const std::string& text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if ((byte < 0x20 && byte != '\n' && byte != '\t') || byte == 0x7F) return false;
        if (byte == 0xC2 && static_cast<unsigned char>(text[i + 1]) < 0xA0) return false;
        if (text.compare(i, 3, "\xE2\x80\xAE") == 0) return false;
    }
    return true;
}

TEST(MailTable, NoMailDrivesTheTerminal) {
    std::ostringstream line, whole;
    PrintMailLine(line, Hostile());
    PrintMail(whole, Hostile());
    EXPECT_TRUE(IsHarmless(line.str())) << line.str();
    EXPECT_TRUE(IsHarmless(whole.str())) << whole.str();
    EXPECT_EQ(line.str().find('\n'), line.str().size() - 1);
    // What was there can be seen.
    EXPECT_THAT(whole.str(), testing::HasSubstr("a\xE2\x90\x9B[2Jb\xE2\x90\x8D"
                                                "c\xE2\x90\xA1"
                                                "d"));
    EXPECT_THAT(whole.str(), testing::HasSubstr("\n\ttab\n"));
    // As a line of JSON it is what it is.
    const std::string text = MailJson(Hostile(), true);
    EXPECT_EQ(text.find('\n'), std::string::npos);
    EXPECT_EQ(nlohmann::json::parse(text)["subject"], *Hostile().subject);
    Mail none;
    none.subject = "caf\xE9 that is no UTF-8";
    const auto empty = nlohmann::json::parse(MailJson(none, false));
    for (const char* key : {"from", "date", "status"}) EXPECT_TRUE(empty[key].is_null()) << key;
    EXPECT_TRUE(empty["attachments"].is_array());
    EXPECT_FALSE(empty.contains("body"));
}

TEST(TerminalText, ColumnsAreCutAtWholeCharacters) {
    EXPECT_EQ(Column("abc", 5), "abc  ");
    EXPECT_EQ(Column("\xE6\x97\xA5\xE6\x9C\xAC", 3), "\xE6\x97\xA5 ");
    EXPECT_EQ(Column("\xC3\xA9\xC3\xA9\xC3\xA9", 2), "\xC3\xA9\xC3\xA9");
}

}  // namespace
}  // namespace host
