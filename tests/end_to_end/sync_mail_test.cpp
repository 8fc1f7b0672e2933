#include <gmock/gmock.h>
#include <gtest/gtest.h>

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
    ExpectNothingToDo();
}

TEST_F(SyncMailProgram, ADryRunTellsTheRealPlanAndWritesNothing) {
    ASSERT_EQ(Unlimited().code, 4);
    const auto before = bench.Times();
    const Outcome dry = Mail("--dry-run");
    EXPECT_EQ(dry.code, 4) << dry.err;
    EXPECT_EQ(bench.Times(), before);
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
    ASSERT_EQ(bench.Kvsync("configure mail --eudora @E --age 7").code, 4);
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

// Killed at many moments of a first run, each followed by a run to its end.
TEST_F(SyncMailProgram, AKillLosesAndDoublesNothing) {
    ASSERT_EQ(Unlimited().code, 4);
    const std::size_t count = InEudora();
    int killed = 0;
    for (int moment = 1; moment <= 24; ++moment) {
        fs::remove_all(bench.Path("M"));
        fs::remove_all(bench.Path("state.db"));
        const std::string run = "sync mail --eudora @E --maildir @M --state @state.db";
        killed += bench.KvsyncKilled(moment * 0.008, run).code == 137;
        const Outcome outcome = Mail("--state @state.db");
        ASSERT_TRUE(outcome.code == 0 || outcome.code == 4) << outcome.err;
        EXPECT_EQ(Mail("--state @state.db").code, 0);
        ASSERT_EQ(Files().size(), count) << moment;
        EXPECT_TRUE(fs::is_empty(bench.Path("M/tmp"))) << moment;
        for (const fs::path& file : Files()) EXPECT_GT(fs::file_size(file), 100u) << file;
    }
    EXPECT_GT(killed, 0);
}

// Python's own parsers as a second opinion on each file.
TEST_F(SyncMailProgram, AnotherReaderFindsEveryMailInOrder) {
    ASSERT_EQ(Unlimited().code, 4);
    ASSERT_EQ(Mail().code, 4);
    bench.Write("mails.json", Listed());
    const Outcome checked = bench.Python("\"" KV_CHECKER "\" @M @mails.json");
    EXPECT_EQ(checked.code, 0) << checked.out << checked.err;
}

}  // namespace
}  // namespace host::testing
