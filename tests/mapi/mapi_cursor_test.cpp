#include <random>

#include "tests/frame/log_capture.h"
#include "tests/mapi/mapi_fixture.h"

namespace {

using mapi::Entry;
using Lines = std::vector<std::string>;

class MapiCursorTest : public MapiFixture {
  protected:
    void FailWith(Entry entry, int count, std::uint32_t code) {
        library.results[entry].assign(static_cast<std::size_t>(count), code);
    }
    std::size_t Finds() const { return library.Count("find "); }
};

TEST_F(MapiCursorTest, AFindIsTriedTenTimes) {
    for (const char* seed : {static_cast<const char*>(nullptr), "A"}) {
        for (int failures = 0; failures <= 11; ++failures) {
            library.calls.clear();
            machine.processes.peeks = 0;
            FailWith(Entry::kFindNext, failures, 2);
            const bool fails = failures >= 10;
            EXPECT_EQ(mapi.FindNextMail(seed), fails ? -1 : 1) << failures;
            EXPECT_EQ(mapi.LastError(), fails ? 2U : 0U);
            const std::string call = seed != nullptr ? "find A" : "find -";
            EXPECT_EQ(library.calls, Lines(fails ? 10U : failures + 1U, call));
            EXPECT_EQ(machine.processes.peeks, 1 + std::min(failures, 10));
        }
    }
    EXPECT_EQ(machine.clock.sleeps, 0);
}

TEST_F(MapiCursorTest, AReadIsTriedTenTimesAndDropsTheCurrentMessageFirst) {
    for (int failures = 0; failures <= 11; ++failures) {
        FailWith(Entry::kReadMail, 0, 0);
        ASSERT_EQ(mapi.MoveFirst(), 1);
        library.calls.clear();
        machine.processes.peeks = machine.clock.sleeps = 0;
        FailWith(Entry::kReadMail, failures, 2);
        const bool fails = failures >= 10;
        EXPECT_EQ(mapi.ReadCurrentMail(), fails ? -1 : 1) << failures;
        EXPECT_EQ(mapi.LastError(), fails ? 2U : 0U);
        Lines expected(fails ? 10U : failures + 1U, "read A");
        expected.insert(expected.begin(), "free A");
        EXPECT_EQ(library.calls, expected);
        EXPECT_EQ(machine.processes.peeks, 1 + std::min(failures, 10));
        EXPECT_EQ(machine.clock.sleeps, 1 + std::min(failures, 10));
        EXPECT_EQ(Current(), fails ? "-" : "A");
        EXPECT_STREQ(mapi.MsgID(), "A");
    }
}

TEST_F(MapiCursorTest, OtherErrorsEndAtOnce) {
    for (std::uint32_t code = 1; code <= 27; ++code) {
        if (code == 2) continue;
        FailWith(Entry::kFindNext, 1, code);
        library.calls.clear();
        EXPECT_EQ(mapi.FindNextMail("B"), code == 16 ? 0 : -1) << code;
        EXPECT_EQ(mapi.LastError(), code);
        FailWith(Entry::kReadMail, 1, code);
        EXPECT_EQ(mapi.ReadCurrentMail(), -1) << "also without messages";
        EXPECT_EQ(mapi.LastError(), code);
        EXPECT_EQ(library.calls.size(), 2U);
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
    EXPECT_FALSE(mapi.SeekValid());
    EXPECT_EQ(mapi.GoToEmail("C"), 1) << "a seek clears the end";
    EXPECT_EQ(mapi.MoveNext(), 1);
    EXPECT_EQ(Current(), "D");
    EXPECT_EQ(library.LiveRecords(), 1U);

    library.mailbox.clear();
    library.calls.clear();
    EXPECT_EQ(mapi.MoveFirst(), 0);
    EXPECT_EQ(mapi.GoToEmail("A"), 0);
    EXPECT_EQ(library.calls, (Lines{"find -", "find -"}));
    EXPECT_EQ(Current(), "D");
}

TEST_F(MapiCursorTest, AFailureIsNotSticky) {
    ASSERT_EQ(mapi.MoveFirst(), 1);
    FailWith(Entry::kFindNext, 1, 23);
    EXPECT_EQ(mapi.MoveNext(), -1);
    EXPECT_EQ(Current(), "A");
    EXPECT_EQ(mapi.MoveNext(), 1);
    EXPECT_EQ(Current(), "B");
}

TEST_F(MapiCursorTest, SeekingCallsTheLibraryAsOftenAsAgreed) {
    struct Row {
        const char* target;
        int result;
        Lines finds;
    };
    const Row rows[] = {
        {"A", 1, {"-"}},
        {"B", 1, {"-", "A"}},
        {"C", 1, {"-", "B"}},
        {"C", 1, {"-", "C", "D", "E", "-", "A", "B"}},
        {"A", 1, {"-"}},
        {"D", 1, {"-", "C"}},
        {"B", 1, {"-", "D", "E", "-", "A"}},
        {"E", 1, {"-", "B", "C", "D"}},
        {"Z", 0, {"-", "E", "-", "A", "B", "C", "D", "E"}},
        {"b", 0, {"-", "E", "-", "A", "B", "C", "D", "E"}},
        {"", 0, {"-", "E", "-", "A", "B", "C", "D", "E"}},
        {"E", 1, {"-", "E", "-", "A", "B", "C", "D"}},
    };
    for (const Row& row : rows) {
        library.calls.clear();
        const int sleeps = machine.clock.sleeps;
        EXPECT_EQ(mapi.GoToEmail(row.target), row.result) << row.target;
        Lines finds;
        for (const std::string& call : library.calls) {
            if (call.starts_with("find ")) finds.push_back(call.substr(5));
        }
        EXPECT_EQ(finds, row.finds) << row.target;
        EXPECT_EQ(mapi.LastError(), row.result == 1 ? 0U : 16U);
        EXPECT_EQ(library.Count("read "), row.result == 1 ? 1U : 0U);
        if (row.result == 1) {
            EXPECT_EQ(Current(), row.target);
        }
        const auto seeded = static_cast<int>(std::count_if(
            row.finds.begin(), row.finds.end(), [](const std::string& f) { return f != "-"; }));
        const int ends = static_cast<int>(std::count(row.finds.begin(), row.finds.end(), "E"));
        EXPECT_EQ(machine.clock.sleeps - sleeps, seeded - ends + row.result)
            << "once a step, once a read";
    }
}

// What a seek costs, worked out from where the seek point and the target lie.
TEST_F(MapiCursorTest, TheCostOfASeekFollowsFromItsPlace) {
    constexpr int kMails = 40;
    library.mailbox.clear();
    for (int i = 0; i <= kMails; ++i) {
        library.mailbox.push_back({.id = std::to_string(i), .subject = "s"});
    }
    library.mailbox.pop_back();  // the last number stays for a mail that is not there
    std::mt19937 random(7);
    int seek = 0;  // none is as good as the first message
    for (int round = 0; round < 3000; ++round) {
        const int target = static_cast<int>(random() % (kMails + 1));
        library.calls.clear();
        const int result = mapi.GoToEmail(std::to_string(target).c_str());
        ASSERT_EQ(result, target < kMails ? 1 : 0);
        int cost = 1;
        if (target != 0) {
            const bool ahead = target > seek && target < kMails;
            const int fromStart = target < kMails ? target : kMails;
            cost += ahead ? target - seek : kMails - seek + 1 + fromStart;
            seek = std::min(target, kMails - 1);
        }
        ASSERT_EQ(Finds(), static_cast<std::size_t>(cost)) << round << ": " << target;
    }
}

TEST_F(MapiCursorTest, AWalkInOrderSetsTheSeekPoint) {
    ASSERT_EQ(mapi.MoveFirst(), 1);
    mapi.NoteSeek();  // A
    EXPECT_FALSE(mapi.SeekValid());
    ASSERT_EQ(mapi.MoveNext(), 1);
    mapi.NoteSeek();  // B, since A was not confirmed
    mapi.ConfirmSeek();
    ASSERT_EQ(mapi.MoveNext(), 1);
    mapi.NoteSeek();  // no more, since B is valid
    library.calls.clear();
    EXPECT_EQ(mapi.GoToEmail("C"), 1);
    EXPECT_EQ(library.calls, (Lines{"find -", "find B", "free C", "read C"}));
    EXPECT_EQ(mapi.MoveFirst(), 1);
    EXPECT_FALSE(mapi.SeekValid());
    library.calls.clear();
    EXPECT_EQ(mapi.GoToEmailFromStart("B"), 1);
    EXPECT_EQ(library.calls, (Lines{"find -", "find A", "free A", "read B"}));
    EXPECT_TRUE(mapi.SeekValid());
    EXPECT_EQ(mapi.GoToEmailFromStart("A"), 1);
    EXPECT_FALSE(mapi.SeekValid());
}

TEST_F(MapiCursorTest, ASeekFailsWhereTheLibraryFails) {
    FailWith(Entry::kReadMail, 10, 2);
    EXPECT_EQ(mapi.GoToEmail("B"), -1);
    EXPECT_EQ(Current(), "-");
    EXPECT_STREQ(mapi.MsgID(), "B");
    for (const bool fromStart : {false, true}) {
        for (int good = 0; good < 3; ++good) {
            ASSERT_EQ(mapi.MoveFirst(), 1);
            library.results[Entry::kFindNext].assign(static_cast<std::size_t>(good), 0);
            library.results[Entry::kFindNext].push_back(19);
            library.calls.clear();
            EXPECT_EQ(fromStart ? mapi.GoToEmailFromStart("D") : mapi.GoToEmail("D"), -1);
            EXPECT_EQ(mapi.LastError(), 19U);
            EXPECT_EQ(library.calls.size(), good + 1U) << "no retry from the start";
            EXPECT_EQ(Current(), "A");
        }
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
                EXPECT_LE(Finds(), 40U);
            }
        }
    }
}

