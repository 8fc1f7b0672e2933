#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/host/kvsync_process.h"

namespace host::testing {

namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;

struct BadInput {
    std::vector<std::string> arguments;
    int code;
    const char* told;  // what the line must name
};

const std::vector<BadInput>& BadInputs() {
    static const std::vector<BadInput> inputs = {
        {{}, 2, "no command"},
        {{"frobnicate"}, 2, "frobnicate"},
        {{"sync", "calendar"}, 2, "mail"},
        {{"sync", "--prefer", "nobody"}, 2, "nobody"},
        {{"sync", "--eudora", "@E", "--contacts", "@C", "--max-delete", "101%"}, 2, "101%"},
        {{"sync", "--code-page", "0"}, 2, "code-page"},
        {{"shell", "calendar"}, 2, "calendar"},
        {{"show", "contacts"}, 2, "record"},
        {{"export", "contacts"}, 2, "--to"},
        {{"list", "contacts", "--eudora", "@E", "--wine-prefix", "@E"}, 2, "excludes"},
        {{"list", "contacts", "--config", "@none"}, 2, "none"},
        {{"list", "contacts", "--config", "@broken.toml"}, 2, "line 1"},
        {{"list", "contacts", "--config", "@unknown.toml"}, 2, "colour"},
        {{"list", "contacts", "--config", "@number.toml"}, 2, "eudora"},
        {{"list", "contacts", "--config", "@both.toml"}, 2, "--wine-prefix"},
        {{"list", "contacts"}, 3, "no-prefix"},
        {{"list", "contacts", "--eudora", "@missing"}, 3, "missing"},
        {{"list", "contacts", "--eudora", "@E/nndbase.txt"}, 3, "no folder"},
        {{"list", "contacts", "--wine-prefix", "@E"}, 3, "no Wine prefix"},
        {{"list", "contacts", "--wine-prefix", "@bare-prefix"}, 3, "not registered"},
        {{"list", "contacts", "--eudora", "@empty"}, 3, "nndbase.txt"},
        {{"sync", "--eudora", "@running", "--contacts", "@C"}, 3, "OWNER.LOK"},
        {{"shell", "contacts", "--eudora", "@running"}, 3, "OWNER.LOK"},
        {{"sync", "--eudora", "@huge", "--contacts", "@C"}, 3, "10737418240"},
        {{"list", "contacts", "--eudora", "@E", "--nickname-file", "@none"}, 3, "none"},
        {{"list", "contacts", "--eudora", "@E", "--nickname-file", "@both.toml"}, 3, "outside"},
        {{"list", "contacts", "--eudora", "@E", "--nickname-file", "@E/NickName"}, 3, "folder"},
        {{"list", "contacts", "--eudora", "@E", "--settings", "@none"}, 3, "settings"},
        {{"show", "contacts", "nobody", "--eudora", "@E"}, 3, "nobody"},
        {{"shell", "contacts", "@none", "--eudora", "@E"}, 3, "none"},
        {{"configure", "contacts", "--eudora", "@E"}, 3, "terminal"},
        {{"sync", "--eudora", "@E"}, 3, "--contacts"},
        {{"sync", "mail", "--eudora", "@E"}, 3, "--maildir"},
        {{"restore", "nothing"}, 3, "nothing"},
    };
    return inputs;
}

void Prepare(const Bench& bench) {
    namespace fs = std::filesystem;
    bench.Write("broken.toml", "eudora = ");
    bench.Write("unknown.toml", "colour = \"red\"\n");
    bench.Write("number.toml", "eudora = 5\n");
    bench.Write("both.toml", "eudora = \"a\"\nwine_prefix = \"b\"\n");
    fs::create_directories(bench.Path("empty"));
    fs::create_directories(bench.Path("huge"));
    fs::create_directories(bench.Path("bare-prefix/dosdevices"));
    fs::create_directories(bench.Path("bare-prefix/drive_c"));
    fs::create_directory_symlink("../drive_c", bench.Path("bare-prefix/dosdevices/c:"));
    bench.Write("bare-prefix/system.reg", "WINE REGISTRY Version 2\n\n#arch=win32\n");
    bench.Write("huge/nndbase.txt", "");
    fs::resize_file(bench.Path("huge/nndbase.txt"), 10737418240u);
    fs::copy(bench.Path("E"), bench.Path("running"), fs::copy_options::recursive);
    bench.Write("running/OWNER.LOK", "");
}

TEST(Cli, BadInputGetsOneLineAndChangesNothing) {
    const Bench bench;
    Prepare(bench);
    for (const BadInput& input : BadInputs()) {
        std::string shown = "kvsync";
        for (const std::string& argument : input.arguments) shown += " " + argument;
        SCOPED_TRACE(shown);
        const auto eudora = bench.Tree("E"), running = bench.Tree("running");
        const auto contacts = bench.Tree("C");
        const Outcome outcome = bench.Kvsync(input.arguments);
        EXPECT_EQ(outcome.code, input.code);
        EXPECT_THAT(outcome.out, IsEmpty());
        EXPECT_EQ(std::ranges::count(outcome.err, '\n'), 1) << outcome.err;
        EXPECT_THAT(outcome.err, HasSubstr(input.told));
        EXPECT_EQ(bench.Tree("E"), eudora);
        EXPECT_EQ(bench.Tree("running"), running);
        EXPECT_EQ(bench.Tree("C"), contacts);
    }
}

TEST(Cli, HelpAndVersionAreNoFault) {
    const Bench bench;
    for (const auto& [arguments, told] :
         std::vector<std::pair<std::vector<std::string>, const char*>>{
             {{"--help"}, "Exit codes"},
             {{"sync", "--help"}, "--max-delete"},
             {{"shell", "--help"}, "GetModifiedInfo"},
             {{"--version"}, "kvsync "}}) {
        const Outcome outcome = bench.Kvsync(arguments);
        EXPECT_EQ(outcome.code, 0);
        EXPECT_THAT(outcome.out, HasSubstr(told));
        EXPECT_THAT(outcome.err, IsEmpty());
    }
}

// Reading commands need no more than the folder, and leave it as it is.
TEST(Cli, ReadingChangesNothingInTheFolder) {
    const Bench bench;
    const auto before = bench.Tree("E");
    const Outcome list = bench.Kvsync({"list", "contacts", "--json", "--eudora", "@E"});
    EXPECT_EQ(list.code, 0);
    const auto contacts = nlohmann::json::parse(list.out, nullptr, false);
    ASSERT_TRUE(contacts.is_array()) << list.out << list.err;
    for (const auto& contact : contacts) {
        const std::string nickname = contact["nickname"];
        const Outcome show =
            bench.Kvsync({"show", "contacts", nickname, "--json", "--eudora", "@E"});
        EXPECT_EQ(nlohmann::json::parse(show.out, nullptr, false), contact) << nickname << show.err;
    }
    EXPECT_EQ(bench.Kvsync({"doctor", "--eudora", "@E", "--contacts", "@C"}).code, 0);
    EXPECT_EQ(bench.Kvsync({"status", "--eudora", "@E", "--contacts", "@C"}).code, 0);
    EXPECT_EQ(bench.Tree("E"), before);
    EXPECT_THAT(bench.Tree("C"), IsEmpty());
}

// The example of the documentation sees what kvsync sees.
TEST(Cli, ExampleHostWalksTheSameContacts) {
    const Bench bench;
    std::filesystem::remove_all(bench.Path("E/NickName"));
    const Outcome list = bench.Kvsync({"list", "contacts", "--json", "--eudora", "@E"});
    const auto contacts = nlohmann::json::parse(list.out, nullptr, false);
    ASSERT_GT(contacts.size(), 20u) << list.err;
    const Outcome example = bench.OnPrefix(KV_EXAMPLE, {KV_LIBRARY});
    EXPECT_EQ(example.code, 0) << example.out;
    EXPECT_EQ(static_cast<std::size_t>(std::ranges::count(example.out, '\n')), contacts.size());
    EXPECT_THAT(example.out, HasSubstr("ann <ann.harper@example.org>\n"));
}

// A dry run leaves no trace, not even of the prefix that it had to make.
TEST(Cli, DryRunWritesNothingAnywhere) {
    const Bench bench;
    const auto before = bench.Tree("E");
    const Outcome dry = bench.Kvsync({"sync", "--dry-run", "--eudora", "@E", "--contacts", "@C"});
    EXPECT_EQ(dry.code, 4) << dry.err;
    EXPECT_FALSE(std::filesystem::exists(bench.Path("state")));
    EXPECT_EQ(bench.Tree("E"), before);
    EXPECT_THAT(bench.Tree("C"), IsEmpty());
    const Outcome real = bench.Kvsync({"sync", "--eudora", "@E", "--contacts", "@C"});
    EXPECT_EQ(real.code, 4) << real.err;
    EXPECT_EQ(real.out, dry.out);
}

// The choice of `configure` and the keys of the configuration file hold for later runs.
TEST(Cli, ChoicesAreRemembered) {
    const Bench bench;
    bench.Write("E/NickName/Few.txt", "alias solo solo@example.org\r\n");
    const auto nicknames = [&](std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), {"list", "contacts", "--json"});
        const Outcome outcome = bench.Kvsync(arguments);
        return nlohmann::json::parse(outcome.out, nullptr, false);
    };
    EXPECT_GT(nicknames({"--eudora", "@E"}).size(), 20u);
    EXPECT_EQ(bench
                  .Kvsync({"configure", "contacts", "--eudora", "@E", "--nickname-file",
                           "@E/NickName/Few.txt"})
                  .code,
              4);
    EXPECT_EQ(nicknames({"--eudora", "@E"}).size(), 1u);
    std::filesystem::create_directories(bench.Path("config/kvsync"));
    bench.Write("config/kvsync/config.toml", "eudora = '" + bench.Path("E") + "'\n");
    EXPECT_EQ(nicknames({}).size(), 1u);
    // What the command line says replaces the file's place.
    EXPECT_GT(nicknames({"--nickname-file", "@E/nndbase.txt"}).size(), 20u);
    std::filesystem::remove(bench.Path("E/NickName/Few.txt"));
    EXPECT_GT(nicknames({}).size(), 20u);
}

