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

using testing::OneOf;
using namespace std::literals;

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
    std::mt19937 random(20261124);
    for (unsigned round = 0; round < 3000; ++round) {
        const unsigned codePage = round % 2 != 0 ? 1252 : 932;
        // Words that both code pages hold, and some that only this one does.
        const auto words = [&](unsigned most) {
            std::string text;
            for (unsigned i = random() % most; i > 0; --i) {
                text += OneOf(random, random() % 3 != 0
                                          ? "a|Re:|long-er|=?|?=|x.y|(c)|\\|\"q\"|@|it's|--|#1|'"
                                      : codePage == 1252
                                          ? "caf\xC3\xA9|\xE2\x82\xAC|\xC3\x9F|\xC2\xA0z"
                                          : "\xE6\x97\xA5|\xE8\xA1\xA8|\xE3\x82\xBD|\xEF\xBD\xB1") +
                        ' ';
            }
            return text.substr(0, text.find_last_not_of(' ') + 1);
        };
        MailFiles world(codePage);
        world.clock.offset = std::chrono::minutes(15 * static_cast<int>(random() % 104) - 720);
        const std::string bytes = std::string(random() % 300, 'f') + '\0' + "\xFF\r\n";
        world.files.Put("C:\\file", bytes);
        mail::Mail mail;
        for (unsigned i = codePage == 1252 ? random() % 4 : 0; i > 0; --i) {
            mail.to = (mail.to ? *mail.to + "; " : "") +
                      OneOf(random,
                            "a@b.c|Ann Bee <ann@b.c>|\"Bee, Ann\" <ann@b.c>|nickname|"
                            "x+y=z@[127.0.0.1]|J\xC2\xB6 <j@b.c>|\"a.b (c)\" <d@e>");
        }
        mail.subject = words(30);
        mail.body = "";
        for (unsigned i = random() % 12; i > 0; --i) {
            const unsigned kind = random() % 8;
            if (kind == 0) *mail.body += "<x-html><p>" + words(5) + "</p></x-html>";
            if (kind == 1) *mail.body += "<x-rich><bold>" + words(5) + "</x-rich>";
            if (kind == 2) *mail.body += std::string(random() % 3, '\n') + ' ';
            if (kind > 2) *mail.body += words(20) + (random() % 4 != 0 ? "\n" : "");
        }
        mail.date = 46350.0 + random() % 86400 / 86400.0;
        mail.messageId = "id" + std::to_string(round) + "@host";
        const bool hasFile = random() % 3 == 0;
        if (hasFile) mail.attachments.push_back({"caf\xC3\xA9 1.bin", "C:\\file"});
        if (random() % 4 == 0) mail.attachments.push_back({"gone", "C:\\gone"});
        const auto utf8 = [&](const std::string& text) { return platform::ToUtf8(text, codePage); };
        const std::string message = world.Compose(mail);
        const mail::NewMail read = world.Parse(message);
        EXPECT_EQ(read.lostCharacters + read.notes.size(), 0u) << message;
        EXPECT_EQ(utf8(mail::StoredRecipients(read.to)), mail.to.value_or("")) << message;
        EXPECT_EQ(utf8(read.subject), *mail.subject) << message;
        EXPECT_EQ(read.messageId, *mail.messageId);
        EXPECT_NEAR(*read.date, *mail.date, 0.5 / 86400);
        EXPECT_EQ(Essence(utf8(read.body)), Essence(*mail.body)) << message;
        ASSERT_EQ(read.attachments.size(), hasFile ? 1u : 0u) << message;
        EXPECT_EQ(hasFile ? world.Content(read.attachments[0]) : bytes, bytes);
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
        std::string text, encoded, decoded;
        for (unsigned i = random() % 60; i > 0; --i) {
            text += random() % 3 == 0 ? favourite : OneOf(random, kPieces);
            if (random() % 30 == 0) text += std::string(1100, 'l');
        }
        text = text::WithLineFeeds(text);
        const std::string_view encoding = mail::ChooseEncoding(text);
        mail::AppendEncoded(encoded, text, encoding);
        EXPECT_EQ(encoded.find_first_of("\r\0"sv), std::string::npos) << encoded;
        EXPECT_EQ(('\n' + encoded).find("\nFrom "), std::string::npos) << encoded;
        for (std::string_view rest = encoded; !rest.empty();) {
            EXPECT_LE(text::TakeLine(rest).size(), 999u);
        }
        const auto take = [&](std::string_view piece) -> base::Status {
            decoded += piece;
            return {};
        };
        ASSERT_TRUE(mail::DecodeBody(encoded, std::string(encoding), take));
        ASSERT_EQ(decoded, text) << encoded;
    }
}

}  // namespace
}  // namespace host
