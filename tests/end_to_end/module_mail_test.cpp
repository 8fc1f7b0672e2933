#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <map>
#include <optional>
#include <thread>
#include <tuple>

#include "host/base/paths.h"
#include "host/mail/eudora_mails.h"
#include "host/translator/in_box.h"
#include "host/translator/translator_session.h"
#include "integration/locate/locate.h"
#include "platform/os/system.h"
#include "tests/end_to_end/eudora_double.h"
#include "tests/host/built_module.h"

// The built module on a copy of the samples, by nothing but its interface: the same mails on both
// systems. On Linux over a prefix; on Windows over the machine's own registry, with the stand-in as
// EUMAPI32.dll in Eudora's folder and another process that holds the in-box all the time.

namespace {

namespace fs = std::filesystem;
using host::mail::EudoraMails;
using host::mail::Mail;
using host::testing::Needed;
using host::translator::TranslatorSession;
using platform::ErrorCode;
using platform::RegistryRoot;
using ::testing::HasSubstr;

const fs::path kSamples(KV_SAMPLES);

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
struct Eudora : host::testing::BuiltModule {
    std::optional<TranslatorSession> session;

    Eudora()
        : BuiltModule([](const fs::path& folder) {
              fs::copy(kSamples, folder, fs::copy_options::recursive);
              if (host::base::UsesWindowsPaths()) InstallOnWindows(folder);
          }) {
        session.emplace(Needed(TranslatorSession::Create(*host, host::translator::kMailKind)));
        const auto selection = Needed(host::translator::SelectMail(*session, setup, false));
        EXPECT_TRUE(
            host::translator::ChangeMailLimits(*session, selection, {"off", "off", "on", "off"}));
    }
    ~Eudora() {
        session.reset();
        host.reset();
        test::WriteDisk(eudora / test::kEndDouble, "");
        // Its program cannot be deleted as long as it runs.
        std::error_code error;
        for (int i = 0; i < 200 && !fs::remove(eudora / "Eudora.exe", error) && error; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
    }
};

Eudora& TheEudora() {
    static Eudora one;
    return one;
}

// Nobody may have In.toc while the module reads it; In.mbx it shares with other readers. The first
// test, since a session reads both once.
TEST(ModuleMail, SharesTheMailboxAndNotItsTable) {
    const std::string folder = TheEudora().setup.eudoraFolder;
    auto& files = platform::NativeSystem().files;
    if (host::base::UsesWindowsPaths()) {
        EXPECT_TRUE(fs::exists(TheEudora().eudora / test::kDoubleIsUp))
            << "the module started no Eudora";
        const auto mbx =
            files.Open(folder + "\\In.mbx", platform::OpenMode::kRead, platform::Share::kNone);
        ASSERT_FALSE(mbx) << "nobody else holds the in-box";
        EXPECT_EQ(mbx.Error().code, ErrorCode::kSharingViolation) << mbx.Error().Message();
    }
    {
        const auto toc =
            files.Open(folder + "\\In.toc", platform::OpenMode::kRead, platform::Share::kReadWrite);
        ASSERT_TRUE(toc) << toc.Error().Message();
        const auto refused = TheEudora().session->Open();
        ASSERT_FALSE(refused);
        EXPECT_THAT(refused.Error().Message(), HasSubstr("In.toc"));
    }
    const auto opened = TheEudora().session->Open();
    EXPECT_TRUE(opened) << opened.Error().Message();
    EXPECT_TRUE(files.Open(folder + "\\In.toc", platform::OpenMode::kRead, platform::Share::kNone))
        << "it stayed open";
}

// On Windows the mails are those of the installed Eudora, by whatever name its folder goes; a
// folder without Eudora has mails on Linux alone.
TEST(ModuleMail, WhoseFolderHasMails) {
    const bool isWindows = host::base::UsesWindowsPaths();
    fs::create_directory(TheEudora().root / "Other");
    std::vector<std::pair<std::string, bool>> rows{
        {(TheEudora().eudora / "Attach" / "..").string(), true},
        {TheEudora().root / "Other", !isWindows}};
    if (isWindows) {
        rows.emplace_back(TheEudora().eudora.string(), true);
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

TEST(ModuleMail, ReadsAllMailsAndLeavesEudorasFilesAlone) {
    ASSERT_TRUE(TheEudora().session->Open());
    EudoraMails mails(*TheEudora().session);
    std::string walk, attached;
    std::map<std::string, Mail> byId;
    std::vector<fs::path> copies;
    const auto walked = mails.Walk(
        host::mail::Reach::kWithinLimits,
        [&](const host::mail::MailHead& head) -> host::base::Result<bool> {
            auto mail = mails.Read(host::mail::MailParts::kAll);
            if (!mail) return mail.Error();
            EXPECT_EQ(mail->marker, std::to_string(mail->status.value_or(0)));
            EXPECT_TRUE(mail->notes.empty());
            const bool isUnread = mail->status == host::mail::kStatusUnread;
            const bool isRead = mail->status == host::mail::kStatusRead;
            const std::string id = head.id.substr(8);
            walk += id + (isUnread ? 'N' : isRead ? 'R' : 'S') + std::to_string(mail->size) + ' ';
            for (const auto& [name, path] : mail->attachments) {
                attached += id + ' ' + name + '|';
                copies.push_back(host::base::ToPath(path));
                const auto original =
                    test::ReadDisk(kSamples / "Attach" / host::base::ToPath(name));
                EXPECT_EQ(test::ReadDisk(copies.back()), original) << name;
                EXPECT_FALSE(original.empty()) << name;
            }
            byId[id] = *std::move(mail);
            return true;
        });
    ASSERT_TRUE(walked) << walked.Error().Message();
    EXPECT_EQ(walk,
              "01R136 02R136 03N63 04R52 05R67 06R46 07R116 08R147 09N94 0AR69 0BR325 0CN231 "
              "0DR144 0ER100 0FN222 10R112 11R35394 12R79 13R54 14R36 15R61 16S52 17R56 18N1 "
              "19R153 1AR43 1BR35 1CN40 1DR36 1EN58 1FR27 20N117 21R0 ");
    EXPECT_EQ(
        attached,
        "08 Gr\u00F6\u00DFe XL.txt|0E tide-table.txt|0F sail.png|0F prices.csv|10 harbour.bmp|");
    const std::tuple<const char*, double, std::string> rows[] = {
        {"0F", 46275 + 13. / 24,
         "ines.ortega@example.com|ann.harper@example.org|bob.smith@example.com; "
         "eve@example.org|-|The new sail|ines.sail@example.com"},
        {"07", 46270 + 8.5 / 24,
         "francois.lefevre@example.org|ann.harper@example.org|-|-|Ferm\u00E9 jusqu\u2019\u00E0 "
         "mardi \u2013 tarif 20 \u20AC|lefevre.12@example.org"},
    };
    for (const auto& [id, date, wanted] : rows) {
        const Mail& mail = byId[id];
        std::string fields;
        for (const auto& field : {mail.from, mail.to, mail.cc, mail.bcc, mail.subject}) {
            fields += field.value_or("-") + '|';
        }
        EXPECT_EQ(fields + mail.messageId.value_or("-"), wanted);
        // Local time, which is at most some 14 hours away.
        EXPECT_NEAR(mail.date.value_or(0), date, 0.6);
        EXPECT_NEAR(std::remainder((mail.date.value_or(0) - date) * 96, 1), 0, 1e-4);
    }
    EXPECT_THAT(byId["07"].body.value_or(""), HasSubstr("rue des \u0152illets est ferm\u00E9 "));
    EXPECT_THAT(byId["0F"].body.value_or(""), HasSubstr("sail-from-behind.jpg"))
        << "the one that is missing on the disk stays in the text";
    ASSERT_TRUE(TheEudora().session->Close());
    for (const auto& copy : copies) EXPECT_FALSE(fs::exists(copy)) << copy;
    for (const char* name : {"In.mbx", "In.toc"}) {
        EXPECT_EQ(test::ReadDisk(TheEudora().eudora / name), test::ReadDisk(kSamples / name))
            << name;
    }
    for (const char* name : {"Trash.mbx", "Out.mbx"})
        EXPECT_FALSE(fs::exists(TheEudora().eudora / name));
}

}  // namespace
