#include "tests/host/mail_world.h"

#include <gtest/gtest.h>

#include <random>

#include "host/mail/mail_text.h"
#include "host/mail/message_header.h"
#include "platform/os/code_page.h"
#include "tests/host/one_of.h"
#include "tests/support/table.h"
#include "text/ascii.h"

namespace host {
namespace {

// The pieces of a text: a letter for the kind, then the piece in brackets.
std::string Shown(std::string_view text) {
    std::string shown;
    for (const mail::TextPiece& piece : mail::SplitText(text)) {
        shown += "PFHE"[static_cast<int>(piece.kind)] + ("[" + piece.text + "]");
    }
    return shown;
}

TEST(MailText, MarksAndWrappingTellWhatItIs) {
    for (const auto& [given, wanted] : test::Rows<2>("texts and their pieces")) {
        EXPECT_EQ(Shown(given).substr(0, wanted.size()), wanted) << given;
    }
}

// What a body is: white space at its end is not told.
std::string Essence(const std::string& body) {
    std::string essence = Shown(text::WithLineFeeds(body));
    essence.erase(std::min(essence.find_last_not_of("\n]") + 1, essence.size()));
    return essence;
}

// What the translator tells of a mail: of From, To and Subject "-" is nothing.
TEST(ComposeMail, TakesTheStoredHeaderWhereItSaysNothingElse) {
    for (const auto& [stored, from, to, subject, wanted] : test::Rows<5>("stored headers")) {
        const auto told = [](const std::string& text) {
            return text == "-" ? std::nullopt : std::optional(text);
        };
        mail::Mail mail;
        mail.from = told(from);
        mail.to = told(to);
        mail.subject = told(subject);
        mail.date = 29222.5;  // 1980-01-02 12:00
        mail.messageId = "id@x";
        mail.header = stored;
        const std::string header = mail::MessageHeader(mail, std::chrono::hours(1));
        const auto end = header.find("Message-ID: <id@x>\nMIME-Version: 1.0\n");
        EXPECT_EQ(header.substr(0, end), wanted) << stored;
        for (std::string_view rest = header; !rest.empty();) {
            EXPECT_LE(text::TakeLine(rest).size(), 999u);
        }
    }
}

// Whatever a mail holds: a file that is composed again must be the file that is there, on every
// system, and where mails can be read it is the mail again.
TEST(ComposeMail, BytesAreTheSameEverywhereAndComeBackAsTheMail) {
    std::mt19937 random(20261125);
    std::string all;
    for (unsigned round = 0; round < 4000; ++round) {
        const bool isOdd = round % 3 == 0, isWestern = round % 5 < 3;
        const auto text = [&](unsigned most, const std::string& pieces) {
            std::string joined;
            for (unsigned i = random() % most; i > 0; --i) joined += testing::OneOf(random, pieces);
            return joined;
        };
        const auto odd = [&](const char* pieces) { return std::string(isOdd ? pieces : ""); };
        const std::string letters = isWestern
                                        ? "|caf\xC3\xA9|\xE2\x82\xAC|\xC3\x9F|\xC2\xA0z"
                                        : "|\xE6\x97\xA5|\xE8\xA1\xA8|\xE3\x82\xBD|\xEF\xBD\xB1";
        MailFiles world;
        world.codePage = isWestern ? 1252 : 932;
        world.clock.offset = std::chrono::minutes(15 * static_cast<int>(random() % 104) - 720);
        mail::Mail mail;
        mail.from = "ann.harper@example.org";
        mail.to = text(isWestern ? 9 : 1,
                       "a@b.c; |Ann Bee <ann@b.c>; |\"Bee, Ann\" <ann@b.c>; |nickname; |"
                       "x+y=z@[127.0.0.1]; |J\xC2\xB6 <j@b.c>; |\"a.b (c)\" <d@e>; " +
                           odd("|\"B; A\" <a@b>;|nick;|<>;|x@|a@[1.2:3];|\"q q\"@d;|a.b <d@e>;|"
                               "\r\nBcc: x;|\\|\"|=?iso-8859-1?Q?J=FC?= <j@e>;"));
        if (!isOdd) mail.to->resize(mail.to->find_last_not_of("; ") + 1);
        if (round % 2 == 0) mail.cc = " ; ";
        mail.subject = text(30, "a |Re: |long-er |=? |?= |= |x.y |(c) |\\ |\"q\" |@ |it's |#1 |--" +
                                    letters + odd("|\xF0\x9F\x98\x80|=?|\t|\xFF|?=| "));
        if (!isOdd) mail.subject->resize(mail.subject->find_last_not_of(' ') + 1);
        mail.body =
            text(60,
                 "\r\n| |  \n|\t\n|From |\nFrom x\n|From \n|.\n|=|=20|=\n|--|=_|w|> |>From |"
                 "a run of some words, |\x1B[0m|\x7F|<x-html><p>a</p></x-html>|"
                 "a flowed line that has about as many words as a line should have \n" +
                     letters + odd("|\r|<x-html>|</x-html>|<x-rich>|\xFF"));
        if (round % 20 == 0) *mail.body += std::string(900 + random() % 200, 'l');
        mail.messageId = "id" + std::to_string(round) + "@host";
        if (isOdd) mail.messageId = testing::OneOf(random, "0x00000012|a b@c||x\r\ny@z|<b>|@");
        if (round % 4 != 0) mail.date = 29222.0 + round / 7.0;
        const std::string bytes =
            text(200, "xyz|\xFF\n") + std::string(round == 8 ? 1 << 20 : 0, 'x');
        world.files.Put("C:\\file", bytes);
        std::string name = text(40, "n|nnn|nnnnn|(" + odd("|.b| |\"|\\|%|\xC3\xA9|'|\n"));
        name += testing::OneOf(random, "|.PDF|.docx|.htm|.unknown");
        if (round % 4 == 0) mail.attachments.push_back({name, "C:\\file"});
        if (round % 7 == 0) mail.attachments.push_back({"gone", "C:\\gone"});
        if (round % 11 == 0) mail.notes.emplace_back("a note");

        const std::string message = world.Compose(mail);
        all += message;
        EXPECT_EQ(message.find("\nBcc"), std::string::npos) << message;
        for (const char* separator : {"\nFrom ", "\n>From "}) {
            EXPECT_EQ(message.find(separator), std::string::npos) << message;
        }
        EXPECT_EQ(message.find('\r'), std::string::npos) << message;
        for (std::string_view rest = message; !rest.empty();) {
            EXPECT_LE(text::TakeLine(rest).size(), 999u);
        }
        if (!isOdd && mail::CanParseMail()) {
            const auto utf8 = [&](const std::string& one) {
                return platform::ToUtf8(one, world.codePage);
            };
            const mail::NewMail read = world.Parse(message);
            EXPECT_EQ(read.lostCharacters + read.notes.size(), 0u) << message;
            EXPECT_EQ(read.from, *mail.from);
            EXPECT_EQ(utf8(mail::StoredRecipients(read.to)), *mail.to) << message;
            EXPECT_EQ(utf8(read.subject), *mail.subject) << message;
            EXPECT_EQ(read.messageId, *mail.messageId);
            EXPECT_NEAR(read.date.value_or(0), mail.date.value_or(0), 0.5 / 86400);
            EXPECT_EQ(Essence(utf8(read.body)), Essence(*mail.body)) << message;
            ASSERT_EQ(read.attachments.size(), round % 4 == 0) << message;
            for (const auto& file : read.attachments) EXPECT_EQ(world.Content(file), bytes);
        }
        // A text that holds the boundary gets another one.
        if (const auto at = message.find("; boundary"); at != std::string::npos) {
            *mail.body += "\n--" + message.substr(at + 12, 18);
            EXPECT_NE(world.Compose(mail).substr(at, 30), message.substr(at, 30));
        }
    }
    EXPECT_EQ(mail::Fingerprint(all), "d1a59b12b2d05691");
}

}  // namespace
}  // namespace host
