#include <gtest/gtest.h>

#include "eumapi/address_list.h"
#include "eumapi/attachment_lines.h"
#include "eumapi/mail_header.h"
#include "platform/os/charset.h"

namespace {

using namespace eumapi;

TEST(StandInAddresses, Table) {
    const struct {
        const char *list, *expected;  // name=address; ...
    } cases[] = {
        {"", ""},
        {" A B  <a@b.c> , d@e.f", "A B=a@b.c; =d@e.f; "},
        {"\"B, A\" <a@b.c>", "B, A=a@b.c; "},
        {"\"say \\\"hi\\\", you\" <a@b.c>", "say \"hi\", you=a@b.c; "},
        {"a@b.c (A (deep, er))", "A (deep, er)=a@b.c; "},
        {"<@relay,@two:a@b.c>", "=a@b.c; "},
        {"undisclosed-recipients:;", ""},
        {"Team: a@b.c, D <d@e.f>;, g@h.i", "=a@b.c; D=d@e.f; =g@h.i; "},
        {"a@b.c; d@e.f", "=a@b.c; =d@e.f; "},
        {",, a@b.c,,", "=a@b.c; "},
        {"\"open <a@b.c>, d@e.f", "\"open=a@b.c; =d@e.f; "},
        {"(open a@b.c, d@e.f", "=(open a@b.c; =d@e.f; "},
        {"A <a@b.c, d@e.f", "=A <a@b.c; =d@e.f; "},
    };
    for (const auto& one : cases) {
        std::string found;
        for (const auto& address : ParseAddresses(one.list, 1252)) {
            found += address.name + "=" + address.address + "; ";
        }
        EXPECT_EQ(found, one.expected) << one.list;
    }
    // So long that looking back at each colon would last longer than any test may.
    const std::size_t many = 8'000'000;
    const auto one = ParseAddresses(std::string(many, 'x') + '@' + std::string(many, ':'), 1252);
    ASSERT_EQ(one.size(), 1u);
    EXPECT_EQ(one[0].address.size(), 2 * many + 1);
    // The second byte of this character is a backslash to those who do not look at the first.
    const auto japanese = ParseAddresses("\"\x95\x5C\" <a@b.c>, d@e.f", 932);
    ASSERT_EQ(japanese.size(), 2u);
    EXPECT_EQ(japanese[0].name, "\x95\x5C");
}

TEST(StandInEncodedWords, Table) {
    const struct {
        const char *text, *expected;
        unsigned codePage = 1252;
    } cases[] = {
        {"plain = ?text?=", "plain = ?text?="},
        {"=?iso-8859-1?Q?Gr=FC=DF_an?= alle", "Gr\xFC\xDF an alle"},
        {"=?UTF-8?B?R3LDvMOf?=", "Gr\xFC\xDF"},
        {"=?UTF-8?B?R3LDvA?=", "Gr\xFC"},
        {"=?utf-8*de?q?=C3=BC?= =?utf-8?q?x?=", "\xFCx"},
        {"=?utf-8?q?=C3?=  =?utf-8?q?=BC?=", "\xFC"},
        {"=?utf-8?q?a?= =?iso-8859-1?q?b?= c", "ab c"},
        {"=?iso-8859-15?q?=A4?=", "\x80"},
        {"=?utf-8?q?=E6=97=A5?=", "=?utf-8?q?=E6=97=A5?="},
        {"=?utf-8?q?=E6=97=A5?=", "\x93\xFA", 932},
        {"=?iso-2022-jp?b?GyRCRnxLXBsoQg==?=", "\x93\xFA\x96\x7B", 932},
        {"=?euc-jp?q?=C6=FC=CB=DC?=", "\x93\xFA\x96\x7B", 932},
        {"=?iso-2022-jp?q?=1B$Z?=", "=?iso-2022-jp?q?=1B$Z?=", 932},
        {"=?klingon?q?a?=", "=?klingon?q?a?="},
        {"=?utf-8?q?=XY?=", "=?utf-8?q?=XY?="},
        {"=?utf-8?b?!!?=", "=?utf-8?b?!!?="},
        {"a =?us-ascii?q?x=0D=0ABcc:_y?=", "a x  Bcc: y"},
    };
    // Wine has no such code page.
    const bool knowsJis = platform::CharsetToUtf8("", "iso-2022-jp").has_value();
    for (const auto& one : cases) {
        if (std::string_view(one.text).starts_with("=?iso-2022-jp") && !knowsJis) continue;
        EXPECT_EQ(DecodeHeader(one.text, one.codePage), one.expected) << one.text;
    }
}

// What a reader leaves who takes off one line with a blank line above it for each file.
std::string Stripped(std::string text, std::size_t count) {
    for (; count > 0; --count) {
        const auto at = text.rfind("\n\nAttachment Converted:");
        if (at == text.npos) return "not found: " + text;
        text.resize(at);
    }
    return text;
}

TEST(StandInAttachmentLines, Table) {
    const std::string a = "Attachment Converted: \"C:\\a\"", b = "Attachment Converted: \"C:\\b\"",
                      c = "Attachment Converted: C:\\c d ", n = "\n";
    const struct {
        std::string text, present;  // a letter for each line
        std::string paths, arranged, stripped;
    } cases[] = {
        {"x\n", "", "", "x\n", "x\n"},
        {"x\n\n\n" + a + "\n\n" + b + n, "yy", "C:\\a;C:\\b;", "x\n\n\n" + a + "\n\n" + b + n,
         "x\n"},
        {"x\n\n" + a + "\n\n" + b + n, "ny", "C:\\a;C:\\b;", "x\n\n" + a + "\n\n" + b + n,
         "x\n\n" + a},
        {"x\n\n" + a + "\n\n" + b + n, "yn", "C:\\a;C:\\b;", "x\n\n" + b + "\n\n" + a + n,
         "x\n\n" + b},
        {"x\n" + a + "\n\n" + b + n + c + n, "nyn", "C:\\a;C:\\b;C:\\c d;",
         "x\n" + a + "\n\n" + c + "\n\n" + b + n, "x\n" + a + "\n\n" + c},
        {"x\n\n" + a + "\n\n" + b + n, "nn", "C:\\a;C:\\b;", "x\n\n" + a + "\n\n" + b + n, ""},
        {"x\n" + a + n + c + n, "yy", "C:\\a;C:\\c d;", "x\n\n\n" + a + "\n\n" + c + n, "x\n"},
        {a + n, "y", "C:\\a;", "\n\n" + a + n, ""},
        {"x\n\n" + a + "\nsigned\n\n" + b, "y", "C:\\b;", "x\n\n" + a + "\nsigned\n\n" + b,
         "x\n\n" + a + "\nsigned"},
        {"x\n\n" + a + "\nend\n", "", "", "x\n\n" + a + "\nend\n", "x\n\n" + a + "\nend\n"},
        {"x\n\nAttachment Converted: \"\"\n", "n", ";", "x\n\nAttachment Converted: \"\"\n", ""},
    };
    for (const auto& one : cases) {
        auto lines = FindAttachmentLines(one.text);
        ASSERT_EQ(lines.size(), one.present.size()) << one.text;
        std::string paths;
        std::size_t files = 0;
        for (std::size_t i = 0; i < lines.size(); ++i) {
            paths.append(lines[i].path).append(";");
            lines[i].isPresent = one.present[i] == 'y';
            files += lines[i].isPresent;
        }
        EXPECT_EQ(paths, one.paths) << one.text;
        const auto arranged = ArrangedText(one.text, lines);
        EXPECT_EQ(arranged, one.arranged) << one.text << one.present;
        if (files > 0) {
            EXPECT_EQ(Stripped(arranged, files), one.stripped) << one.text << one.present;
        }
    }
}

}  // namespace
