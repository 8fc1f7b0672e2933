#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "host/mail/eudora_mail_writer.h"
#include "host/mail/incoming_folder.h"
#include "host/module/mail_settings.h"
#include "host/module/setup.h"
#include "platform/os/program.h"

// The writer on the built translator library, in an in-box on the disk.
namespace host {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;

struct Eudora {
    fs::path root =
        fs::temp_directory_path() / ("kvsync-writer-" + std::to_string(platform::ProcessNumber()));
    Setup setup;
    std::unique_ptr<TranslatorHost> module;

    Eudora() {
        fs::create_directories(root / "E" / "Attach");
        (void)platform::SetEnvironment("XDG_STATE_HOME", (root / "state").string());
        SetupOptions options;
        options.eudora = (root / "E").string();
        options.language = "EN";
        setup = *Prepare(options);
    }
    ~Eudora() { fs::remove_all(root); }
};

Eudora& TheEudora() {
    static Eudora eudora;
    return eudora;
}

class MailWriter : public ::testing::Test {
  protected:
    // The module logs on once: a new in-box takes a new module.
    void SetUp() override {
        TheEudora().module = *TranslatorHost::Start(TheEudora().setup.init);
        for (const auto& entry : fs::directory_iterator(Root() / "E")) {
            if (!entry.is_directory()) fs::remove(entry.path());
        }
        session = std::make_unique<TranslatorSession>(
            *TranslatorSession::Create(*TheEudora().module, kMailKind));
        auto selection = SelectMail(*session, TheEudora().setup, false);
        ASSERT_TRUE(selection) << selection.Error().Message();
        MailLimitChanges changes;
        changes.limitsAge = changes.limitsSize = changes.limitsAttachments = false;
        changes.attachments = true;
        ASSERT_TRUE(ChangeMailLimits(*session, *selection, changes));
        ASSERT_TRUE(session->Open());
        writer = std::make_unique<EudoraMailWriter>(*session);
        incoming = *IncomingFolder::Create("test");
    }
    void TearDown() override {
        incoming.reset();
        writer.reset();
        session.reset();
        TheEudora().module.reset();
    }

    static fs::path Root() { return TheEudora().root; }
    static std::size_t AttachCount() {
        const fs::directory_iterator files(Root() / "E" / "Attach");
        return static_cast<std::size_t>(std::distance(begin(files), end(files)));
    }
    NewAttachment File(const std::string& name, const std::string& content) {
        const std::string path = incoming->Path() + "/" + std::to_string(++m_files) + ".tmp";
        std::ofstream(path, std::ios::binary) << content;
        return {name, path};
    }
    static NewMail Letter(const std::string& id) {
        NewMail mail;
        mail.from = "\"Bee, Ann\" <ann@b.c>";
        mail.to = {{"Doe, Jo", "jo@d.e"}, {"", "f@g.h"}};
        mail.cc = {{"", "c@c"}};
        mail.subject = "caf\xE9 " + id;
        mail.date = 46350.5;
        mail.messageId = id;
        mail.body = "one\r\n\r\ntwo";
        return mail;
    }
    void FinishAndReopen() {
        const auto finished = writer->Finish();
        ASSERT_TRUE(finished) << finished.Error().Message();
        ASSERT_TRUE(session->Open());
    }
    Mail Read(const std::string& id) {
        EudoraMails mails(*session, 1252);
        EXPECT_TRUE(*mails.GoTo(id)) << id;
        return *mails.Current(MailParts::kAll);
    }

    std::unique_ptr<TranslatorSession> session;
    std::unique_ptr<EudoraMailWriter> writer;
    std::unique_ptr<IncomingFolder> incoming;

