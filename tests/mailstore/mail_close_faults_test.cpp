#include "tests/mailstore/writing_fixture.h"

namespace {

using platform::testing::Fault;

// Close with mails to send, mails to store and states to note, on a disk that fails at one point.
class MailCloseFaultsTest : public WritingTest {
  protected:
    static constexpr std::uint32_t kOld = 3, kNew = 4;

    void Load() {
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
        ASSERT_EQ(Open(), RRC_OK);
        mail->Add({.body = "out", .status = 2});
        for (std::uint32_t i = 0; i < kNew; ++i) mail->Add(New(i));
        mail->Edit("0x00000002", 0x20001);
    }
    static HostMail New(std::uint32_t i) {
        HostMail host{.status = i % 2 == 0 ? 1 : 0x20001, .id = "new" + std::to_string(i)};
        // The first two mails are more than what is written with one call.
        host.body = std::string(i == 1 ? 1'050'000 : 0, 'b') + std::to_string(i);
        if (i != 1) host.files = {"C:\\src\\1"};
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
        for (const MapiMessage* record : mail->m_lstNewMails) {
            queued += mail->ToMessageId().at(record->lpszConversationID).substr(3);
        }
        return queued;
    }
    void ExpectRetryCompletes(bool hasStates = true) {
        ASSERT_EQ(Open(), RRC_OK);
        EXPECT_EQ(mail->Close(0), RRC_OK);
        EXPECT_EQ(Stored() + Queued(), "0123");
        if (hasStates) {
            EXPECT_EQ(States(kOld), "0100101");
        }
    }

    std::string m_old;
};

// A failure that passes: the next Close of the same object completes what this one could not.
TEST_F(MailCloseFaultsTest, OneOperationFails) {
    for (const Fault fault : {Fault::kFail, Fault::kTornWrite}) {
        int partly = 0;
        bool fired = true;
        for (int n = 1; fired; ++n) {
            SCOPED_TRACE(n);
            Load();
            machine.faults.Arm(fault, n, platform::ErrorCode::kIo);
            const auto code = mail->Close(0);
            fired = machine.faults.Fired();
            machine.faults.Disarm();
            const Texts errors = DrainErrors();
            const std::string stored = Stored(), queued = Queued();
            const bool isDone = queued.empty() && States(kOld)[1] == '1';
            partly += !stored.empty() && !queued.empty();
            EXPECT_EQ(code != RRC_OK, !errors.empty());
            EXPECT_TRUE(isDone || code == RRC_FAILED);
            EXPECT_TRUE(fired || code == RRC_OK);
            if (stored.size() + queued.size() < kNew) {
                EXPECT_EQ(stored + queued, "") << "a file that did not open";
                EXPECT_THAT(errors.front(), ::testing::StartsWith("no <C:\\E"));
                EXPECT_TRUE(machine.files.List("C:\\E\\Attach", "*")->empty());
                EXPECT_TRUE(mail->m_mapMailStatus.empty());
                continue;
            }
            const bool hasStates = !std::count(errors.begin(), errors.end(), "no <C:\\E\\In.toc>");
            EXPECT_TRUE(hasStates || queued.empty());
            ExpectRetryCompletes(hasStates);
            ASSERT_LT(n, 500);
        }
        EXPECT_GT(partly, 0) << "what is whole is kept";
    }
}

// Nothing works from that point on, the power goes, and another program begins.
TEST_F(MailCloseFaultsTest, TheMachineDies) {
    for (const bool losesUnflushed : {false, true}) {
        bool fired = true;
        for (int n = 1; fired; ++n) {
            SCOPED_TRACE(n);
            Load();
            machine.faults.Arm(Fault::kKill, n);
            const auto code = mail->Close(0);
            fired = machine.faults.Fired();
            EXPECT_TRUE(!fired || code == RRC_FAILED || Queued().empty());
            // The object itself dies too: what its end would delete stays.
            mail.reset();
            machine.faults.Disarm();
            if (losesUnflushed) machine.files.Crash();
            (void)DrainErrors();
            const std::string stored = Stored(true);
            EXPECT_TRUE(stored.empty() || stored == "0123") << "the count changes once";
            Restart();
            ASSERT_EQ(Open(), RRC_OK);
            machine.files.Put("C:\\src\\1", "one");
            for (std::size_t i = stored.size(); i < kNew; ++i) {
                mail->Add(New(static_cast<std::uint32_t>(i)));
            }
            EXPECT_EQ(mail->Close(0), RRC_OK);
            EXPECT_EQ(Stored(true), "0123");
            EXPECT_EQ(Toc().size(), mailstore::BlockOffset(kOld + kNew)) << "no leftover block";
            ASSERT_LT(n, 500);
        }
    }
}

// The disk fills at any byte: what fits is stored, the rest waits for room.
TEST_F(MailCloseFaultsTest, TheDiskIsFull) {
    Load();
    std::uint64_t used = 0;
    for (const auto& path : machine.files.AllFiles()) used += machine.files.Get(path)->size();
    std::size_t most = 0;
    int partly = 0;
    for (std::uint64_t room = 0; most < kNew; room += room < 4000 ? 97 : 50021) {
        SCOPED_TRACE(room);
        Load();
        machine.files.LimitDisk(used + room);
        const auto code = mail->Close(0);
        machine.files.LimitDisk(std::nullopt);
        const Texts errors = DrainErrors();
        const std::string stored = Stored();
        EXPECT_EQ(stored + Queued(), "0123");
        EXPECT_EQ(code != RRC_OK, !errors.empty());
        EXPECT_TRUE(Queued().empty() || errors.back() == "no <C:\\E\\In.mbx>");
        EXPECT_GE(stored.size(), most) << "more room takes no fewer mails";
        most = stored.size();
        partly += most > 0 && most < kNew;
        ExpectRetryCompletes();
        ASSERT_LT(room, 10'000'000U);
    }
    EXPECT_GT(partly, 10) << "a text that is not whole leaves its room to the blocks";
}

}  // namespace
