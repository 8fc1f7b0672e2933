#include <gtest/gtest.h>

#include "fuzz/fuzz.h"
#include "host/mail/html_text.h"
#include "tests/host/mail_world.h"
#include "tests/support/table.h"

namespace host {
namespace {

const std::string kMixed = "Content-Type: multipart/mixed; boundary=b\n\n";

// What a mail says: "{name}value" for each field that is not empty, and the number of lost letters.
TEST(ParseMail, MakesOfAMailWhatEudoraCanHold) {
    for (const auto& [codePage, message, expected] :
         test::Table<unsigned, std::string, std::string>("mails that come in")) {
        MailFiles world;
        world.codePage = codePage;
        world.clock.offset = std::chrono::minutes(90);
        const mail::NewMail mail = world.Parse(message);
        const std::string to = mail::StoredRecipients(mail.to),
                          out = mail::OutgoingRecipients(mail.to);
        std::vector<std::pair<std::string, std::string>> fields = {
            {"from", mail.from},
            {"to", to},
            {"out", out != to ? out : ""},
            {"cc", mail::StoredRecipients(mail.cc) + mail::StoredRecipients(mail.bcc)},
            {"subject", mail.subject},
            {"date", mail.date ? std::to_string(*mail.date) : ""},
            {"body", mail.body}};
        for (const auto& file : mail.attachments) {
            fields.emplace_back(file.name, world.Content(file) + '.');
        }
        fields.emplace_back("lost",
                            mail.lostCharacters > 0 ? std::to_string(mail.lostCharacters) : "");
        std::string shown;
        for (const auto& [name, value] : fields) {
            if (!value.empty()) shown += '{' + name + '}' + value;
        }
        EXPECT_EQ(shown, expected) << message;
        EXPECT_NO_THROW(Check(message)) << message;
    }
}

TEST(ParseMail, KeepsAMessageIdThatCanBeOneAndMakesAStableOneElse) {
    MailFiles world;
    EXPECT_EQ(world.Parse("Message-Id:  <a@b>\r\n\n").messageId, "a@b");
    for (const std::string& id : {std::string(), std::string("Message-ID: <0x00000001>\n"),
                                  std::string("Message-Id: <x\n <a@b>\r\n"),
                                  "Message-ID: <" + std::string(5000, 'x') + ">\n"}) {
        const std::string made = world.Parse(id + "\ntext").messageId;
        EXPECT_TRUE(made.ends_with(".maildir@localhost")) << made;
        EXPECT_EQ(mail::MessageIdForEudora("From x\n" + id + "\ntext"), made);
        EXPECT_NE(world.Parse(id + "\ntext!").messageId, made);
    }
}

// Parts in parts and parts without end would cost the stack or hours if they were all followed.
TEST(ParseMail, KeepsAMailThatIsTooComplexAsAFile) {
    std::string nested = kMixed + "--b\n", many = kMixed, empty = kMixed;
    for (int i = 0; i < 40; ++i) {
        const std::string mark = 'x' + std::to_string(i);
        nested += "Content-Type: multipart/mixed; boundary=" + mark + "\n\n--" + mark + '\n';
    }
    for (int i = 0; i < 100000; ++i) many += "--b\n\na\n";
    for (int i = 0; i < 50000; ++i) empty += "--b\n" + kMixed;
    for (const std::string& message : {nested, many, empty}) {
        MailFiles world;
        const mail::NewMail mail = world.Parse(message);
        EXPECT_FALSE(mail.notes.empty());
        EXPECT_EQ(mail.attachments.at(0).name, "message.eml");
        EXPECT_EQ(world.Content(mail.attachments[0]), message);
    }
}

TEST(ParseMail, TellsWhatItHadToCut) {
    MailFiles world;
    std::string message = "Subject: " + std::string(5000, 's') + "\nTo: ";
    for (int i = 0; i < 4000; ++i) message += "person" + std::to_string(i) + "@example.org, ";
    message += "\n\n";
    for (int i = 0; i < 500000; ++i) message += "a line that is forty characters long, yes\n";
    const mail::NewMail cut = world.Parse(message);
    EXPECT_EQ(cut.subject.size() + cut.notes.size(), 2003u);
    EXPECT_LT(mail::StoredRecipients(cut.to).size(), 30100u);
    EXPECT_LE(cut.body.size(), std::size_t{16} << 20);
    EXPECT_TRUE(cut.body.ends_with(", yes"));
    EXPECT_GT(world.Content(cut.attachments.at(0)).size(), 500000u * 43 - 3);
    const std::string tooLong((std::size_t{256} << 20) + 1, 'x');
    const auto refused = mail::ParseMail(tooLong, {world.files, "C:\\in", 1252, world.clock}, "m");
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.Error().exit, host::base::ExitCode::kRefused);
}

TEST(TextOfHtml, SaysWhatAPersonWouldRead) {
    for (const auto& [html, text] : test::Rows<2>("pages and their texts")) {
        EXPECT_EQ(mail::TextOfHtml(html), text) << html;
    }
    EXPECT_EQ(mail::TextOfEnriched("<bold>a</bold>b>c << d <<<b>x <open"), "ab>c < d <x <open");
    EXPECT_EQ(mail::TextOfEnriched("<"), "<");
}

}  // namespace
}  // namespace host
