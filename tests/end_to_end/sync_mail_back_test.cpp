// The way back: what happens in the Maildir reaches Eudora.
#include <gmock/gmock.h>

#include "tests/end_to_end/sync_mail_program.h"

namespace host::testing {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

class SyncMailBack : public SyncMailProgram {
  protected:
    void SetUp() override {
        // The last block of the samples is cut short; what that does is not asked here.
        std::string toc = bench.Read("E/In.toc");
        const std::size_t count = (toc.size() - 104) / 218;
        toc.resize(104 + 218 * count);
        toc[102] = static_cast<char>(count);
        bench.Write("E/In.toc", toc);
        m_odd = Faults("E", count);
        ASSERT_EQ(m_odd.size(), 1u);
        ASSERT_EQ(Unlimited().code, 4);
        ASSERT_EQ(Mail().code, 4);
    }
    fs::path First(const char* part) {
        std::vector<fs::path> files;
        for (const auto& entry : fs::directory_iterator(bench.Path(part))) {
            if (entry.path().filename().string().find("kvsync") != std::string::npos) {
                files.push_back(entry.path());
            }
        }
        return *std::ranges::min_element(files);
    }

    // One mail of the samples is said to be longer than its mailbox is.
    std::multiset<std::string> m_odd;
};

TEST_F(SyncMailBack, CarriesEveryKindOfChangeAsTheDryRunSaid) {
    Deliver("M/new/1.x", "arrived", "arrived@x");
    Deliver("M/.Outbox/new/2.x", "departing");
    const fs::path seen = First("M/new"), gone = First("M/cur");
    fs::rename(seen, bench.Path("M/cur/" + seen.filename().string() + ":2,S"));
    fs::remove(gone);
    const std::size_t count = InEudora();
    const auto before = bench.Times();
    const Outcome dry = Mail("--dry-run");
    EXPECT_EQ(dry.code, 4) << dry.err;
    EXPECT_EQ(bench.Times(), before);
    const Outcome real = Mail();
    EXPECT_EQ(real.code, 4) << real.err;
    EXPECT_THAT(real.out, StartsWith(dry.out));
    EXPECT_THAT(real.out,
                HasSubstr("mails: in Eudora 1 added, 1 changed, 1 removed; in the Maildir "
                          "0 added, 0 changed, 0 removed; 1 queued to be sent"));
    EXPECT_EQ(InEudora(), count);
    EXPECT_EQ(Faults("E", count - 1), m_odd);
    EXPECT_EQ(CountOf("\"arrived@x\"", Listed()), 1);
    EXPECT_EQ(CountOf("The text of departing", bench.Read("E/Out.mbx")), 1);
    EXPECT_FALSE(bench.Read("E/Trash.mbx").empty());
    EXPECT_TRUE(fs::exists(bench.Path("M/.Sent/cur/2.x:2,S")));
    EXPECT_TRUE(fs::is_empty(bench.Path("M/.Outbox/new")));
    EXPECT_THAT(bench.Kvsync("backups").out, HasSubstr("In.mbx"));
    ExpectNothingToDo();
}

// The first limits hide old mails: one that came from the Maildir is still known, and a file of a
// mail that is hidden is no new mail.
TEST_F(SyncMailBack, TheLimitsHideNothingFromIt) {
    ASSERT_EQ(bench.Kvsync("configure mail --eudora @E --age 7").code, 4);
    Deliver("M/new/1.x", "old", "old@x");
    ASSERT_EQ(Mail().code, 4);
    ExpectNothingToDo();
    const int count = CountOf("From ???@??? ", bench.Read("E/In.mbx"));
    const Outcome anew = Mail("--state @other.db");
    EXPECT_EQ(CountOf("From ???@??? ", bench.Read("E/In.mbx")), count) << anew.out;
    EXPECT_EQ(Mail("--state @other.db").code, 0);
}

TEST_F(SyncMailBack, ARemovalAgainstAChangeWaits) {
    // The first read mail turns unread in Eudora while its file is removed.
    const fs::path gone = First("M/cur");
    std::string toc = bench.Read("E/In.toc");
    const std::string file = "M/cur/" + gone.filename().string();
    fs::remove(gone);
    for (std::size_t at = 104; at + 218 <= toc.size(); at += 218) toc[at + 12] = 0;
    bench.Write("E/In.toc", toc);
    const Outcome both = Mail();
    EXPECT_EQ(both.code, 5) << both.err;
    EXPECT_THAT(both.out, HasSubstr("removed in the Maildir, read state changed in Eudora"));
    EXPECT_EQ(Mail().code, 5);
    EXPECT_EQ(Mail("--prefer eudora").code, 4);
    EXPECT_EQ(Mail().code, 0);
    EXPECT_EQ(Files().size(), InEudora());
}

// What cannot be remembered is not done: another program reads the memory all the time.
TEST_F(SyncMailBack, ALockedMemoryKeepsEudoraAsItIs) {
    fs::remove(First("M/cur"));
    const auto before = bench.Tree("E");
    const Outcome outcome = bench.Python(
        "-c \"import sqlite3, subprocess, sys; memory = sqlite3.connect(sys.argv[1]); "
        "memory.execute('BEGIN'); memory.execute('SELECT * FROM mail').fetchone(); "
        "sys.exit(subprocess.run([sys.argv[2], 'sync', 'mail', '--eudora', sys.argv[3], "
        "'--maildir', "
        "sys.argv[4]]).returncode)\" @state/kvsync/state.db \"" KV_PROGRAM "\" @E @M");
    EXPECT_EQ(outcome.code, 3) << outcome.out;
    EXPECT_THAT(outcome.err, HasSubstr("in use by another program"));
    EXPECT_EQ(bench.Tree("E"), before);
    EXPECT_EQ(Mail().code, 4);
}

// Damage after a backup: the backup brings everything back, and the next run loses nothing.
TEST_F(SyncMailBack, ARestoreUndoesDamage) {
    Deliver("M/new/1.x", "arrived", "arrived@x");
    fs::remove(First("M/cur"));
    const auto intact = bench.Tree("E");
    ASSERT_EQ(Mail().code, 4);
    const std::string id = bench.Kvsync("backups").out.substr(0, 15);
    const auto files = Files().size();
    bench.Write("E/In.toc", "damaged");
    bench.Write("E/In.mbx", "damaged too");
    fs::remove(bench.Path("E/nndbase.txt"));
    // A restore that is refused forgets nothing: what is in step stays so.
    const auto state = bench.Read("state/kvsync/state.db");
    fs::permissions(bench.Path("E/In.mbx"), fs::perms::owner_read);
    EXPECT_EQ(bench.Kvsync("restore " + id + " --eudora @E").code, 3);
    EXPECT_EQ(bench.Read("state/kvsync/state.db"), state);
    fs::permissions(bench.Path("E/In.mbx"), fs::perms::owner_write, fs::perm_options::add);
    const Outcome restored = bench.Kvsync("restore " + id + " --eudora @E");
    ASSERT_EQ(restored.code, 4) << restored.err;
    auto now = bench.Tree("E");
    EXPECT_EQ(now.size(), intact.size());
    for (const auto& [name, content] : intact) EXPECT_EQ(now[name], content) << name;
    // The mail that came later is in the Maildir still and goes to Eudora again; the one that was
    // removed in the meantime is back on both sides.
    const Outcome next = Mail();
    EXPECT_EQ(next.code, 4) << next.err;
    EXPECT_EQ(CountOf("\"arrived@x\"", Listed()), 1) << next.out;
    EXPECT_EQ(Files().size(), files + 1);
    EXPECT_EQ(InEudora(), Files().size()) << next.out;
    EXPECT_EQ(Faults("E", InEudora() - 1), m_odd);
    const Outcome last = Mail();
    EXPECT_EQ(last.code, 0) << last.out;
}

class RoundTrip : public SyncMailProgram {
  protected:
    // From `eudora` into a Maildir, from there into an empty Eudora folder, from there into another
    // Maildir; both Maildirs tell the same.
    void Expect(const std::string& eudora) {
        const auto sync = [&](const std::string& from, const std::string& maildir) {
            const Outcome outcome =
                bench.Kvsync("sync mail --eudora " + from + " --maildir " + maildir);
            EXPECT_EQ(outcome.code, 4) << from << outcome.err << outcome.out;
        };
        MakeEmptyEudora("F");
        ASSERT_EQ(Unlimited("@F").code, 4);
        sync(eudora, "@One");
        fs::copy(bench.Path("One"), bench.Path("Carried"), fs::copy_options::recursive);
        sync("@F", "@Carried");
        EXPECT_THAT(Faults("F", 0), IsEmpty());
        sync("@F", "@Two");
        ExpectSame("One", "Two");
    }
    void ExpectSame(const std::string& one, const std::string& other) {
        const Outcome compared = bench.Python("\"" KV_COMPARER "\" @" + one + " @" + other);
        EXPECT_EQ(compared.code, 0) << compared.out << compared.err;
    }
    void SetUp() override { ASSERT_EQ(Unlimited().code, 4); }
};

TEST_F(RoundTrip, TheSamplesArriveAsTheyLeft) {
    Expect("@E");
}

TEST_F(RoundTrip, MailsOfManyKindsArriveAsTheyLeft) {
    ASSERT_EQ(bench.Python("\"" KV_MAKER "\" @Made 150").code, 0);
    MakeEmptyEudora("G");
    ASSERT_EQ(Unlimited("@G").code, 4);
    fs::copy(bench.Path("Made"), bench.Path("Given"), fs::copy_options::recursive);
    ASSERT_EQ(bench.Kvsync("sync mail --eudora @G --maildir @Given").code, 4);
    Expect("@G");
    ExpectSame("Made", "Two");
}

}  // namespace
}  // namespace host::testing
