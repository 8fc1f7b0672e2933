#include <gtest/gtest.h>
#include <chrono>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <sstream>

#include "platform/os/program.h"

namespace {

namespace fs = std::filesystem;

std::string ReadFile(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

// A Eudora folder and a contacts folder that kvsync keeps in step, as processes of its own.
class SyncProgram : public ::testing::Test {
  protected:
    void SetUp() override {
        const auto& info = *::testing::UnitTest::GetInstance()->current_test_info();
        m_root = fs::temp_directory_path() / (std::string("kvsync-e2e-") + info.name() + "-" +
                                              std::to_string(platform::ProcessNumber()));
        fs::remove_all(m_root);
        fs::create_directories(m_root);
        fs::copy(KV_SAMPLES, Eudora(), fs::copy_options::recursive);
    }
    void TearDown() override { fs::remove_all(m_root); }

    fs::path Eudora() const { return m_root / "E"; }
    fs::path Book() const { return Eudora() / "nndbase.txt"; }
    fs::path Cards() const { return m_root / "C"; }

    // The exit code; `before` stands in front of the command line.
    int Sync(const std::string& more = "", const std::string& before = "") const {
        const std::string root = m_root.string();
        const std::string command = before + " " KV_PROGRAM " sync contacts --eudora " + root +
                                    "/E --contacts " + root + "/C --state " + root +
                                    "/S/state.sqlite " + more + " >" + root + "/out 2>" + root +
                                    "/err";
        const int status = std::system(command.c_str());
        return (status >> 8) & 0xFF;
    }
    std::string Output() const { return ReadFile(m_root / "out"); }
    std::string Errors() const { return ReadFile(m_root / "err"); }

    // Every file with its content and time.
    std::map<std::string, std::string> Snapshot(const fs::path& folder) const {
        std::map<std::string, std::string> files;
        for (const auto& entry : fs::recursive_directory_iterator(folder)) {
            if (!entry.is_regular_file()) continue;
            files[entry.path().string()] =
                std::to_string(entry.last_write_time().time_since_epoch().count()) +
                ReadFile(entry.path());
        }
        return files;
    }
    std::string AllCards() const {
        std::string all;
        for (const auto& entry : fs::directory_iterator(Cards())) {
            if (entry.path().extension() == ".vcf") all += ReadFile(entry.path());
        }
        return all;
    }
    void AddToBook(const std::string& nickname, const std::string& note) const {
        std::string book = ReadFile(Book());
        book += "\r\nalias " + nickname + " " + nickname + "@x\r\nnote " + nickname + " <name:N " +
                nickname + ">" + note;
        std::ofstream(Book(), std::ios::binary | std::ios::trunc) << book;
    }
    void AddCard(const std::string& name, const std::string& note) const {
        std::ofstream(Cards() / (name + ".vcf"), std::ios::binary)
            << "BEGIN:VCARD\nVERSION:4.0\nFN:Same Name\nNOTE:" << note
            << "\nX-OWN:kept\nEND:VCARD\n";
    }

    fs::path m_root;
};

int Count(const std::string& text, const std::string& part) {
    int count = 0;
    for (std::size_t at = 0; (at = text.find(part, at)) != std::string::npos; at += part.size()) {
        ++count;
    }
    return count;
}

TEST_F(SyncProgram, TheDryRunPrintsTheRealPlanAndWritesNothing) {
    const auto before = Snapshot(m_root);
    ASSERT_EQ(Sync("--dry-run"), 4) << Errors();
    const std::string plan = Output();
    fs::remove(m_root / "out");
    fs::remove(m_root / "err");
    EXPECT_EQ(Snapshot(m_root), before);
    ASSERT_EQ(Sync(), 4) << Errors();
    EXPECT_EQ(Output(), plan);
    const auto after = Snapshot(m_root);
    EXPECT_EQ(Sync(), 0) << Output();
    auto again = Snapshot(m_root);
    for (const auto* name : {"out", "err"}) again[(m_root / name).string()] = "";
    auto expected = after;
    for (const auto* name : {"out", "err"}) expected[(m_root / name).string()] = "";
    EXPECT_EQ(again, expected);
}

TEST_F(SyncProgram, BadInputIsOneLineAndChangesNothing) {
    ASSERT_EQ(Sync(), 4) << Errors();
    std::ofstream(Cards() / "bad.vcf") << "BEGIN:VCARD\nVERSION:4.0\noops\n";
    AddToBook("later", "x");
    const auto book = ReadFile(Book());
    EXPECT_EQ(Sync(), 3);
    EXPECT_NE(Errors().find("bad.vcf, line 3"), std::string::npos) << Errors();
    EXPECT_EQ(Count(Errors(), "\n"), 1);
    fs::remove(Cards() / "bad.vcf");
    const std::string state = ReadFile(m_root / "S/state.sqlite");
    std::ofstream(m_root / "S/state.sqlite", std::ios::binary | std::ios::trunc)
        << std::string(5000, 'x');
    EXPECT_EQ(Sync(), 3);
    EXPECT_NE(Errors().find("move it away"), std::string::npos) << Errors();
    EXPECT_EQ(ReadFile(Book()), book);
    // The way out that the line names.
    fs::remove(m_root / "S/state.sqlite");
    const int cards = Count(AllCards(), "END:VCARD");
    EXPECT_EQ(Sync(), 4) << Errors();
    EXPECT_EQ(Count(AllCards(), "END:VCARD"), cards + 1);
}

// Edits on both sides, a run killed after a random time, a whole run: every contact is there on
// both sides, once.
TEST_F(SyncProgram, AKillLosesAndDoublesNothing) {
    // The kills fall into the time that a whole run takes on this machine.
    const auto begin = std::chrono::steady_clock::now();
    ASSERT_EQ(Sync(), 4) << Errors();
    const std::chrono::duration<double> whole = std::chrono::steady_clock::now() - begin;
    std::mt19937 random(20260101);
    std::uniform_real_distribution<double> moment(0.001, whole.count());
    const int perRound = 5, rounds = 25;
    int killed = 0;
    for (int round = 0; round < rounds; ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        for (int i = 0; i < perRound; ++i) {
            const std::string number = std::to_string(round) + "x" + std::to_string(i);
            AddToBook("e" + number, "tokenE" + number + ".");
            AddCard("f" + number, "tokenF" + number + ".");
        }
        // In the foreground, so that the killed run is gone when its exit code is there.
        char limit[64];
        std::snprintf(limit, sizeof limit, "timeout --foreground -s KILL %.4f", moment(random));
        killed += Sync("", limit) == 137;
        const int code = Sync();
        ASSERT_TRUE(code == 0 || code == 4) << code << Errors();
        ASSERT_EQ(Sync(), 0) << Output();
        const std::string cards = AllCards(), book = ReadFile(Book());
        for (int i = 0; i < perRound; ++i) {
            const std::string number = std::to_string(round) + "x" + std::to_string(i) + ".";
            for (const auto* token : {"tokenE", "tokenF"}) {
                EXPECT_EQ(Count(cards, token + number), 1) << token << number;
                EXPECT_EQ(Count(book, token + number), 1) << token << number;
            }
        }
        EXPECT_EQ(Count(cards, "X-OWN:kept"), (round + 1) * perRound);
        for (const auto& entry : fs::directory_iterator(Cards())) {
            EXPECT_EQ(entry.path().extension(), ".vcf");
        }
        if (HasFailure()) return;
    }
    RecordProperty("killed", killed);
    EXPECT_GT(killed, 0);
}

}  // namespace
