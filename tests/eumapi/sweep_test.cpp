#include <algorithm>

#include "tests/eumapi/stand_in_fixture.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/fault_sweep.h"

namespace {

using test::Fault;
using test::Shortage;

constexpr const char* kAttached = "C:\\Eudora\\Attach\\a.txt";

enum class Job { kRead, kSend, kDelete };

class StandInSweepTest : public StandInTest {
  protected:
    // Out-box and Trash have the mail `m_old`, or are not there.
    void Reset(bool isNew) {
        for (const auto& path : FilesIn("")) (void)machine.files.Delete(path);
        machine.clock.now += std::chrono::seconds(10);  // names the folders of attachments
        machine.files.Put(kAttached, "content");
        MailboxBuilder()
            .Mail(1, m_mail)
            .Mail(2, Mail("b"))
            .Mail(3, Mail("c"))
            .Put(machine.files, kEudora);
        m_old = isNew ? "" : Mail("old") + '|';
        for (const std::string name : {"C:\\Eudora\\Out", "C:\\Eudora\\Trash"}) {
            if (isNew) continue;
            machine.files.Put(name + ".mbx", Mail("old"));
            machine.files.Put(name + ".toc", MailboxBuilder().Mail(9, Mail("old")).Toc());
        }
    }

    std::uint32_t Do() {
        message = nullptr;
        if (job == Job::kRead) {
            return library.ReadMail(session, "0x00000001", mapi::kBodyAsFile, &message);
        }
        if (job == Job::kDelete) {
            // One that is in the Trash already is no mail of the in-box.
            std::uint32_t result = 0;
            for (const std::uint32_t id : {1, 2}) {
                const auto deleted = Delete(id);
                if (deleted != mapi::kInvalidMessage) result = std::max(result, deleted);
            }
            return std::max(result, library.Logoff(session));
        }
        MapiRecipDesc recipient{0, mapi::kTo, nullptr, const_cast<char*>("a@b.c"), 0, nullptr};
        MapiFileDesc file{0, 0, 0, const_cast<char*>(kAttached), nullptr, nullptr};
        MapiMessage outgoing{};
        outgoing.nRecipCount = outgoing.nFileCount = 1;
        outgoing.lpRecips = &recipient;
        outgoing.lpFiles = &file;
        return library.SendMail(session, &outgoing, 0);
    }

    // Each mail is in a mailbox in full, and what was there stays. A call that did nothing leaves
    // nothing, but for `mostLeft` files that could not be deleted; another try ends with each mail
    // once.
    void Judge(bool isDone, bool isKilled, std::size_t mostLeft) {
        if (job == Job::kDelete) return JudgeRemoval(isDone);
        const auto out = Contents("Out");
        const bool isQueued = out != m_old;
        EXPECT_TRUE(!isQueued || (job == Job::kSend && out.starts_with(m_old + "From ") &&
                                  std::ranges::count(out, '|') == (m_old.empty() ? 1 : 2)));
        EXPECT_EQ(Contents("Trash"), m_old);
        const auto copies = FilesIn("C:\\Eudora\\Attach\\").size() - 1;
        if (job == Job::kRead) {
            EXPECT_EQ(message != nullptr, isDone);
            EXPECT_TRUE(!isDone || isKilled || FileText(kInToc).at(104 + 12) == 1);
            EXPECT_LE(FilesIn("C:\\temp").size(), (isDone ? message->nFileCount : 0) + mostLeft);
            EXPECT_EQ(library.FreeBuffer(message), mapi::kSuccess);
        } else {
            EXPECT_TRUE(isKilled || isQueued == isDone);
            EXPECT_GE(copies, isQueued ? 1U : 0U);
            EXPECT_TRUE(isKilled || copies <= (isQueued ? 1 : mostLeft)) << copies;
        }
        EXPECT_TRUE(isQueued || Do() == mapi::kSuccess);
        EXPECT_EQ(Contents("In"), m_a + m_b + m_c);
        EXPECT_EQ(library.FreeBuffer(message), mapi::kSuccess);
    }

    void JudgeRemoval(bool isDone) {
        const auto in = Contents("In"), trash = Contents("Trash");
        EXPECT_TRUE(trash.starts_with(m_old) && in.ends_with(m_c)) << in << trash;
        for (const auto& mail : {m_a, m_b}) {
            const bool isGone = in.find(mail) == in.npos;
            EXPECT_TRUE(isGone ? trash.find(mail) != trash.npos : !isDone) << in << trash;
        }
        // A failed Logoff has ended the session as well.
        (void)library.Logoff(session);
        EXPECT_EQ(library.Logon(&session), mapi::kSuccess);
        EXPECT_EQ(Do(), mapi::kSuccess);
        EXPECT_EQ(library.Logon(&session), mapi::kSuccess);
        EXPECT_EQ(Contents("In"), m_c);
        const auto now = Contents("Trash");
        EXPECT_TRUE(now == m_old + m_a + m_b || now == m_old + m_b + m_a) << now;
    }

    const std::string m_mail = Mail("a", "text\r\n\r\n\r\nAttachment Converted: \"a.txt\"\r\n");
    const std::string m_a = m_mail + '|', m_b = Mail("b") + '|', m_c = Mail("c") + '|';
    std::string m_old;
    Job job = Job::kRead;
    MapiMessage* message = nullptr;
};

TEST_F(StandInSweepTest, LosesNothingWhateverFails) {
    for (const int number : {0, 1, 2, 3, 4, 5}) {
        SCOPED_TRACE(number);
        job = static_cast<Job>(number % 3);
        test::ForEveryFault([&](Fault fault, int n) {
            Reset(number < 3);
            machine.faults.Arm(fault, n);
            const auto result = Do();
            const bool isKilled = fault == Fault::kKill && machine.faults.Fired();
            if (isKilled) {
                (void)library.Logoff(session);
                machine.files.Crash();
            }
            const bool fired = machine.faults.Disarm();
            EXPECT_TRUE(!isKilled || library.Logon(&session) == mapi::kSuccess);
            Judge(result == mapi::kSuccess, isKilled, isKilled ? 2 : 0);
            return fired;
        });
        // No memory: for one request, or from there on.
        const Shortage shortage = number < 3 ? Shortage::kOne : Shortage::kLasting;
        const auto attempt = [&](auto run) {
            Reset(false);
            mapi::Session other = 0;
            if (run([&] { library.Logon(&other); })) library.Logoff(other);
            char id[mapi::kMessageIdSize] = {};
            run([&] { library.FindNext(session, nullptr, nullptr, kFindFlags, id); });
            EXPECT_EQ(Walk(), "1 2 3 =16");
            std::uint32_t result = mapi::kInsufficientMemory;
            const bool isDone = run([&] { result = Do(); }) && result == mapi::kSuccess;
            EXPECT_TRUE(job != Job::kRead || FileText(kInToc).at(104 + 12) == (isDone ? 1 : 0));
            Judge(isDone, false, shortage == Shortage::kOne ? 0 : 2);
        };
        test::ForEachFailingAllocation(attempt, shortage);
    }
    EXPECT_EQ(library.Logoff(session), mapi::kSuccess);
    EXPECT_EQ(machine.files.OpenCount(), 0);
}

}  // namespace
