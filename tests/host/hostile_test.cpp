#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>

#include "tests/host/kvsync_process.h"

// Names, texts and things in the folders that somebody else may have put there.
namespace host::testing {

namespace {

namespace fs = std::filesystem;

constexpr const char* kSync = "sync contacts --contacts @C --eudora @E";

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

// Pipes, folders and links that lead nowhere in the place of cards and nickname files hold nothing
// up, are named, and count as no deletion.
TEST(Hostile, WhatIsNoFileIsNamedAndPassedOver) {
    const Bench bench;
    ASSERT_EQ(bench.Kvsync(kSync).code, 4);
    auto card = fs::directory_iterator(bench.Path("C"));
    const fs::path pipe = card->path(), link = (++card)->path(), loop = (++card)->path(),
                   folder = (++card)->path();
    for (const fs::path& path : {pipe, link, loop, folder}) fs::remove(path);
    fs::create_symlink("nowhere", link);
    fs::create_symlink(loop.filename(), loop);
    fs::create_directory(folder);
    for (const fs::path& path :
         {pipe, link.parent_path() / "new.vcf", fs::path(bench.Path("E/NickName/x.txt"))}) {
        ASSERT_EQ(std::system(("mkfifo '" + path.string() + "'").c_str()), 0);
    }
    const auto run = [&](const char* command, int code, int named) {
        const Outcome outcome = bench.KvsyncKilled(20, command);
        EXPECT_EQ(outcome.code, code) << command << outcome.err;
        const std::string told = outcome.out + outcome.err;
        EXPECT_EQ(CountOf("is no regular file", told), named) << command << told;
    };
    const auto before = bench.Tree("E");
    run(kSync, 0, 5);
    EXPECT_EQ(bench.Tree("E"), before);
    bench.Write("C/more.vcf", "BEGIN:VCARD\nVERSION:4.0\nFN:More\nEND:VCARD\n");
    run(kSync, 4, 5);
    run("configure mail --age off --size off --eudora @E", 4, 0);
    run("sync mail --maildir @M --eudora @E", 4, 0);
    fs::remove(fs::directory_iterator(bench.Path("M/cur"))->path());
    run("sync mail --maildir @M --eudora @E", 4, 1);
    run("doctor --eudora @E", 0, 1);
    run("list contacts --eudora @E --nickname-file @E/NickName/x.txt", 3, 1);
}

}  // namespace

}  // namespace host::testing
