#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/host/kvsync_process.h"

// What a run stands on: its configuration, the folder that it was given, its own folder, the disk
// and the memory of the machine.
namespace host::testing {

namespace {

namespace fs = std::filesystem;
using ::testing::AllOf;
using ::testing::AnyOf;
using ::testing::HasSubstr;
using ::testing::Not;

// Read and file name are told, and what could be read of the file never passes for all of it.
TEST(SetUp, AFileThatCannotBeReadToItsEndEndsEachCommand) {
    constexpr const char* kRead[] = {
        "list @ --eudora @E",
        "show @ ann --eudora @E",
        "export @ --to @new --eudora @E",
        "sync @ --eudora @E --contacts @C --maildir @M",
        "sync --dry-run @ --eudora @E --contacts @C --maildir @M",
        "status --eudora @E --contacts @C --maildir @M",
        "doctor --eudora @E",
        "configure contacts --eudora @E --nickname-file @E/nndbase.txt"};
    const Bench bench;
    ASSERT_EQ(bench.Kvsync("configure mail --age off --size off --eudora @E").code, 4);
    ASSERT_EQ(bench.Kvsync("sync --eudora @E --contacts @C --maildir @M").code, 4);
    const auto trees = [&] {
        auto all = bench.Tree("E");
        for (const char* name : {"C", "M"}) all.merge(bench.Tree(name));
        return all;
    };
    fs::remove_all(bench.Path("E/NickName"));
    const auto before = trees();
    const auto badDisk = [&](const std::string& file) {
        return "KV_GOOD=300 KV_BAD_FILE=\"" + bench.Path(file) +
               "\" LD_PRELOAD=\"" KV_BAD_DISK "\" ASAN_OPTIONS=verify_asan_link_order=0 ";
    };
    const std::string example = "\"" KV_EXAMPLE "\" \"" KV_LIBRARY "\"";
    EXPECT_EQ(bench.OnPrefix(badDisk("E/nndbase.txt") + example).code, 1);
    for (const std::string file : {"E/nndbase.txt", "E/In.mbx", "E/In.toc"}) {
        const std::string kind = file == "E/nndbase.txt" ? "contacts" : "mail";
        for (std::string arguments : kRead) {
            if (kind == "mail" && arguments.starts_with("configure")) continue;
            if (const auto at = arguments.find("@ "); at != std::string::npos) {
                arguments.replace(at, 1, kind);
            }
            SCOPED_TRACE(file + ": " + arguments);
            const Outcome outcome = bench.KvsyncWith(badDisk(file), arguments);
            EXPECT_EQ(outcome.code, 1);
            const std::string told = outcome.out + outcome.err;
            EXPECT_THAT(told, HasSubstr(file.substr(2)));
            EXPECT_THAT(told, AnyOf(HasSubstr("error occurred while"), HasSubstr("input/output")));
            EXPECT_THAT(outcome.out, Not(AnyOf(HasSubstr("ann.harper"), HasSubstr("exported"))));
            EXPECT_FALSE(fs::exists(bench.Path("new")));
            EXPECT_EQ(trees(), before);
        }
    }
}

struct Key {
    const char *name, *first, *second;  // two values; the second one on the command line
    const char* probe;
    const char *toldFirst, *toldSecond;
};

const Key kKeys[] = {
    {"eudora", "@E", "@F", "status --contacts @C", "/E/nndbase", "/F/nndbase"},
    {"wine_prefix", "@P", "@Q", "list contacts", "/P is no", "/Q is no"},
    {"contacts", "@Ours", "@Yours", "status --eudora @E", "/Ours\n", "/Yours\n"},
    {"maildir", "@Ours", "@Yours", "doctor --eudora @E", "/Ours (made", "/Yours (made"},
    {"state", "@a.db", "@b.db", "status --eudora @E --contacts @C", "a.db", "b.db"},
    {"nickname_file", "@E/NickName/Friends.txt", "@E/NickName/Kyoto.txt",
     "status --eudora @E --contacts @C", "NickName/Friends", "NickName/Kyoto"},
    {"settings", "@none", "@nowhere", "list contacts --eudora @E", "/none", "/nowhere"},
    {"language", "DE", "FR", "shell contacts @fields --eudora @E", "Kurzname", "Pseudonyme"},
    {"code_page", "932", "1253", "doctor --eudora @E", "page: 932", "page: 1253"},
    {"prefer", "eudora", "folder", "sync contacts --dry-run --eudora @E --contacts @C",
     "folder: ann (phone)", "Eudora: ann (phone)"},
    {"max_delete", "0", "100%", "sync contacts --dry-run --eudora @E --contacts @C",
     "1 contacts would be deleted", "remove from Eudora: bob"},
};

// From the configuration file, from the command line, and from both, where the latter wins.
TEST(SetUp, EachKeyOfTheConfigurationFileWorks) {
    const Bench bench;
    bench.Write("fields", "GetAppInfo 0 \"C:\\\\Eudora\\\\nndbase.txt\"\nOpen\nFields\n");
    fs::create_directories(bench.Path("config/kvsync"));
    bench.Write("E/nndbase.txt",
                "alias ann a@x\nnote ann <phone:1>\nalias bob b@x\nalias cy c@x\n");
    fs::copy(bench.Path("E"), bench.Path("F"));
    ASSERT_EQ(bench.Kvsync("sync contacts --eudora @E --contacts @C").code, 4);
    for (const auto& [name, card] : bench.Tree("C")) {
        if (card.find("bob") != std::string::npos) fs::remove(bench.Path(name));
        const auto phone = card.find("voice:1");
        if (phone != std::string::npos) {
            bench.Write(name, std::string(card).replace(phone, 7, "voice:2"));
        }
    }
    bench.Write("E/nndbase.txt",
                "alias ann a@x\nnote ann <phone:3>\nalias bob b@x\nalias cy c@x\n");
    const auto run = [&](const Key& key, bool inFile, bool onLine) {
        std::string value = key.first, option = key.name;
        if (value.starts_with('@')) value = bench.Path(value.substr(1));
        if (key.name != std::string("code_page")) value = "'" + value + "'";
        bench.Write("config/kvsync/config.toml", inFile ? option + " = " + value + "\n" : "");
        std::ranges::replace(option, '_', '-');
        const std::string more = onLine ? " --" + option + " " + key.second : "";
        const Outcome outcome = bench.Kvsync(key.probe + more);
        return outcome.out + outcome.err;
    };
    for (const Key& key : kKeys) {
        EXPECT_THAT(run(key, true, false), HasSubstr(key.toldFirst)) << key.name;
        for (const bool both : {false, true}) {
            EXPECT_THAT(run(key, both, true),
                        AllOf(HasSubstr(key.toldSecond), Not(HasSubstr(key.toldFirst))))
                << key.name;
        }
    }
}

#if !defined(__SANITIZE_ADDRESS__)  // which needs more address space than it uses
// However little memory there is, a run ends with what it is for or with a line.
TEST(SetUp, MemoryThatRunsOutIsALine) {
    const Bench bench;
    std::string book;
    for (int i = 0; i < 20000; ++i) {
        book += "alias n" + std::to_string(i) + " x@example.org\nnote n" + std::to_string(i) +
                " <name:" + std::string(60, 'x') + ">\n";
    }
    bench.Write("E/nndbase.txt", book);
    int failed = 0, kilobytes = 10000;
    const auto with = [&](const char* arguments) {
        return bench.KvsyncWith("ulimit -v " + std::to_string(kilobytes) + ";", arguments);
    };
    while (with("--version").code != 0) kilobytes += 2000;
    for (Outcome outcome{1, {}, {}}; outcome.code != 0; kilobytes += 2000) {
        outcome = with("list contacts --eudora @E");
        ASSERT_THAT(outcome.code, AnyOf(0, 1, 3)) << kilobytes << outcome.err;
        EXPECT_EQ(std::ranges::count(outcome.err, '\n'), outcome.code != 0) << outcome.err;
        failed += outcome.err.find("memory") != std::string::npos;
    }
    EXPECT_GT(failed, 0);
}
#endif

// A person is told of a link that leads out of the folder, and nothing is written where it leads.
TEST(SetUp, LinksOutOfTheFolderAreNamedAndNotFollowed) {
    const std::pair<const char*, const char*> rows[] = {
        {"nndbase.txt", "contacts"}, {"NickName", "contacts"}, {"NickName/Kyoto.txt", "contacts"},
        {"In.mbx", "mail"},          {"In.toc", "mail"},       {"Out.mbx", "mail"},
        {"Trash.toc", "mail"},       {"Attach", "mail"}};
    for (const auto& [name, what] : rows) {
        SCOPED_TRACE(name);
        const Bench bench;
        fs::create_directories(bench.Path("else"));
        const std::string target = bench.Path("else/where"), link = bench.Path("E") + "/" + name;
        if (fs::exists(link)) fs::rename(link, target);
        fs::create_symlink(target, link);
        const std::string place = " --eudora @E --contacts @C --maildir @M";
        const std::string sync = std::string("sync ") + what + place;
        const auto before = bench.Tree("else");
        for (const std::string& command : {"status" + place, "doctor" + place, sync,
                                           "shell " + std::string(what) + " --eudora @E"}) {
            const Outcome outcome = bench.Kvsync(command);
            EXPECT_EQ(outcome.code, 3) << command;
            EXPECT_THAT(outcome.out + outcome.err, AllOf(HasSubstr(link), HasSubstr(target)));
        }
        EXPECT_EQ(bench.Tree("else"), before);
        EXPECT_FALSE(fs::exists(bench.Path("M")));
        EXPECT_THAT(bench.Kvsync(sync + " --follow-links").code, AnyOf(0, 4));
        EXPECT_NE(bench.Kvsync("doctor --follow-links" + place).code, 3);
    }
}

// Somebody else may have made what a run would call its own.
TEST(SetUp, ADryRunUsesNoFolderThatIsThereAlready) {
    const Bench bench;
    fs::create_directories(bench.Path("T"));
    bench.Write("victim", "precious");
    const Outcome outcome = bench.KvsyncWith(
        "mkdir @T/kvsync-$$ && ln -s @victim @T/kvsync-$$/system.reg.kvnew && TMPDIR=" +
            bench.Path("T") + " exec",
        "status --eudora @E --contacts @C");
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(bench.Read("victim"), "precious");
    EXPECT_EQ(bench.Tree("T").size(), 2u) << "what was there, and nothing new";
}

TEST(SetUp, WhatItMakesIsForTheUserAlone) {
    const Bench bench;
    fs::create_directories(bench.Path("state/kvsync"));
    ASSERT_EQ(bench.Kvsync("configure mail --age off --size off --eudora @E").code, 4);
    ASSERT_EQ(bench.Kvsync("sync --eudora @E --contacts @New --maildir @M").code, 4);
    const auto cards = bench.Tree("New");
    fs::remove(bench.Path(cards.begin()->first));
    ASSERT_EQ(bench.Kvsync("sync --eudora @E --contacts @New --maildir @M").code, 4);
    EXPECT_THAT(bench.Kvsync("backups").out, HasSubstr("before a sync of contacts"));
    for (const char* name : {"state/kvsync", "New", "M"}) {
        const fs::path folder = bench.Path(name);
        EXPECT_EQ(fs::status(folder).permissions(), fs::perms::owner_all) << folder;
        for (const auto& entry : fs::recursive_directory_iterator(folder)) {
            if (entry.is_symlink() ||
                entry.path().string().find("/prefixes/") != std::string::npos) {
                continue;
            }
            const auto others = entry.status().permissions() & ~fs::perms::owner_all;
            EXPECT_EQ(others, fs::perms::none) << entry.path();
        }
    }
}

struct Sickness {
    const char* madeBy;  // a shell's commands, in the folder of the test
    const char* what;
    const char* state;  // part of what is said about it
    const char* health = "fault";
    const char* arguments = "--eudora @E --contacts @C --maildir @M";
};

const Sickness kSicknesses[] = {
    {"rm -r E", "Eudora", "does not exist or cannot be reached"},
    {"true", "Eudora", "no Wine prefix", "fault", "--contacts @C --maildir @M --wine-prefix @E"},
    {"mkdir -p P/dosdevices; ln -s .. P/dosdevices/c:; echo 'WINE REGISTRY Version 2' > "
     "P/system.reg",
     "Eudora", "not registered", "fault", "--contacts @C --maildir @M --wine-prefix @P"},
    {"mkdir -p P/dosdevices; ln -s .. P/dosdevices/c:; printf '%s\\n' 'WINE REGISTRY Version 2' "
     "'[Software\\\\Microsoft\\\\Windows\\\\CurrentVersion\\\\App Paths\\\\Eudora.exe] 1' "
     "'\"Path\"=\"C:\\\\Gone\"' > P/system.reg",
     "Eudora", "C:\\Gone, which does not exist", "fault",
     "--contacts @C --maildir @M --wine-prefix @P"},
    {"touch E/OWNER.LOK", "locks", "OWNER.LOK"},
    {"chmod a-w E", "Eudora's folder", "cannot be written"},
    {"rm -r E/nndbase.txt E/NickName", "nickname file", "none in"},
    {"true", "nickname file", "none.txt does not exist", "fault",
     "--eudora @E --contacts @C --maildir @M --nickname-file @none.txt"},
    {"rm E/nndbase.txt; mkfifo E/nndbase.txt", "nickname file in use", "is no regular file"},
    {"rm E/In.mbx; mkfifo E/In.mbx", "in-box", "E is no regular file"},
    {"chmod a-w E/nndbase.txt", "nickname file in use", "read-only"},
    {"rm E/In.mbx E/In.toc", "in-box", "no In.mbx", "note"},
    {"rm E/In.toc", "in-box", "no In.toc"},
    {"printf '\\0\\1' > E/In.toc", "in-box", "Macintosh"},
    {"echo > E/In.mbx", "in-box", "do not belong together"},
    {"mkdir state; touch state/kvsync", "kvsync's own folder", "cannot be written"},
    {"true", "Maildir", "Eudora's own folder", "fault", "--eudora @E --contacts @C --maildir @E/M"},
    {"touch V", "folder of vCards", "is no folder", "fault",
     "--eudora @E --maildir @M --contacts @V"},
};

// Each fault is told once, with advice of its own that leads on.
TEST(SetUp, TheDoctorTellsEachFaultOnceAndWhatToDo) {
    for (const Sickness& row : kSicknesses) {
        SCOPED_TRACE(row.madeBy + std::string(" | ") + row.arguments);
        const Bench bench;
        ASSERT_EQ(std::system(("cd " + bench.Path("") + "; " + row.madeBy).c_str()), 0);
        const bool isFault = row.health == std::string("fault");
        const Outcome outcome = bench.Kvsync(std::string("doctor --json ") + row.arguments);
        EXPECT_EQ(outcome.code, isFault ? 3 : 0);
        int told = 0;
        for (const auto& finding : nlohmann::json::parse(outcome.out, nullptr, false)) {
            if (finding["health"] == "good") continue;
            ++told;
            EXPECT_EQ(finding["health"], row.health) << finding;
            EXPECT_EQ(finding["what"], row.what) << finding;
            EXPECT_THAT(finding["state"].get<std::string>(), HasSubstr(row.state));
            EXPECT_THAT(finding["advice"].get<std::string>(), Not(AnyOf("", HasSubstr("doctor"))));
        }
        EXPECT_EQ(told, 1) << outcome.out;
    }
}

}  // namespace

}  // namespace host::testing
