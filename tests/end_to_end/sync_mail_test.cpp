#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <map>

#include "tests/end_to_end/sync_mail_program.h"

namespace host::testing {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

TEST_F(SyncMailProgram, BringsTheWholeInBoxAndThenNothingMore) {
    ASSERT_EQ(Unlimited().code, 4);
    const Outcome first = Mail();
    ASSERT_EQ(first.code, 4) << first.err << first.out;
    const std::size_t count = InEudora();
    EXPECT_GE(count, 30u);
    EXPECT_EQ(Files().size(), count);
    EXPECT_THAT(first.out, HasSubstr(std::to_string(count) + " added"));
    // Two mails have no place in the index of ids, and one of another code page has control
    // characters in its subject.
    EXPECT_THAT(first.out + first.err, Not(HasSubstr("failed")));
    EXPECT_THAT(first.out, Not(HasSubstr("\xC2\x8D")));
    const auto before = Snapshot();
    const Outcome second = Mail();
    EXPECT_EQ(second.code, 0) << second.out << second.err;
    const auto after = Snapshot();
    for (const auto& [name, stamp] : after) {
        const bool isScratch = name.find("/temp") != std::string::npos;
        if (isScratch) continue;
        ASSERT_TRUE(before.contains(name)) << name << " is new";
        EXPECT_EQ(before.at(name), stamp) << name << " was written";
    }
}

TEST_F(SyncMailProgram, ADryRunTellsTheRealPlanAndWritesNothing) {
    ASSERT_EQ(Unlimited().code, 4);
    const auto before = Snapshot();
    const Outcome dry = Mail({"--dry-run"});
    EXPECT_EQ(dry.code, 4) << dry.err;
    EXPECT_EQ(Snapshot(), before);
    // The real run may add what only the reading of each mail shows.
    EXPECT_THAT(Mail().out, StartsWith(dry.out));
}

TEST_F(SyncMailProgram, TellsWhatTheLimitsLeaveOutAndKeepsWhatGrewOld) {
    const Outcome limited = Mail();
    EXPECT_EQ(limited.code, 0) << limited.err << limited.out;
    EXPECT_THAT(limited.out, HasSubstr("older than 7 days"));
    EXPECT_THAT(limited.out, HasSubstr("kvsync configure mail"));
    ASSERT_EQ(Unlimited().code, 4);
    ASSERT_EQ(Mail().code, 4);
    const auto files = Files();
    ASSERT_EQ(bench.Kvsync({"configure", "mail", "--eudora", "@E", "--age", "7"}).code, 4);
    const Outcome again = Mail();
    EXPECT_EQ(again.code, 0) << again.out << again.err;
    EXPECT_EQ(Files(), files);
}

TEST_F(SyncMailProgram, FollowsEudoraAndThePersonAtTheSameTime) {
    ASSERT_EQ(Unlimited().code, 4);
    ASSERT_EQ(Mail().code, 4);
    const auto files = Files();
    bench.Write("M/new/1.someone.else", "Subject: own\n\nown\n");
    const fs::path removed = files.front();
    fs::remove(removed);
    // The state of the second block turns from what it is into the other one.
    std::string toc = bench.Read("E/In.toc");
    const std::size_t state = 104 + 218 + 12;
    const bool wasUnread = toc[state] == 0;
    toc[state] = wasUnread ? 1 : 0;
    bench.Write("E/In.toc", toc);
    const Outcome outcome = Mail();
    EXPECT_EQ(outcome.code, 4) << outcome.err;
    EXPECT_THAT(outcome.out, HasSubstr(wasUnread ? "mark read" : "mark unread"));
    EXPECT_THAT(outcome.out, HasSubstr("remove from Eudora"));
    EXPECT_THAT(outcome.out, HasSubstr("add to Eudora: own"));
    EXPECT_FALSE(fs::exists(removed));
    EXPECT_TRUE(fs::exists(bench.Path("M/new/1.someone.else")));
    EXPECT_EQ(Files().size(), files.size());
    // The last mail leaves Eudora.
    toc = bench.Read("E/In.toc");
    toc.resize(toc.size() - 218);
    toc[102] = static_cast<char>((toc.size() - 104) / 218);
    bench.Write("E/In.toc", toc);
    EXPECT_THAT(Mail().out, HasSubstr("remove from the Maildir"));
    EXPECT_EQ(Mail().code, 0);
}

TEST_F(SyncMailProgram, RefusesWhatCannotGoWellAndTouchesNothing) {
    struct Case {
        const char* line;
        std::function<void(Bench&)> prepare;
        std::vector<std::string> more;
    };
    const Case cases[] = {
        {"is no folder", [](auto& at) { at.Write("M", "x"); }, {}},
        {"lies in Eudora's own folder", [](auto&) {}, {"--maildir", "@E/Maildir"}},
        {"no in-box", [](auto& at) { fs::remove(at.Path("E/In.toc")); }, {}},
        {"OWNER.LOK", [](auto& at) { at.Write("E/OWNER.LOK", ""); }, {}},
        {"holds other things",
         [](auto& at) {
             fs::create_directory(at.Path("M"));
             at.Write("M/letter.txt", "x");
         },
         {}},
    };
    for (const auto& [line, prepare, more] : cases) {
        prepare(bench);
        const auto before = bench.Tree("E");
        std::vector<std::string> arguments{"sync", "mail", "--eudora", "@E"};
        if (more.empty()) arguments.insert(arguments.end(), {"--maildir", "@M"});
        arguments.insert(arguments.end(), more.begin(), more.end());
        const Outcome outcome = bench.Kvsync(arguments);
        EXPECT_EQ(outcome.code, 3) << line;
        EXPECT_THAT(outcome.err, HasSubstr(line));
        EXPECT_EQ(bench.Tree("E"), before) << line;
        fs::remove_all(bench.Path("M"));
        fs::remove_all(bench.Path("E"));
        fs::copy(KV_SAMPLES, bench.Path("E"), fs::copy_options::recursive);
    }
}

// Killed at many moments of a first run, each followed by a run to its end.
TEST_F(SyncMailProgram, AKillLosesAndDoublesNothing) {
    ASSERT_EQ(Unlimited().code, 4);
    const std::size_t count = InEudora();
    int killed = 0;
    for (int moment = 1; moment <= 24; ++moment) {
        fs::remove_all(bench.Path("M"));
        fs::remove_all(bench.Path("state.db"));
        char limit[64];
        std::snprintf(limit, sizeof limit, "timeout --foreground -s KILL %.3f ", moment * 0.008);
        const std::string command = limit + std::string(KV_PROGRAM " sync mail --eudora ") +
                                    bench.Path("E") + " --maildir " + bench.Path("M") +
                                    " --state " + bench.Path("state.db") + " > /dev/null 2>&1";
        killed += std::system(command.c_str()) >> 8 == 137;
        const Outcome outcome = Mail({"--state", "@state.db"});
        ASSERT_TRUE(outcome.code == 0 || outcome.code == 4) << outcome.err;
        EXPECT_EQ(Mail({"--state", "@state.db"}).code, 0);
        ASSERT_EQ(Files().size(), count) << moment;
        EXPECT_TRUE(fs::is_empty(bench.Path("M/tmp"))) << moment;
        for (const fs::path& file : Files()) EXPECT_GT(fs::file_size(file), 100u) << file;
    }
    EXPECT_GT(killed, 0);
}

// Python's own parsers as a second opinion on each file.
TEST_F(SyncMailProgram, AnotherReaderFindsEveryMailInOrder) {
    if (std::system("python3 -c 0 > /dev/null 2>&1") != 0) GTEST_SKIP() << "no python3";
    ASSERT_EQ(Unlimited().code, 4);
    ASSERT_EQ(Mail().code, 4);
    bench.Write("mails.json", bench.Kvsync({"list", "mail", "--eudora", "@E", "--json"}).out);
    const std::string command = "python3 " KV_CHECKER " " + bench.Path("M") + " " +
                                bench.Path("mails.json") + " > " + bench.Path("checked") + " 2>&1";
    EXPECT_EQ(std::system(command.c_str()), 0) << bench.Read("checked");
}

}  // namespace
}  // namespace host::testing
