#include "host/mail/mail_text.h"

#include <algorithm>
#include <random>

#include <gtest/gtest.h>

#include "host/mail/mail.h"
#include "tests/host/one_of.h"

namespace host {
namespace {

using namespace std::literals;

// The pieces as one line: a letter for the kind, then the text in brackets.
std::string Shown(std::string_view text) {
    std::string shown;
    for (const mail::TextPiece& piece : mail::SplitText(text)) {
        shown += "PFHE"[static_cast<int>(piece.kind)] + ("[" + piece.text + "]");
    }
    return shown;
}

TEST(MailText, MarksTakeATextApart) {
    const std::pair<std::string_view, std::string_view> rows[] = {
        {"", "P[]"},
        {"  \n", "P[  \n]"},
        {"\n<X-HTML>a</X-Html>\n\n", "H[a]"},
        {"one\n<x-html>a</x-html>\ntwo\n", "P[one\n]H[a]P[\ntwo\n]"},
        {"<x-rich>r</x-rich><x-html>h</x-html>", "E[r]H[h]"},
        // In the middle of a line a mark counts only with its end.
        {"one<x-html>a</x-html>two", "P[one]H[a]P[two]"},
        {"say <x-html> for HTML\n", "P[say <x-html> for HTML\n]"},
        {"a\n<x-html>open\nto the end", "P[a\n]H[open\nto the end]"},
        {"</x-html>a", "P[</x-html>a]"},
        {"<x-html><x-html>a</x-html></x-html>", "H[<x-html>a]P[</x-html>]"},
        {"<x-html>a</x-rich>", "H[a</x-rich>]"},
        {"<x-htm", "P[<x-htm]"},
    };
    for (const auto& [given, wanted] : rows) EXPECT_EQ(Shown(given), wanted) << given;
}

TEST(MailText, FlowedTextIsKnownByItsWrapping) {
    const std::string wide(62, 'w');
    const std::pair<std::string, bool> rows[] = {
        {"", false},
        {"short \nline\n", false},
        {wide + " \nnext word\n", true},
        {wide + "\nnext word\n", false},
        {wide + " ", false},
        {"> " + wide + " \n> more\n", true},
        {"> " + wide + " \nmore\n", false},
        // The word would have fitted.
        {"This line has room for more \nwords\n", false},
        {"A line that a writer breaks since the \nword_that_follows_it_is_so_long\n", true},
        {wide + " \nnext\n-- \nTom\n", true},
        {wide + " \nnext\n  stuffed\n >not a quote\n From me\n", true},
        {wide + " \nnext\n one blank in front is no stuffing\n", false},
        {std::string(80, 'w') + " \nnext\n", false},
    };
    for (const auto& [given, wanted] : rows) EXPECT_EQ(mail::LooksFlowed(given), wanted) << given;
}

// Whatever stands in a text stands in its pieces, but for the marks and white space between them.
TEST(MailText, NothingVisibleIsLost) {
    std::mt19937 random(7);
    for (int round = 0; round < 3000; ++round) {
        std::string text, joined;
        for (unsigned i = random() % 12; i > 0; --i) {
            text += testing::OneOf(random, "<x-html>|</x-html>|<x-rich>|</x-rich>|a|b |\n|<|<x-|>");
        }
        for (const mail::TextPiece& piece : mail::SplitText(text)) joined += piece.text;
        std::size_t at = 0;
        for (const char letter : joined) {
            at = text.find(letter, at) + 1;
            ASSERT_NE(at, 0u) << text;
        }
        for (const char letter : {'a', 'b'}) {
            EXPECT_EQ(std::ranges::count(joined, letter), std::ranges::count(text, letter)) << text;
        }
    }
}

std::string IdFor(const std::string& id) {
    mail::Mail mail;
    mail.id = "0x00000012";
    mail.messageId = id;
    mail.subject = "Tea";
    return mail::MessageIdOf(mail);
}

TEST(MessageId, IsKeptWhereAHeaderCanHoldItAndElseMadeStable) {
    for (const char* id : {"x", "a$b.c@[127.0.0.1]", "0x00000012@example.org"}) {
        EXPECT_EQ(IdFor(id), id);
    }
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
    mail::Mail other;
    other.messageId = "0x00000012";
    other.subject = "Coffee";
    EXPECT_NE(mail::MessageIdOf(other), made);
}

}  // namespace
}  // namespace host
