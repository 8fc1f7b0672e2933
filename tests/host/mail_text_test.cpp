#include "host/mail/mail_text.h"

#include <gtest/gtest.h>

#include "host/mail/mail.h"

namespace host {
namespace {

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
        {"one\n<X-HTML>a</X-Html>\ntwo\n", "P[one\n]H[a]P[\ntwo\n]"},
        {"<x-rich>r</x-rich><x-html>h</x-html>\n\n", "E[r]H[h]"},
        // In the middle of a line a mark counts only with its end.
        {"one<x-html>a</x-html>two <x-html> for HTML", "P[one]H[a]P[two <x-html> for HTML]"},
        {"a\n<x-html>open\nto the end", "P[a\n]H[open\nto the end]"},
        {"<x-html><x-html>a</x-html></x-html>", "H[<x-html>a]P[</x-html>]"},
        {"<x-html>a</x-rich>", "H[a</x-rich>]"},
    };
    for (const auto& [given, wanted] : rows) EXPECT_EQ(Shown(given), wanted) << given;
}

TEST(MailText, FlowedTextIsKnownByItsWrapping) {
    const std::string wide(62, 'w');
    const std::pair<std::string, bool> rows[] = {
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

TEST(MessageId, IsKeptWhereAHeaderCanHoldItAndElseMadeStable) {
    mail::Mail mail;
    const auto idFor = [&](const std::string& id) {
        mail.messageId = id;
        return mail::MessageIdOf(mail);
    };
    const std::string made = idFor("0x00000012");
    EXPECT_EQ(idFor("0x00000012@x"), "0x00000012@x");
    for (const std::string& id : {std::string("a b"), std::string("a<b>"), std::string("\xC3\xA9"),
                                  std::string(), std::string(2000, 'x')}) {
        EXPECT_EQ(idFor(id).size(), 16 + std::string_view(".eudora@localhost").size()) << id;
    }
    mail.subject = "Coffee";
    EXPECT_NE(idFor("0x00000012"), made);
    EXPECT_EQ(made.size(), 11 + idFor("").size());
}

}  // namespace
}  // namespace host
