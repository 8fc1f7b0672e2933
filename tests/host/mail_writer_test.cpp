#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/mail/attach_folder.h"
#include "host/mail/eudora_mails.h"
#include "host/translator/in_box.h"
#include "platform/os/safe_write.h"
#include "platform/os/system.h"
#include "tests/host/built_module.h"

namespace host::testing {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;
using ::testing::Not;

fs::path Native(const mail::IncomingFolder& folder) {
    return *platform::NativePathOf(folder.Path());
}

// Through the built translator library, into mailboxes on the disk.
TEST(EudoraMails, StoresAMailWholeOrNotAtAll) {
    auto session = *translator::TranslatorSession::Create(*TheModule().host, translator::kMailKind);
    const auto selection = *translator::SelectMail(session, TheModule().setup, false);
    ASSERT_TRUE(translator::ChangeMailLimits(session, selection, {"off", "off", "on", "off"}));
    auto mails = *mail::EudoraMails::Open(std::move(session), selection);
    const auto incoming = *mail::IncomingFolder::Create("test");
    const auto letter = [&](const std::string& id, std::initializer_list<std::string> files) {
        mail::NewMail mail;
        mail.from = "ann@b.c";
        mail.to = {{"Doe, Jo", "jo@d.e"}, {"", "f@g.h"}};
        mail.messageId = mail.subject = id;
        for (const std::string& name : files) {
            mail.attachments.push_back(
                {name, incoming->Path() + "\\" + id + std::to_string(mail.attachments.size())});
            EXPECT_TRUE(platform::WriteWhole(platform::NativeSystem().files,
                                             mail.attachments.back().path, name));
        }
        return mail;
    };
    // No such name has a file on Windows.
    const auto failed = mails->Add(letter("no@x", {"good.txt", "ba/d.txt"}), mail::kStatusRead);
    ASSERT_FALSE(failed);
    EXPECT_THAT(failed.Error().Message(), HasSubstr("ba/d.txt"));
    mail::NewMail nobody = letter("no@x", {}), comma = nobody;
    nobody.to = {};
    comma.bcc = {{"", "\"a,b\"@c"}};
    for (const auto& refused : {nobody, comma}) EXPECT_FALSE(mails->AddOutgoing(refused));
    const auto queued = mails->AddOutgoing(letter("out@x", {"out.txt"}));
    ASSERT_TRUE(queued) << queued.Error().Message();
    const auto stored = mails->Add(letter("in@x", {"same.txt", "same.txt"}), mail::kStatusRead);
    ASSERT_TRUE(stored) << stored.Error().Message();
    ASSERT_TRUE(mails->Finish());
    EXPECT_EQ(mails->Find(stored->id)->value().marker, stored->marker);
    EXPECT_EQ(mails->Read(mail::MailParts::kAll)->attachments.size(), 2u);
    const std::string in = test::ReadDisk(TheModule().eudora / "In.mbx"),
                      out = test::ReadDisk(TheModule().eudora / "Out.mbx");
    EXPECT_THAT(in, Not(AnyOf(HasSubstr("no@x"), HasSubstr("out@x"))));
    EXPECT_THAT(out, HasSubstr("To: Doe  Jo <jo@d.e>, f@g.h\r\n"));
    EXPECT_THAT(out, HasSubstr("\\out.txt;\r\n")) << "the name, whatever the folder";
    const fs::directory_iterator attached(TheModule().eudora / "Attach");
    EXPECT_EQ(std::distance(begin(attached), end(attached)), 3) << "none of what failed";
    EXPECT_TRUE(mails->Remove(stored->id));
    EXPECT_FALSE(mails->Remove(stored->id));
    mails.reset();
    TheModule().host.reset();
}

TEST(IncomingFolder, SweepsLeftoversAndFollowsNoLink) {
    TheModule();  // in whose prefix the folder lies
    auto incoming = *mail::IncomingFolder::Create("test");
    const fs::path temp = Native(*incoming).parent_path();
    for (const fs::path& folder : {temp / "home", temp / "kvsync-test-left"}) {
        fs::create_directory(folder);
        test::WriteDisk(folder / "letter", "x");
    }
    for (const char* name : {"kvsync-test", "kvsync-test-planted"}) {
        fs::create_directory_symlink(temp / "home", temp / name);
    }
    incoming.reset();
    incoming = *mail::IncomingFolder::Create("test");
    EXPECT_TRUE(fs::exists(temp / "home" / "letter"));
    EXPECT_FALSE(fs::exists(temp / "kvsync-test-left"));
    EXPECT_EQ(fs::status(Native(*incoming)).permissions(), fs::perms::owner_all);
}

}  // namespace
}  // namespace host::testing
