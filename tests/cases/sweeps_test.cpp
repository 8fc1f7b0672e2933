// Sweeps over the built program: what no case can say in a few lines.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include <nlohmann/json.hpp>

#include "tests/cases/readable.h"
#include "tests/cases/world.h"
#include "tests/host/one_of.h"
#include "tests/platform/temp_folder.h"

namespace cases {

namespace {

namespace fs = std::filesystem;
using host::testing::OneOf;
using ::testing::AnyOf;
using ::testing::HasSubstr;
using ::testing::Not;
using Strings = std::vector<std::string>;

// A world with a program to run in it.
struct Bench : World {
    // Gives the exit code; `told` is what came of it.
    int Run(const std::string& command, const Strings& input = {}) {
        int code = 0;
        told = Do(command, input, code);
        return code;
    }
    int Kvsync(const std::string& arguments) { return Run("kvsync " + arguments); }
    // The told lines that hold it.
    long Count(const std::string& part) const {
        return std::ranges::count_if(
            told, [&](const auto& line) { return line.find(part) != line.npos; });
    }

    Strings told;
};

// "~" stands for the odd name, "|" parts the commands.
constexpr const char* kCommands =
    "configure mail --age off --size off|doctor --contacts C --maildir C|doctor --json|"
    "status --contacts C|status --json --contacts C|list contacts|list contacts --json|"
    "list contacts -v|list mail|list mail --json|show mail 0x00000001|show contacts '~'|"
    "show mail '~'|sync contacts --dry-run --contacts C|sync --contacts bad|"
    "sync contacts --contacts C|sync mail --maildir 'M~'|sync mail --maildir C --json|"
    "export contacts --to 'D~'|export mail --to 'F~'|restore '~'|backups|backups --json|'~'|"
    "shell '~'|shell contacts|sync --max-delete '~'|list contacts --nickname-file '~'|"
    "configure contacts --nickname-file 'E~/NickName/~.txt'|list contacts --config '~'";

// Whatever a file name, a mail, a contact or an argument holds, it drives no terminal, turns no
// text around and begins no line: what would is an escape among the lines that are told.
TEST(Hostile, NoForeignTextDrivesTheTerminal) {
    Bench bench;
    const std::string odd = R"(a\x1B[2J\xC2\x9B_\xE2\x80\xAE\xD8\x9C\x7F\x0D\x0Akvsync:forged)";
    const std::string alias = R"("b\x1B[2J\x81")";
    bench.Run("samples 'E" + odd + "'");
    bench.Run("write 'E" + odd + "/nndbase.txt'",
              {"alias " + alias + " b@x.org", "note " + alias + " <name:\\x1B[2J>"});
    bench.Run("write 'E" + odd + "/NickName/" + odd + ".txt'", {"alias c c@x.org"});
    bench.Run("mail 'E" + odd + "/In' 0 \\x1B\\x81\\x7F \\x1B@x.org", {"\\x1B[2J"});
    bench.Run("write 'bad/" + odd + ".vcf'", {"BEGIN:VCARD", "VERSION:4.0", "FN:d\\x1B"});
    bench.Run("write 'C/" + odd + ".vcf'",
              {"BEGIN:VCARD", "VERSION:4.0", "FN:d\\x1B\\xE2\\x80\\xAE", "END:VCARD"});
    std::string commands = kCommands;
    Replace(commands, "|", "\n");
    for (std::string command : Lines(commands)) {
        SCOPED_TRACE(command);
        const bool isList = command == "list mail --json";
        command += " --eudora 'E~'";
        Replace(command, "~", odd);
        EXPECT_LE(bench.Run("kvsync " + command, {R"(GetAppInfo 0 "C:\\Eudora\\nndbase.txt")",
                                                  "Open", "MoveFirst", "GetField 1"}),
                  5);
        std::erase_if(bench.told, [](const auto& line) {
            return line.find_first_of("+-~=") == 0 && line[1] == ' ';
        });
        EXPECT_FALSE(bench.told.empty());
        for (const auto& line : bench.told) {
            EXPECT_THAT(line, Not(HasSubstr("\\x")));
            EXPECT_FALSE(line.starts_with("kvsync:")) << line;
            const bool isTold = line.starts_with("! ");
            EXPECT_TRUE(!isList || isTold || nlohmann::json::accept(line)) << line;
        }
    }
}

#if !defined(__SANITIZE_ADDRESS__)  // which needs more address space than it uses
// However little memory there is, a run ends with what it is for or with a line.
TEST(Memory, ThatRunsOutIsALine) {
    Bench bench;
    Strings book;
    for (int i = 0; i < 20000; ++i) {
        const std::string name = "n" + std::to_string(i);
        book.push_back("alias " + name + " x@example.org");
        book.push_back("note " + name + " <name:" + std::string(60, 'x') + ">");
    }
    bench.Run("write E/nndbase.txt", book);
    int failed = 0, kilobytes = 10000;
    const auto with = [&](const std::string& arguments) {
        return bench.Run("bash -c 'ulimit -v " + std::to_string(kilobytes) + "; <build>/kvsync " +
                         arguments + " > state/list'");
    };
    while (with("--version") != 0) kilobytes += 2000;
    for (int code = 1; code != 0; kilobytes += 2000) {
        code = with("list contacts --eudora E");
        ASSERT_THAT(code, AnyOf(0, 1, 3)) << kilobytes;
        // What is made in the temporary folder may stay where no memory is left to remove it.
        std::erase_if(bench.told, [](const auto& line) { return line.starts_with("+ tmp/"); });
        EXPECT_EQ(bench.told.size(), code != 0) << ::testing::PrintToString(bench.told);
        failed += bench.Count("memory") > 0;
    }
    EXPECT_GT(failed, 0);
}
#endif

// No order of operations with any words brings the program down.
TEST(Shell, AnyScriptIsAnsweredLineByLine) {
    Bench bench;
    bench.Run("samples E");
    std::mt19937 random(1);
    for (int round = 0; round < 30; ++round) {
        Strings script;
        if (round % 3 != 0) script = {"GetAppInfo 0 \"\"", "Open", "MoveFirst"};
        while (script.size() < 150) {
            std::string line = OneOf(
                random,
                R"(GetAppInfo 0 ""|GetAppInfo 0 "C:\\Eudora\\nndbase.txt"|GetAppInfo 1|Open|Close|)"
                "MoveFirst|MoveNext|GoTo bob|GoTo 0x00000001|GetRecordID|GetModifiedInfo|Add|"
                "GetField F|GetField F T|Edit|Edit bob|Edit 0x00000002|SetField F V|SetField F V T|"
                "Update|Delete|Delete bob|DeleteAll|BatchUpdate|Errors|New contacts|New mail|"
                R"(IsOk {"F":V}|IsOk {"10":1,"F":V}|New other|Uninit|Init "JP"|TextFilter []|)"
                R"(Fields|TextFilter [{"field":"F","text":"a"}]|)"
                R"(BoolFilter [{"field":"F","value":V}]|)"
                R"(DateFilter [{"field":"F","start":V,"skip":V}]|Properties|RecordCount|)"
                "Reserved T");
            const auto put = [&](const char* mark, const char* choices) {
                for (std::size_t at; (at = line.find(mark)) != std::string::npos;) {
                    line.replace(at, 1, OneOf(random, choices));
                }
            };
            put("V", R"("x"|1|0|-1|true|null|46266.5|1e308|""|"a@b.org, c"|[]|"\r\n"|"\u0003")");
            if (line.find("etField") == 1) put("T", "1|3|4|5|7|0|9");
            put("F", "1|2|3|4|5|6|7|8|9|10|11|010x|12|-1|x");
            script.push_back(line);
        }
        const std::string kind = OneOf(random, "contacts|mail|mail|other");
        ASSERT_EQ(bench.Run("kvsync shell " + kind + " --eudora E", script), 0);
        const auto answers = std::ranges::count_if(bench.told, [](const auto& line) {
            return line.starts_with("> ") && !line.ends_with("=> ");
        });
        ASSERT_EQ(answers, 150) << ::testing::PrintToString(script);
    }
}

const std::string kContacts = "sync contacts --eudora E --contacts C";
const std::string kMail = "sync mail --eudora E --maildir M";
const std::string kAllMails =
    "configure mail --age off --size off --attachments on --attachment-size off --eudora E";

// The prefix that the runs before it made, in the world.
fs::path Prefix() {
    return fs::directory_iterator("state/kvsync/prefixes")->path();
}

// The folder of that prefix that a run which was killed left with the attachments of a mail.
std::string Incoming() {
    return Prefix() / "drive_c/windows/temp" / ("kvsync-" + Prefix().filename().string() + "-left");
}

// All that runs read and write, to be put back.
void Copy(const fs::path& from, const fs::path& to) {
    for (const char* part : {"E", "C", "M", "state", "config", "outside"}) {
        fs::remove_all(to / part);
        fs::create_directories(to);
        fs::copy(from / part, to / part,
                 fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    }
}

// Makes what somebody else may have made under a name that a run opens.
constexpr const char* kPlants[] = {"link <here>/outside/file ", "link <here>/outside/new ",
                                   "link <here>/outside ", "link /dev/zero ", "pipe "};

// A run ends, writes and makes nothing where a link leads, and takes nothing for removed.
void PlantAndRun(Bench& bench, const std::string& command, const std::string& name,
                 const std::string& plant) {
    SCOPED_TRACE(plant + name);
    Copy("kept", ".");
    fs::remove_all(name);
    bench.Run(plant + name);
    EXPECT_TRUE(bench.told.empty()) << "not planted";
    // It can write no file of more than 500 MB, and is killed if it hangs.
    const int code = bench.Run(
        "bash -c 'ulimit -f 1000000; timeout --foreground -s KILL "
        "30 <build>/kvsync " +
        command + "'");
    SCOPED_TRACE(::testing::PrintToString(bench.told));
    EXPECT_LE(code, 5);
    EXPECT_EQ(bench.Count(" outside/"), 0);
    if (name != "E/nndbase.txt") {
        EXPECT_THAT(test::ReadDisk("E/nndbase.txt"), HasSubstr("still@x"));
    }
    std::error_code odd;
    if (fs::is_regular_file("E/Trash.mbx", odd) && !fs::is_symlink("E/Trash.mbx")) {
        EXPECT_THAT(test::ReadDisk("E/Trash.mbx"), Not(HasSubstr("The text of still")));
    }
}

TEST(PlantedNames, HarmNobody) {
    Bench bench;
    // Contacts and mails that are in step, and a change for every file that a run writes.
    const auto card = [&](const std::string& name) {
        bench.Run("write C/" + name + ".vcf", {"BEGIN:VCARD", "VERSION:4.0", "FN:" + name,
                                               "EMAIL:" + name + "@x", "END:VCARD"});
    };
    bench.Run("samples E");
    bench.Run("write outside/file", {"somebody's own"});
    bench.Run("write config/kvsync/config.toml");
    for (const std::string name : {"still", "changed"}) {
        card(name);
        bench.Run("write M/new/" + name, {"From: a@b", "To: c@d", "Subject: x",
                                          "Message-ID: <" + name + ">", "", "The text of " + name});
    }
    for (const auto& command : {kContacts, kAllMails, kMail}) ASSERT_EQ(bench.Kvsync(command), 4);
    bench.Run("replace E/nndbase.txt changed@x new@x");
    ASSERT_TRUE(bench.told.empty());
    card("later");
    ASSERT_TRUE(fs::remove("M/new/changed"));
    for (const std::string name : {"M/new/later", "M/.Outbox/new/sent"}) {
        bench.Run("write " + name,
                  {"From: a@b", "To: c@d", "Subject: x", "MIME-Version: 1.0",
                   "Content-Type: application/octet-stream; name=doc.dat", "", "bytes"});
    }
    bench.Kvsync("backups");
    Copy(".", "kept");
    const std::string prefix = Prefix().string();
    const std::pair<std::string, std::string> opened[] = {
        {kContacts,
         "E/nndbase.txt E/nndbase.txt.kvnew E/nndbase.toc E/NickName/Friends.txt C/still.vcf "
         "C/later.vcf C/.kvsync-changed.vcf.tmp config/kvsync/config.toml state/kvsync/state.db "
         "state/kvsync/state.db-journal state/kvsync/state.db-wal state/kvsync/state.db.lock "
         "state/kvsync/backups/lock " +
             prefix + "/system.reg " + prefix + "/system.reg.kvnew"},
        {kMail,
         "E/In.mbx E/In.toc E/In.toc.kvnew E/Out.mbx E/Out.toc E/Trash.mbx E/Trash.toc "
         "E/Eudora.ini E/OWNER.LOK E/Attach E/Attach/doc.dat M/new/still M/new/later "
         "M/.Outbox/new/sent " +
             prefix + "/drive_c/windows/temp/eua.lock " + Incoming()},
        {"restore <time> --eudora E", "E/In.toc.kvnew E/nndbase.toc"}};
    for (const auto& [command, names] : opened) {
        for (const auto& name : Words(names)) {
            for (const std::string plant : kPlants) {
                PlantAndRun(bench, command, name, plant);
            }
        }
    }
}

}  // namespace

}  // namespace cases