  private:
    int m_files = 0;
};

TEST_F(MailWriter, StoresAWholeMailThatReadsBackAsItWas) {
    NewMail letter = Letter("first@x");
    letter.attachments = {File("same.txt", "1"), File("same.txt", "two"), File("caf\xE9.bin", "")};
    const auto stored = writer->Add(letter, kStatusRead);
    ASSERT_TRUE(stored) << stored.Error().Message();
    EXPECT_TRUE(fs::is_empty(incoming->Path()));
    NewMail bare;
    bare.messageId = "bare@x";
    bare.body = "b";
    const auto second = writer->Add(bare, kStatusUnread);
    ASSERT_TRUE(second) << second.Error().Message();
    FinishAndReopen();
    EXPECT_TRUE(writer->Missing()->empty());

    const Mail mail = Read(stored->id);
    EXPECT_EQ(mail.marker, stored->marker);
    EXPECT_THAT(mail.from.value_or(""), HasSubstr("ann@b.c"));
    EXPECT_EQ(mail.to, "jo@d.e; f@g.h");
    EXPECT_EQ(mail.cc, "c@c");
    EXPECT_EQ(mail.subject, "caf\xC3\xA9 first@x");
    EXPECT_EQ(mail.messageId, "first@x");
    EXPECT_NEAR(mail.date.value_or(0), 46350.5, 1e-6);
    EXPECT_EQ(mail.status, kStatusRead);
    EXPECT_THAT(mail.body.value_or(""), HasSubstr("one\r\n\r\ntwo"));
    EXPECT_TRUE(mail.notes.empty());
    ASSERT_EQ(mail.attachments.size(), 3u);
    EXPECT_EQ(mail.attachments[0].name, "same.txt");
    EXPECT_EQ(mail.attachments[2].name, "caf\xC3\xA9.bin");
    EXPECT_EQ(fs::file_size(mail.attachments[1].path), 3u);

    const Mail poor = Read(second->id);
    EXPECT_EQ(poor.to, "undisclosed-recipients");
    EXPECT_EQ(poor.messageId, "bare@x");
    EXPECT_EQ(poor.status, kStatusUnread);
}

TEST_F(MailWriter, ChangesStatesAndRemoves) {
    std::vector<std::string> ids;
    for (const char* name : {"a@x", "b@x", "c@x"}) {
        ids.push_back(writer->Add(Letter(name), kStatusUnread)->id);
    }
    FinishAndReopen();
    EXPECT_TRUE(writer->SetStatus(ids[0], kStatusRead));
    EXPECT_TRUE(writer->Remove(ids[1]));
    FinishAndReopen();
    EXPECT_EQ(Read(ids[0]).marker, std::to_string(kStatusRead));
    EXPECT_EQ(Read(ids[2]).marker, std::to_string(kStatusUnread));
    EudoraMails mails(*session, 1252);
    EXPECT_FALSE(*mails.GoTo(ids[1]));
    EXPECT_TRUE(writer->SetStatus(ids[0], kStatusUnread));
    FinishAndReopen();
    EXPECT_EQ(Read(ids[0]).marker, std::to_string(kStatusUnread));
    EXPECT_FALSE(writer->Remove(ids[1]));
    EXPECT_FALSE(writer->SetStatus(ids[1], kStatusRead));
}

TEST_F(MailWriter, StoresNothingOfAMailWhoseAttachmentFails) {
    const std::size_t before = AttachCount();
    NewMail letter = Letter("x@x");
    // The name is none for a file on Windows.
    letter.attachments = {File("good.txt", "1"), File("ba/d.txt", "2")};
    const auto failed = writer->Add(letter, kStatusRead);
    ASSERT_FALSE(failed);
    EXPECT_THAT(failed.Error().Message(), HasSubstr("ba/d.txt"));
    const auto next = writer->Add(Letter("y@x"), kStatusRead);
    ASSERT_TRUE(next);
    FinishAndReopen();
    EXPECT_EQ(AttachCount(), before);
    EudoraMails mails(*session, 1252);
    int count = 0;
    ASSERT_TRUE(mails.Walk([&](const MailHead& head) -> platform::Result<bool> {
        EXPECT_EQ(head.id, next->id);
        return ++count < 10;
    }));
    EXPECT_EQ(count, 1);
}

TEST_F(MailWriter, QueuesAMailForSendingAndRefusesWhatCannotBeSent) {
    NewMail nobody = Letter("n@x");
    nobody.to.clear();
    nobody.cc.clear();
    EXPECT_FALSE(writer->AddOutgoing(nobody));
    NewMail comma = Letter("c@x");
    comma.bcc = {{"", "\"a,b\"@c"}};
    EXPECT_FALSE(writer->AddOutgoing(comma));
    NewMail letter = Letter("o@x");
    letter.attachments = {File("out.txt", "o")};
    const auto queued = writer->AddOutgoing(letter);
    ASSERT_TRUE(queued) << queued.Error().Message();
    FinishAndReopen();
    std::ifstream out(Root() / "E" / "Out.mbx", std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(out), {}};
    EXPECT_THAT(text, HasSubstr("To: Doe  Jo <jo@d.e>, f@g.h\r\n"));
    EXPECT_THAT(text, HasSubstr("Subject: caf\xE9 o@x\r\n"));
    EXPECT_THAT(text, HasSubstr("X-Attachments: C:\\Eudora\\Attach\\out"));
    EXPECT_TRUE(session->MoveFirst());
    EXPECT_FALSE(*session->MoveFirst());
}

}  // namespace
}  // namespace host
