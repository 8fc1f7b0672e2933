#include <gmock/gmock.h>

#include <cstdlib>
#include <functional>

#include "tests/end_to_end/sync_mail_program.h"

namespace host::testing {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

const std::string kContacts = "sync contacts --eudora @E --contacts @C";
const std::string kMail = "sync mail --eudora @E --maildir @M";

// Somebody else made what a name stands for that is opened.
class PlantedNames : public SyncMailProgram {
  protected:
    struct Kind {
        const char* what;
        std::function<void(const std::string&)> plant;
    };
    std::vector<Kind> Kinds() {
        const auto link = [](const std::string& to) {
            return [to](const std::string& at) { fs::create_symlink(to, at); };
        };
        return {{"a link to a file", link(bench.Path("outside/file"))},
                {"a link to nothing", link(bench.Path("outside/new"))},
                {"a link to a device", link("/dev/zero")},
                {"a pipe", [](const std::string& at) {
                     ASSERT_EQ(std::system(("mkfifo " + at).c_str()), 0);
                 }}};
    }

    // A contact and a mail that are in step, and a change for every file to be written.
    void SetUp() override {
        bench.Write("outside/file", "somebody's own");
        bench.Write("config/kvsync/config.toml", "");
        for (const std::string name : {"still", "changed"}) PutCard(name);
        for (const std::string name : {"Still", "Gone"}) Deliver("M/new/" + name, name, name);
        ASSERT_EQ(bench.Kvsync(kContacts).code, 4);
        ASSERT_EQ(Unlimited().code, 4);
        ASSERT_EQ(Mail().code, 4);
        std::string book = bench.Read("E/nndbase.txt");
        ASSERT_NE(book.find("changed@x"), book.npos);
        bench.Write("E/nndbase.txt", book.replace(book.find("changed@x"), 3, "new"));
        PutCard("later");
        ASSERT_TRUE(fs::remove(bench.Path(FileOf("Gone"))));
        for (const std::string name : {"M/new/Later", "M/.Outbox/new/Sent"}) {
            bench.Write(name,
                        "From: a@b\nTo: c@d\nSubject: x\nMIME-Version: 1.0\n"
                        "Content-Type: application/octet-stream; name=doc.dat\n\nbytes\n");
        }
        Copy("", "kept/");
    }
    void PutCard(const std::string& name) {
        bench.Write("C/" + name + ".vcf",
                    "BEGIN:VCARD\nVERSION:4.0\nFN:" + name + "\nEMAIL:" + name + "@x\nEND:VCARD\n");
    }
    // The file of a mail, below the folder of the test.
    std::string FileOf(const std::string& id) {
        for (const fs::path& file : Files()) {
            const std::string name = fs::relative(file, bench.Path("")).string();
            if (bench.Read(name).find('<' + id + '>') != std::string::npos) return name;
        }
        return {};
    }
    std::string PrefixFile(const std::string& name) {
        for (const auto& entry : fs::directory_iterator(bench.Path("state/kvsync/prefixes"))) {
            return fs::relative(entry.path() / name, bench.Path("")).string();
        }
        return {};
    }
    void Copy(const std::string& from, const std::string& to) {
        for (const std::string part : {"E", "C", "M", "state", "config", "outside"}) {
            fs::remove_all(bench.Path(to + part));
            fs::create_directories(bench.Path(to));
            fs::copy(bench.Path(from + part), bench.Path(to + part),
                     fs::copy_options::recursive | fs::copy_options::copy_symlinks);
        }
    }
};

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
                                        {kMail, FileOf("Still")},
                                        {kMail, "M/new/Later"},
                                        {kMail, "M/.Outbox/new/Sent"},
                                        {restore, "E/In.toc.kvnew"},
                                        {restore, "E/nndbase.toc"}}) {
        for (const Kind& kind : Kinds()) {
            SCOPED_TRACE(name + ": " + kind.what);
            Copy("kept/", "");
            fs::remove_all(bench.Path(name));
            kind.plant(bench.Path(name));
            const Outcome run = bench.KvsyncKilled(30, command);
            SCOPED_TRACE(run.out + run.err);
            EXPECT_LE(run.code, 5);
            EXPECT_EQ(bench.Tree("outside"), outside);
            auto eudora = bench.Tree("E");
            if (name != "E/nndbase.txt") {
                EXPECT_THAT(eudora["E/nndbase.txt"], HasSubstr("still@x"));
            }
            EXPECT_THAT(eudora["E/Trash.mbx"], Not(HasSubstr("The text of Still")));
        }
    }
}

}  // namespace
}  // namespace host::testing
