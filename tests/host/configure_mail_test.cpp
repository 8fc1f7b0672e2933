#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/host/kvsync_process.h"

namespace host::testing {

namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using Arguments = std::vector<std::string>;

Outcome Configure(const Bench& bench, Arguments arguments) {
    arguments.insert(arguments.begin(), {"configure", "mail", "--eudora", "@E"});
    return bench.Kvsync(arguments);
}

// Each run starts from what the runs before it left.
TEST(ConfigureMail, EachOptionChangesItsOwnSetting) {
    struct Row {
        Arguments arguments;
        int code;
        const char* told;
    };
    const Row rows[] = {
        {{"--age", "7"}, 0, "nothing changed: mails of the last 7 days, up to 32 KB, without att"},
        {{"--age", "30"}, 4, "mails of the last 30 days, up to 32 KB, without attachments\n"},
        {{"--size", "off"}, 4, "mails of the last 30 days, of any size, without attachments\n"},
        {{"--attachments", "on"}, 4, "of any size, with attachments up to 5 KB\n"},
        {{"--attachment-size", "100"}, 4, "with attachments up to 100 KB\n"},
        {{"--attachment-size", "100"}, 0, "nothing changed: "},
        {{"--attachment-size", "off", "--age", "off"},
         4,
         "mails of any age, of any size, with "
         "attachments of any size\n"},
        {{"--size", "0", "--attachments", "off"}, 4, "of any age, up to 0 KB, without attachments"},
        {{"--attachment-size", "2097151", "--json"},
         4,
         "{\"changed\":true,\"ageDays\":null,\"sizeKB\":0,\"attachments\":false,"
         "\"attachmentSizeKB\":2097151}\n"},
        {{"--attachments", "on", "--quiet"}, 4, ""},
        {{"--age", "99999"}, 4, "last 99999 days, up to 0 KB, with attachments up to 2097151 KB\n"},
    };
    const Bench bench;
    const auto nicknames = bench.Read("E/nndbase.txt");
    for (const Row& row : rows) {
        const Outcome outcome = Configure(bench, row.arguments);
        const auto shown = ::testing::PrintToString(row.arguments) + outcome.err;
        EXPECT_EQ(outcome.code, row.code) << shown;
        EXPECT_THAT(outcome.out, HasSubstr(row.told)) << shown;
    }
    // All runs worked on one settings file.
    const auto state = bench.Tree("state");
    EXPECT_EQ(
        std::ranges::count_if(state, [](const auto& file) { return file.first.ends_with(".cfg"); }),
        1);
    EXPECT_EQ(bench.Read("E/nndbase.txt"), nicknames);
}

TEST(ConfigureMail, BadValuesAreRefusedAndChangeNothing) {
    const Bench bench;
    ASSERT_EQ(Configure(bench, {"--age", "30"}).code, 4);
    const auto before = bench.Tree("state");
    for (const char* option : {"--age", "--size", "--attachments", "--attachment-size"}) {
        for (const char* value : {"", "-1", "1.5", "7d", " 7", "+7", "0x7", "on off", "Off",
                                  "2097152", "99999999999999999999"}) {
            const Outcome outcome = Configure(bench, {option, value});
            EXPECT_EQ(outcome.code, 2) << option << " '" << value << "'";
            EXPECT_THAT(outcome.err, HasSubstr(option));
            EXPECT_EQ(std::ranges::count(outcome.err, '\n'), 1) << outcome.err;
            EXPECT_THAT(outcome.out, IsEmpty());
        }
    }
    EXPECT_EQ(bench.Kvsync({"configure", "contacts", "--age", "5", "--eudora", "@E"}).code, 2);
    const Outcome without = Configure(bench, {});
    EXPECT_EQ(without.code, 3);
    EXPECT_THAT(without.err, HasSubstr("--age"));
    EXPECT_EQ(bench.Tree("state"), before);
}

}  // namespace

}  // namespace host::testing
