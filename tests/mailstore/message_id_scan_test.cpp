#include "mailbox/mailbox_index.h"

#include <gtest/gtest.h>

#include <optional>
#include <random>
#include <vector>

namespace {

using namespace std::string_literals;
using Sizes = std::vector<std::size_t>;

// What a scan gives: nothing without "To: ", else the id.
using Answer = std::optional<std::string>;

Answer InPieces(std::string_view text, const Sizes& pieces) {
    mailbox::MessageIdScan scan;
    std::size_t turn = 0;
    while (!text.empty()) {
        const auto size = std::min(pieces[turn++ % pieces.size()], text.size());
        if (scan.Feed(text.substr(0, size))) break;
        text.remove_prefix(size);
    }
    return scan.FoundTo() ? Answer(scan.MessageId()) : std::nullopt;
}

// The same the plain way, on the whole text.
Answer AtOnce(std::string_view text) {
    text = text.substr(0, text.find('\0'));
    const auto to = text.find("To: ");
    if (to == text.npos) return std::nullopt;
    text = text.substr(0, to);
    for (const std::string_view marker : {"Message-ID: <", "Message-Id: <"}) {
        const auto at = text.find(marker);
        if (at == text.npos) continue;
        text = text.substr(at + marker.size());
        text = text.substr(std::min(text.find_first_not_of('>'), text.size()));
        text = text.substr(0, text.find('>'));
        return std::string(text);
    }
    return "";
}

TEST(MessageIdScan, Table) {
    const std::string longest(20000, 'x');
    const std::pair<std::string, Answer> rows[] = {
        {"Message-ID: <a@b>\r\n", {}},
        {"to: TO: To:\tTo:x", {}},
        {"Message-Id: <a@b>\r\nTo: x", "a@b"},
        {"Message-id: <a@b>\r\nMESSAGE-ID: <a@b>\r\nMessage-ID:<a@b>\r\nTo: x", ""},
        {"Message-Id: <low>\r\nMessage-ID: <high>\r\nTo: x", "high"},
        {"Message-ID: <one>\r\nMessage-ID: <two>\r\nTo: x", "one"},
        {"Message-ID: <>\r\nMessage-Id: <b>\r\nTo: x", "\r\nMessage-Id: <b"},
        {"Message-Id: <b>Message-ID: <>To: x", ""},
        {"Message-ID: <>>a>b>To: x", "a"},
        {"Message-ID: <a\rb\nc To: x", "a\rb\nc "},
        {"Message-ID: <aToTo: x>", "aTo"},
        {"Reply-To: x\r\nMessage-ID: <a@b>\r\nTo: x", ""},
        {"Message-ID: <a\0b>To: x"s, {}},
        {"Message-ID: <a>To: \0"s, "a"},
        {"Message-ID: <" + longest + ">To: ", longest},
        {"Message-ID: <" + longest + "To: ", longest},
        {"Message-ID: <>" + std::string(20000, '>') + "a>To: ", "a"},
    };
    for (const auto& [text, answer] : rows) {
        ASSERT_EQ(AtOnce(text), answer) << text;
        for (const Sizes& pieces : {Sizes{100000}, {1}, {2, 5}, {13}, {3}, {4096}}) {
            EXPECT_EQ(InPieces(text, pieces), answer) << text << " by " << pieces[0];
        }
    }
}

// Texts out of fragments of what is looked for, cut anywhere.
TEST(MessageIdScan, PiecesMakeNoDifference) {
    const std::string fragments[] = {
        "Message-ID: <", "Message-Id: <", "Message-I", "D: <", "d: <",      "To: ",
        "\0"s,           "To:",           "T",         "o: ",  ">",         "<",
        "a@b",           "\r\n",          "\r",        "Mess", "age-ID: <", "yyyyyyyyy"};
    std::mt19937 random(7);
    const auto below = [&](std::size_t limit) { return random() % limit; };
    int answered = 0;
    for (int round = 0; round < 60000; ++round) {
        std::string text;
        for (auto count = below(14); count > 0; --count) {
            // What ends the search is to be rarer than the rest.
            const auto pick = below(std::size(fragments));
            text += (pick == 5 || pick == 6) && below(2) != 0 ? "a@b" : fragments[pick];
        }
        if (below(3) != 0) text += "To: ";
        const Sizes pieces{1 + below(6), 1 + below(20), 1 + below(3)};
        const Answer expected = AtOnce(text);
        answered += expected && !expected->empty();
        ASSERT_EQ(InPieces(text, pieces), expected)
            << text << " in pieces of " << ::testing::PrintToString(pieces);
    }
    EXPECT_GT(answered, 10000) << "the texts have become dull";
}

}  // namespace
