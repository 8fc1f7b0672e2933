// Sweeps over the built program: what no case of tests/cases can say in a few lines.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <sstream>

#include "mailbox/toc_records.h"
#include "tests/host/kvsync_process.h"
#include "tests/host/one_of.h"
#include "tests/platform/temp_folder.h"

namespace host::testing {

namespace {

namespace fs = std::filesystem;
using ::testing::AnyOf;
using ::testing::HasSubstr;
using ::testing::Not;

// "~" stands for the odd name, "|" parts the commands.
constexpr const char* kCommands =
    "configure mail --age off --size off|doctor --contacts @C --maildir @C|doctor --json|"
    "status --contacts @C|status --json --contacts @C|list contacts|list contacts --json|"
    "list contacts -v|list mail|list mail --json|show mail 0x00000001|show contacts '~'|"
    "show mail '~'|sync contacts --dry-run --contacts @C|sync --contacts @bad|"
    "sync contacts --contacts @C|sync mail --maildir @M~|sync mail --maildir @C --json|"
    "export contacts --to @D~|export mail --to @F~|restore '~'|backups|backups --json|'~'|"
    "shell '~'|shell contacts|sync --max-delete '~'|list contacts --nickname-file @~|"
    "configure contacts --nickname-file @E~/NickName/~.txt|list contacts --config @~";

// Whatever a file name, a mail, a contact or an argument holds, it drives no terminal, turns no
// text around and begins no line.
TEST(Hostile, NoForeignTextDrivesTheTerminal) {
    const Bench bench;
    const std::string odd = "a\x1B[2J\xC2\x9B_\xE2\x80\xAE\xD8\x9C\x7F\r\nkvsync:forged";
    fs::rename(bench.Path("E"), bench.Path("E" + odd));
    const std::string eudora = "E" + odd + "/", alias = "\"b\x1B[2J\x81\"";
    bench.Write(eudora + "nndbase.txt",
                "alias " + alias + " b@x.org\nnote " + alias + " <name:\x1B[2J>\n");
    bench.Write(eudora + "NickName/" + odd + ".txt", "alias c c@x.org\n");
    std::string inBox = bench.Read(eudora + "In.mbx");
    for (std::size_t at = 0; (at = inBox.find("\nSubject: ", at)) != std::string::npos; ++at) {
        inBox.replace(at + 10, 3, "\x1B\x81\x7F");
    }
    bench.Write(eudora + "In.mbx", inBox);
    const std::string card = "BEGIN:VCARD\nVERSION:4.0\nFN:d\x1B\xE2\x80\xAE\n";
    fs::create_directories(bench.Path("bad"));
    bench.Write("bad/" + odd + ".vcf", card);
    bench.Write("C/" + odd + ".vcf", card + "END:VCARD\n");
    std::istringstream commands(kCommands);
    for (std::string command; std::getline(commands, command, '|');) {
        SCOPED_TRACE(command);
        const bool isJson = command.find("--json") != std::string::npos;
        command += " --eudora @E~";
        for (std::size_t at; (at = command.find('~')) != std::string::npos;) {
            command.replace(at, 1, odd);
        }
        const Outcome outcome = bench.Kvsync(
            command, "GetAppInfo 0 \"C:\\\\Eudora\\\\nndbase.txt\"\nOpen\nMoveFirst\nGetField 1\n");
        const std::string told = outcome.out + outcome.err;
        EXPECT_LE(outcome.code, 5);
        EXPECT_FALSE(told.empty());
        for (const char* part : {"\x1B", "\xC2\x81", "\xC2\x9B", "\xE2\x80\xAE", "\xD8\x9C", "\x7F",
                                 "\r", "\nkvsync:forged"}) {
            EXPECT_EQ(CountOf(part, told), 0) << nlohmann::json(part) << nlohmann::json(told);
        }
        std::istringstream values(isJson ? outcome.out : "");
        for (std::string line; command.starts_with("list mail") && std::getline(values, line);) {
            EXPECT_TRUE(nlohmann::json::accept(line)) << line;
        }
    }
}

#if !defined(__SANITIZE_ADDRESS__)  // which needs more address space than it uses
// However little memory there is, a run ends with what it is for or with a line.
TEST(Memory, ThatRunsOutIsALine) {
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

// No order of operations with any words brings the program down.
TEST(Shell, AnyScriptIsAnsweredLineByLine) {
    const Bench bench;
    std::mt19937 random(1);
    for (int round = 0; round < 30; ++round) {
        std::string script = round % 3 == 0 ? "" : "GetAppInfo 0 \"\"\nOpen\nMoveFirst\n";
        while (std::count(script.begin(), script.end(), '\n') < 150) {
            std::string line = OneOf(
                random,
                "GetAppInfo 0 \"\"|GetAppInfo 0 \"C:\\\\Eudora\\\\nndbase.txt\"|GetAppInfo 1|Open|"
                "Close|MoveFirst|MoveNext|GoTo bob|GoTo 0x00000001|GetRecordID|GetModifiedInfo|Add|"
                "GetField F|GetField F T|Edit|Edit bob|Edit 0x00000002|SetField F V|SetField F V T|"
                "Update|Delete|Delete bob|DeleteAll|BatchUpdate|IsOk {\"F\":V}|IsOk "
                "{\"10\":1,\"F\":V}|"
                "Errors|New contacts|New mail|New other|Uninit|Init \"JP\"|TextFilter []|Fields|"
                "TextFilter [{\"field\":\"F\",\"text\":\"a\"}]|BoolFilter "
                "[{\"field\":\"F\",\"value\":V}]|"
                "DateFilter "
                "[{\"field\":\"F\",\"start\":V,\"skip\":V}]|Properties|RecordCount|Reserved T");
            const auto put = [&](const char* mark, const char* choices) {
                for (std::size_t at; (at = line.find(mark)) != std::string::npos;) {
                    line.replace(at, 1, OneOf(random, choices));
                }
            };
            put("V",
                "\"x\"|1|0|-1|true|null|46266.5|1e308|\"\"|\"a@b.org, "
                "c\"|[]|\"\\r\\n\"|\"\\u0003\"");
            if (line.starts_with("GetField") || line.starts_with("SetField"))
                put("T", "1|3|4|5|7|0|9");
            put("F", "1|2|3|4|5|6|7|8|9|10|11|010x|12|-1|x");
            script += line + '\n';
        }
        const auto answers = bench.Shell(OneOf(random, "contacts|mail|mail|other"), script);
        ASSERT_EQ(answers.size(), 150u) << script;
        for (const auto& answer : answers) ASSERT_TRUE(answer.contains("op")) << answer.dump();
    }
}

const std::string kContacts = "sync contacts --eudora @E --contacts @C";
const std::string kMail = "sync mail --eudora @E --maildir @M";

const std::string kAllMails =
    "configure mail --age off --size off --attachments on --attachment-size off --eudora @E";

// The prefix that the runs before it made.
fs::path PrefixOf(const Bench& bench) {
    return fs::directory_iterator(bench.Path("state/kvsync/prefixes"))->path();
}

// Contacts and mails that are in step, and a change for every file that a run writes.
class PlantedNames : public ::testing::Test {
  protected:
    void SetUp() override {
        bench.Write("outside/file", "somebody's own");
        bench.Write("config/kvsync/config.toml", "");
        for (const std::string name : {"still", "changed"}) {
            PutCard(name);
            bench.Write("M/new/" + name, "From: a@b\nTo: c@d\nSubject: x\nMessage-ID: <" + name +
                                             ">\n\nThe text of " + name + "\n");
        }
        for (const auto& command : {kContacts, kAllMails, kMail}) {
            ASSERT_EQ(bench.Kvsync(command).code, 4);
        }
        std::string book = bench.Read("E/nndbase.txt");
        ASSERT_NE(book.find("changed@x"), book.npos);
        bench.Write("E/nndbase.txt", book.replace(book.find("changed@x"), 3, "new"));
        PutCard("later");
        ASSERT_TRUE(fs::remove(bench.Path("M/new/changed")));
        for (const std::string name : {"M/new/later", "M/.Outbox/new/sent"}) {
            bench.Write(name,
                        "From: a@b\nTo: c@d\nSubject: x\nMIME-Version: 1.0\n"
                        "Content-Type: application/octet-stream; name=doc.dat\n\nbytes\n");
        }
        Copy("", "kept/");
    }
    void PutCard(const std::string& name) const {
        bench.Write("C/" + name + ".vcf",
                    "BEGIN:VCARD\nVERSION:4.0\nFN:" + name + "\nEMAIL:" + name + "@x\nEND:VCARD\n");
    }
    std::string PrefixFile(const std::string& name) const {
        return (PrefixOf(bench) / name).lexically_relative(bench.Path("")).string();
    }
    void Copy(const std::string& from, const std::string& to) const {
        for (const std::string part : {"E", "C", "M", "state", "config", "outside"}) {
            fs::remove_all(bench.Path(to + part));
            fs::create_directories(bench.Path(to));
            fs::copy(bench.Path(from + part), bench.Path(to + part),
                     fs::copy_options::recursive | fs::copy_options::copy_symlinks);
        }
    }

    Bench bench;
};

// What somebody else may have made under a name that a run opens.
struct Kind {
    const char* what;
    std::function<void(const Bench& bench, const std::string& at)> plant;
};

const Kind kKinds[] = {
    {"a link to a file",
     [](const Bench& bench, const std::string& at) {
         fs::create_symlink(bench.Path("outside/file"), at);
     }},
    {"a link to nothing",
     [](const Bench& bench, const std::string& at) {
         fs::create_symlink(bench.Path("outside/new"), at);
     }},
    {"a link to a device",
     [](const Bench&, const std::string& at) { fs::create_symlink("/dev/zero", at); }},
    {"a pipe", [](const Bench&, const std::string& at) {
         ASSERT_EQ(std::system(("mkfifo " + at).c_str()), 0);
     }}};

// A run ends, writes and makes nothing where a link leads, and takes nothing for removed.
TEST_F(PlantedNames, HarmNobody) {
    const auto outside = bench.Tree("outside");
    std::string restore = bench.Kvsync("backups").out;
    restore = "restore " + restore.substr(restore.rfind('\n', restore.size() - 2) + 1, 17);
    restore = restore.substr(0, restore.find("  ")) + " --eudora @E";
    for (const auto& [command, name] : {std::pair{kContacts, std::string("E/nndbase.txt")},
                                        {kContacts, "E/nndbase.txt.kvnew"},
                                        {kContacts, "E/nndbase.toc"},
                                        {kContacts, "E/NickName/Friends.txt"},
                                        {kContacts, "C/still.vcf"},
                                        {kContacts, "C/later.vcf"},
                                        {kContacts, "C/.kvsync-changed.vcf.tmp"},
                                        {kContacts, "config/kvsync/config.toml"},
                                        {kContacts, "state/kvsync/state.db"},
                                        {kContacts, "state/kvsync/state.db-journal"},
                                        {kContacts, "state/kvsync/state.db-wal"},
                                        {kContacts, "state/kvsync/state.db.lock"},
                                        {kContacts, "state/kvsync/backups/lock"},
                                        {kContacts, PrefixFile("system.reg")},
                                        {kContacts, PrefixFile("system.reg.kvnew")},
                                        {kMail, "E/In.mbx"},
                                        {kMail, "E/In.toc"},
                                        {kMail, "E/In.toc.kvnew"},
                                        {kMail, "E/Out.mbx"},
                                        {kMail, "E/Out.toc"},
                                        {kMail, "E/Trash.mbx"},
                                        {kMail, "E/Trash.toc"},
                                        {kMail, "E/Eudora.ini"},
                                        {kMail, "E/OWNER.LOK"},
                                        {kMail, PrefixFile("drive_c/windows/temp/eua.lock")},
                                        {kMail, "E/Attach"},
                                        {kMail, "E/Attach/doc.dat"},
                                        {kMail, std::string("M/new/still")},
                                        {kMail, "M/new/later"},
                                        {kMail, "M/.Outbox/new/sent"},
                                        {restore, "E/In.toc.kvnew"},
                                        {restore, "E/nndbase.toc"}}) {
        for (const Kind& kind : kKinds) {
            SCOPED_TRACE(name + ": " + kind.what);
            Copy("kept/", "");
            fs::remove_all(bench.Path(name));
            kind.plant(bench, bench.Path(name));
            const Outcome run = bench.KvsyncKilled(30, command);
            SCOPED_TRACE(run.out + run.err);
            EXPECT_LE(run.code, 5);
            EXPECT_EQ(bench.Tree("outside"), outside);
            auto eudora = bench.Tree("E");
            if (name != "E/nndbase.txt") {
                EXPECT_THAT(eudora["E/nndbase.txt"], HasSubstr("still@x"));
            }
            EXPECT_THAT(eudora["E/Trash.mbx"], Not(HasSubstr("The text of still")));
        }
    }
}

// An in-box of one mail that ends in lines with these paths.
void PutMail(const Bench& bench, const std::vector<std::string>& paths) {
    std::string mail =
        "From ???@??"
        "? Tue Nov 24 10:00:00 2020\r\nFrom: a@b.c\r\nTo: b@c.d\r\n"
        "Date: Tue, 24 Nov 2020 10:00:00 +0100\r\nSubject: s\r\n\r\nlook\r\n";
    for (const auto& path : paths) mail += "\r\n\r\nAttachment Converted: \"" + path + "\"";
    mail += "\r\n";
    mailbox::MsgBlock block;
    block.dwLength = static_cast<std::uint32_t>(mail.size());
    block.dwMsgId = 1;
    auto header = mailbox::TocHeader::Decode(mailbox::NewTocHeader());
    header.wNumberOfMsgs = 1;
    bench.Write("E/In.mbx", mail);
    bench.Write("E/In.toc", header.Encode() + block.Encode());
}

// The cost is bounded by the number of lines, not by what they name.
TEST(AttachmentLines, ThousandsAreReadAtOnce) {
    const Bench bench;
    ASSERT_EQ(bench.Kvsync(kAllMails).code, 4);
    std::vector<std::string> paths(20000);
    for (std::size_t i = 0; i < paths.size(); ++i) {
        paths[i] = "C:\\Eudora\\Attach\\" + std::to_string(i) + ".txt";
        if (i % 100 == 0) bench.Write("E/Attach/" + std::to_string(i) + ".txt", "x");
    }
    PutMail(bench, paths);
    const Outcome outcome = bench.KvsyncKilled(60, kMail);
    ASSERT_EQ(outcome.code, 4) << outcome.out << outcome.err;
    const std::string mail = test::ReadDisk(fs::directory_iterator(bench.Path("M/new"))->path());
    EXPECT_EQ(CountOf("Content-Disposition: attachment", mail), 10) << "of the last thousand";
    EXPECT_EQ(CountOf("Attachment Converted:", mail), 19990);
}

TEST(AttachmentLines, LeaveNoCopiesBehind) {
    const Bench bench;
    ASSERT_EQ(bench.Kvsync(kAllMails).code, 4);
    const auto temp = PrefixOf(bench) / "drive_c/windows/temp";
    PutMail(bench, {"C:\\Eudora\\Attach\\tide-table.txt"});
    for (const auto& path : {fs::path(bench.Path("E/Attach/tide-table.txt")), temp / "eua1A.tmp",
                             temp / "Qzv1A.tmp"}) {
        if (!fs::exists(path)) test::WriteDisk(path, "of a run that was killed");
        fs::permissions(path, fs::perms::owner_read);
    }
    for (int run = 0; run < 2; ++run) {
        EXPECT_EQ(bench.Kvsync(kMail).code, run == 0 ? 4 : 0);
        EXPECT_TRUE(fs::is_empty(temp));
    }
}

}  // namespace

}  // namespace host::testing
