#include "host/mail/mail_text.h"

#include <algorithm>
#include <random>

#include <gtest/gtest.h>

#include "host/mail/content_type.h"
#include "host/mail/message_id.h"

namespace host {
namespace {

// The pieces as one line: a letter for the kind, then the text in brackets.
std::string Shown(std::string_view text) {
    std::string shown;
    for (const TextPiece& piece : SplitText(text)) {
        shown += "PFHE"[static_cast<int>(piece.kind)] + ("[" + piece.text + "]");
    }
    return shown;
}

TEST(MailText, LineEndsBecomeOneLf) {
    const std::pair<std::string_view, std::string_view> rows[] = {
        {"", ""},
        {"a\r\nb", "a\nb"},
        {"a\r\r\nb\n", "a\nb\n"},
        {"\r\n\r\r\r\n", "\n\n"},
        {"a\rb\r", "a\rb\r"},
        {std::string_view("a\0\r\n", 4), std::string_view("a\0\n", 3)},
    };
    for (const auto& [given, wanted] : rows) {
        EXPECT_EQ(NormalLineEnds(given), wanted) << testing::PrintToString(given);
    }
}

TEST(MailText, MarksTakeATextApart) {
    const std::pair<std::string_view, std::string_view> rows[] = {
        {"", "P[]"},
        {"  \n", "P[  \n]"},
        {"plain\n", "P[plain\n]"},
        {"<x-html><p>a</p></x-html>", "H[<p>a</p>]"},
        {"\n<X-HTML>a</X-Html>\n\n", "H[a]"},
        {"one\n<x-html>a</x-html>\ntwo\n", "P[one\n]H[a]P[\ntwo\n]"},
        {"<x-rich>r</x-rich><x-html>h</x-html>", "E[r]H[h]"},
        // In the middle of a line a mark counts only with its end.
        {"one<x-html>a</x-html>two", "P[one]H[a]P[two]"},
        {"say <x-html> for HTML\n", "P[say <x-html> for HTML\n]"},
        {"a\n<x-html>open\nto the end", "P[a\n]H[open\nto the end]"},
        {"</x-html>a", "P[</x-html>a]"},
        {"<x-html><x-html>a</x-html></x-html>", "H[<x-html>a]P[</x-html>]"},
        {"<x-html></x-html>", "H[]"},
        {"<x-html>a</x-rich>", "H[a</x-rich>]"},
        {"<x-htm", "P[<x-htm]"},
        {"<", "P[<]"},
    };
    for (const auto& [given, wanted] : rows) EXPECT_EQ(Shown(given), wanted) << given;
}

TEST(MailText, ManyBeginningsWithoutEndCostOneLook) {
    std::string text;
    for (int i = 0; i < 200000; ++i) text += "a<x-html>a<x-rich>";
    EXPECT_EQ(SplitText(text).size(), 1U);
    for (int i = 0; i < 1000; ++i) text += "</x-rich>";
    EXPECT_EQ(SplitText(text).size(), 3U);
}

TEST(MailText, FlowedTextIsKnownByItsWrapping) {
    const std::string wide(62, 'w');
    const std::pair<std::string, bool> rows[] = {
        {"", false},
        {"short \nline\n", false},
        {wide + " \nnext word\n", true},
        {wide + "\nnext word\n", false},
        {wide + " \n\n", false},
        {wide + " \n", false},
        {wide + " ", false},
        {"> " + wide + " \n> more\n", true},
        {"> " + wide + " \nmore\n", false},
        // The word would have fitted.
        {"This line has room for more \nwords\n", false},
        {"A line that a writer breaks since the \nword_that_follows_it_is_so_long\n", true},
        {wide + " \nnext\n-- \nTom\n", true},
        {"text\n-- \nTom\n", false},
        {wide + " \nnext\n  stuffed\n >not a quote\n From me\n", true},
        {wide + " \nnext\n one blank in front is no stuffing\n", false},
        {std::string(80, 'w') + " \nnext\n", false},
    };
    for (const auto& [given, wanted] : rows) EXPECT_EQ(LooksFlowed(given), wanted) << given;
}

// Whatever stands in a text stands in its pieces, but for the marks and white space between them.
TEST(MailText, NothingVisibleIsLost) {
    std::mt19937 random(7);
    const std::string_view words[] = {"<x-html>", "</x-html>", "<x-rich>", "</x-rich>", "a", "b ",
                                      "\n",       "<",         "<x-",      "x-html>",   ">"};
    for (int round = 0; round < 3000; ++round) {
        std::string text, joined;
        for (unsigned i = random() % 12; i > 0; --i) text += words[random() % std::size(words)];
        for (const TextPiece& piece : SplitText(text)) joined += piece.text;
        std::size_t at = 0;
        for (const char letter : joined) {
            at = text.find(letter, at);
            ASSERT_NE(at, std::string::npos) << text;
            ++at;
        }
        const auto letters = [](const std::string& all, char which) {
            return std::count(all.begin(), all.end(), which);
        };
        EXPECT_EQ(letters(joined, 'a'), letters(text, 'a')) << text;
        EXPECT_EQ(letters(joined, 'b'), letters(text, 'b')) << text;
    }
}

constexpr std::string_view kUnknownType = "application/octet-stream";

TEST(ContentType, GoesByTheLastExtensionInAnyCase) {
    const std::pair<std::string_view, std::string_view> rows[] = {
        {"a.txt", "text/plain"},      {"A.JPG", "image/jpeg"},
        {"a.pdf.exe", kUnknownType},  {"a.tar.gz", "application/gzip"},
        {"", kUnknownType},           {"pdf", kUnknownType},
        {"a.", kUnknownType},         {"x.zip", "application/zip"},
        {"x.avi", "video/x-msvideo"}, {"mail.eml", kUnknownType},
    };
    for (const auto& [name, type] : rows) EXPECT_EQ(ContentTypeOf(name), type) << name;
}

std::string IdFor(const std::string& id) {
    Mail mail;
    mail.id = "0x00000012";
    mail.messageId = id;
    mail.subject = "Tea";
    return MessageIdOf(mail);
}

TEST(MessageId, KeepsWhatAHeaderCanHold) {
    for (const char* id : {"abc@example.org", "x", "a$b.c@[127.0.0.1]", "0x00000012@example.org"}) {
        EXPECT_EQ(IdFor(id), id);
    }
}

TEST(MessageId, IsMadeStableAndValidWhereThereIsNone) {
    const std::string made = IdFor("0x00000012");
    EXPECT_TRUE(made.starts_with("0x00000012.")) << made;
    EXPECT_TRUE(made.ends_with(".eudora@localhost")) << made;
    EXPECT_EQ(made, IdFor("0x00000012"));
    for (const std::string& id :
         {std::string("a b@c"), std::string("a\r\nBcc: x"), std::string(), std::string("a<b>"),
          std::string("caf\xC3\xA9@example.org"), std::string(2000, 'x')}) {
        const std::string valid = IdFor(id);
        EXPECT_EQ(valid.find_first_of(" \r\n<>"), std::string::npos) << id;
        EXPECT_EQ(valid.size(), 16 + std::string_view(".eudora@localhost").size()) << id;
    }
    Mail other;
    other.messageId = "0x00000012";
    other.subject = "Coffee";
    EXPECT_NE(MessageIdOf(other), made);
}

}  // namespace
}  // namespace host
