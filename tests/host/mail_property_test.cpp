#include <random>

#include <gtest/gtest.h>

#include "host/mail/compose.h"
#include "host/mail/mail_text.h"
#include "platform/testing/memory_files.h"
#include "tests/host/mail_message.h"

namespace host {
namespace {

// Texts of bytes that encodings stumble over: line ends, blanks in front of them, "From ", dots,
// escapes, NUL, long lines, UTF-8 and what is none.
std::string RandomBody(std::mt19937& random) {
    static const std::string pieces[] = {"\n",
                                         "\r",
                                         "\r\n",
                                         " ",
                                         "  \n",
                                         "\t\n",
                                         "From ",
                                         "\nFrom x\n",
                                         ".\n",
                                         "=",
                                         "=20",
                                         "=\n",
                                         "--",
                                         "=_",
                                         "\xC3\xA9",
                                         "\xE6\x97\xA5",
                                         "\x80",
                                         "\xFF",
                                         "word",
                                         "a longer run of words, ",
                                         std::string(1, '\0'),
                                         std::string(1100, 'l'),
                                         "\x1B[0m",
                                         "\x7F",
                                         ">From "};
    std::string body;
    const unsigned favourite = random() % std::size(pieces);
    for (unsigned i = random() % 60; i > 0; --i) {
        body += pieces[random() % 3 == 0 ? favourite : random() % std::size(pieces)];
    }
    return body;
}

bool IsClean(const std::string& message) {
    std::size_t begin = 0;
    while (begin < message.size()) {
        const std::size_t end = std::min(message.find('\n', begin), message.size());
        if (end - begin > 998 || message.compare(begin, 5, "From ") == 0) return false;
        begin = end + 1;
    }
    return message.find_first_of(std::string("\r\0", 2)) == std::string::npos;
}

TEST(ComposeProperty, AnyBodyComesBackAndTheSameMailGivesTheSameBytes) {
    platform::testing::MemoryFiles files;
    std::mt19937 random(20261124);
    files.Put("C:\\a", "attached");
    for (int round = 0; round < 5000; ++round) {
        Mail mail;
        mail.id = "0x00000001";
        mail.body = RandomBody(random);
        if (round % 3 == 0) mail.attachments.push_back({"a.txt", "C:\\a"});
        const auto message = ComposeMail(files, mail, {});
        ASSERT_TRUE(message);
        EXPECT_TRUE(IsClean(*message)) << *message;
        EXPECT_EQ(*ComposeMail(files, mail, {}), *message);
        const ReadMessage read = ParseMessage(*message);
        ASSERT_EQ(read.parts.size(), mail.attachments.size() + 1) << *message;
        ASSERT_EQ(read.parts[0].bytes, NormalLineEnds(*mail.body)) << *message;
        EXPECT_TRUE(mail.attachments.empty() || read.parts[1].bytes == "attached");
    }
}

}  // namespace
}  // namespace host
