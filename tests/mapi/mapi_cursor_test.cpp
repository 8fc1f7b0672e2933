#include <random>

#include "tests/mapi/mapi_fixture.h"

namespace {

using mapi::Entry;

class MapiCursorTest : public MapiFixture {
  protected:
    void FailWith(Entry entry, int count, std::uint32_t code) {
        library.results[entry].assign(static_cast<std::size_t>(count), code);
    }
    // The seeds of the finds since the calls were cleared.
    Lines Seeds() const {
        Lines seeds;
        for (const std::string& call : library.calls) {
            if (call.starts_with("find ")) seeds.push_back(call.substr(5));
        }
        return seeds;
    }
};

TEST_F(MapiCursorTest, TheGeneralErrorAloneIsTriedTenTimes) {
    const struct {
        mapi::Code code;
        int failures;
        std::size_t tries;
        mapi::Code last;
    } rows[] = {{2, 0, 1, 0}, {2, 1, 2, 0},   {2, 9, 10, 0}, {2, 10, 10, 2},
                {1, 1, 1, 1}, {16, 1, 1, 16}, {27, 1, 1, 27}};
    for (const auto& row : rows) {
        SCOPED_TRACE(::testing::Message() << row.code << ' ' << row.failures);
        const int peeks = row.code == 2 ? 1 + row.failures : 1;
        for (const std::optional<std::string>& seed : {std::optional<std::string>(), {"A"}}) {
            library.calls.clear();
            machine.windows.peeks = machine.clock.sleeps = 0;
            FailWith(Entry::kFindNext, row.failures, row.code);
            EXPECT_EQ(mapi.FindNextMail(seed), row.last == 0 ? 1 : row.last == 16 ? 0 : -1);
            EXPECT_EQ(mapi.LastError(), row.last);
            EXPECT_EQ(Seeds(), Lines(row.tries, seed.value_or("-")));
            EXPECT_EQ(machine.windows.peeks, peeks);
            EXPECT_EQ(machine.clock.sleeps, 0);
        }
        library.results.clear();
        ASSERT_EQ(mapi.MoveFirst(), 1);
        library.calls.clear();
        machine.windows.peeks = machine.clock.sleeps = 0;
        FailWith(Entry::kReadMail, row.failures, row.code);
        EXPECT_EQ(mapi.ReadCurrentMail(), row.last == 0 ? 1 : -1) << "also without messages";
        EXPECT_EQ(mapi.LastError(), row.last);
        Lines expected(row.tries, "read A");
        expected.insert(expected.begin(), "free A");
        EXPECT_EQ(library.calls, expected) << "the current message goes first";
        EXPECT_EQ(machine.windows.peeks, peeks);
        EXPECT_EQ(machine.clock.sleeps, peeks);
        EXPECT_EQ(Current(), row.last == 0 ? "A" : "-");
    }
}

TEST_F(MapiCursorTest, WalksToTheEndAndStaysThere) {
    std::string walk;
    for (int result = mapi.MoveFirst(); result == 1; result = mapi.MoveNext()) walk += Current();
    EXPECT_EQ(walk, "ABCDE");
    EXPECT_EQ(library.calls.back(), "find E");
    const auto before = library.calls.size();
    EXPECT_EQ(mapi.MoveNext(), 0);
    EXPECT_EQ(library.calls.size(), before);
    EXPECT_EQ(Current(), "E") << "the message before the end stays";
    EXPECT_EQ(mapi.GoToEmail("C"), 1) << "a seek clears the end";
    FailWith(Entry::kFindNext, 1, 23);
    EXPECT_EQ(mapi.MoveNext(), -1);
    EXPECT_EQ(Current(), "C") << "a failure is not sticky";
    EXPECT_EQ(mapi.MoveNext(), 1);
    EXPECT_EQ(Current(), "D");
    EXPECT_EQ(library.LiveRecords(), 1U);
    library.mailbox.clear();
    library.calls.clear();
    EXPECT_EQ(mapi.MoveFirst(), 0);
    EXPECT_EQ(mapi.GoToEmail("A"), 0);
    EXPECT_EQ(Seeds(), (Lines{"-", "-"}));
}

// What a seek asks follows from where the seek point and the target lie: one look at the first
// mail, a walk from the seek point, and, if that comes to the end, one from the start.
TEST_F(MapiCursorTest, SeekingCallsTheLibraryAsOftenAsAgreed) {
    constexpr int kMails = 8;
    library.mailbox.clear();
    for (int i = 0; i < kMails; ++i) library.mailbox.push_back({.id = "id " + std::to_string(i)});
    std::mt19937 random(7);
    int seek = 0;  // none is as good as the first message
    for (int round = 0; round < 2000; ++round) {
        const int target = static_cast<int>(random() % (kMails + 1));  // the last is not there
        SCOPED_TRACE(std::to_string(round) + ": " + std::to_string(target));
        Lines expected{"-"};
        int steps = 0;
        const auto walk = [&](int from, int to) {
            for (int i = from; i < to; ++i) expected.push_back("id " + std::to_string(i));
            steps += std::min(to, kMails - 1) - from;
        };
        if (target > seek && target < kMails) {
            walk(seek, target);
        } else if (target != 0) {
            walk(seek, kMails);
            expected.push_back("-");
            walk(0, target);
        }
        if (target != 0) seek = std::min(target, kMails - 1);
        library.calls.clear();
        machine.clock.sleeps = 0;
        const int result = target < kMails ? 1 : 0;
        ASSERT_EQ(mapi.GoToEmail(("id " + std::to_string(target)).c_str()), result);
        ASSERT_EQ(Seeds(), expected);
        ASSERT_EQ(library.Count("read id "), result);
        ASSERT_EQ(machine.clock.sleeps, steps + result) << "once a step, once a read";
        ASSERT_EQ(mapi.LastError(), result == 1 ? 0U : 16U);
    }
}

TEST_F(MapiCursorTest, AWalkInOrderSetsTheSeekPoint) {
    ASSERT_EQ(mapi.MoveFirst(), 1);
    mapi.NoteSeek();  // A
    ASSERT_EQ(mapi.MoveNext(), 1);
    mapi.NoteSeek();  // B, since A was not confirmed
    mapi.ConfirmSeek();
    ASSERT_EQ(mapi.MoveNext(), 1);
    mapi.NoteSeek();  // no more, since B is valid
    library.calls.clear();
    EXPECT_EQ(mapi.GoToEmail("C"), 1);
    EXPECT_EQ(library.calls, (Lines{"find -", "find B", "free C", "read C"}));
    EXPECT_EQ(mapi.MoveFirst(), 1);
    library.calls.clear();
    EXPECT_EQ(mapi.GoToEmail("B"), 1);
    EXPECT_EQ(Seeds(), (Lines{"-", "A"})) << "the first mail clears the seek point";
    EXPECT_EQ(mapi.FindNextMail(mapi.MsgID()), 1);
    EXPECT_EQ(mapi.GoToEmail(mapi.MsgID()), 1);
    EXPECT_EQ(Current(), "C") << "the own id may be seed and target";
}

TEST_F(MapiCursorTest, ASeekFailsWhereTheLibraryFails) {
    FailWith(Entry::kReadMail, 10, 2);
    EXPECT_EQ(mapi.GoToEmail("B"), -1);
    EXPECT_EQ(Current(), "-");
    for (int good = 0; good < 9; ++good) {  // the walk to the end, and the one from the start
        ASSERT_EQ(mapi.MoveFirst(), 1);
        FailWith(Entry::kFindNext, good, 0);
        library.results[Entry::kFindNext].push_back(19);
        library.calls.clear();
        EXPECT_EQ(mapi.GoToEmail("Z"), -1);
        EXPECT_EQ(mapi.LastError(), 19U);
        EXPECT_EQ(library.calls.size(), good + 1U) << "no further try";
        EXPECT_EQ(Current(), "A");
    }
    // A seek point whose message is gone is an error of the library's, not an end.
    EXPECT_EQ(mapi.GoToEmail("C"), 1);
    library.mailbox.erase(library.mailbox.begin() + 2);
    EXPECT_EQ(mapi.GoToEmail("D"), -1);
    EXPECT_EQ(mapi.LastError(), 17U);
}

// The library finds the first of two equal ids as the seed, so what lies behind the second one is
// out of reach.
TEST_F(MapiCursorTest, ASeekEndsInAMailboxThatHoldsAnIdTwice) {
    for (std::size_t first = 0; first < 5; ++first) {
        for (std::size_t second = first + 1; second < 6; ++second) {
            library.mailbox.clear();
            for (const char* id : {"A", "B", "C", "D", "E", "F", "G"}) {
                library.mailbox.push_back({.id = id, .subject = id});
            }
            library.mailbox[second].id = library.mailbox[first].id;
            ASSERT_EQ(mapi.MoveFirst(), 1);
            for (const std::size_t target : {second - 1, first, std::size_t{6}, std::size_t{0}}) {
                library.calls.clear();
                EXPECT_EQ(mapi.GoToEmail(library.mailbox[target].id.c_str()), target < 6 ? 1 : 0)
                    << first << second << target;
                EXPECT_LE(Seeds().size(), 40U);
            }
        }
    }
}

TEST_F(MapiCursorTest, IdsOfAnyLengthDoNoHarm) {
    library.endsIds = false;
    const std::string longest(mapi::kMessageIdSize - 1, 'x');
    EXPECT_EQ(mapi.MoveFirst(), -1) << "there is no such mail";
    EXPECT_EQ(mapi.MsgID(), longest);
    EXPECT_EQ(mapi.MoveNext(), -1);
    EXPECT_EQ(library.Count("find " + longest), 1U);
    EXPECT_EQ(mapi.GoToEmail((longest + "x").c_str()), 0) << "the whole target counts";
    mapi.SetMsgID((longest + "yy").c_str());
    EXPECT_EQ(mapi.MsgID(), longest) << "cut";
}

}  // namespace
