#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/host/kvsync_process.h"

namespace host::testing {

namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;

// Reading commands need no more than the folder, and leave it as it is.
TEST(Cli, ReadingChangesNothingInTheFolder) {
    const Bench bench;
    const auto before = bench.Tree("E");
    const Outcome list = bench.Kvsync("list contacts --json --eudora @E");
    EXPECT_EQ(list.code, 0);
    const auto contacts = nlohmann::json::parse(list.out, nullptr, false);
    ASSERT_TRUE(contacts.is_array()) << list.out << list.err;
    for (const auto& contact : contacts) {
        const std::string nickname = contact["nickname"];
        const Outcome show = bench.Kvsync("show contacts \"" + nickname + "\" --json --eudora @E");
        EXPECT_EQ(nlohmann::json::parse(show.out, nullptr, false), contact) << nickname << show.err;
    }
    EXPECT_EQ(bench.Kvsync("doctor --eudora @E --contacts @C").code, 0);
    EXPECT_EQ(bench.Kvsync("status --eudora @E --contacts @C").code, 0);
    EXPECT_EQ(bench.Tree("E"), before);
    EXPECT_THAT(bench.Tree("C"), IsEmpty());
}

// The example of the documentation sees what kvsync sees.
TEST(Cli, ExampleHostWalksTheSameContacts) {
    const Bench bench;
    std::filesystem::remove_all(bench.Path("E/NickName"));
    const Outcome list = bench.Kvsync("list contacts --json --eudora @E");
    const auto contacts = nlohmann::json::parse(list.out, nullptr, false);
    ASSERT_GT(contacts.size(), 20u) << list.err;
    const Outcome example = bench.OnPrefix("\"" KV_EXAMPLE "\" \"" KV_LIBRARY "\"");
    EXPECT_EQ(example.code, 0) << example.out;
    EXPECT_EQ(static_cast<std::size_t>(std::ranges::count(example.out, '\n')), contacts.size());
    EXPECT_THAT(example.out, HasSubstr("ann <ann.harper@example.org>\n"));
}

// A dry run leaves no trace, not even of the prefix that it had to make; a second run changes
// nothing.
TEST(Cli, DryRunTellsTheRealPlanAndWritesNothing) {
    const Bench bench;
    const auto before = bench.Tree("E");
    const Outcome dry = bench.Kvsync("sync --dry-run --eudora @E --contacts @C");
    EXPECT_EQ(dry.code, 4) << dry.err;
    EXPECT_FALSE(std::filesystem::exists(bench.Path("state")));
    EXPECT_EQ(bench.Tree("E"), before);
    EXPECT_THAT(bench.Tree("C"), IsEmpty());
    const Outcome real = bench.Kvsync("sync --eudora @E --contacts @C");
    EXPECT_EQ(real.code, 4) << real.err;
    EXPECT_EQ(real.out, dry.out);
    const auto times = bench.Times();
    EXPECT_EQ(bench.Kvsync("sync --eudora @E --contacts @C").code, 0);
    EXPECT_EQ(bench.Times(), times);
}

// The choice of `configure` holds for later runs.
TEST(Cli, ChoicesAreRemembered) {
    const Bench bench;
    bench.Write("E/NickName/Few.txt", "alias solo solo@example.org\r\n");
    const auto nicknames = [&](const std::string& arguments) {
        const Outcome outcome = bench.Kvsync("list contacts --json" + arguments);
        return nlohmann::json::parse(outcome.out, nullptr, false).size();
    };
    EXPECT_GT(nicknames(" --eudora @E"), 20u);
    const Outcome chosen =
        bench.Kvsync("configure contacts --eudora @E --nickname-file @E/NickName/Few.txt");
    EXPECT_EQ(chosen.code, 4) << chosen.err;
    EXPECT_EQ(nicknames(" --eudora @E"), 1u);
    std::filesystem::remove(bench.Path("E/NickName/Few.txt"));
    EXPECT_GT(nicknames(" --eudora @E"), 20u);
}

// Each run starts from what the runs before it left.
TEST(Cli, EachMailOptionChangesItsOwnSetting) {
    const std::tuple<const char*, int, const char*> rows[] = {
        {"--age 7", 0, "nothing changed: mails of the last 7 days, up to 32 KB, without att"},
        {"--age 30", 4, "mails of the last 30 days, up to 32 KB, without attachments\n"},
        {"--size off", 4, "mails of the last 30 days, of any size, without attachments\n"},
        {"--attachments on", 4, "of any size, with attachments up to 5 KB\n"},
        {"--attachment-size 100", 4, "with attachments up to 100 KB\n"},
        {"--attachment-size off --age off", 4,
         "of any age, of any size, with attachments of any size\n"},
        {"--size 0 --attachments off", 4, "of any age, up to 0 KB, without attachments"},
        {"--attachment-size 2097151 --json", 4,
         "{\"changed\":true,\"ageDays\":null,\"sizeKB\":0,\"attachments\":false,"
         "\"attachmentSizeKB\":2097151}\n"},
        {"--attachments on --age 99999 --quiet", 4, ""},
        {"--size 1", 4, "last 99999 days, up to 1 KB, with attachments up to 2097151 KB\n"},
    };
    const Bench bench;
    for (const auto& [arguments, code, told] : rows) {
        const Outcome outcome =
            bench.Kvsync(std::string("configure mail --eudora @E ") + arguments);
        EXPECT_EQ(outcome.code, code) << arguments << outcome.err;
        EXPECT_THAT(outcome.out, HasSubstr(told)) << arguments;
    }
    const auto before = bench.Tree("state");
    for (const char* option : {"--age", "--size", "--attachments", "--attachment-size"}) {
        for (const char* value :
             {"", "-1", "1.5", "7d", "0x7", "Off", "2097152", "99999999999999999999"}) {
            const Outcome outcome = bench.Kvsync(std::string("configure mail --eudora @E ") +
                                                 option + " '" + value + "'");
            EXPECT_EQ(outcome.code, 2) << option << " '" << value << "'";
            EXPECT_THAT(outcome.err, HasSubstr(option));
            EXPECT_EQ(std::ranges::count(outcome.err, '\n'), 1) << outcome.err;
        }
    }
    EXPECT_EQ(bench.Tree("state"), before);
}

// A Wine prefix with Eudora in it needs no private one.
TEST(Cli, WorksOnAWinePrefix) {
    namespace fs = std::filesystem;
    const Bench bench;
    fs::create_directories(bench.Path("P/dosdevices"));
    fs::create_directories(bench.Path("P/drive_c/Qualcomm"));
    fs::create_directory_symlink("../drive_c", bench.Path("P/dosdevices/c:"));
    fs::rename(bench.Path("E"), bench.Path("P/drive_c/Qualcomm/Eudora"));
    bench.Write("P/drive_c/Qualcomm/Eudora/EUDORA.EXE", "");
    bench.Write("P/system.reg",
                "WINE REGISTRY Version 2\n;; All keys relative to \\\\Machine\n\n#arch=win64\n\n"
                "[Software\\\\Wow6432Node\\\\Microsoft\\\\Windows\\\\CurrentVersion\\\\App "
                "Paths\\\\Eudora.exe] 1\n@=\"C:\\\\Qualcomm\\\\Eudora\\\\Eudora.exe\"\n"
                "\"Path\"=\"C:\\\\Qualcomm\\\\Eudora\\\\\"\n");
    const Outcome list = bench.Kvsync("list contacts --wine-prefix @P");
    EXPECT_EQ(list.code, 0) << list.err;
    EXPECT_THAT(list.out, HasSubstr("ann.harper@example.org"));
    const Outcome sync = bench.Kvsync("sync --wine-prefix @P --contacts @C");
    EXPECT_EQ(sync.code, 4) << sync.err;
    EXPECT_EQ(bench.Kvsync("sync --wine-prefix @P --contacts @C").code, 0);
}

}  // namespace

}  // namespace host::testing