// A backup finds its way back by itself, but never under a running Eudora.
TEST(Cli, RestorePutsTheFileBackUnlessEudoraRuns) {
    const Bench bench;
    const std::string before = bench.Read("E/nndbase.txt");
    ASSERT_EQ(bench.Kvsync({"sync", "--eudora", "@E", "--contacts", "@C"}).code, 4);
    bench.Write("C/new.vcf",
                "BEGIN:VCARD\r\nVERSION:4.0\r\nUID:u1\r\nFN:New One\r\nNICKNAME:new1\r\n"
                "EMAIL:new@example.org\r\nEND:VCARD\r\n");
    ASSERT_EQ(bench.Kvsync({"sync", "--eudora", "@E", "--contacts", "@C"}).code, 4);
    const std::string after = bench.Read("E/nndbase.txt");
    ASSERT_THAT(after, HasSubstr("new@example.org"));
    const Outcome listed = bench.Kvsync({"backups", "--json"});
    const auto backups = nlohmann::json::parse(listed.out, nullptr, false)["backups"];
    ASSERT_FALSE(backups.empty()) << listed.out;
    const std::string id = backups.back()["id"];
    bench.Write("E/OWNER.LOK", "");
    EXPECT_EQ(bench.Kvsync({"restore", id}).code, 3);
    EXPECT_EQ(bench.Read("E/nndbase.txt"), after);
    std::filesystem::remove(bench.Path("E/OWNER.LOK"));
    EXPECT_EQ(bench.Kvsync({"restore", id}).code, 4);
    EXPECT_EQ(bench.Read("E/nndbase.txt"), before);
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
    const Outcome list = bench.Kvsync({"list", "contacts", "--wine-prefix", "@P"});
    EXPECT_EQ(list.code, 0) << list.err;
    EXPECT_THAT(list.out, HasSubstr("ann.harper@example.org"));
    const Outcome sync = bench.Kvsync({"sync", "--wine-prefix", "@P", "--contacts", "@C"});
    EXPECT_EQ(sync.code, 4) << sync.err;
    EXPECT_EQ(bench.Kvsync({"sync", "--wine-prefix", "@P", "--contacts", "@C"}).code, 0);
}

}  // namespace

}  // namespace host::testing
