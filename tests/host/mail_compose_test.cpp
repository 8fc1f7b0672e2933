#include <random>

#include <gtest/gtest.h>

#include "tests/host/mail_world.h"
#include "tests/host/one_of.h"

namespace host {
namespace {

using testing::OneOf;

// Composing needs no library: the bytes are the same on every system.
class ComposeTest : public ::testing::Test {
  protected:
    ComposeTest() {
        world.clock.offset = std::chrono::hours(1);
        mail.messageId = "tea@example.org";
        mail.from = "ann.harper@example.org";
        mail.subject = "Tea";
        mail.date = 29222.0856943287;
    }

    void Attach(const std::string& name, const std::string& bytes) {
        const std::string path = "C:\\" + std::to_string(mail.attachments.size());
        world.files.Put(path, bytes);
        mail.attachments.push_back({name, path});
    }

    MailFiles world;
    mail::Mail mail;
};

TEST_F(ComposeTest, AMailOfAllSortsIsAllOfThem) {
    mail.to = "O'Neill, Eve <eve@example.org>; floor 2; a@b\r\nBcc: c@d";
    mail.cc = "=?koi8-r?B?0NLJ18XU?= <ivan@example.org>";
    mail.body =
        "From here on \r\nit is 8 bit: \xC3\xBC.\r\n<x-html><p>1, 2, 3</p>\r\n</x-html>"
        "This is a long line of a flowed text, as a wrapping writer made it, \r\nand so on.\r\n";
    Attach("caf\xC3\xA9 1.JPG", std::string(60, '\xFF'));
    mail.attachments.push_back({"gone.txt", "C:\\T\\gone"});
    EXPECT_EQ(world.Compose(mail), R"(From: ann.harper@example.org
To: "O'Neill, Eve" <eve@example.org>, floor 2:;, "a@b  Bcc: c@d":;
Cc: =?UTF-8?B?0L/RgNC40LLQtdGC?= <ivan@example.org>
Subject: Tea
Date: Wed, 2 Jan 1980 02:03:24 +0100
Message-ID: <tea@example.org>
MIME-Version: 1.0
Content-Type: multipart/mixed; boundary="=_8c4f31ad0131fa98"

--=_8c4f31ad0131fa98
Content-Type: text/plain; charset=UTF-8
Content-Transfer-Encoding: quoted-printable

=46rom here on=20
it is 8 bit: =C3=BC.

--=_8c4f31ad0131fa98
Content-Type: text/html; charset=UTF-8; x-eudora=html
Content-Transfer-Encoding: 7bit

<p>1, 2, 3</p>

--=_8c4f31ad0131fa98
Content-Type: text/plain; charset=UTF-8; format=flowed
Content-Transfer-Encoding: 7bit

This is a long line of a flowed text, as a wrapping writer made it, 
and so on.

--=_8c4f31ad0131fa98
Content-Type: image/jpeg
Content-Transfer-Encoding: base64
Content-Disposition: attachment; filename*=UTF-8''caf%C3%A9%201.JPG

////////////////////////////////////////////////////////////////////////////
////

--=_8c4f31ad0131fa98
Content-Type: text/plain; charset=UTF-8; x-eudora=remark
Content-Transfer-Encoding: base64

W1RoZSBhdHRhY2htZW50IGdvbmUudHh0IGlzIG1pc3NpbmcuXQo=

--=_8c4f31ad0131fa98--
)");
}

// Whatever a mail holds: a file that is composed again must be the file that is there.
TEST_F(ComposeTest, BytesAreThoseOfEarlierVersions) {
    std::mt19937 random(20261125);
    const auto text = [&](unsigned most, std::string_view pieces) {
        std::string joined;
        for (unsigned i = random() % most; i > 0; --i) joined += OneOf(random, pieces);
        return joined;
    };
    std::string all;
    for (int round = 0; round < 2000; ++round) {
        mail.subject = text(
            30, "Tea |K\xC3\xB6ln|\xE6\x97\xA5|\xF0\x9F\x98\x80|=?|\t|a longer word |\xFF|?=| ");
        mail.to =
            text(30,
                 "a@b.c; |Ann Bee <ann@example.org>; |\"B; A\" <a@b>;|nick;|\xC3\xA9 <e@f>;|<>;|x@|"
                 "a@[1.2:3];|\"q q\"@d;|a.b <d@e>;|\r\nBcc: x;|\\|\"|=?iso-8859-1?Q?J=FC?= <j@e>;");
        mail.cc = round % 3 == 0 ? std::nullopt : std::optional(" ; ");
        mail.body = text(
            60,
            "\r\n|\r| | \n|\t\n|From |\nFrom x\n|From \n|=|=\n|--|\xC3\xA9|\xE6\x97\xA5|\xFF|w|"
            "a run of some words, |<x-html>|</x-html>|<x-rich>|> |\x1B|"
            "a flowed line that has about as many words as a line should have \n");
        if (round % 20 == 0) *mail.body += std::string(900 + random() % 200, 'l');
        mail.messageId = OneOf(random, "tea@example.org|0x00000012|a b@c||x\r\ny@z");
        mail.date = round % 4 == 0 ? std::nullopt : std::optional(29222.0 + round / 7.0);
        mail.attachments.clear();
        const std::string name =
            text(40, round % 2 == 0 ? "a|.b| |\"|\\|%|\xC3\xA9|nnnnn|(|'|\n" : "n|nnn|nnnnn|(") +
            OneOf(random, "|.PDF|.docx|.htm|.unknown");
        if (round % 3 == 0) Attach(name, text(200, "xyz|\xFF\n"));
        mail.notes.assign(round % 11 == 0 ? 1 : 0, "a note");
        const std::string message = world.Compose(mail);
        EXPECT_EQ(message.find("\nBcc"), std::string::npos) << message;
        all += message;
    }
    EXPECT_EQ(mail::Fingerprint(all), "b710f8f2dd16d3bb");
}

TEST_F(ComposeTest, ATextThatHoldsTheBoundaryGetsAnotherOne) {
    Attach("a.txt", "a");
    const auto boundary = [&] {
        const std::string message = world.Compose(mail);
        return message.substr(message.find("=_"), 18);
    };
    mail.body = boundary();
    EXPECT_NE(boundary(), *mail.body);
}

// A large attachment is nowhere in memory as a whole.
TEST_F(ComposeTest, HandsALargeMailOverInPieces) {
    Attach("large.bin", std::string(10u << 20, 'x'));
    std::size_t largest = 0, all = 0;
    const auto measure = [&](std::string_view piece) -> host::base::Status {
        all += piece.size();
        largest = std::max(largest, piece.size());
        return {};
    };
    ASSERT_TRUE(mail::ComposeMail(world.files, mail, std::chrono::hours(1), measure));
    EXPECT_LT(largest, 200'000u);
    EXPECT_EQ(all, 14165432u);
}

}  // namespace
}  // namespace host
