#include <gtest/gtest.h>

#include "fuzz/fuzz.h"
#include "host/mail/html_text.h"
#include "tests/host/mail_world.h"

namespace host {
namespace {

const std::string kMixed = "Content-Type: multipart/mixed; boundary=b\n\n";

std::string Part(const std::string& header, const std::string& body) {
    return "--b\n" + header + "\n\n" + body + '\n';
}

struct Row {
    std::string message, shown;
    unsigned codePage = 1252;
};

// What a mail says: "{name}value" for each field that is not empty, and the number of lost letters.
void Hold(std::initializer_list<Row> rows, const std::string& begin = "") {
    for (const Row& row : rows) {
        const std::string message = begin + row.message;
        MailFiles world;
        world.codePage = row.codePage;
        world.clock.offset = std::chrono::minutes(90);
        const mail::NewMail mail = world.Parse(message);
        std::string shown;
        const auto show = [&](const std::string& name, const std::string& value) {
            if (!value.empty()) shown += '{' + name + '}' + value;
        };
        const std::string to = mail::StoredRecipients(mail.to),
                          out = mail::OutgoingRecipients(mail.to);
        show("from", mail.from);
        show("to", to);
        show("out", out != to ? out : "");
        show("cc", mail::StoredRecipients(mail.cc) + mail::StoredRecipients(mail.bcc));
        show("subject", mail.subject);
        show("date", mail.date ? std::to_string(*mail.date) : "");
        show("body", mail.body);
        for (const auto& file : mail.attachments) show(file.name, world.Content(file) + '.');
        show("lost", mail.lostCharacters > 0 ? std::to_string(mail.lostCharacters) : "");
        EXPECT_EQ(shown, row.shown) << message;
        EXPECT_NO_THROW(Check(message)) << message;
    }
}

TEST(ParseMail, BringsFieldsIntoTheCodePageAndIntoFormsThatSurviveEudora) {
    Hold({{"Subject: =?utf-8?B?5pel5pys?=\n\n", "{subject}\x93\xFA\x96\x7B", 932},
          {"Subject: =?utf-8?B?5pel5pys?= =?utf-8?Q?e=CC=81?=\n\n", "{subject}??\xE9{lost}2"},
          {"Subject: =?utf-8?Q?a=0D=0ATo:_x=00y?=\nSender: s@t\nTo:\nDate: 29 Feb 2100 0:00 "
           "+0000\n\n",
           "{from}s@t{subject}a  To: x y"},
          {"Subject: raw caf\xE9 =?no-such-set?Q?caf=E9?=\nTo: \"A \\\"q\\\" x\\\\y; z\" "
           "<a@b.c>\n\n",
           "{to}A q xy  z <a@b.c>{subject}raw caf\xE9 caf\xE9"},
          {"subject : folded\n\tover \r\n lines\nTo: \"Bee, Ann\" <a@b.c>, d@e.f\n\n",
           "{to}\"Bee, Ann\" <a@b.c>; d@e.f{out}Bee  Ann <a@b.c>;d@e.f{subject}folded over  lines"},
          {"To: g: a@b.c (Ann), d@e.f;, joe\nDate: Wed, 01 Jan 9999 00:00:00 +0000\n\n",
           "{to}Ann <a@b.c>; d@e.f; joe{out}Ann <a@b.c>;d@e.f;joe{date}2958101.062500"},
          {"To: =?utf-8?Q?x=0D=0ABcc:_v=40w,?= <a@b.c>\nDate: Thu, 01 Jan 1970 00:00:00 +0000\n\n",
           "{to}\"x  Bcc: v@w,\" <a@b.c>{out}\"x  Bcc: v@w \" <a@b.c>{date}25569.062500"},
          {"Sender: s@t\nCC: c@d\nTo: a@b.c\nbcc: e@f\nTo: \"b;b\"@c, d@e.f\nFrom: \"A; B\" <a@b>, "
           "x@y\nDate: 19 Jan 2038 06:00:00 +0130 (after all)\n\n",
           "{from}A  B <a@b>, x@y{to}a@b.c; d@e.f{out}a@b.c;d@e.f{cc}c@de@f{date}50424.250000"},
          {"Date: x\nReceived: a; by b; Tue, 24 Nov 2026 10:30:00 +0000\n\n",
           "{date}46350.500000"}});
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

TEST(ParseMail, ReadsEveryKindOfBody) {
    Hold({{"", ""},
          {"Subject: s\nno field\n", "{subject}s{body}no field"},
          {"no header: here\nand text\n", "{body}no header: here\r\nand text"},
          {"Subject: s\r\ra\rb\r", "{subject}s{body}a\r\nb"},
          {"From x@y Tue\nSubject: s\n\na\r\nb\rc\n\n", "{subject}s{body}a\r\nb\r\nc\r\n"},
          {std::string("Subject: a\0b\n\nc\0d", 17), "{subject}a b{body}c d"},
          {"Content-Type: text/plain; charset=utf-8\n\ncaf\xC3\xA9 \xFF", "{body}caf\xE9 ?{lost}1"},
          {"Content-Type: text/plain; charset=x/../y//TRANSLIT\n\ncaf\xE9", "{body}caf\xE9"},
          {"Content-Transfer-Encoding: QUOTED-PRINTABLE\n\na=\nb=E9=3D=", "{body}ab\xE9="},
          {"Content-Transfer-Encoding: base64\n\nY2\nFm6Q==*", "{body}caf\xE9"},
          {"Content-Transfer-Encoding: x-uuencode\n\nx\nbegin 644 a\n#0V%T\n`\nend\n", "{body}Cat"},
          {kMixed + "never\n--bx\n", "{body}never\r\n--bx"},
          {"\na\rAttachment Converted: x\nFrom \xE2\x82\xAE??@??? x",
           "{body}a\r\n Attachment Converted: x\r\n From ???@??? x{lost}1"},
          {"\n<x-html><<x-flowed></X-HTML><x-rich", "{body}< x-html><< x-flowed>< /X-HTML><x-rich"},
          {"Content-Type: text/html\n\n<p>attachment&nbsp;Converted:&lt;x-html&gt;",
           "{body} attachment Converted:< x-html>"}});
}

TEST(ParseMail, ChoosesTheTextAndMakesFilesOfTheRest) {
    const std::string plain = Part("Content-Type: text/plain", "plain");
    const std::string html = Part("Content-Type: text/html", "<p>rich</p>");
    const std::string related =
        "--b\nContent-Type: multipart/related; boundary=r\n\n--r\n"
        "Content-Type: text/html\n\n<i>rich</i>\n--r\n"
        "Content-Type: image/gif; name=i.gif\n\nGIF\n--r--\n";
    const std::string choice = "Content-Type: multipart/alternative; boundary=b\n\n";
    Hold({{choice + html + plain + Part("X: y", "later") + "--b--", "{body}plain"},
          {kMixed + "--b\r\nContent-Type: x/y\r\n\r\nx\r\n--b--", "{attachment1.dat}x."},
          {choice + Part("Content-Type: text/plain", " ") + html, "{body}rich"},
          {choice + plain + related + "--b--", "{body}plain{i.gif}GIF."},
          {choice + Part("Content-Type: text/enriched", "<b>r</b> <<") + "--b--", "{body}r <"},
          {kMixed + plain + plain + "--b--\nepilogue", "{body}plain\r\nplain"},
          {kMixed + "--b  \r\n\r\nplain\r\n--b--  \n", "{body}plain"},
          {kMixed + "above\n--b\nContent-Type: x/y\n--b\n\nx\n--b", "{body}x{attachment1.dat}."},
          {kMixed + Part("Content-Type: text/plain; name=n.txt", "n") +
               Part("Content-Disposition: attachment", "a") + "--b--",
           "{n.txt}n.{attachment2.txt}a."},
          {kMixed + Part("Content-Type: message/rfc822", "Subject: in/ner\n\nx") + "--b--",
           "{in_ner.eml}Subject: in/ner\n\nx."},
          {"Content-Type: multipart/digest; boundary=b\n\n--b\n\nSubject: d\n\n--b--",
           "{d.eml}Subject: d\n."},
          {"Content-Type: image/png\nContent-Transfer-Encoding: base64\n\nQUJD",
           "{attachment1.png}ABC."}});
}

TEST(ParseMail, GivesAttachmentsPlainNames) {
    std::string longName = "*=utf-8''" + std::string(80, 'x'), longInUtf8 = "*=utf-8''";
    for (int i = 0; i < 11; ++i) longName += "%E8%A1%A8";
    for (int i = 0; i < 90; ++i) longInUtf8 += "%EF%BD%B1";
    const std::string kept =
        std::string(80, 'x') + "\x95\x5C\x95\x5C\x95\x5C\x95\x5C\x95\x5C" + "\x95\x5C\x95\x5C.html";
    Hold({{"*0*=utf-8''%E6%97%A5; filename*1=\".txt\"\n\nx", "{\x93\xFA.txt}x.", 932},
          {"*=utf-8''%E6%97%A5.txt\n\nx", "{_.txt}x."},
          {"*=utf-8''%E6%97%A5\n\nx", "{attachment1.dat}x."},
          {"=\"=?utf-8?Q?cafe=CC=81=2Etxt?=\"\n\nx", "{caf\xE9.txt}x."},
          {"=\"..\\\\..\\\\c:evil<>|?*.txt\"\n\nx", "{c_evil_____.txt}x."},
          {"=\"/etc/passwd\"\n\nx", "{passwd}x."},
          {"*=utf-8''a%0D%0A%09%00.txt\n\nx", "{a___}x."},
          {"=\"Com1 .txt\"\n\nx", "{_Com1 .txt}x."},
          {longName + ".html\n\nx", '{' + kept + "}x.", 932},
          {longInUtf8 + ".txt\n\nx", '{' + std::string(65, '\xB1') + ".txt}x.", 932}},
         "Content-Type: a/b\nContent-Disposition: attachment; filename");
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
    const std::pair<const char*, const char*> rows[] = {
        {" two \n\t words <div>a</div><div>b</div>c<br>d<br/><br />e",
         "two words\na\nb\nc\nd\n\ne"},
        {"<html><head><title>t</title></head><body>b<hr>a</body></html>", "b\n----------\na"},
        {"<ul><li>a<li>b</ul><tr><td>a</td><td>b</td></tr><tr><td>c", "- a\n- b\na b\nc"},
        {"a<script>if (a<b) \"</div>\"</script>b<pre>a\n  b</pre>  c", "ab\na\n  b\nc"},
        {"caf&eacute; &amp; &#233;&#xE9;&nbsp;x &lt;b&gt; &copy;&#x1F600;&euro;",
         "caf\xC3\xA9 & \xC3\xA9\xC3\xA9 x <b> \xC2\xA9\xF0\x9F\x98\x80\xE2\x82\xAC"},
        {"&unknown; & &#0; &#xD800; &#x110000; &;", "&unknown; & &#0; &#xD800; &#x110000; &;"},
        {"<a href=\"http://x/?a=1&amp;b\">here</a>. <a name=\"x\">x</a>",
         "here <http://x/?a=1&b>. x"},
        {"<a href='http://x'>http://x</a> <a href=http:hx>http:hhx</a>",
         "http://x http:hhx <http:hx>"},
        {"<a href=mailto:a@b>Ann</a> <a href=mailto:a@b>a@b</a>", "Ann <a@b> a@b"},
        {"<a href=\"java\nscript:x\">x</a> <a href=\"ht\ntp:y\">y</a>", "x y <http:y>"},
        {"<img alt=\"a cat\" src=\"http://track\"><img src=x><img alt=\" \">", "[a cat]"},
        {"a<SCRIPT src=x>evil</ScRiPt >b<!-- <p> -- > --->c<script>open", "abc"},
        {"<head>no end<p>1 < 2 <3 <", "no end\n\n1 < 2 <3 <"},
        {"a<p title=\"x>y\">b<p title=\"x>c</p", "a\n\nb\n\nc</p"}};
    for (const auto& [html, text] : rows) EXPECT_EQ(mail::TextOfHtml(html), text) << html;
    EXPECT_EQ(mail::TextOfEnriched("<bold>a</bold>b>c << d <<<b>x <open"), "ab>c < d <x <open");
    EXPECT_EQ(mail::TextOfEnriched("<"), "<");
}

}  // namespace
}  // namespace host