TEST_F(MapiCursorTest, TheOwnIdMayBeSeedAndTarget) {
    ASSERT_EQ(mapi.GoToEmail("C"), 1);
    EXPECT_EQ(mapi.FindNextMail(mapi.MsgID()), 1);
    EXPECT_EQ(library.calls.back(), "find C");
    EXPECT_EQ(mapi.GoToEmail(mapi.MsgID()), 1);
    EXPECT_EQ(Current(), "D");
    EXPECT_EQ(mapi.GoToEmailFromStart(mapi.MsgID()), 1);
    EXPECT_EQ(Current(), "D");
}

TEST_F(MapiCursorTest, IdsOfAnyLengthDoNoHarm) {
    library.endsIds = false;
    const std::string longest(mapi::kMessageIdSize - 1, 'x');
    EXPECT_EQ(mapi.MoveFirst(), -1) << "there is no such mail";
    EXPECT_EQ(mapi.MsgID(), longest);
    EXPECT_EQ(mapi.MoveNext(), -1);
    EXPECT_EQ(library.Count("find " + longest), 1U);
    EXPECT_EQ(mapi.GoToEmail((longest + "x").c_str()), 0) << "the whole target counts";
}

TEST_F(MapiCursorTest, AnIdThatIsSetIsCutAndLeavesNoRest) {
    const std::string text(mapi::kMessageIdSize + 100, 'y');
    mapi.SetMsgID(text.c_str());
    EXPECT_EQ(mapi.MsgID(), text.substr(0, mapi::kMessageIdSize - 1));
    mapi.SetMsgID("0x00000001");
    EXPECT_STREQ(mapi.MsgID(), "0x00000001");
    EXPECT_EQ(mapi.MsgID()[mapi::kMessageIdSize - 2], '\0');
    EXPECT_EQ(mapi.ClearMsgID(), 0);
    EXPECT_EQ(std::string(mapi.MsgID(), mapi::kMessageIdSize),
              std::string(mapi::kMessageIdSize, '\0'));
}

