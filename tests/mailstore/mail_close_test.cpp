#include "mailstore/attachments.h"
#include "mailstore/eudora_access.h"
#include "tests/mailstore/mail_fixture.h"
#include "tests/mapi/scripted_library.h"

namespace {

using mapi::Entry;

class MailCloseTest : public MailFixture {
  protected:
    MailCloseTest() { EXPECT_EQ(util.mapi.LoadMapiLibrary("C:\\E"), 1); }

    // A record as the module builds it, to be sent.
    static MapiMessage* Record(const char* subject) {
        MapiMessage* record = nullptr;
        CMapi::AllocMessage(record);
        record->lpszSubject = std::strcpy(new char[std::strlen(subject) + 1], subject);
        record->flFlags = 2;
        return record;
    }

    ScriptedLibrary library{machine, "C:\\E"};
    const std::string temp = *machine.files.TempFolder();
};

TEST_F(MailCloseTest, SendsUntilTheFirstFailure) {
    EXPECT_EQ(util.mapi.MapiLogon(), 1);
    const Texts all{"send a", "send b", "send c"};
    for (const std::size_t failAt : {0U, 1U, 2U}) {
        SCOPED_TRACE(failAt);
        const bool fails = failAt > 0;
        OpenedMail mail;
        ASSERT_EQ(mail.OpenMailbox(util), RRC_OK);
        mail.m_draft.m_lpNewMessage = Record("abandoned");
        for (const char* subject : {"a", "b", "c"}) {
            mail.m_queues.m_lstOutBoxMails.push_back(Record(subject));
        }
        machine.files.Put(temp + "Qzv1.tmp", "x");
        library.calls.clear();
        if (fails) {
            library.results[Entry::kSendMail].assign(failAt - 1, 0);
            library.results[Entry::kSendMail].push_back(11);
        }
        EXPECT_EQ(mail.Close(0), fails ? RRC_FAILED : RRC_OK);
        EXPECT_EQ(library.calls, Texts(all.begin(), fails ? all.begin() + failAt : all.end()));
        EXPECT_EQ(DrainErrors(), fails ? Texts{"m26"} : Texts{});
        EXPECT_TRUE(mail.m_queues.m_lstOutBoxMails.empty());
        EXPECT_FALSE(machine.files.Exists(temp + "Qzv1.tmp")) << "whatever happened before";
        MapiMessage* current = nullptr;
        EXPECT_EQ(util.mapi.GetCurrentMessage(current), 0) << "the records are gone";
    }
}

// Under AddressSanitizer: records in the queues go with the object, once each.
TEST_F(MailCloseTest, RecordsGoWithTheObject) {
    OpenedMail mail;
    mail.m_draft.m_lpNewMessage = Record("in hand");
    mail.m_queues.m_lstOutBoxMails = {Record("a"), Record("b")};
    mail.m_queues.m_lstNewMails = {Record("c")};
    EXPECT_EQ(util.mapi.UpdateMail(mail.m_queues.m_lstNewMails.front()), 1)
        << "the session's message too";
}

TEST_F(MailCloseTest, DeletesItsOwnTemporaryFilesAlone) {
    OpenedMail mail;
    const std::string readOnly = temp + "QZVFFFF.TMP", inUse = temp + "Qzv long name.tmp";
    const Texts gone{temp + "Qzv1.tmp", temp + "qzv.tmp", readOnly};
    Texts kept{inUse, temp + "sub\\Qzv1.tmp", temp + "Qzv.folder.tmp\\x"};
    for (const char* name : {"Qz1.tmp", "xQzv1.tmp", "Qzv1.tmp.txt", "Qzv1.tm", "Qzv1"}) {
        kept.push_back(temp + name);
    }
    for (const auto& path : gone) machine.files.Put(path, "x");
    for (const auto& path : kept) machine.files.Put(path, "x");
    machine.files.SetReadOnly(readOnly);
    const auto held = *machine.files.Open(inUse, platform::OpenMode::kRead, platform::Share::kNone);
    machine.clock.sleeps = 0;
    mailstore::DeleteAttachFile(machine.system);
    for (const auto& path : gone) EXPECT_FALSE(machine.files.Exists(path)) << path;
    for (const auto& path : kept) EXPECT_TRUE(machine.files.Exists(path)) << path;
    EXPECT_EQ(machine.clock.sleeps, 5) << "one for each match";
}

TEST_F(MailCloseTest, MapiErrorsHaveTexts) {
    EXPECT_EQ(util.mapi.MapiLogon(), 1);
    OpenedMail mail;
    for (const auto& [code, text] : {std::pair{1U, "m16"},
                                     {25U, "m40"},
                                     {24U, "m39"},
                                     {0U, "m40"},
                                     {7U, "m40"},
                                     {26U, "m40"}}) {
        library.results[Entry::kDeleteMail] = {code};
        (void)util.mapi.DeleteMail();
        (void)mailstore::FailOfMapi(util, nullptr);
        EXPECT_EQ(DrainErrors(), Texts{text}) << code;
    }
}

}  // namespace
