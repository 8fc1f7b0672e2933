#include "tests/frame/log_capture.h"
#include "tests/mailstore/mail_fixture.h"

namespace {

// What the library was asked to send, and how it answers: the n-th send fails.
struct Sends {
    std::vector<std::string> subjects;
    std::size_t failAt = 0;
};
Sends g_sends;

std::uint32_t KV_MAPI_CALL SendMail(mapi::Session, std::uintptr_t, MapiMessage* message,
                                    std::uint32_t, std::uint32_t) {
    g_sends.subjects.push_back(message->lpszSubject);
    return g_sends.subjects.size() == g_sends.failAt ? 11 : 0;
}

class MailCloseTest : public MailFixture {
  protected:
    MailCloseTest() {
        g_sends = {};
        (void)machine.registry.WriteText(platform::RegistryRoot::kLocalMachine,
                                         "SOFTWARE\\Microsoft\\Windows Messaging Subsystem", "MAPI",
                                         "1");
        std::map<std::string, void*> symbols;
        for (const char* name : mapi::kEntryNames) symbols[name] = &g_sends;
        symbols["MAPISendMail"] = reinterpret_cast<void*>(&SendMail);
        machine.libraries.AddLibrary("C:\\E\\EUMAPI32.DLL", symbols);
        EXPECT_EQ(util.mapi.LoadMapiLibrary("C:\\E"), 1);
        temp = *machine.files.TempFolder();
    }
    // A record as the module builds it, to be sent.
    static MapiMessage* Record(const char* subject) {
        MapiMessage* record = nullptr;
        CMapi::AllocMessage(record);
        record->lpszSubject = std::strcpy(new char[std::strlen(subject) + 1], subject);
        record->flFlags = 2;
        return record;
    }

    std::string temp;
};

TEST_F(MailCloseTest, SendsUntilTheFirstFailure) {
    using Texts = std::vector<std::string>;
    for (const auto& [failAt, sent] :
         {std::pair{0U, Texts{"a", "b", "c"}}, {1U, Texts{"a"}}, {2U, Texts{"a", "b"}}}) {
        for (const bool opens : {true, false}) {
            SCOPED_TRACE(failAt);
            g_sends = {{}, failAt};
            OpenedMail mail;
            if (opens) {
                ASSERT_EQ(mail.OpenMailbox(util), RRC_OK);
            }
            mail.m_lpNewMessage = Record("abandoned");
            for (const char* subject : {"a", "b", "c"}) {
                mail.m_lstOutBoxMails.push_back(Record(subject));
            }
            machine.files.Put(temp + "Qzv1.tmp", "x");
            EXPECT_EQ(mail.Close(0), failAt == 0 ? RRC_OK : RRC_FAILED);
            EXPECT_EQ(g_sends.subjects, sent);
            EXPECT_EQ(DrainErrors(), failAt == 0 ? Texts{} : Texts{"m26"});
            EXPECT_TRUE(mail.m_lstOutBoxMails.empty());
            EXPECT_EQ(mail.m_lpNewMessage, nullptr);
            EXPECT_EQ(mail.m_pMapi, nullptr);
            EXPECT_FALSE(machine.files.Exists(temp + "Qzv1.tmp")) << "whatever happened before";
            MapiMessage* current = nullptr;
            EXPECT_EQ(util.mapi.GetCurrentMessage(current), 0) << "the records are gone";
        }
    }
}

// Under AddressSanitizer: records in the queues go with the object, once each.
TEST_F(MailCloseTest, RecordsGoWithTheObject) {
    OpenedMail mail;
    mail.m_lpNewMessage = Record("in hand");
    mail.m_lstOutBoxMails = {Record("a"), Record("b")};
    mail.m_lstNewMails = {Record("c")};
    EXPECT_EQ(util.mapi.UpdateMail(mail.m_lstNewMails.front()), 1) << "the session's message too";
}

TEST_F(MailCloseTest, NothingQueuedTouchesNothing) {
    MailboxBuilder box;
    box.Mail(1, MailText({})).Put(machine.files, "C:\\E");
    OpenedMail mail;
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(mail.Close(round), RRC_OK) << "without an Open too";
        EXPECT_EQ(mail.OpenMailbox(util), RRC_OK);
        EXPECT_EQ(mail.Close(0), RRC_OK);
        EXPECT_EQ(Mbx(), box.mbx);
        EXPECT_EQ(Toc(), box.Toc());
        EXPECT_EQ(mail.ToIndexId().size(), 1U) << "the maps stay";
    }
}

