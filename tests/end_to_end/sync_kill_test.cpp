#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <random>

#include "tests/host/kvsync_process.h"

namespace host::testing {
namespace {

using ::testing::HasSubstr;

constexpr const char* kSync = "sync contacts --eudora @E --contacts @C --state @S/state.sqlite";

// A Eudora folder and a contacts folder that kvsync keeps in step, as processes of its own.
class SyncProgram : public ::testing::Test {
  protected:
    void AddToBook(const std::string& nickname, const std::string& note) {
        bench.Write("E/nndbase.txt", bench.Read("E/nndbase.txt") + "\r\nalias " + nickname + " " +
                                         nickname + "@x\r\nnote " + nickname + " <name:N " +
                                         nickname + ">" + note);
    }
    void AddCard(const std::string& name, const std::string& note) {
        bench.Write("C/" + name + ".vcf", "BEGIN:VCARD\nVERSION:4.0\nFN:Same Name\nNOTE:" + note +
                                              "\nX-OWN:kept\nEND:VCARD\n");
    }
    // All files of the folder in one text; the run must have left nothing but cards there.
    std::string AllCards() {
        std::string all;
        for (const auto& [name, content] : bench.Tree("C")) {
            EXPECT_TRUE(name.ends_with(".vcf")) << name;
            all += content;
        }
        return all;
    }

    Bench bench;
};

TEST_F(SyncProgram, TheWayOutOfADamagedStateDoublesNothing) {
    ASSERT_EQ(bench.Kvsync(kSync).code, 4);
    AddToBook("later", "x");
    const std::string book = bench.Read("E/nndbase.txt");
    bench.Write("S/state.sqlite", std::string(5000, 'x'));
    const Outcome refused = bench.Kvsync(kSync);
    EXPECT_EQ(refused.code, 3);
    EXPECT_THAT(refused.err, HasSubstr("move it away"));
    EXPECT_EQ(bench.Read("E/nndbase.txt"), book);
    std::filesystem::remove(bench.Path("S/state.sqlite"));
    const int cards = CountOf("END:VCARD", AllCards());
    EXPECT_EQ(bench.Kvsync(kSync).code, 4);
    EXPECT_EQ(CountOf("END:VCARD", AllCards()), cards + 1);
}

// Edits on both sides, a run killed after a random time, a whole run: every contact is there on
// both sides, once.
TEST_F(SyncProgram, AKillLosesAndDoublesNothing) {
    // The kills fall into the time that a whole run takes on this machine.
    const auto begin = std::chrono::steady_clock::now();
    ASSERT_EQ(bench.Kvsync(kSync).code, 4);
    const std::chrono::duration<double> whole = std::chrono::steady_clock::now() - begin;
    std::mt19937 random(20260101);
    std::uniform_real_distribution<double> moment(0.001, whole.count());
    const int perRound = 5, rounds = 25;
    int killed = 0;
    for (int round = 0; round < rounds; ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        const auto number = [&](int i) { return std::to_string(round) + "x" + std::to_string(i); };
        for (int i = 0; i < perRound; ++i) {
            AddToBook("e" + number(i), "tokenE" + number(i) + ".");
            AddCard("f" + number(i), "tokenF" + number(i) + ".");
        }
        killed += bench.KvsyncKilled(moment(random), kSync).code == 137;
        const Outcome next = bench.Kvsync(kSync);
        ASSERT_TRUE(next.code == 0 || next.code == 4) << next.code << next.err;
        ASSERT_EQ(bench.Kvsync(kSync).code, 0);
        const std::string cards = AllCards(), book = bench.Read("E/nndbase.txt");
        for (int i = 0; i < perRound; ++i) {
            for (const std::string token : {"tokenE", "tokenF"}) {
                EXPECT_EQ(CountOf(token + number(i) + ".", cards), 1) << token << number(i);
                EXPECT_EQ(CountOf(token + number(i) + ".", book), 1) << token << number(i);
            }
        }
        EXPECT_EQ(CountOf("X-OWN:kept", cards), (round + 1) * perRound);
        if (HasFailure()) return;
    }
    EXPECT_GT(killed, 0);
}

}  // namespace
}  // namespace host::testing
