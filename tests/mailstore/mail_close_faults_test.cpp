#include <gtest/gtest.h>

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
        machine.files.Put("C:\\src\\1", "one");
        Restart();
        ASSERT_EQ(Open(), RRC_OK);
        mail->Add({.body = "out", .status = 2});
        for (std::uint32_t i = 0; i < kNew; ++i) mail->Add(New(i));
        mail->Edit("0x00000002", 0x20001);
        (void)DrainErrors();
    }
    static HostMail New(std::uint32_t i) {
        HostMail host{.status = i % 2 == 0 ? 1 : 0x20001, .id = "new" + std::to_string(i)};
        // Longer than what is written with one call, so that there are several.
        host.body = std::string(i == 2 ? 1'200'000 : 700'000 * (i % 2), 'b') + std::to_string(i);
        if (i != 1) host.files = {"C:\\src\\1"};
        return host;
    }
    // Which new mails are in the mailbox, in order; every mail is whole and once there.
    std::string Stored(bool mayHaveLeftovers) {
        const auto report = Read(kOld, mayHaveLeftovers);
        EXPECT_EQ(report.faults, std::vector<std::string>{});
        EXPECT_GE(report.mails.size(), std::size_t{kOld});
        EXPECT_EQ(Mbx().substr(0, m_old.size()), m_old);
        std::string stored;
        for (std::size_t i = 0; i < report.mails.size(); ++i) {
            if (i < kOld) {
                EXPECT_EQ(report.mails[i].id, i + 1);
                continue;
            }
            const auto& text = report.mails[i].text;
            stored += text.at(text.find("<new") + 4);
            const auto n = static_cast<std::uint32_t>(stored.back() - '0');
            EXPECT_NE(text.find(*New(n).body + "\r\n"), text.npos) << "the whole text";
            EXPECT_EQ(report.mails[i].attachments.size(), New(n).files.size());
        }
        return stored;
    }
    std::string Queued() const {
        std::string queued;
        for (const MapiMessage* record : mail->m_lstNewMails) {
            queued += mail->ToMessageId().at(record->lpszConversationID).substr(3);
        }
        return queued;
    }
    void ExpectFinalStates() {
        std::string states;
        for (const auto& stored : Read(kOld, true).mails) states += std::to_string(stored.state);
        EXPECT_EQ(states, "0100101");
    }
    bool IsOldStored() { return Read(kOld, true).mails.at(1).state == 1; }

    std::string m_old;
};

// A failure that passes: the next Close of the same object completes what this one could not.
TEST_F(MailCloseFaultsTest, OneOperationFails) {
    for (const Fault fault : {Fault::kFail, Fault::kTornWrite}) {
        int partly = 0;
        for (int n = 1;; ++n) {
            SCOPED_TRACE(n);
            Load();
            machine.faults.Arm(fault, n, platform::ErrorCode::kIo);
            const auto code = mail->Close(0);
            const bool fired = machine.faults.Fired();
            machine.faults.Disarm();
            const auto errors = DrainErrors();
            const bool isOldStored = IsOldStored();
            const std::string stored = Stored(false), queued = Queued();
            EXPECT_EQ(code != RRC_OK, !errors.empty());
            const bool lost = stored.size() + queued.size() < kNew;
            if (lost) {
                EXPECT_EQ(stored + queued, "") << "a file that did not open";
                EXPECT_EQ(errors.front().substr(0, 8), "no <C:\\E");
            } else {
                EXPECT_EQ(stored + queued, "0123");
            }
            if (!queued.empty() || !isOldStored) {
                EXPECT_EQ(code, RRC_FAILED);
            }
            partly += !stored.empty() && !queued.empty();
            ASSERT_EQ(Open(), RRC_OK);
            EXPECT_EQ(mail->Close(0), RRC_OK);
            if (!lost) {
                EXPECT_EQ(Stored(false), "0123");
                const std::string stateFailure = "no <C:\\E\\In.toc>";
                const bool hasStates =
                    std::find(errors.begin(), errors.end(), stateFailure) == errors.end();
                EXPECT_TRUE(hasStates || queued.empty());
                if (hasStates) ExpectFinalStates();
            }
            EXPECT_EQ(Queued(), "");
            if (!fired) {
                EXPECT_EQ(code, RRC_OK);
                break;
            }
            ASSERT_LT(n, 500);
        }
        EXPECT_GT(partly, 0) << "what is whole is kept";
    }
}

// Nothing works from that point on, the power goes, and another program begins.
TEST_F(MailCloseFaultsTest, TheMachineDies) {
    for (const bool losesUnflushed : {false, true}) {
        for (int n = 1;; ++n) {
            SCOPED_TRACE(n);
            Load();
            const auto attached = machine.files.AllFiles();
            machine.faults.Arm(Fault::kKill, n);
            const auto code = mail->Close(0);
            const bool fired = machine.faults.Fired();
            if (fired) {
                EXPECT_TRUE(code == RRC_FAILED || Queued().empty());
            }
            // The object itself dies too: what its end would delete stays.
            mail.reset();
            machine.faults.Disarm();
            if (losesUnflushed) machine.files.Crash();
            (void)DrainErrors();
            const std::string stored = Stored(true);
            EXPECT_TRUE(stored.empty() || stored == "0123") << "the count changes once";
            Restart();
            ASSERT_EQ(Open(), RRC_OK);
            for (std::uint32_t i = static_cast<std::uint32_t>(stored.size()); i < kNew; ++i) {
                machine.files.Put("C:\\src\\1", "one");
                mail->Add(New(i));
            }
            EXPECT_EQ(mail->Close(0), RRC_OK);
            EXPECT_EQ(Stored(true), "0123");
            EXPECT_EQ(Toc().size(), mailstore::BlockOffset(kOld + kNew)) << "no leftover block";
            if (!fired) break;
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
    for (std::uint64_t room = 0; most < kNew; room = room < 4000 ? room + 97 : room + 50021) {
        SCOPED_TRACE(room);
        Load();
        machine.files.LimitDisk(used + room);
        const auto code = mail->Close(0);
        machine.files.LimitDisk(std::nullopt);
        const auto errors = DrainErrors();
        const std::string stored = Stored(false);
        EXPECT_EQ(stored + Queued(), "0123");
        EXPECT_EQ(code != RRC_OK, !errors.empty());
        if (!Queued().empty()) {
            EXPECT_EQ(errors.back(), "no <C:\\E\\In.mbx>");
        }
        EXPECT_GE(stored.size(), most) << "more room takes no fewer mails";
        most = stored.size();
        partly += most > 0 && most < kNew;
        ASSERT_EQ(Open(), RRC_OK);
        EXPECT_EQ(mail->Close(0), RRC_OK);
        EXPECT_EQ(Stored(false), "0123");
        ExpectFinalStates();
        ASSERT_LT(room, 10'000'000U);
    }
    EXPECT_GT(partly, 10) << "a text that is not whole leaves its room to the blocks";
}

}  // namespace
