#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/mail/attach_folder.h"
#include "host/mail/eudora_mails.h"
#include "host/translator/in_box.h"
#include "platform/os/safe_write.h"
#include "platform/os/system.h"
#include "tests/host/built_module.h"

// Eudora's mails through the built translator library, in an in-box on the disk.
namespace host::testing {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;

fs::path Native(const mail::IncomingFolder& folder) {
    return *platform::NativePathOf(folder.Path());
}

class MailWriter : public ::testing::Test {
  protected:
    // The module logs on once: a new in-box takes a new module.
    void SetUp() override {
        TheModule().Start();
        for (const char* name : {"In.mbx", "In.toc", "Out.mbx", "Out.toc"}) {
            fs::remove(TheModule().eudora / name);
        }
        auto session =
            *translator::TranslatorSession::Create(*TheModule().host, translator::kMailKind);
        auto selection = translator::SelectMail(session, TheModule().setup, false);
        ASSERT_TRUE(selection) << selection.Error().Message();
        const translator::MailLimitChanges changes{"off", "off", "on", "off"};
        ASSERT_TRUE(translator::ChangeMailLimits(session, *selection, changes));
        mails = *mail::EudoraMails::Open(std::move(session), *selection);
        incoming = *mail::IncomingFolder::Create("test");
    }
    void TearDown() override {
        incoming.reset();
        mails.reset();
        TheModule().host.reset();
    }

    mail::NewAttachment File(const std::string& name, const std::string& content) {
        const std::string path = incoming->Path() + "\\" + std::to_string(++m_files) + ".tmp";
        EXPECT_TRUE(platform::WriteWhole(platform::NativeSystem().files, path, content));
        return {name, path};
    }
    static mail::NewMail Letter(const std::string& id) {
        mail::NewMail mail;
        mail.from = "\"Bee, Ann\" <ann@b.c>";
        mail.to = {{"Doe, Jo", "jo@d.e"}, {"", "f@g.h"}};
        mail.cc = {{"", "c@c"}};
        mail.subject = "caf\xE9 " + id;
        mail.date = 46350.5;
        mail.messageId = id;
        mail.body = "one\r\n\r\ntwo";
        return mail;
    }
    void Finish() {
        const auto finished = mails->Finish();
        ASSERT_TRUE(finished) << finished.Error().Message();
    }

    std::unique_ptr<mail::MailSource> mails;
    std::unique_ptr<mail::IncomingFolder> incoming;

