#include <gtest/gtest.h>

#include "platform/os/code_page.h"
#include "platform/testing/faulty_files.h"
#include "tests/host/mail_world.h"

namespace host {
namespace {

const std::string kMixed = "Content-Type: multipart/mixed; boundary=b\n\n";

std::string Part(const std::string& header, const std::string& body) {
    return "--b\n" + header + "\n\n" + body + '\n';
}

TEST(ParseMail, DecodesHeadersIntoTheCodePage) {
    struct Row {
        const char* field;
        unsigned codePage;
        std::string subject;
        std::size_t lost;
    };
    const Row rows[] = {
        {"=?utf-8?Q?caf=C3=A9?=", 1252, "caf\xE9", 0},
        {"=?utf-8?B?5pel5pys?=", 932, "\x93\xFA\x96\x7B", 0},
        {"=?utf-8?B?5pel5pys?=", 1252, "??", 2},
        {"=?iso-2022-jp?B?GyRCRnxLXBsoQg==?=", 932, "\x93\xFA\x96\x7B", 0},
        {"=?koi8-r?B?0NLJ18XU?=", 1251, "\xEF\xF0\xE8\xE2\xE5\xF2", 0},
        {"=?windows-1252?Q?=80_5?=", 1252, "\x80 5", 0},
        {"=?utf-8?Q?e=CC=81?=", 1252, "\xE9", 0},
        {"=?utf-8?Q?ca?=\n =?utf-8?Q?f=C3?=\n =?utf-8?Q?=A9?=", 1252, "caf\xE9", 0},
        {"=?utf-8?B?QQ==?= =?UTF-8?B?Qg==?= =?x?q?c_?= d", 1252, "ABc  d", 0},
        {"raw caf\xE9", 1252, "raw caf\xE9", 0},
        {"=?utf-8?Q?a=0D=0ATo:_x=00y?=", 1252, "a  To: x y", 0},
        {"folded\n\tover \r\n lines", 1252, "folded over  lines", 0},
        {"=?no-such-set?Q?caf=E9?=", 1252, "caf\xE9", 0},
        {"=?utf-8?X?bad?= =?utf-8?Q?open", 1252, "=?utf-8?X?bad?= =?utf-8?Q?open", 0},
    };
    for (const Row& row : rows) {
        MailFiles world(row.codePage);
        const mail::NewMail mail = world.Parse("Subject: " + std::string(row.field) + "\n\nx");
        EXPECT_EQ(mail.subject, row.subject) << row.field;
        EXPECT_EQ(mail.lostCharacters, row.lost) << row.field;
    }
}

TEST(ParseMail, BringsAddressesIntoFormsThatSurviveEudora) {
    struct Row {
        const char *field, *stored, *outgoing;
    };
    const Row rows[] = {
        {"a@b.c, <d@e.f>", "a@b.c; d@e.f", "a@b.c;d@e.f"},
        {"Ann Bee <a@b.c>", "Ann Bee <a@b.c>", "Ann Bee <a@b.c>"},
        {"\"Bee, Ann\" <a@b.c>", "\"Bee, Ann\" <a@b.c>", "Bee  Ann <a@b.c>"},
        {"\"Bee; Ann\" <a@b.c>", "Bee  Ann <a@b.c>", "Bee  Ann <a@b.c>"},
        {"\"A \\\"quote\\\" x\\\\y\" <a@b.c>", "A quote xy <a@b.c>", "A quote xy <a@b.c>"},
        {"=?utf-8?Q?J=C3=B6rg?= <a@b.c>", "J\xF6rg <a@b.c>", "J\xF6rg <a@b.c>"},
        {"a@b.c (Ann)", "Ann <a@b.c>", "Ann <a@b.c>"},
        {"friends: a@b.c, d@e.f;, g@h.i", "a@b.c; d@e.f; g@h.i", "a@b.c;d@e.f;g@h.i"},
        {"=?utf-8?Q?x=0D=0ABcc:_v=40w?= <a@b.c>", "\"x  Bcc: v@w\" <a@b.c>",
         "\"x  Bcc: v@w\" <a@b.c>"},
        {"a@b.c\nTo: d@e.f", "a@b.c; d@e.f", "a@b.c;d@e.f"},
        {"=?utf-8?Q?Bee,_Ann?= <a@b.c>", "\"Bee, Ann\" <a@b.c>", "Bee  Ann <a@b.c>"},
        {"joe", "joe", "joe"},
        {"\n", "", ""},
    };
    for (const Row& row : rows) {
        MailFiles world;
        const mail::NewMail mail = world.Parse("To: " + std::string(row.field) + "\n\nx");
        EXPECT_EQ(mail::StoredRecipients(mail.to), row.stored) << row.field;
        EXPECT_EQ(mail::OutgoingRecipients(mail.to), row.outgoing) << row.field;
    }
    MailFiles world;
    const mail::NewMail mail = world.Parse("Sender: s@t\nCC: c@d\nbcc: e@f\nfrom: A; B <a@b>\n\n");
    EXPECT_EQ(mail.from.find(';'), std::string::npos);
    EXPECT_EQ(mail::StoredRecipients(mail.cc) + '|' + mail::StoredRecipients(mail.bcc), "c@d|e@f");
    EXPECT_EQ(world.Parse("Sender: s@t\n\n").from, "s@t");
    EXPECT_EQ(world.Parse("\n").from, "");
}

TEST(ParseMail, KeepsAMessageIdThatCanBeOneAndMakesAStableOneElse) {
    MailFiles world;
    for (const char* own : {"<a@b>", " <a@b>\r", "a@b", "<x\n <a@b>"}) {
        const auto id = world.Parse("Message-Id: " + std::string(own) + "\n\n").messageId;
        EXPECT_TRUE(id == "a@b" || std::string(own).find("x\n") != std::string::npos) << own;
    }
    for (const std::string& none :
         {std::string(), std::string("Message-ID: <0x00000001>\n"), std::string("Message-ID:\n"),
          std::string("Message-ID: <a To: b>\n"),
          "Message-ID: <" + std::string(5000, 'x') + ">\n"}) {
        const std::string mail = "Subject: s\n" + none + "\ntext";
        const std::string id = world.Parse(mail).messageId;
        EXPECT_EQ(world.Parse(mail).messageId, id) << none;
        EXPECT_EQ(mail::MessageIdForEudora(mail), id) << none;
        EXPECT_EQ(mail::MessageIdForEudora("From x\n" + mail), id) << none;
        EXPECT_NE(world.Parse(mail + '!').messageId, id) << none;
        EXPECT_EQ(id.find_first_of(" <>\r\n"), std::string::npos) << id;
        EXPECT_NE(id.find('@'), std::string::npos) << id;
    }
}

TEST(ParseMail, TellsDatesInLocalTime) {
    struct Row {
        const char* header;
        int offsetMinutes;
        std::optional<double> date;
    };
    const Row rows[] = {
        {"Date: Thu, 01 Jan 1970 00:00:00 +0000", 90, 25569.0625},
        {"Date: Tue, 24 Nov 2026 17:30:00 +0530", 330, 46350.5 + 5.5 / 24},
        {"Date: 24 Nov 2026 12:00 GMT", -720, 46350.0},
        {"Date: 19 Jan 2038 06:00:00 +0000 (after all)", 0, 50424.25},
        {"Date: Mon, 29 Feb 2100 00:00:00 +0000", 0, std::nullopt},
        {"Date: Wed, 01 Jan 9999 00:00:00 +0000", 60, 2958101.0 + 1.0 / 24},
        {"Date: nonsense\nReceived: from a; by b; Tue, 24 Nov 2026 12:00:00 +0000", 0, 46350.5},
        {"Subject: none", 0, std::nullopt},
    };
    for (const Row& row : rows) {
        MailFiles world;
        world.clock.offset = std::chrono::minutes(row.offsetMinutes);
        const auto date = world.Parse(std::string(row.header) + "\n\n").date;
        ASSERT_EQ(date.has_value(), row.date.has_value()) << row.header;
        EXPECT_NEAR(date.value_or(0), row.date.value_or(0), 1e-9) << row.header;
    }
}

TEST(ParseMail, ReadsBodiesOfEveryCharsetAndEncoding) {
    struct Row {
        const char* header;
        std::string body, expected;
        unsigned codePage;
        std::size_t lost;
    };
    const Row rows[] = {
        {"Content-Type: text/plain; charset=utf-8", "caf\xC3\xA9", "caf\xE9", 1252, 0},
        {"Content-Type: text/plain; charset=iso-8859-1", "\x80 caf\xE9", "\x80 caf\xE9", 1252, 0},
        {"Content-Type: text/plain; charset=iso-2022-jp", "\x1B$BF|K\\\x1B(B", "\x93\xFA\x96\x7B",
         932, 0},
        {"Content-Type: text/plain; charset=Shift_JIS", "\x93\xFA\x96\x7B", "??", 1252, 2},
        {"Content-Type: text/plain; charset=utf-8",
         "a\xFF"
         "b\xE2\x82",
         "a?b??", 1252, 3},
        {"Content-Type: text/plain; charset=x/../y//TRANSLIT", "caf\xE9", "caf\xE9", 1252, 0},
        {"Subject: x", "caf\xE9", "caf\xE9", 1252, 0},
        {"Content-Transfer-Encoding: QUOTED-PRINTABLE", "a=\nb=E9=3D=", "ab\xE9=", 1252, 0},
        {"Content-Transfer-Encoding: base64", "Y2\nFm6Q==", "caf\xE9", 1252, 0},
        {"Content-Transfer-Encoding: base64", "Y2Fm*", "caf", 1252, 0},
        {"Content-Transfer-Encoding: x-uuencode", "begin 644 a\n#0V%T\n`\nend\n", "Cat", 1252, 0},
        {"Content-Type: nonsense", "as it is", "as it is", 1252, 0},
        {"Content-Type: multipart/mixed; boundary=b", "never\n--bx\n", "never\r\n--bx", 1252, 0},
        {"Content-Type: text/plain; format=flowed", "soft \nbreak\n> q \n> r\n",
         "soft \r\nbreak\r\n> q \r\n> r", 1252, 0},
    };
    for (const Row& row : rows) {
        MailFiles world(row.codePage);
        const mail::NewMail mail = world.Parse(row.header + std::string("\n\n") + row.body);
        EXPECT_EQ(mail.body, row.expected) << row.header;
        EXPECT_EQ(mail.lostCharacters, row.lost) << row.header;
        EXPECT_TRUE(mail.attachments.empty()) << row.header;
    }
}

TEST(ParseMail, UnderstandsEveryKindOfFile) {
    struct Row {
        std::string file, subject, body;
    };
    const Row rows[] = {
        {"", "", ""},
        {"\n", "", ""},
        {"no header: here\nand text\n", "", "no header: here\r\nand text"},
        {"Subject: s", "s", ""},
        {"Subject: s\nno field\n", "s", "no field"},
        {"Subject: s\r\n\r\na\r\nb\r\n", "s", "a\r\nb"},
        {"Subject: s\r\ra\rb\r", "s", "a\r\nb"},
        {"Subject: s\n\na\r\nb\rc\n\n", "s", "a\r\nb\r\nc\r\n"},
        {"From x@y Tue Nov 24\nSubject: s\n\nb\n", "s", "b"},
        {"subject : s\n\nb", "s", "b"},
        {std::string("Subject: a\0b\n\nc\0d", 17), "a b", "c d"},
        {"\xEF\xBB\xBFSubject: s\n\nb", "", "b"},
    };
    for (const Row& row : rows) {
        MailFiles world;
        const mail::NewMail mail = world.Parse(row.file);
        EXPECT_EQ(mail.subject, row.subject) << row.file;
        EXPECT_EQ(mail.body, row.body) << row.file;
        EXPECT_FALSE(mail.messageId.empty());
    }
}

TEST(ParseMail, SpoilsWhatEudoraWouldTakeForItsOwnMarks) {
    MailFiles world;
    const struct {
        const char *body, *expected;
    } rows[] = {
        {"Attachment Converted: \"c:\\x.exe\"", " Attachment Converted: \"c:\\x.exe\""},
        {"a\n\nATTACHMENT converted: x\nb", "a\r\n\r\n ATTACHMENT converted: x\r\nb"},
        {"a\rAttachment Converted: x", "a\r\n Attachment Converted: x"},
        {"From ???@??? Tue", " From ???@??? Tue"},
        {"From \xE2\x82\xAE\xE2\x82\xAE\xE2\x82\xAE@\xE2\x82\xAE\xE2\x82\xAE\xE2\x82\xAE x",
         " From ???@??? x"},
        {"<x-html><b></X-HTML>", "< x-html><b>< /X-HTML>"},
        {"<<x-flowed>", "<< x-flowed>"},
        {"<x-rich", "<x-rich"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(world.Parse("\n" + std::string(row.body)).body, row.expected) << row.body;
    }
    // The same in what an HTML text says.
    EXPECT_EQ(world.Parse("Content-Type: text/html\n\n<p>Attachment&nbsp;Converted: x").body,
              " Attachment Converted: x");
    EXPECT_EQ(world.Parse("Content-Type: text/html\n\n&lt;x-html&gt;").body, "< x-html>");
}

TEST(ParseMail, ChoosesTheTextAndMakesFilesOfTheRest) {
    const std::string plain = Part("Content-Type: text/plain", "plain");
    const std::string html = Part("Content-Type: text/html", "<p>rich</p>");
    const std::string picture =
        Part("Content-Type: image/png\nContent-Transfer-Encoding: base64", "AQID");
    const std::string inner =
        "--b\nContent-Type: multipart/related; boundary=r\n\n--r\n"
        "Content-Type: text/html\n\n<i>rich</i>\n--r\n"
        "Content-Type: image/gif; name=i.gif\n\nGIF\n--r--\n";
    const std::string alternative = "Content-Type: multipart/alternative; boundary=b\n\n";
    const struct {
        std::string message, body;
        std::vector<std::string> files;
    } rows[] = {
        {alternative + plain + html + "--b--", "plain", {}},
        {alternative + html + plain + "--b--", "plain", {}},
        {alternative + Part("Content-Type: text/plain", " ") + html, "rich", {}},
        {alternative + plain + inner + "--b--", "plain", {"i.gif=GIF"}},
        {alternative + Part("Content-Type: text/enriched", "<bold>r</bold> <<") + "--b--",
         "r <",
         {}},
        {kMixed + plain + picture + "--b--", "plain", {"attachment1.png=\1\2\3"}},
        {kMixed + plain + plain + "--b--\nepilogue", "plain\r\nplain", {}},
        {kMixed + "--b\n\nplain\n--b", "plain", {}},
        {kMixed + "--b  \n\nplain\r\n--b--  \n", "plain", {}},
        {kMixed + plain + Part("Content-Type: text/plain; name=notes.txt", "n") + "--b",
         "plain",
         {"notes.txt=n"}},
        {kMixed + Part("Content-Disposition: attachment; filename=a.txt", "a") + "--b--",
         "",
         {"a.txt=a"}},
        {kMixed + plain + Part("Content-Type: message/rfc822", "Subject: in/ner\n\nx") + "--b--",
         "plain",
         {"in_ner.eml=Subject: in/ner\n\nx"}},
        {kMixed + plain + Part("Content-Type: message/rfc822", "\nx") + "--b--",
         "plain",
         {"attachment1.eml=\nx"}},
        {"Content-Type: multipart/digest; boundary=b\n\n--b\n\nSubject: d\n\nx\n--b--",
         "",
         {"d.eml=Subject: d\n\nx"}},
        {"Content-Type: application/pdf\n\n%PDF", "", {"attachment1.pdf=%PDF"}},
        {kMixed + "--b\nContent-Type: x/y\n--b\n\nplain\n--b--", "plain", {"attachment1.dat="}},
    };
    for (const auto& row : rows) {
        MailFiles world;
        const mail::NewMail mail = world.Parse(row.message);
        EXPECT_EQ(mail.body, row.body) << row.message;
        std::vector<std::string> files;
        for (const auto& file : mail.attachments) {
            files.push_back(file.name + '=' + world.Content(file));
        }
        EXPECT_EQ(files, row.files) << row.message;
    }
}

TEST(ParseMail, GivesAttachmentsPlainNames) {
    const struct {
        const char* parameter;
        std::string name;
        unsigned codePage;
    } rows[] = {
        {"filename=\"a b.txt\"", "a b.txt", 1252},
        {"filename*=utf-8''caf%C3%A9.txt", "caf\xE9.txt", 1252},
        {"filename*0*=utf-8''%E6%97%A5; filename*1=\".txt\"", "\x93\xFA.txt", 932},
        {"filename*=utf-8''%E6%97%A5.txt", "_.txt", 1252},
        {"filename*=utf-8''%E6%97%A5", "attachment1.dat", 1252},
        {"filename=\"=?utf-8?Q?caf=C3=A9=2Etxt?=\"", "caf\xE9.txt", 1252},
        {"filename=\"..\\\\..\\\\evil.exe\"", "evil.exe", 1252},
        {"filename=\"/etc/passwd\"", "passwd", 1252},
        {"filename=\"c:evil<>|?*.txt\"", "c_evil_____.txt", 1252},
        {"filename*=utf-8''a%0D%0A%09%00.txt", "a___", 1252},
        {"filename=\"con\"", "_con", 1252},
        {"filename=\"Com1 .txt\"", "_Com1 .txt", 1252},
        {"filename*=utf-8''lpt%C2%B9", "_lpt\xB9", 1252},
    };
    for (const auto& row : rows) {
        MailFiles world(row.codePage);
        const mail::NewMail mail =
            world.Parse("Content-Type: a/b\nContent-Disposition: attachment; " +
                        std::string(row.parameter) + "\n\nx");
        ASSERT_EQ(mail.attachments.size(), 1u) << row.parameter;
        EXPECT_EQ(mail.attachments[0].name, row.name) << row.parameter;
    }
    MailFiles world(932);
    const std::string longName = "filename*=utf-8''" + std::string(80, 'x') +
                                 "%E8%A1%A8%E8%A1%A8%E8%A1%A8%E8%A1%A8%E8%A1%A8%E8%A1%A8%E8%A1%A8"
                                 "%E8%A1%A8%E8%A1%A8%E8%A1%A8%E8%A1%A8.html";
    const auto mail =
        world.Parse("Content-Type: a/b\nContent-Disposition: attachment; " + longName + "\n\nx");
    const std::string& name = mail.attachments.at(0).name;
    EXPECT_LE(name.size(), 100u);
    EXPECT_TRUE(name.ends_with("\x95\x5C.html")) << name;
}

// Each would cost hours or the stack if it were followed to its end.
TEST(ParseMail, SurvivesHostileMails) {
    const auto repeat = [](const std::string& text, std::size_t count) {
        std::string all;
        for (; count > 0; --count) all += text;
        return all;
    };
    std::string nested;
    for (int i = 0; i < 20000; ++i) {
        const std::string boundary = "x" + std::to_string(i);
        nested +=
            "Content-Type: multipart/mixed; boundary=" + boundary + "\n\n--" + boundary + '\n';
    }
    const struct {
        const char* what;
        std::string mail;
        bool isWhole;
    } rows[] = {
        {"parts", kMixed + repeat("--b\n\na\n", 100000) + "--b--\n", false},
        {"nesting", nested + "\nx", false},
        {"same boundary", kMixed + repeat("--b\n" + kMixed, 50000), false},
        {"brackets", "To: " + repeat("<", 200000) + repeat("(", 200000) + "\n\nx", true},
        {"parameters", "Content-Type: a/b" + repeat("; n*1*=x", 100000) + "\n\nx", true},
        {"accents", "\n" + repeat("\xCC\x81\xCC\xA3", 300000), true},
    };
    for (const auto& row : rows) {
        MailFiles world;
        const mail::NewMail mail = world.Parse(row.mail);
        EXPECT_LE(mail.attachments.size(), 500u) << row.what;
        EXPECT_LT(mail::StoredRecipients(mail.to).size() + mail.subject.size(), 40000u) << row.what;
        if (row.isWhole) continue;
        ASSERT_FALSE(mail.attachments.empty()) << row.what;
        EXPECT_EQ(mail.attachments.back().name, "message.eml");
        EXPECT_EQ(world.Content(mail.attachments.back()), row.mail) << row.what;
        EXPECT_FALSE(mail.notes.empty());
    }
}

TEST(ParseMail, TellsWhatItHadToCut) {
    MailFiles world;
    std::string mail = "Subject: " + std::string(5000, 's') + "\nTo: ";
    for (int i = 0; i < 4000; ++i) mail += "person" + std::to_string(i) + "@example.org, ";
    mail += "\"a;b\"@c\n\n";
    for (int i = 0; i < 500000; ++i) mail += "a line that is forty characters long, yes\n";
    const mail::NewMail cut = world.Parse(mail);
    EXPECT_EQ(cut.subject.size(), 2000u);
    EXPECT_LT(mail::StoredRecipients(cut.to).size(), 30100u);
    EXPECT_TRUE(mail::StoredRecipients(cut.to).ends_with("@example.org"));
    EXPECT_LE(cut.body.size(), std::size_t{16} << 20);
    EXPECT_TRUE(cut.body.ends_with(", yes"));
    EXPECT_EQ(cut.notes.size(), 3u);
    ASSERT_EQ(cut.attachments.size(), 1u);
    EXPECT_GT(world.Content(cut.attachments[0]).size(), 500000u * 43 - 3);

    const std::string huge((std::size_t{256} << 20) + 1, 'x');
    const auto refused = world.Try(huge);
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.Error().exit, host::base::ExitCode::kRefused);
    EXPECT_NE(refused.Error().Message().find("the mail"), std::string::npos);
}

TEST(ParseMail, LeavesNoFileBehindWhicheverOperationFails) {
    const std::string mail =
        kMixed + Part("Content-Type: a/b", "1") + Part("Content-Type: c/d", "2");
    for (int n = 1;; ++n) {
        MailFiles world;
        platform::testing::FaultyFiles faulty(world.files);
        faulty.Arm(
            n % 2 != 0 ? platform::testing::Fault::kFail : platform::testing::Fault::kTornWrite, n);
        const auto parsed = mail::ParseMail(mail, {faulty, "C:\\in", 1252, world.clock}, "m");
        if (!faulty.Fired()) {
            EXPECT_TRUE(parsed);
            EXPECT_EQ(world.FileCount(), 2u);
            break;
        }
        EXPECT_FALSE(parsed) << n;
        EXPECT_EQ(world.FileCount(), 0u) << n;
    }
}

}  // namespace
}  // namespace host
