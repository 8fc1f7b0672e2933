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
        MailboxBuilder().Mail(1, m_mail).Mail(2, Mail("b")).Put(machine.files, kEudora);
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
        if (job == Job::kDelete) return Delete(1);
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
        const auto in = Contents("In"), out = Contents("Out"), trash = Contents("Trash");
        const bool isQueued = out != m_old, isInTrash = trash != m_old, isGone = in == m_b;
        EXPECT_TRUE(!isQueued || (job == Job::kSend && out.starts_with(m_old + "From ") &&
                                  std::ranges::count(out, '|') == (m_old.empty() ? 1 : 2)));
        EXPECT_TRUE(!isInTrash || (job == Job::kDelete && trash == m_old + m_a)) << trash;
        EXPECT_TRUE(isGone ? isInTrash : in == m_a + m_b) << in;
        const auto copies = FilesIn("C:\\Eudora\\Attach\\").size() - 1;
        if (job == Job::kRead) {
            EXPECT_EQ(message != nullptr, isDone);
            EXPECT_TRUE(!isDone || isKilled || FileText(kInToc).at(104 + 12) == 1);
            EXPECT_LE(FilesIn("C:\\temp").size(), (isDone ? message->nFileCount : 0) + mostLeft);
            EXPECT_EQ(library.FreeBuffer(message), mapi::kSuccess);
        } else if (job == Job::kSend) {
            EXPECT_TRUE(isKilled || isQueued == isDone);
            EXPECT_GE(copies, isQueued ? 1U : 0U);
            EXPECT_TRUE(isKilled || copies <= (isQueued ? 1 : mostLeft)) << copies;
        } else {
            EXPECT_TRUE(isGone || !isDone);
        }
        EXPECT_TRUE(isQueued || isGone || Do() == mapi::kSuccess);
        EXPECT_EQ(Contents("In"), job == Job::kDelete ? m_b : m_a + m_b);
        EXPECT_EQ(Contents("Trash"), m_old + (job == Job::kDelete ? m_a : ""));
        EXPECT_EQ(library.FreeBuffer(message), mapi::kSuccess);
    }

    const std::string m_mail = Mail("a", "text\r\n\r\n\r\nAttachment Converted: \"a.txt\"\r\n");
    const std::string m_a = m_mail + '|', m_b = Mail("b") + '|';
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
                EXPECT_EQ(library.Logoff(session), mapi::kSuccess);
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
            EXPECT_EQ(Walk(), "1 2 =16");
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