  private:
    int m_files = 0;
};

TEST_F(MailWriter, StoresAWholeMailThatReadsBackAsItWasAndChangesIt) {
    mail::NewMail letter = Letter("first@x");
    letter.attachments = {File("same.txt", "1"), File("same.txt", "two"), File("caf\xE9.bin", "")};
    const auto stored = mails->Add(letter, mail::kStatusRead);
    ASSERT_TRUE(stored) << stored.Error().Message();
    EXPECT_TRUE(fs::is_empty(Native(*incoming)));
    const std::string other = mails->Add(Letter("b@x"), mail::kStatusUnread)->id;
    Finish();
    EXPECT_TRUE(mails->Find(stored->id)->has_value());
    const mail::Mail mail = *mails->Read(mail::MailParts::kAll);
    EXPECT_EQ(mail.marker, stored->marker);
    EXPECT_THAT(mail.from.value_or(""), HasSubstr("ann@b.c"));
    EXPECT_EQ(mail.to.value_or("") + '|' + mail.cc.value_or(""), "jo@d.e; f@g.h|c@c");
    EXPECT_EQ(mail.subject, "caf\xC3\xA9 first@x");
    EXPECT_EQ(mail.messageId, "first@x");
    EXPECT_NEAR(mail.date.value_or(0), 46350.5, 1e-6);
    EXPECT_EQ(mail.status, mail::kStatusRead);
    EXPECT_THAT(mail.body.value_or(""), HasSubstr("one\r\n\r\ntwo"));
    EXPECT_TRUE(mail.notes.empty());
    EXPECT_EQ(mail.attachments.at(2).name, "caf\xC3\xA9.bin");
    EXPECT_EQ(fs::file_size(mail.attachments[1].path), 3u);

    EXPECT_TRUE(mails->SetStatus(stored->id, mail::kStatusUnread));
    EXPECT_TRUE(mails->Remove(other));
    Finish();
    EXPECT_EQ(mails->Find(stored->id)->value().marker, std::to_string(mail::kStatusUnread));
    EXPECT_FALSE(mails->Find(other)->has_value());
    EXPECT_FALSE(mails->Remove(other));
}

TEST_F(MailWriter, SweepsLeftoverFoldersAndFollowsNoLink) {
    const fs::path temp = Native(*incoming).parent_path(), home = temp / "home";
    for (const fs::path& folder : {home, temp / "kvsync-test-left"}) {
        fs::create_directory(folder);
        test::WriteDisk(folder / "letter", "x");
    }
    for (const char* name : {"kvsync-test", "kvsync-test-planted"}) {
        fs::create_directory_symlink(home, temp / name);
    }
    incoming.reset();
    const auto made = mail::IncomingFolder::Create("test");
    ASSERT_TRUE(made) << made.Error().Message();
    EXPECT_TRUE(fs::exists(home / "letter"));
    EXPECT_FALSE(fs::exists(temp / "kvsync-test-left"));
    EXPECT_EQ(fs::status(Native(**made)).permissions(), fs::perms::owner_all);
    for (const char* name : {"home", "kvsync-test", "kvsync-test-planted"}) {
        fs::remove_all(temp / name);
    }
}

TEST_F(MailWriter, StoresNothingOfAMailWhoseAttachmentFails) {
    const auto attached = [] {
        const fs::directory_iterator files(TheModule().eudora / "Attach");
        return std::distance(begin(files), end(files));
    };
    const auto before = attached();
    mail::NewMail letter = Letter("x@x");
    // The name is none for a file on Windows.
    letter.attachments = {File("good.txt", "1"), File("ba/d.txt", "2")};
    const auto failed = mails->Add(letter, mail::kStatusRead);
    ASSERT_FALSE(failed);
    EXPECT_THAT(failed.Error().Message(), HasSubstr("ba/d.txt"));
    const auto next = mails->Add(Letter("y@x"), mail::kStatusRead);
    ASSERT_TRUE(next);
    Finish();
    EXPECT_EQ(attached(), before);
    EXPECT_TRUE(mails->Find(next->id)->has_value());
    EXPECT_EQ(test::ReadDisk(TheModule().eudora / "In.mbx").find("x@x"), std::string::npos);
}

TEST_F(MailWriter, QueuesAMailForSendingAndRefusesWhatCannotBeSent) {
    mail::NewMail nobody = Letter("n@x");
    nobody.to = nobody.cc = {};
    EXPECT_FALSE(mails->AddOutgoing(nobody));
    mail::NewMail comma = Letter("c@x");
    comma.bcc = {{"", "\"a,b\"@c"}};
    EXPECT_FALSE(mails->AddOutgoing(comma));
    mail::NewMail letter = Letter("o@x");
    letter.attachments = {File("out.txt", "o")};
    const auto queued = mails->AddOutgoing(letter);
    ASSERT_TRUE(queued) << queued.Error().Message();
    Finish();
    const std::string text = test::ReadDisk(TheModule().eudora / "Out.mbx");
    EXPECT_THAT(text, HasSubstr("To: Doe  Jo <jo@d.e>, f@g.h\r\n"));
    EXPECT_THAT(text, HasSubstr("Subject: caf\xE9 o@x\r\n"));
    EXPECT_THAT(text, HasSubstr("\\out.txt;\r\n")) << "the name, whatever the folder";
    EXPECT_EQ(fs::file_size(TheModule().eudora / "In.mbx"), 0u);
}

}  // namespace
}  // namespace host::testing
