#include <random>

#include <gtest/gtest.h>

#include "host/mail/mail_reader.h"
#include "host/mail/mail_text.h"
#include "host/mail/transfer_encoding.h"
#include "platform/os/code_page.h"
#include "tests/host/mail_world.h"
#include "tests/host/one_of.h"
#include "text/ascii.h"

namespace host {
namespace {

using host::testing::OneOf;
using namespace std::literals;

class Maker {
  public:
    explicit Maker(unsigned seed) : m_random(seed) {}

    unsigned Below(unsigned limit) { return m_random() % limit; }

    // Words that 1252 and 932 both hold, and some that only one of them does.
    std::string Words(unsigned most, unsigned codePage) {
        std::string text;
        for (unsigned i = Below(most); i > 0; --i) {
            text += OneOf(m_random,
                          Below(3) != 0 ? "a|Re:|long-er|=?|?=|x.y|(c)|\\|\"q\"|@|it's|--|#1|'"
                          : codePage == 1252
                              ? "caf\xC3\xA9|\xE2\x82\xAC|\xC3\x9F|\xC2\xA0z"
                              : "\xE6\x97\xA5\xE6\x9C\xAC|\xE8\xA1\xA8|\xE3\x82\xBD|\xEF\xBD\xB1") +
                    ' ';
        }
        return text.substr(0, text.find_last_not_of(' ') + 1);
    }

    std::string Addresses() {
        std::string text;
        for (unsigned i = Below(4); i > 0; --i) {
            if (!text.empty()) text += "; ";
            text += OneOf(m_random,
                          "a@b.c|Ann Bee <ann@b.c>|\"Bee, Ann\" <ann@b.c>|nickname|"
                          "x+y=z@[127.0.0.1]|J\xC2\xB6 <j@b.c>|\"a.b (c)\" <d@e>");
        }
        return text;
    }

    std::string Body(unsigned codePage) {
        std::string body;
        for (unsigned i = Below(12); i > 0; --i) {
            const unsigned kind = Below(8);
            if (kind == 0) body += "<x-html><p>" + Words(5, codePage) + "</p></x-html>";
            if (kind == 1) body += "<x-rich><bold>" + Words(5, codePage) + "</x-rich>";
            if (kind == 2) body += std::string(Below(3), '\n') + std::string(Below(3), ' ');
            if (kind > 2) body += Words(20, codePage) + (Below(4) != 0 ? "\n" : "");
        }
        return body;
    }