TEST_F(MapiCursorTest, LogsARunInFull) {
    library.mailbox.resize(2);
    machine.processes.waiting = 275;
    library.results[Entry::kFindNext] = {2, 0};
    library.results[Entry::kReadMail] = {2, 0};
    const LogCapture log;
    EXPECT_EQ(mapi.MoveFirst(), 1);
    const Lines first = {
        "4 --- Enter --- CMapi::MoveFirst\n",         "4                    PeekNessage ->  275\n",
        "4                    Error = 2\n",           "4                    PeekNessage ->  275\n",
        "4                    PeekNessage ->  275\n", "4                    -1- MAPIReadMail(A)\n",
        "4                    Error = 2\n",           "4                    PeekNessage ->  275\n",
        "4                    -2- MAPIReadMail(A)\n", "4 --- Exit --- CMapi::MoveFirst\n"};
    EXPECT_EQ(LogCapture::Lines(), first);

    LogCapture::Lines().clear();
    machine.processes.waiting.reset();
    library.results[Entry::kFindNext] = {2, 2};
    EXPECT_EQ(mapi.MoveNext(), 1);
    EXPECT_EQ(mapi.MoveNext(), 0);
    EXPECT_EQ(mapi.MoveNext(), 0);
    const Lines next = {
        "4 --- Enter --- CMapi::MoveNext\n",          "4               -1- MAPIFindNext(A)\n",
        "4                    Error = 2\n",           "4               -2- MAPIFindNext(A)\n",
        "4                    Error = 2\n",           "4               -3- MAPIFindNext(A)\n",
        "5 - Enter - CMapi:: _DeleteAttachments\n",   "5 - Exit - CMapi:: _DeleteAttachments\n",
        "4                    -1- MAPIReadMail(B)\n", "4 --- Exit --- CMapi::MoveNext\n",
        "4 --- Enter --- CMapi::MoveNext\n",          "4               -1- MAPIFindNext(B)\n",
        "4                    Error = 16\n",          "4 --- Exit --- CMapi::MoveNext\n",
        "4 --- Enter --- CMapi::MoveNext\n"};
    EXPECT_EQ(LogCapture::Lines(), next);

    LogCapture::Lines().clear();
    EXPECT_EQ(mapi.GoToEmail("B"), 1);
    EXPECT_EQ(mapi.GoToEmail("B"), 1);
    const Lines seek = {"4 --- Enter --- CMapi::GoToEmail\n",
                        "4               -1- MAPIFindNext(A)\n",
                        "5 - Enter - CMapi:: _DeleteAttachments\n",
                        "5 - Exit - CMapi:: _DeleteAttachments\n",
                        "4                    -1- MAPIReadMail(B)\n",
                        "4 --- Exit --- CMapi::GoToEmail\n",
                        "4 --- Enter --- CMapi::GoToEmail\n",
                        "4               * Seek First = B\n",
                        "4               -1- MAPIFindNext(B)\n",
                        "4                    Error = 16\n",
                        "4               * Fail GoToEmail -> Retry!!\n",
                        "4 --- Enter --- CMapi::GoToEmail\n",
                        "4               -1- MAPIFindNext(A)\n",
                        "5 - Enter - CMapi:: _DeleteAttachments\n",
                        "5 - Exit - CMapi:: _DeleteAttachments\n",
                        "4                    -1- MAPIReadMail(B)\n",
                        "4 --- Exit --- CMapi::GoToEmail\n"};
    EXPECT_EQ(LogCapture::Lines(), seek);
}

}  // namespace