TEST_F(MailCloseTest, DeletesItsOwnTemporaryFilesAlone) {
    OpenedMail mail;
    LogCapture log;
    mail.DeleteAttachFile();
    EXPECT_EQ(LogCapture::Lines(),
              std::vector<std::string>{"5 Enter - CREudoraMail::DeleteAttachFile"});
    const std::vector<std::string> ours{"Qzv1.tmp", "QZVFFFF.TMP", "qzv.tmp", "Qzv long name.tmp"};
    const std::vector<std::string> others{"Qz1.tmp", "xQzv1.tmp", "Qzv1.tmp.txt", "Qzv1.tm",
                                          "Qzv1"};
    for (const auto& name : ours) machine.files.Put(temp + name, "x");
    for (const auto& name : others) machine.files.Put(temp + name, "x");
    machine.files.Put(temp + "sub\\Qzv1.tmp", "x");
    machine.files.Put(temp + "Qzv.folder.tmp\\x", "x");
    machine.files.SetReadOnly(temp + ours[1]);
    const auto held =
        *machine.files.Open(temp + ours[3], platform::OpenMode::kRead, platform::Share::kNone);
    machine.clock.sleeps = 0;
    LogCapture::Lines().clear();
    mail.DeleteAttachFile();
    EXPECT_FALSE(machine.files.Exists(temp + ours[0]));
    EXPECT_FALSE(machine.files.Exists(temp + ours[2]));
    EXPECT_TRUE(machine.files.Exists(temp + ours[3])) << "in use: passed over";
    for (const auto& name : others) EXPECT_TRUE(machine.files.Exists(temp + name)) << name;
    EXPECT_TRUE(machine.files.Exists(temp + "sub\\Qzv1.tmp"));
    EXPECT_TRUE(machine.files.Exists(temp + "Qzv.folder.tmp\\x"));
    EXPECT_TRUE(LogCapture::Has("5           - QZVFFFF.TMP\n"));
    EXPECT_EQ(LogCapture::Lines().back(), "5 Exit - CREudoraMail::DeleteAttachFile");
    EXPECT_EQ(machine.clock.sleeps, 5) << "one for each match";
}

TEST_F(MailCloseTest, MapiErrorsHaveTexts) {
    OpenedMail mail;
    const auto textOf = [&](std::uint32_t code) {
        g_sends.subjects.clear();
        struct Answer {
            static std::uint32_t KV_MAPI_CALL Give(mapi::Session, std::uintptr_t, const char*,
                                                   std::uint32_t, std::uint32_t) {
                return static_cast<std::uint32_t>(g_sends.failAt);
            }
        };
        g_sends.failAt = code;
        std::map<std::string, void*> symbols;
        for (const char* name : mapi::kEntryNames) symbols[name] = &g_sends;
        symbols["MAPIDeleteMail"] = reinterpret_cast<void*>(&Answer::Give);
        machine.libraries.AddLibrary("C:\\E\\EUMAPI32.DLL", symbols);
        EXPECT_EQ(util.mapi.LoadMapiLibrary("C:\\E"), 1);
        util.mapi.DeleteMail();
        mail.ReportMapiError();
        return DrainErrors().at(0);
    };
    for (const auto& [code, text] : {std::pair{1U, "m16"},
                                     {6U, "m21"},
                                     {8U, "m23"},
                                     {25U, "m40"},
                                     {24U, "m39"},
                                     {0U, "m40"},
                                     {7U, "m40"},
                                     {26U, "m40"},
                                     {1000U, "m40"},
                                     {0xFFFFFFFFU, "m40"}}) {
        EXPECT_EQ(textOf(code), text) << code;
    }
}

}  // namespace
