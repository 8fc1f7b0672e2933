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

TEST_F(SyncMailProgram, TheWayOutOfADamagedStateDoublesNothing) {
    ASSERT_EQ(Unlimited().code, 4);
    const std::string both = "sync --eudora @E --contacts @C --maildir @M --state @state.db";
    ASSERT_EQ(bench.Kvsync(both).code, 4);
    const auto eudora = bench.Tree("E"), cards = bench.Tree("C"), mails = bench.Tree("M");
    bench.Write("state.db", std::string(5000, 'x'));
    const Outcome refused = bench.Kvsync(both);
    EXPECT_EQ(refused.code, 3);
    EXPECT_THAT(refused.err, HasSubstr("move it away"));
    fs::remove(bench.Path("state.db"));
    EXPECT_EQ(bench.Kvsync(both).code, 0);
    EXPECT_EQ(bench.Tree("E"), eudora);
    EXPECT_EQ(bench.Tree("C"), cards);
    EXPECT_EQ(bench.Tree("M"), mails);
}

// The second block tells of 300 MB, which its mailbox has, as a hole.
TEST_F(SyncMailProgram, OneMailThatCannotBeReadIsNamedAndKeepsNoOther) {
    ASSERT_EQ(Unlimited().code, 4);
    ASSERT_EQ(Mail().code, 4);
    const std::size_t count = InEudora();
    const std::string whole = bench.Read("E/In.toc");
    std::string toc = whole;
    toc.replace(104 + 218 + 4, 4, std::string("\0\0\xC0\x12", 4));
    bench.Write("E/In.toc", toc);
    fs::resize_file(bench.Path("E/In.mbx"), 400u << 20);
    fs::remove(Files().front());
    Deliver("M/new/1.x", "arrived", "arrived@x");
    const auto isTold = [](const Outcome& outcome, const char* name) {
        EXPECT_EQ(outcome.code, 1) << outcome.err;
        EXPECT_THAT(outcome.err, HasSubstr(name));
        EXPECT_EQ(CountOf("\n", outcome.err), 1) << outcome.err;
    };
    isTold(bench.Kvsync("list mail --eudora @E --json"), "mail 0x00000002: cannot be read: ");
    EXPECT_EQ(InEudora(), count - 1);
    isTold(bench.Kvsync("export mail --eudora @E --to @X"), "mail 0x00000002: cannot be read: ");
    isTold(Mail("--dry-run"), "Re: ");
    const Outcome outcome = Mail();
    isTold(outcome, "mail 0x00000002: cannot be read: ");
    EXPECT_THAT(outcome.out, HasSubstr("in Eudora 1 added, 0 changed, 0 removed; in the Maildir 0 "
                                       "added, 0 changed, 0 removed\n1 mail missing on one side"));
    EXPECT_EQ(CountOf("\"arrived@x\"", Listed()), 1);
    toc = bench.Read("E/In.toc");
    bench.Write("E/In.toc", toc.replace(104, 436, whole.substr(104, 436)));
    EXPECT_THAT(Mail().out, HasSubstr("in Eudora 0 added, 0 changed, 1 removed"));
    EXPECT_EQ(Files().size(), InEudora());
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
