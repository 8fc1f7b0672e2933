#include "host/mail/compose.h"

#include <cstdint>

#include <gmock/gmock.h>

#include "platform/testing/memory_files.h"
#include "tests/host/mail_message.h"

namespace host {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

class ComposeTest : public testing::Test {
  protected:
    ComposeTest() {
        mail.id = "0x00000012";
        mail.messageId = "tea@example.org";
        mail.from = "ann.harper@example.org";
        mail.to = "tom@example.org";
        mail.subject = "Tea";
        mail.date = 29222.0856943287;
        mail.body = "Come at five.\r\n";
    }

    std::string Compose() {
        auto message = ComposeMail(files, mail, std::chrono::hours(1));
        EXPECT_TRUE(message) << message.Error().Message();
        return message ? *message : std::string();
    }
    ReadMessage Read() { return ParseMessage(Compose()); }
    void Attach(const std::string& name, const std::string& bytes) {
        const std::string path = "C:\\" + std::to_string(mail.attachments.size());
        files.Put(path, bytes);
        mail.attachments.push_back({name, path});
    }

    platform::testing::MemoryFiles files;
    Mail mail;
};

TEST_F(ComposeTest, PlainMailIsOnePart) {
    EXPECT_EQ(Compose(),
              "From: ann.harper@example.org\n"
              "To: tom@example.org\n"
              "Subject: Tea\n"
              "Date: Wed, 2 Jan 1980 02:03:24 +0100\n"
              "Message-ID: <tea@example.org>\n"
              "MIME-Version: 1.0\n"
              "Content-Type: text/plain; charset=UTF-8\n"
              "Content-Transfer-Encoding: 7bit\n"
              "\n"
              "Come at five.\n");
}

TEST_F(ComposeTest, FieldsWithoutValueAreLeftOut) {
    mail = Mail();
    mail.id = "0x00000001";
    mail.subject = "";
    mail.cc = " ; ";
    EXPECT_THAT(Read().fieldNames, ElementsAre("Message-ID", "MIME-Version"));
}

TEST_F(ComposeTest, SubjectComesBackAsItReads) {
    const std::string longText(300, 'z');
    const std::pair<std::string, std::string> rows[] = {
        {"Gr\xC3\xBC\xC3\x9F"
         "e aus K\xC3\xB6ln",
         "Gr\xC3\xBC\xC3\x9F"
         "e aus K\xC3\xB6ln"},
        {"=?iso-8859-1?Q?Gr=FC=DFe?=",
         "Gr\xC3\xBC\xC3\x9F"
         "e"},
        {"=?iso-2022-jp?B?GyRCOzBHLxsoQg==?= =?utf-8?B?5bm0?=",
         "\xE4\xB8\x89\xE5\xB9\xB4\xE5\xB9\xB4"},
        {"two  blanks   stay " + longText + " " + longText,
         "two  blanks   stay " + longText + " " + longText},
        {std::string(5000, 'y'), std::string(5000, 'y')},
        {"a\r\nBcc: thief@example.net\r\n\r\nbody", "a  Bcc: thief@example.net    body"},
        {"tab\tand\x1B[31mescape", "tab and [31mescape"},
        {"=?broken", "=?broken"},
        {"\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E\xE3\x81\xAE\xE4\xBB\xB6\xE5\x90\x8D\xE3\x81\xAF\xE9"
         "\x95\xB7\xE3\x81\x84\xE3\x81\xAE\xE3\x81\xA7\xE6\x8A\x98\xE3\x82\x8A\xE8\xBF\x94\xE3\x81"
         "\x99",
         "\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E\xE3\x81\xAE\xE4\xBB\xB6\xE5\x90\x8D\xE3\x81\xAF\xE9"
         "\x95\xB7\xE3\x81\x84\xE3\x81\xAE\xE3\x81\xA7\xE6\x8A\x98\xE3\x82\x8A\xE8\xBF\x94\xE3\x81"
         "\x99"},
    };
    for (const auto& [given, wanted] : rows) {
        mail.subject = given;
        const ReadMessage read = Read();
        EXPECT_EQ(read.subject, wanted) << given;
        EXPECT_EQ(read.bcc, "") << given;
        EXPECT_THAT(read.parts, testing::SizeIs(1)) << given;
    }
}

TEST_F(ComposeTest, AddressesStayApartAndInTheirField) {
    const std::pair<const char*, const char*> rows[] = {
        {"a@example.org; b@example.net", "a@example.org, b@example.net"},
        {"Tom Harper <tom@example.org>", "Tom Harper <tom@example.org>"},
        {"\"Harper; Tom\" <tom@example.org>;b@example.net",
         "\"Harper; Tom\" <tom@example.org>, b@example.net"},
        {"J\xC3\xBCrgen <j@example.net>", "J\xC3\xBCrgen <j@example.net>"},
        {"=?iso-8859-1?Q?J=FCrgen?= <j@example.net>", "J\xC3\xBCrgen <j@example.net>"},
        {"O'Neill, Eve <eve@example.org>", "\"O'Neill, Eve\" <eve@example.org>"},
        {"ann", "ann: ;"},
        {"everybody on floor 2", "everybody on floor 2: ;"},
        {"a@example.org\r\nBcc: b@example.net", "\"a@example.org  Bcc: b@example.net\": ;"},
        {"<>", "\"<>\": ;"},
        {"\"", "\": ;"},
    };
    for (const auto& [given, wanted] : rows) {
        mail.to = given;
        const ReadMessage read = Read();
        EXPECT_EQ(read.to, wanted) << given;
        EXPECT_EQ(read.bcc, "") << given;
        EXPECT_EQ(read.subject, "Tea") << given;
    }
}

TEST_F(ComposeTest, ManyRecipientsAreFolded) {
    std::string list;
    for (int i = 0; i < 500; ++i) list += "person" + std::to_string(i) + "@example.org; ";
    mail.cc = list;
    const std::string message = Compose();
    EXPECT_THAT(ParseMessage(message).cc, HasSubstr("person498@example.org, person499@"));
    std::size_t longest = 0, begin = 0;
    for (auto end = message.find('\n'); end != std::string::npos; end = message.find('\n', begin)) {
        longest = std::max(longest, end - begin);
        begin = end + 1;
    }
    EXPECT_LE(longest, 78U);
}

TEST_F(ComposeTest, NoFieldLetsAnotherIn) {
    const std::string bad = "x\r\nX-Evil: 1\n\nevil\rX-Evil: 2";
    mail.from = mail.to = mail.cc = mail.bcc = mail.subject = mail.messageId = bad;
    const std::string message = Compose();
    const ReadMessage read = ParseMessage(message);
    EXPECT_THAT(read.fieldNames, ElementsAre("From", "To", "Cc", "Bcc", "Subject", "Date",
                                             "Message-ID", "MIME-Version"));
    EXPECT_THAT(message, Not(HasSubstr("\nX-Evil")));
    EXPECT_EQ(read.parts.at(0).bytes, "Come at five.\n");
}

TEST_F(ComposeTest, TextIsWhatItsMarksSay) {
    mail.body = "Hello,\r\n<x-html><p>f\xC3\xBCnf</p></x-html>\r\nBye\r\n";
    auto parts = Read().parts;
    ASSERT_EQ(parts.size(), 3U);
    EXPECT_EQ(parts[0].type, "text/plain");
    EXPECT_EQ(parts[0].bytes, "Hello,\n");
    EXPECT_EQ(parts[1].type, "text/html");
    EXPECT_EQ(parts[1].bytes, "<p>f\xC3\xBCnf</p>");
    EXPECT_EQ(parts[2].bytes, "\nBye\n");

    mail.body = "<x-rich><bold>five</bold></x-rich>";
    parts = Read().parts;
    ASSERT_EQ(parts.size(), 1U);
    EXPECT_EQ(parts[0].type, "text/enriched");

    mail.body =
        "This is a long line of a flowed text, as a wrapping writer made it, \r\nand so on.\r\n";
    parts = Read().parts;
    ASSERT_EQ(parts.size(), 1U);
    EXPECT_EQ(parts[0].format, "flowed");
}

TEST_F(ComposeTest, AttachmentsComeWithNameTypeAndBytes) {
    std::string bytes;
    for (int i = 0; i < 200000; ++i) bytes += static_cast<char>((i * 7919) >> 3);
    Attach("report.pdf", bytes);
    Attach("\xE5\x86\x99\xE7\x9C\x9F 1.JPG", "");
    Attach("..\\..\\evil\n.exe", "MZ");
    Attach(std::string(200, 'n') + ".txt", "From me\nto you");
    const auto parts = Read().parts;
    ASSERT_EQ(parts.size(), 5U);
    EXPECT_EQ(parts[0].bytes, "Come at five.\n");
    EXPECT_EQ(parts[1].fileName, "report.pdf");
    EXPECT_EQ(parts[1].type, "application/pdf");
    EXPECT_TRUE(parts[1].bytes == bytes);
    EXPECT_EQ(parts[2].fileName, "\xE5\x86\x99\xE7\x9C\x9F 1.JPG");
    EXPECT_EQ(parts[2].type, "image/jpeg");
    EXPECT_EQ(parts[2].bytes, "");
    EXPECT_EQ(parts[3].fileName, "evil_.exe");
    EXPECT_EQ(parts[4].fileName, std::string(200, 'n') + ".txt");
    EXPECT_EQ(parts[4].bytes, "From me\nto you");
}

TEST_F(ComposeTest, MissingFilesAndNotesAreTold) {
    Attach("here.txt", "here");
    mail.attachments.push_back({"gone.txt", "C:\\T\\gone"});
    mail.notes = {"reading field 8 failed: no file"};
    const auto parts = Read().parts;
    ASSERT_EQ(parts.size(), 3U);
    EXPECT_EQ(parts[1].fileName, "here.txt");
    EXPECT_EQ(parts[2].bytes,
              "[The attachment gone.txt is missing.]\n"
              "[Not all could be read: reading field 8 failed: no file]\n");
}

TEST_F(ComposeTest, ATextThatHoldsTheBoundaryGetsAnotherOne) {
    Attach("a.txt", "a");
    const std::string first = Compose();
    const auto begin = first.find("boundary=\"") + 10;
    const std::string boundary = first.substr(begin, first.find('"', begin) - begin);
    mail.body = "--" + boundary + "\n--" + boundary + "--\n";
    const auto parts = Read().parts;
    ASSERT_EQ(parts.size(), 2U);
    EXPECT_EQ(parts[0].bytes, *mail.body);
}

}  // namespace
}  // namespace host
