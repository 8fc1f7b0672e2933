#include <algorithm>

#include "tests/mailstore/mail_world.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/fault_sweep.h"

namespace {

using platform::testing::Fault;

// Close with mails to send, mails to store and states to note, on a disk that fails at one point.
class MailCloseFaultsTest : public MailTest {
  protected:
    static constexpr std::uint32_t kOld = 3, kNew = 4;
    static constexpr const char* kMoved = "C:\\src\\moved";  // the first new mail's, which goes

    void PutBox() {
        for (const auto& path : machine.files.AllFiles()) {
            if (path.starts_with("C:\\E\\")) (void)machine.files.Delete(path);
        }
        MailboxBuilder box;
        for (std::uint32_t id = 1; id <= kOld; ++id) {
            box.Mail(id, MailText({"Message-ID: <old" + std::to_string(id) + ">"}));
        }
        box.Put(machine.files, "C:\\E");
        m_old = box.mbx;
        Restart();
    }
    void Load() {
        PutBox();
        ASSERT_EQ(Open(), RRC_OK);
        mail->Add({.body = "out", .status = 2});
        machine.files.Put(kMoved, "moved");
        for (std::uint32_t i = 0; i < kNew; ++i) mail->Add(New(i));
        mail->Edit("0x00000002", 0x20001);
    }
    static HostMail New(std::uint32_t i) {
        HostMail host{.status = i % 2 == 0 ? 1 : 0x20001, .id = "new" + std::to_string(i)};
        // The first two mails are more than what is written with one call.
        host.body = std::string(i == 1 ? 1'050'000 : 0, 'b') + std::to_string(i);
        host.moves = i == 0;
        if (i != 1) host.files = {host.moves ? kMoved : "C:\\src\\1"};
        return host;
    }
    // Which new mails are in the mailbox, in order; every mail is whole and once there.
    std::string Stored(bool mayHaveLeftovers = false) {
        EXPECT_EQ(Mbx().substr(0, m_old.size()), m_old);
        std::string stored;
        std::uint32_t number = 0;
        for (const auto& one : Read(kOld, mayHaveLeftovers)) {
            if (++number <= kOld) {
                EXPECT_EQ(one.id, number);
                continue;
            }
            stored += one.text.at(one.text.find("<new") + 4);
            const HostMail host = New(static_cast<std::uint32_t>(stored.back() - '0'));
            EXPECT_NE(one.text.find(*host.body + "\r\n"), one.text.npos) << "the whole text";
            EXPECT_EQ(one.attachments.size(), host.files.size());
        }
        EXPECT_GE(number, kOld);
        return stored;
    }
    std::string Queued() const {
        std::string queued;
        for (const MapiMessage* record : mail->m_queues.m_lstNewMails) {
            queued += mail->Names({record->lpszConversationID}).at(3);
        }
        return queued;
    }
    bool IsMovedFileThere() {
        return std::ranges::any_of(machine.files.AllFiles(), [&](const std::string& path) {
            return machine.files.Get(path) == "moved";
        });
    }
    std::uint64_t UsedBytes() {
        std::uint64_t used = 0;
        for (const auto& path : machine.files.AllFiles()) used += machine.files.Get(path)->size();
        return used;
    }
    // Judges a Close that gave this code, and the next one, which completes what was not done: on
    // the disk, whatever happens then. What could not be told for sure may leave something behind,
    // and states that could not be stored are lost, as the result says.
    void ExpectTheNextCompletes(RRETURNCODE code, bool isSure, bool canTell = true) {
        errors = DrainErrors();
        const std::string stored = Stored(!isSure), queued = Queued();
        const bool isDone = queued.empty() && States(kOld, true)[1] == '1';
        EXPECT_TRUE(isDone || code == RRC_FAILED);
        EXPECT_TRUE(!canTell || (code != RRC_OK) == !errors.empty());
        partly += !stored.empty() && !queued.empty();
        if ((stored + queued).empty()) {
            EXPECT_TRUE(mail->m_queues.m_mapMailStatus.empty()) << "dropped";
            if (!canTell) return;
            EXPECT_THAT(errors, ::testing::Contains(::testing::StartsWith("no <C:\\E")));
            EXPECT_TRUE(!isSure || machine.files.List("C:\\E\\Attach", "*")->size() == 1);
            return;
        }
        EXPECT_TRUE(!isSure || stored + queued == "0123") << stored << queued;
        EXPECT_EQ(mail->Close(0), RRC_OK);
        machine.files.Crash();
        EXPECT_EQ(Stored(!isSure) + Queued(), "0123");
        const bool hasStates = code == RRC_OK || (isSure && canTell && !queued.empty());
        EXPECT_TRUE(!hasStates || States(kOld, !isSure) == "0100101");
        (void)DrainErrors();
    }

