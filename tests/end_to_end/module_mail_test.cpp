#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <optional>
#include <thread>

#include "host/base/paths.h"
#include "host/eudora/setup.h"
#include "host/mail/eudora_mails.h"
#include "host/translator/in_box.h"
#include "host/translator/translator_host.h"
#include "host/translator/translator_session.h"
#include "integration/locate/locate.h"
#include "platform/os/program.h"
#include "platform/os/system.h"
#include "tests/end_to_end/eudora_double.h"
#include "tests/platform/temp_folder.h"

// The built module on a copy of the samples, by nothing but its interface: the same mails on both
// systems. On Linux over a prefix; on Windows over the machine's own registry, with the stand-in as
// EUMAPI32.dll in Eudora's folder and another process that holds the in-box all the time.

namespace {

namespace fs = std::filesystem;
using host::mail::EudoraMails;
using host::mail::Mail;
using host::translator::TranslatorSession;
using platform::ErrorCode;
using platform::RegistryRoot;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

fs::path Samples() {
    return fs::path(KV_SAMPLES);
}

// Eudora's set-up on Windows: its registry values, its program and its library.
void InstallOnWindows(const fs::path& folder) {
    fs::copy_file(KV_STAND_IN, folder / "EUMAPI32.dll");
    fs::copy_file(KV_EUDORA, folder / "Eudora.exe");
    const auto& system = platform::NativeSystem();
    const std::string program = (folder / "Eudora.exe").string();
    const auto shortPath = system.files.ShortPath(program);
    ASSERT_TRUE(shortPath) << shortPath.Error().Message();
    const std::string rows[][3] = {
        {locate::kAppPathsKey, locate::kAppPathsFolder, folder.string()},
        {locate::kAppPathsKey, "", program},
        {"SOFTWARE\\Classes\\mailto\\shell\\open\\command", "", *shortPath + " /M %1"},
        {"SOFTWARE\\Microsoft\\Windows Messaging Subsystem", "MAPI", "1"}};
    for (const auto& [key, value, text] : rows) {
        ASSERT_TRUE(system.registry.WriteText(RegistryRoot::kLocalMachine, key, value, text))
            << key;
    }
}

// One Eudora for all tests of this file, which takes its time to come up, and one session with it:
// the module logs off when it ends.
class ModuleMail : public ::testing::Test {
  protected:
    static void SetUpTestSuite() {
        s_folder = std::make_unique<test::TempFolder>();
        fs::copy(Samples(), Eudora(), fs::copy_options::recursive);
        ASSERT_TRUE(platform::SetEnvironment("XDG_STATE_HOME", *s_folder / "state"));
        if (host::base::UsesWindowsPaths()) {
            ASSERT_NO_FATAL_FAILURE(InstallOnWindows(Eudora()));
        }
        host::eudora::SetupOptions options;
        options.eudora = Eudora().string();
        options.language = "EN";
        auto setup = host::eudora::Prepare(options);
        ASSERT_TRUE(setup) << setup.Error().Message();
        s_setup = *std::move(setup);
        auto module = host::translator::TranslatorHost::Start(s_setup->init);
        ASSERT_TRUE(module) << module.Error().Message();
        s_module = *std::move(module);
        auto made = TranslatorSession::Create(*s_module, host::translator::kMailKind);
        ASSERT_TRUE(made) << made.Error().Message();
        session.emplace(*std::move(made));
        const auto selection = host::translator::SelectMail(*session, *s_setup, false);
        ASSERT_TRUE(selection) << selection.Error().Message();
        ASSERT_TRUE(
            host::translator::ChangeMailLimits(*session, *selection, {"off", "off", "on", "off"}));
        s_isReady = !HasFailure();
    }
    static void TearDownTestSuite() {
        session.reset();
        s_module.reset();
        test::WriteDisk(Eudora() / test::kEndDouble, "");
        // Its program cannot be deleted as long as it runs.
        std::error_code error;
        for (int i = 0; i < 200 && !fs::remove(Eudora() / "Eudora.exe", error) && error; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        s_setup.reset();
        s_folder.reset();
    }

    static fs::path Eudora() { return s_folder->Path() / "Eudora"; }

    void SetUp() override { ASSERT_TRUE(s_isReady); }
    Mail MailOf(const std::string& id) {
        EudoraMails mails(*session);
        const auto found = mails.GoTo(id);
        EXPECT_TRUE(found && *found) << id;
        auto mail = mails.Read(host::mail::MailParts::kAll);
        EXPECT_TRUE(mail) << mail.Error().Message();
        return mail ? *std::move(mail) : Mail();
    }
    static std::string InEudora(const std::string& name) {
        return s_setup->eudoraFolder + "\\" + name;
    }

    inline static std::unique_ptr<test::TempFolder> s_folder;
    inline static std::optional<host::eudora::Setup> s_setup;
    inline static std::unique_ptr<host::translator::TranslatorHost> s_module;
    inline static std::optional<TranslatorSession> session;
    inline static bool s_isReady = false;
};

// "-" for a field without value.
std::string Or(const std::optional<std::string>& text) {
    return text.value_or("-");
}

// Nobody may have In.toc while the module reads it; In.mbx it shares with other readers. The first
// test, since a session reads both once.
TEST_F(ModuleMail, SharesTheMailboxAndNotItsTable) {
    auto& files = platform::NativeSystem().files;
    if (host::base::UsesWindowsPaths()) {
        EXPECT_TRUE(fs::exists(Eudora() / test::kDoubleIsUp)) << "the module started no Eudora";
        const auto mbx =
            files.Open(InEudora("In.mbx"), platform::OpenMode::kRead, platform::Share::kNone);
        ASSERT_FALSE(mbx) << "nobody else holds the in-box";
        EXPECT_EQ(mbx.Error().code, ErrorCode::kSharingViolation) << mbx.Error().Message();
    }
    {
        const auto toc =
            files.Open(InEudora("In.toc"), platform::OpenMode::kRead, platform::Share::kReadWrite);
        ASSERT_TRUE(toc) << toc.Error().Message();
        const auto refused = session->Open();
        ASSERT_FALSE(refused);
        EXPECT_THAT(refused.Error().Message(), HasSubstr("In.toc"));
    }
    const auto opened = session->Open();
    EXPECT_TRUE(opened) << opened.Error().Message();
    EXPECT_TRUE(files.Open(InEudora("In.toc"), platform::OpenMode::kRead, platform::Share::kNone))
        << "it stayed open";
}

// On Windows the mails are those of the installed Eudora, by whatever name its folder goes; a
// folder without Eudora has mails on Linux alone.
TEST_F(ModuleMail, WhoseFolderHasMails) {
    const bool isWindows = host::base::UsesWindowsPaths();
    fs::create_directory(*s_folder / "Other");
    std::vector<std::pair<std::string, bool>> rows{{(Eudora() / "Attach" / "..").string(), true},
                                                   {*s_folder / "Other", !isWindows}};
    if (isWindows) {
        rows.emplace_back(Eudora().string(), true);
        std::ranges::transform(rows.back().first, rows.back().first.begin(),
                               [](unsigned char c) { return std::toupper(c); });
    }
    for (const auto& [folder, isIt] : rows) {
        host::eudora::SetupOptions options;
        options.eudora = folder;
        const auto setup = host::eudora::Prepare(options);
        ASSERT_TRUE(setup) << setup.Error().Message();
        EXPECT_EQ(host::eudora::RefuseMailsElsewhere(*setup).HasValue(), isIt) << folder;
    }
}

TEST_F(ModuleMail, WalksAllMailsInTheirOrder) {
    ASSERT_TRUE(session->Open());
    EudoraMails mails(*session);
    std::string walk;
    const auto walked =
        mails.Walk(host::mail::Reach::kWithinLimits,
                   [&](const host::mail::MailHead& head) -> host::base::Result<bool> {
                       const auto mail = mails.Read(host::mail::MailParts::kWithoutAttachments);
                       if (!mail) return mail.Error();
                       EXPECT_EQ(mail->marker, std::to_string(mail->status.value_or(0)));
                       const bool isUnread = mail->status == host::mail::kStatusUnread;
                       const bool isRead = mail->status == host::mail::kStatusRead;
                       walk += head.id.substr(8) +
                               (isUnread ? 'N'
                                : isRead ? 'R'
                                         : 'S') +
                               std::to_string(mail->size) + ' ';
                       return true;
                   });
    ASSERT_TRUE(walked) << walked.Error().Message();
    EXPECT_EQ(walk,
              "01R136 02R136 03N63 04R52 05R67 06R46 07R116 08R147 09N94 0AR69 0BR325 0CN231 "
              "0DR144 0ER100 0FN222 10R112 11R35394 12R79 13R54 14R36 15R61 16S52 17R56 18N1 "
              "19R153 1AR43 1BR35 1CN40 1DR36 1EN58 1FR27 20N117 21R0 ");
}

TEST_F(ModuleMail, ReadsAllFields) {
    struct Row {
        const char *id, *from, *to, *cc, *bcc, *subject, *messageId;
        double date;  // UTC
    };
    const Row rows[] = {
        {"0x0000000C", "fair@example.com", "friends@example.com", "-", "ann.harper@example.org",
         "Boat fair news", "fair.2026.1@example.com", 46273 + 6.5 / 24},
        {"0x0000000F", "ines.ortega@example.com", "ann.harper@example.org",
         "bob.smith@example.com; eve@example.org", "-", "The new sail", "ines.sail@example.com",
         46275 + 13. / 24},
        {"0x00000007", "francois.lefevre@example.org", "ann.harper@example.org", "-", "-",
         "Ferm\u00E9 jusqu\u2019\u00E0 mardi \u2013 tarif 20 \u20AC", "lefevre.12@example.org",
         46270 + 8.5 / 24},
    };
    ASSERT_TRUE(session->Open());
    for (const Row& row : rows) {
        SCOPED_TRACE(row.id);
        const Mail mail = MailOf(row.id);
        EXPECT_THAT(mail.notes, ElementsAre());
        EXPECT_EQ(Or(mail.from), row.from);
        EXPECT_EQ(Or(mail.to), row.to);
        EXPECT_EQ(Or(mail.cc), row.cc);
        EXPECT_EQ(Or(mail.bcc), row.bcc);
        EXPECT_EQ(Or(mail.subject), row.subject);
        EXPECT_EQ(Or(mail.messageId), row.messageId);
        // Local time, which is at most some 14 hours away.
        EXPECT_NEAR(mail.date.value_or(0), row.date, 0.6);
        EXPECT_NEAR(std::remainder((mail.date.value_or(0) - row.date) * 96, 1), 0, 1e-4);
    }
    EXPECT_EQ(Or(MailOf("0x00000007").body),
              "Ch\u00E8re Ann,\r\n\r\nle caf\u00E9 de la rue des \u0152illets est ferm\u00E9 "
              "jusqu\u2019\u00E0 mardi. Le menu co\u00FBte toujours 20 \u20AC.\r\n\r\n\u00C0 "
              "bient\u00F4t\r\nFran\u00E7ois\r\n");
}

TEST_F(ModuleMail, CopiesAttachmentsUntilItCloses) {
    ASSERT_TRUE(session->Open());
    const struct {
        const char* id;
        std::vector<std::string> names;
    } rows[] = {{"0x00000008", {"Gr\u00F6\u00DFe XL.txt"}},
                {"0x0000000F", {"sail.png", "prices.csv"}}};
    std::vector<fs::path> copies;
    for (const auto& row : rows) {
        std::vector<std::string> names;
        for (const auto& attachment : MailOf(row.id).attachments) {
            names.push_back(attachment.name);
            copies.push_back(host::base::ToPath(attachment.path));
            const auto original = Samples() / "Attach" / host::base::ToPath(attachment.name);
            EXPECT_EQ(test::ReadDisk(copies.back()), test::ReadDisk(original)) << attachment.name;
            EXPECT_GT(fs::file_size(copies.back()), 0u) << attachment.name;
        }
        EXPECT_EQ(names, row.names);
    }
    EXPECT_THAT(Or(MailOf("0x0000000F").body), HasSubstr("sail-from-behind.jpg"))
        << "the one that is missing on the disk stays in the text";
    ASSERT_TRUE(session->Close());
    for (const auto& copy : copies) EXPECT_FALSE(fs::exists(copy)) << copy;
}

TEST_F(ModuleMail, ReadingLeavesEudorasFilesAlone) {
    ASSERT_TRUE(session->Open());
    EXPECT_EQ(MailOf("0x00000003").status, host::mail::kStatusUnread);
    EXPECT_EQ(MailOf("0x00000003").status, host::mail::kStatusUnread);
    ASSERT_TRUE(session->Close());
    for (const char* name : {"In.mbx", "In.toc"}) {
        EXPECT_EQ(test::ReadDisk(Eudora() / name), test::ReadDisk(Samples() / name)) << name;
    }
    for (const char* name : {"Trash.mbx", "Out.mbx"}) EXPECT_FALSE(fs::exists(Eudora() / name));
}

}  // namespace