  private:
    std::mt19937 m_random;
};

// What a body is after it was taken apart by Eudora's marks: white space between them is not told.
std::string Essence(const std::string& body) {
    std::string essence;
    for (const mail::TextPiece& piece : mail::SplitText(text::WithLineFeeds(body))) {
        essence += '<' + std::to_string(static_cast<int>(piece.kind)) + '>' + piece.text;
    }
    while (essence.ends_with('\n')) essence.pop_back();
    return essence;
}

TEST(MailProperty, AComposedMailComesBackAsItWas) {
    for (unsigned seed = 0; seed < 3000; ++seed) {
        const unsigned codePage = seed % 2 != 0 ? 1252 : 932;
        Maker maker(seed);
        MailFiles world(codePage);
        world.clock.offset = std::chrono::minutes(15 * static_cast<int>(maker.Below(104)) - 720);
        world.files.Put("C:\\file", std::string(maker.Below(300), 'f') + '\0' + "\xFF\r\n");
        mail::Mail mail;
        mail.id = "0x00000001";
        mail.from = "Ann <a@b.c>";
        mail.to = codePage == 1252 ? maker.Addresses() : "a@b.c";
        mail.cc = "c@d.e; f@g.h";
        mail.subject = maker.Words(30, codePage);
        mail.body = maker.Body(codePage);
        mail.date = 46350.0 + maker.Below(86400) / 86400.0;
        mail.messageId = "id" + std::to_string(seed) + "@host";
        if (maker.Below(3) == 0) mail.attachments.push_back({"caf\xC3\xA9 1.bin", "C:\\file"});
        if (maker.Below(4) == 0) mail.attachments.push_back({"gone", "C:\\gone"});
        const auto utf8 = [&](const std::string& text) { return platform::ToUtf8(text, codePage); };
        const std::string message = world.Compose(mail);
        EXPECT_EQ(world.Compose(mail), message);
        const mail::NewMail read = world.Parse(message);
        EXPECT_EQ(read.lostCharacters, 0u) << message;
        EXPECT_TRUE(read.notes.empty()) << message;
        EXPECT_EQ(utf8(read.from), *mail.from);
        EXPECT_EQ(utf8(mail::StoredRecipients(read.to)), *mail.to) << message;
        EXPECT_EQ(mail::StoredRecipients(read.cc), *mail.cc);
        EXPECT_EQ(utf8(read.subject), *mail.subject) << message;
        EXPECT_EQ(read.messageId, *mail.messageId);
        EXPECT_NEAR(*read.date, *mail.date, 0.5 / 86400);
        EXPECT_EQ(Essence(utf8(read.body)), Essence(*mail.body)) << message;
        const bool hasFile = !mail.attachments.empty() && mail.attachments[0].name != "gone";
        ASSERT_EQ(read.attachments.size(), hasFile ? 1u : 0u) << message;
        if (hasFile) {
            EXPECT_EQ(world.Content(read.attachments[0]),
                      *platform::ReadWhole(world.files, "C:\\file", 1000));
        }
    }
}

TEST(MailProperty, ASubjectComesBackAsItReads) {
    std::string japanese;
    for (int i = 0; i < 30; ++i) japanese += "\xE6\x97\xA5\xE3\x81\xAE";
    // The second text is empty where the first comes back as it is.
    const std::pair<std::string, std::string> rows[] = {
        {"K\xC3\xB6ln", ""},
        {"=?iso-8859-1?Q?Gr=FC=DF?=", "Gr\xC3\xBC\xC3\x9F"},
        {"=?iso-2022-jp?B?GyRCOzBHLxsoQg==?= =?utf-8?B?5bm0?=",
         "\xE4\xB8\x89\xE5\xB9\xB4\xE5\xB9\xB4"},
        {"two  blanks   stay " + std::string(300, 'z') + ' ' + std::string(300, 'z'), ""},
        {std::string(1900, 'y'), ""},
        {"a\r\nBcc: thief@example.net\r\n\r\nbody", "a  Bcc: thief@example.net    body"},
        {"tab\tand\x1B[31mescape", "tab and [31mescape"},
        {"=?broken", ""},
        {japanese, ""},
    };
    for (const auto& [given, wanted] : rows) {
        MailFiles world(65001);
        mail::Mail mail;
        mail.subject = given;
        const mail::NewMail read = world.Parse(world.Compose(mail));
        EXPECT_EQ(read.subject, wanted.empty() ? given : wanted);
        EXPECT_EQ(read.body, "") << given;
    }
}

// Texts that encodings stumble over: line ends, blanks in front of them, "From ", dots, escapes,
// NUL, long lines, UTF-8 and what is none.
TEST(MailProperty, AnyTextComesBackInAnyEncoding) {
    std::mt19937 random(20261124);
    constexpr std::string_view kPieces =
        "\n|\r|\r\n| |  \n|\t\n|From |\nFrom x\n|.\n|=|=20|=\n|--|=_|\xC3\xA9|\xE6\x97\xA5|\x80|"
        "\xFF|\0|word|a longer run of words, |\x1B[0m|\x7F|>From "sv;
    for (int round = 0; round < 5000; ++round) {
        const std::string favourite = OneOf(random, kPieces);
        std::string text;
        for (unsigned i = random() % 60; i > 0; --i) {
            text += random() % 3 == 0 ? favourite : OneOf(random, kPieces);
            if (random() % 30 == 0) text += std::string(1100, 'l');
        }
        text = text::WithLineFeeds(text);
        const std::string_view encoding = mail::ChooseEncoding(text);
        std::string encoded, decoded;
        mail::AppendEncoded(encoded, text, encoding);
        EXPECT_EQ(encoded.find_first_of("\r\0"sv), std::string::npos) << encoded;
        EXPECT_EQ(('\n' + encoded).find("\nFrom "), std::string::npos) << encoded;
        for (std::string_view rest = encoded; !rest.empty();) {
            const auto end = std::min(rest.find('\n'), rest.size());
            EXPECT_LE(end, 998u);
            rest.remove_prefix(std::min(end + 1, rest.size()));
        }
        (void)mail::DecodeBody(encoded, std::string(encoding),
                               [&](std::string_view piece) -> host::base::Status {
                                   decoded += piece;
                                   return {};
                               });
        ASSERT_EQ(decoded, text) << encoded;
    }
}

TEST(MailProperty, DamagedMailsNeverBreakTheRulesOfAField) {
    std::mt19937 random(7);
    const std::string sample =
        "From: \"A;\\\"x\" <a@b>\nTo: g: a@b, =?utf-8?Q?=0D=0A;?= <c@d>;, e@f\nSubject: "
        "=?iso-2022-jp?B?GyRCRnxLXBsoQg==?=\nMessage-ID: <a@b>\nDate: Tue, 24 Nov 2026 12:00:00 "
        "+0100\nContent-Type: multipart/mixed; boundary=\"b\"\n\n--b\nContent-Type: "
        "text/html; charset=koi8-r\n\n<p>x<a href=\"http://y\">\xD0</a>\n--b\nContent-Type: "
        "text/plain; name*=utf-8''..%2F%00x\nContent-Transfer-Encoding: base64\n\nQXR0YWNobWVudCB"
        "Db252ZXJ0ZWQ6\n--b--\nAttachment Converted: \"x\"\n";
    for (int round = 0; round < 20000; ++round) {
        std::string mail = sample;
        for (unsigned i = random() % 6; i > 0; --i) {
            const std::size_t at = random() % mail.size(), length = random() % 8;
            if (random() % 2 == 0)
                mail.erase(at, length);
            else
                mail.insert(at, std::string(1 + length / 4, static_cast<char>(random())));
        }
        MailFiles world(round % 2 != 0 ? 1252 : 932);
        const mail::NewMail read = world.Parse(mail);
        const std::string to = mail::StoredRecipients(read.to);
        for (const std::string& line : {read.from, to, read.subject, read.messageId}) {
            EXPECT_EQ(line.find_first_of(std::string("\r\n\0", 3)), std::string::npos) << mail;
        }
        EXPECT_FALSE(read.messageId.empty());
        EXPECT_EQ(read.body.find('\0'), std::string::npos);
        EXPECT_EQ(("\r\n" + read.body).find("\nAttachment Converted:"), std::string::npos) << mail;
        for (const mail::NewAttachment& attachment : read.attachments) {
            EXPECT_FALSE(attachment.name.empty());
            // Bytes of 932 may look like one of these.
            if (round % 2 == 0) continue;
            EXPECT_EQ(attachment.name.find_first_of("\\/:*?\"<>|"), std::string::npos) << mail;
        }
    }
}

}  // namespace
}  // namespace host
