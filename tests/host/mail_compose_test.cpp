#include <random>
#include <sstream>

#include <gtest/gtest.h>

#include "host/mail/mail.h"
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
        mail.id = "0x00000012";
        mail.messageId = "tea@example.org";
        mail.from = "ann.harper@example.org";
        mail.to = "tom@example.org";
        mail.subject = "Tea";
        mail.date = 29222.0856943287;
        mail.body = "Come at five.\r\n";
    }

    void Attach(const std::string& name, const std::string& bytes) {
        const std::string path = "C:\\" + std::to_string(mail.attachments.size());
        world.files.Put(path, bytes);
        mail.attachments.push_back({name, path});
    }
    // The value of a field of the composed mail as it stands, line ends included.
    std::string Field(const std::string& name) {
        const std::string message = world.Compose(mail);
        const auto begin = message.find(name + ": ");
        if (begin == std::string::npos) return {};
        auto end = message.find('\n', begin);
        while (message[end + 1] == ' ' || message[end + 1] == '\t')
            end = message.find('\n', end + 1);
        return message.substr(begin + name.size() + 2, end - begin - name.size() - 2);
    }

    MailFiles world;
    mail::Mail mail;
};

TEST_F(ComposeTest, PlainMailIsOnePartAndLeavesOutWhatHasNoValue) {
    EXPECT_EQ(world.Compose(mail),
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
    mail = mail::Mail();
    mail.id = "strange";
    mail.subject = "";
    mail.cc = " ; ";
    EXPECT_EQ(world.Compose(mail),
              "Message-ID: <strange>\n"
              "MIME-Version: 1.0\n"
              "Content-Type: text/plain; charset=UTF-8\n"
              "Content-Transfer-Encoding: 7bit\n"
              "\n");
}

TEST_F(ComposeTest, AMailOfAllSortsIsAllOfThem) {
    mail.subject = "K\xC3\xB6ln, und noch viel mehr als auf eine Zeile passt";
    mail.cc = "=?koi8-r?B?0NLJ18XU?= <ivan@example.org>";
    mail.body =
        "From here on \r\nit is long: " + std::string(22, '=') +
        "\xC3\xBC.\r\n"
        "<x-html><p>f\xC3\xBCnf, sechs, sieben</p> \r\n</x-html>\r\n"
        "This is a long line of a flowed text, as a wrapping writer made it, \r\nand so on.\r\n"
        "<x-rich>\xE6\x97\xA5\xE6\x9C\xAC</x-rich>";
    Attach("report.pdf", std::string(60, '\xFF'));
    Attach("caf\xC3\xA9 1.JPG", "");
    Attach("..\\..\\" + std::string(66, 'a') + " \"b\"\n", "MZ");
    Attach(std::string(90, 'n') + "\xE5\x86\x99.txt", "x");
    mail.attachments.push_back({"gone.txt", "C:\\T\\gone"});
    mail.notes = {"no file"};
    EXPECT_EQ(world.Compose(mail), R"(From: ann.harper@example.org
To: tom@example.org
Cc: =?UTF-8?B?0L/RgNC40LLQtdGC?= <ivan@example.org>
Subject: =?UTF-8?B?S8O2bG4sIHVuZCBub2NoIHZpZWwgbWVociBhbHMgYXVmIGVpbmUgWmVpbGUg?=
 =?UTF-8?B?cGFzc3Q=?=
Date: Wed, 2 Jan 1980 02:03:24 +0100
Message-ID: <tea@example.org>
MIME-Version: 1.0
Content-Type: multipart/mixed; boundary="=_4403fe94b7f443c3"

--=_4403fe94b7f443c3
Content-Type: text/plain; charset=UTF-8
Content-Transfer-Encoding: quoted-printable

=46rom here on=20
it is long: =3D=3D=3D=3D=3D=3D=3D=3D=3D=3D=3D=3D=3D=3D=3D=3D=3D=3D=3D=3D=3D=
=3D=C3=BC.

--=_4403fe94b7f443c3
Content-Type: text/html; charset=UTF-8; x-eudora=html
Content-Transfer-Encoding: quoted-printable

<p>f=C3=BCnf, sechs, sieben</p>=20

--=_4403fe94b7f443c3
Content-Type: text/plain; charset=UTF-8; format=flowed
Content-Transfer-Encoding: 7bit


This is a long line of a flowed text, as a wrapping writer made it, 
and so on.

--=_4403fe94b7f443c3
Content-Type: text/enriched; charset=UTF-8; x-eudora=rich
Content-Transfer-Encoding: base64

5pel5pys

--=_4403fe94b7f443c3
Content-Type: application/pdf
Content-Transfer-Encoding: base64
Content-Disposition: attachment; filename=report.pdf

////////////////////////////////////////////////////////////////////////////
////

--=_4403fe94b7f443c3
Content-Type: image/jpeg
Content-Transfer-Encoding: base64
Content-Disposition: attachment; filename*=UTF-8''caf%C3%A9%201.JPG


--=_4403fe94b7f443c3
Content-Type: application/octet-stream
Content-Transfer-Encoding: base64
Content-Disposition: attachment;
	filename="aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa \"b\"_"

TVo=

--=_4403fe94b7f443c3
Content-Type: text/plain
Content-Transfer-Encoding: base64
Content-Disposition: attachment;
	filename*0*=UTF-8''nnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnn;
	filename*1*=nnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnn%E5%86%99.txt

eA==

--=_4403fe94b7f443c3
Content-Type: text/plain; charset=UTF-8; x-eudora=remark
Content-Transfer-Encoding: base64

W1RoZSBhdHRhY2htZW50IGdvbmUudHh0IGlzIG1pc3NpbmcuXQpbTm90IGFsbCBjb3VsZCBiZSBy
ZWFkOiBubyBmaWxlXQo=

--=_4403fe94b7f443c3--
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
    for (int round = 0; round < 500; ++round) {
        mail.subject =
            text(30, "Tea |K\xC3\xB6ln|\xE6\x97\xA5|\xF0\x9F\x98\x80|=?|\t|a longer word |\xFF|?=");
        mail.to = text(
            9, "a@b.c; |Ann Bee <ann@example.org>; |\"B; A\" <a@b>;|nick;|\xC3\xA9 <e@f>;|<>;|x@");
        mail.body = text(
            60,
            "\r\n|\r| | \n|\t\n|From |\nFrom x\n|From \n|=|=\n|--|\xC3\xA9|\xE6\x97\xA5|\xFF|word|"
            "a run of some words, |<x-html>|</x-html>|<x-rich>|> |\x1B|"
            "a flowed line that has about as many words as a line should have \n");
        mail.attachments.clear();
        const std::string name = random() % 2 == 0
                                     ? text(40, "a|.b| |\"|\\|%|\xC3\xA9|\xE6\x97\xA5|nnnnn|(|'")
                                     : text(40, "n|nnn|nnnnn|(");
        if (round % 2 == 0) Attach(name, text(200, "xyz|\xFF\n"));
        all += world.Compose(mail);
    }
    EXPECT_EQ(mail::Fingerprint(all), "f82e2fdff0cd4fc5");
}

TEST_F(ComposeTest, AddressesStayApartAndInTheirField) {
    const std::pair<const char*, const char*> rows[] = {
        {"a@example.org; b@example.net", "a@example.org, b@example.net"},
        {"Tom Harper <tom@example.org>", "Tom Harper <tom@example.org>"},
        {"\"Harper; Tom\" <tom@example.org>;b@x", "\"Harper; Tom\" <tom@example.org>, b@x"},
        {"=?iso-8859-1?Q?J=FCrgen?= <j@example.net>", "=?UTF-8?B?SsO8cmdlbg==?= <j@example.net>"},
        {"O'Neill, Eve <eve@example.org>", "\"O'Neill, Eve\" <eve@example.org>"},
        {"everybody on floor 2", "everybody on floor 2:;"},
        {"a@example.org\r\nBcc: b@example.net", "\"a@example.org  Bcc: b@example.net\":;"},
        {"<>", "\"<>\":;"},
        {"\"", "\"\\\"\":;"},
        {" ; ", ""},
    };
    for (const auto& [given, wanted] : rows) {
        mail.to = given;
        EXPECT_EQ(Field("To"), wanted) << given;
        EXPECT_EQ(Field("Subject"), "Tea") << given;
    }
    mail.to = "";
    std::string wanted;
    for (int i = 0; i < 500; ++i) {
        const std::string address = "person" + std::to_string(i) + "@example.org";
        *mail.to += address + "; ";
        wanted += (wanted.empty() ? "" : ", ") + address;
    }
    std::istringstream lines(Field("To"));
    std::string unfolded;
    for (std::string line; std::getline(lines, line); unfolded += line) {
        EXPECT_LE(line.size(), 78u);
    }
    EXPECT_EQ(unfolded, wanted);
}

TEST_F(ComposeTest, NoFieldLetsAnotherIn) {
    const std::string bad = "x\r\nX-Evil: 1\n\nevil\rX-Evil: 2";
    mail.from = mail.to = mail.cc = mail.bcc = mail.subject = mail.messageId = bad;
    const std::string message = world.Compose(mail);
    EXPECT_EQ(message.find("\nX-Evil"), std::string::npos) << message;
    EXPECT_EQ(message.find("\nevil"), std::string::npos) << message;
    EXPECT_EQ(message.find('\r'), std::string::npos) << message;
}

TEST_F(ComposeTest, ATextThatHoldsTheBoundaryGetsAnotherOne) {
    Attach("a.txt", "a");
    const std::string first = Field("Content-Type");
    mail.body = first;
    EXPECT_NE(Field("Content-Type"), first);
}

// A large attachment is nowhere in memory as a whole.
TEST_F(ComposeTest, HandsALargeMailOverInPieces) {
    Attach("large.bin", std::string(10u << 20, 'x'));
    std::size_t largest = 0;
    const auto measure = [&](std::string_view piece) -> host::base::Status {
        largest = std::max(largest, piece.size());
        return {};
    };
    ASSERT_TRUE(mail::ComposeMail(world.files, mail, std::chrono::hours(1), measure));
    EXPECT_LT(largest, 200'000u);
}

}  // namespace
}  // namespace host
