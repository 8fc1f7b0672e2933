#include <gtest/gtest.h>

#include "host/maildir/maildir_name.h"
#include "host/maildir/message_header.h"
#include "platform/testing/memory_files.h"

namespace host {
namespace {

TEST(MaildirName, TakesEveryNameApart) {
    struct Case {
        const char *name, *unique, *flags;
    };
    for (const auto& [name, unique, flags] : {Case{"1.a.h", "1.a.h", ""},
                                              {"1.a.h:2,", "1.a.h", ""},
                                              {"1.a.h:2,S", "1.a.h", "S"},
                                              {"1.a.h:2,SRF", "1.a.h", "FRS"},
                                              {"1.a.h:2,SSab", "1.a.h", "Sab"},
                                              {"1.a.h:1,S", "1.a.h", ""},
                                              {"1.a.h:", "1.a.h", ""},
                                              {"1.a.h!2,ST", "1.a.h", "ST"},
                                              {"1.a!b.h", "1.a!b.h", ""},
                                              {"1.a!2,b:2,F", "1.a!2,b", "F"},
                                              {"1.a.h,S=12,W=13:2,S", "1.a.h,S=12,W=13", "S"},
                                              {":2,S", "", "S"},
                                              {"", "", ""}}) {
        const MaildirName parsed = ParseMaildirName(name);
        EXPECT_EQ(parsed.unique, unique) << name;
        EXPECT_EQ(parsed.flags, flags) << name;
    }
    EXPECT_EQ(WithFlag("RF", 'S', true), "FRS");
    EXPECT_EQ(WithFlag("FRS", 'S', false), "FR");
    EXPECT_EQ(WithFlag("S", 'S', true), "S");
}

TEST(MessageHeader, FindsTheMessageIdWhereverItStands) {
    struct Case {
        const char *message, *id;
    };
    const Case cases[] = {
        {"Message-ID: <a@b>\n\nbody", "a@b"},
        {"Subject: x\r\nMESSAGE-id:<a@b>\r\n\r\nbody", "a@b"},
        {"To: c\nMessage-ID:\n <a@b>\nX: y\n\n", "a@b"},
        {"To: c\nMessage-ID:\r\n\t< a@b >\r\n\r\n", "a@b"},
        {"Message-ID: a@b\n\n", "a@b"},
        {"Message-ID : <a@b> (comment)\n\n", "a@b"},
        {"X: 1\n Message-ID: <not@this>\nMessage-ID: <a@b>\n\n", "a@b"},
        {"X-Message-ID: <not@this>\n\n", ""},
        {"X: 1\n\nMessage-ID: <body@b>\n", ""},
        {"\nMessage-ID: <body@b>\n\n", ""},
        {"Message-ID: <cut", ""},
        {"Message-ID: <a@b>\n", "a@b"},
        {"Message-ID:\n\n", ""},
        {"no field\nMessage-ID: <a@b>\n\n", "a@b"},
        {"", ""},
    };
    for (const auto& [message, id] : cases) EXPECT_EQ(MessageIdInHeader(message), id) << message;
}

// The header ends at, before and behind the borders of the blocks that are read.
TEST(MessageHeader, ReadsNoMoreThanTheHeaderNeeds) {
    platform::testing::MemoryFiles files;
    for (const std::size_t length : {10u, 4070u, 4079u, 4080u, 4090u, 4096u, 60000u}) {
        const std::string header = "X: " + std::string(length, 'x') + "\nMessage-ID: <a@b>\n";
        for (const char* rest : {"", "\n", "\nbody", "\r\n\r\n"}) {
            files.Put("C:\\m", header + rest);
            EXPECT_EQ(*ReadMessageId(files, "C:\\m"), "a@b") << length << rest;
        }
    }
    files.Put("C:\\m", "X: " + std::string(kLargestHeader + 9000, 'x') + "\nMessage-ID: <a@b>\n\n");
    EXPECT_EQ(*ReadMessageId(files, "C:\\m"), "");
    EXPECT_FALSE(ReadMessageId(files, "C:\\none"));
}

}  // namespace
}  // namespace host