    std::string m_old;
    Texts errors;    // of the last Close that was judged
    int partly = 0;  // how often some of the mails were stored
};

// A failure that passes. With kKill nothing works until the next Close, so that nobody can tell
// whether a header was written.
TEST_F(MailCloseFaultsTest, OneOperationFails) {
    for (const Fault fault : test::kEveryFault) {
        const auto play = [&](Fault, int n) {
            Load();
            machine.faults.Arm(fault, n);
            const auto code = mail->Close(0);
            const bool fired = machine.faults.Disarm();
            EXPECT_TRUE(fired || code == RRC_OK);
            ExpectTheNextCompletes(code, fault != Fault::kKill);
            return fired;
        };
        test::ForEveryFault(play, 1, {fault});
        EXPECT_GT(std::exchange(partly, 0), 0) << "what is whole is kept";
    }
}

// Memory that runs out at any point of a session is told, and a host that does once more what was
// refused comes to the same end.
TEST_F(MailCloseFaultsTest, OneAllocationFails) {
    HostMail hosts[] = {New(0), New(2)};
    for (HostMail& host : hosts) host.moves = true;
    hosts[1].files = {"C:\\src\\2"};
    hosts[1].status = 0x20001;
    test::ForEachFailingAllocation([&](auto run) {
        PutBox();
        int refusals = 0;
        bool isSettled = false;
        const auto twice = [&](auto step) {
            bool isDone = false;
            try {
                isDone = step();
            } catch (const std::bad_alloc&) {
            }
            refusals += !isDone;
            ASSERT_TRUE(isDone || step());
        };
        (void)run([&] {
            twice([&] { return Open() == RRC_OK; });
            for (const HostMail& host : hosts) {
                twice([&] {
                    machine.files.Put(host.files[0], "one");
                    return mail->TryAdd(host);
                });
            }
            twice([&] { return mail->TryEdit("0x00000002", 0x20001); });
            isSettled = refusals > 0;
            twice([&] { return mail->Close(0) == RRC_OK; });
            isSettled = isSettled || refusals == 0;
        });
        EXPECT_LE(refusals, 1);
        EXPECT_EQ(Stored(), "02");
        // States that could not be stored are lost, as the result of Close says.
        EXPECT_TRUE(!isSettled || States(kOld) == "01001") << States(kOld);
        (void)DrainErrors();
    });
}

// Memory does not come back before Close is over.
TEST_F(MailCloseFaultsTest, NoMemoryIsLeft) {
    const auto closes = [&](auto run) {
        Load();
        RRETURNCODE code = RRC_OK;
        ASSERT_TRUE(run([&] { code = mail->Close(0); })) << "nothing is thrown at the host";
        ExpectTheNextCompletes(code, true, false);
    };
    test::ForEachFailingAllocation(closes, test::Shortage::kLasting);
}

// Nothing works from that point on, and another program begins: after the end of the first one,
// which deletes nothing that may be stored, or after the machine's, which may lose what was not
// flushed.
TEST_F(MailCloseFaultsTest, ThePowerGoes) {
    enum class End { kOfTheProgram, kOfTheMachine, kWithLosses };
    for (const End end : {End::kOfTheProgram, End::kOfTheMachine, End::kWithLosses}) {
        const auto play = [&](Fault fault, int n) {
            Load();
            machine.faults.Arm(fault, n);
            const auto code = mail->Close(0);
            const bool fired = machine.faults.Fired();
            EXPECT_TRUE(!fired || code == RRC_FAILED || Queued().empty());
            if (end == End::kOfTheProgram) machine.faults.Disarm();
            mail.reset();
            machine.faults.Disarm();
            EXPECT_TRUE(IsMovedFileThere());
            if (end == End::kWithLosses) machine.files.Crash();
            (void)DrainErrors();
            const std::string stored = Stored(true);
            EXPECT_TRUE(stored.empty() || stored == "0123") << "the count changes once";
            Restart();
            EXPECT_EQ(Open(), RRC_OK);
            machine.files.Put(kMoved, "moved");
            for (auto i = std::uint32_t(stored.size()); i < kNew; ++i) mail->Add(New(i));
            EXPECT_EQ(mail->Close(0), RRC_OK);
            EXPECT_EQ(Stored(true), "0123");
            EXPECT_EQ(Toc().size(), mailbox::BlockOffset(kOld + kNew)) << "no leftover block";
            return fired;
        };
        test::ForEveryFault(play, 1, {Fault::kKill});
    }
}

// The disk fills at any byte: what fits is stored, the rest waits for room.
TEST_F(MailCloseFaultsTest, TheDiskIsFull) {
    Load();
    std::uint64_t needed = UsedBytes();
    EXPECT_EQ(mail->Close(0), RRC_OK);
    needed = UsedBytes() - needed;
    std::map<std::string, int> full;  // how often, by the file's message
    for (std::uint64_t room = 0, step = 97; room < needed + 200; room += step) {
        if (room > 4000)
            step = room + 1000 > needed ? 97 : std::min<std::uint64_t>(needed - room - 999, 50021);
        SCOPED_TRACE(room);
        Load();
        machine.files.LimitDisk(UsedBytes() + room);
        const auto code = mail->Close(0);
        machine.files.LimitDisk(std::nullopt);
        ExpectTheNextCompletes(code, true);
        if (code == RRC_OK) continue;
        EXPECT_EQ(errors.back(), "m19");
        ++full[errors.end()[-2]];
    }
    EXPECT_GT(partly, 30) << "a text that is not whole leaves its room to the blocks";
    EXPECT_GT(full["no <C:\\E\\In.toc>"], 1);
    EXPECT_EQ(full.size(), 2U);
}

}  // namespace
