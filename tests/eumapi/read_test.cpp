#include "tests/eumapi/stand_in_fixture.h"
#include "tests/support/table.h"

namespace {

// What a caller is shown: "SUBJECT|SENDER|CLASS NAME=ADDRESS;...|DATE|TEXT".
std::string Shown(const MapiMessage* mail) {
    if (mail == nullptr) return "nothing";
    const auto text = [](const char* from) { return std::string(from != nullptr ? from : "-"); };
    std::string all = text(mail->lpszSubject) + '|';
    if (mail->lpOriginator != nullptr) all += mail->lpOriginator->lpszName;
    all += '|';
    for (const auto& one : mapi::Recipients(*mail)) {
        EXPECT_TRUE(text(one.lpszAddress).starts_with("SMTP:"));
        all += std::to_string(one.ulRecipClass) + ' ' + one.lpszName + '=' + (one.lpszAddress + 5) +
               ';';
    }
    return all + '|' + text(mail->lpszDateReceived) + '|' + text(mail->lpszNoteText);
}

class StandInReadTest : public StandInTest {
  protected:
    // A mail whose body ends as Eudora ends one with attachments.
    static std::string WithAttachments(const std::vector<std::string>& paths) {
        std::string body = "see there\r\n";
        for (const auto& path : paths) body += "\r\n\r\nAttachment Converted: \"" + path + "\"";
        return Mail("files", body + "\r\n");
    }
    void PutFile(const std::string& name) {
        machine.files.Put("C:\\Eudora\\Attach\\" + name, "content of " + name);
    }
};

TEST_F(StandInReadTest, ShowsMailsAsPeopleWriteThem) {
    using T = std::string;
    machine.clock.offset = std::chrono::hours(9);
    for (const auto& [codePage, text, subject, sender, recipients, date, body] :
         test::Table<unsigned, T, T, T, T, T, T>("mails that are shown")) {
        machine.system.codePage = codePage;
        eumapi::SimpleMapi other(machine.system);
        ASSERT_EQ(other.Logon(&session), mapi::kSuccess);
        MailboxBuilder().Mail(1, text).Put(machine.files, kEudora);
        MapiMessage* mail = nullptr;
        ASSERT_EQ(other.ReadMail(session, "0x00000001", mapi::kPeek, &mail), mapi::kSuccess);
        EXPECT_EQ(Shown(mail), subject + '|' + sender + '|' + recipients + '|' + date + '|' + body)
            << text;
    }
}

TEST_F(StandInReadTest, KeepsToTheFilesWhateverTheySay) {
    MailboxBuilder box;
    box.Mail(1, Mail("first")).Mail(2, Mail("second")).Block(3, ~0U, ~0U);
    for (auto& block : box.blocks) block.dwLength = ~0U;
    box.blocks[2].szFrom = "list@b.c";
    box.blocks[2].szSubject = "in the list";
    box.blocks[2].dwSeconds = 86400;
    box.Put(machine.files, kEudora);
    const std::string rest = "|a@b.c|1 b@c.d=b@c.d;|1980/01/02 02:03|text\n";
    EXPECT_EQ(Shown(Read(1)), "first" + rest) << "up to the next mail";
    EXPECT_EQ(Shown(Read(2)), "second" + rest);
    EXPECT_EQ(Shown(Read(3)), "in the list|list@b.c||1970/01/02 00:00|");
    // So long that looking back at each mark would last longer than any test may.
    const std::size_t many = 1'000'000;
    for (const char mark : {':', '(', '<'}) {
        const auto* one = ReadOnly("To: " + std::string(many, 'x') + '@' + std::string(many, mark));
        EXPECT_EQ(std::string_view(one->lpRecips[0].lpszName).size(), 2 * many + 1);
    }
}

// A line leads to the file at its path inside one of the folders, else to that of its name there.
TEST_F(StandInReadTest, FindsAttachmentsInTheirFoldersAlone) {
    machine.files.Put("C:\\Eudora\\EUDORA.INI",
                      "AutoReceiveDirectory=C:\\\r\n[SETTINGS]\r\nautoreceivedirectory = 'D:\\In'");
    machine.files.Put("C:\\secret.txt", "");
    machine.files.Put("C:\\Eudora\\Attachments\\d.txt", "");
    std::vector<std::string> lines, sources, found;
    for (const auto& [line, source] : test::Rows<2>("paths of attachments")) {
        lines.push_back(line);
        if (source.empty()) continue;
        machine.files.Put(source, source);
        sources.push_back(source);
    }
    for (const auto& file : mapi::Files(*ReadOnly(WithAttachments(lines)))) {
        found.push_back(FileText(file.lpszPathName));
    }
    EXPECT_EQ(found, sources);
    const auto cost = [&](const char* line) {
        machine.faults.Disarm();
        EXPECT_EQ(ReadOnly(WithAttachments({line}))->nFileCount, 1u);
        return machine.faults.Operations();
    };
    EXPECT_LT(cost("\\\\host\\share\\a.txt"), cost("Z:\\share\\a.txt")) << "asks no other machine";
}

// What is stripped is what a reader leaves who takes off one line with a blank line above it for
// each file.
TEST_F(StandInReadTest, PutsTheLinesOfItsFilesLast) {
    PutFile("a");
    PutFile("c d");
    machine.files.SetReadOnly("C:\\Eudora\\Attach\\c d");
    const auto spelt = [](std::string text) {
        for (std::size_t at; (at = text.find('@')) != text.npos;) {
            text.replace(at, 1, "Attachment Converted: ");
        }
        return text;
    };
    for (const auto& [text, found, arranged, bare] : test::Rows<4>("lines of attachments")) {
        const auto* mail = ReadOnly("Subject: s\n\n" + spelt(text));
        std::string files, stripped = mail->lpszNoteText;
        EXPECT_EQ(stripped, spelt(arranged));
        for (const auto& file : mapi::Files(*mail)) {
            files.append(file.lpszFileName).append(";");
            EXPECT_TRUE(machine.files.Delete(file.lpszPathName)) << "not read-only";
            stripped.resize(std::min(stripped.rfind("\n\nAttachment Conv"), stripped.size()));
        }
        EXPECT_EQ(files, found) << text;
        EXPECT_EQ(stripped, spelt(bare)) << text;
    }
}

TEST_F(StandInReadTest, LooksForThousandsOfFilesAtTheCostOfOne) {
    std::vector<std::string> paths, spellings;
    PutFile("tide-table.txt");
    for (int i = 0; i < 20'000; ++i) {
        if (i % 10 == 0) PutFile(std::to_string(i));
        paths.push_back(i % 10 == 0 ? "C:\\Eudora\\Attach\\" + std::to_string(i)
                                    : "Z:\\" + std::to_string(i) + "\\gone");
        // Each but the true one has the system look at all names.
        auto& spelling = spellings.emplace_back("C:\\Eudora\\Attach\\tide-table.txt");
        for (int bit = 0; bit < 10; ++bit) {
            char& letter = spelling[spelling.size() - 14 + static_cast<std::size_t>(bit)];
            if ((i >> bit & 1) != 0) letter = static_cast<char>(std::toupper(letter));
        }
    }
    machine.faults.Disarm();
    EXPECT_EQ(ReadOnly(WithAttachments(paths))->nFileCount, 100u) << "of the last thousand";
    EXPECT_LT(machine.faults.Operations(), 1100) << "16 folders are looked for";
    machine.faults.Disarm();
    EXPECT_EQ(ReadOnly(WithAttachments(spellings))->nFileCount, 1u);
    EXPECT_LT(machine.faults.Operations(), 100);
}

TEST_F(StandInReadTest, HonoursFlagsAndFreesOnce) {
    PutFile("a.txt");
    const std::string text = WithAttachments({"a.txt"});
    const auto* mail = ReadOnly(text, mapi::kPeek | mapi::kSuppressAttach);
    EXPECT_EQ(mail->nFileCount, 0u);
    EXPECT_NE(Shown(mail).find("a.txt"), std::string::npos);
    mail = ReadOnly("X: " + std::string(100000, 'x') + "\r\nSubject: far\r\n\r\nbody",
                    mapi::kPeek | mapi::kEnvelopeOnly);
    EXPECT_EQ(Shown(mail), "far|||-|-");
    EXPECT_TRUE(FilesIn("C:\\temp").empty());
    mail = ReadOnly(text, mapi::kPeek | mapi::kBodyAsFile);
    ASSERT_EQ(mail->nFileCount, 2u);
    EXPECT_STREQ(mail->lpszNoteText, "");
    EXPECT_TRUE(FileText(mail->lpFiles[0].lpszPathName).starts_with("see there\n"));
    EXPECT_EQ(FileText(mail->lpFiles[1].lpszPathName), "content of a.txt");
    EXPECT_EQ(library.FreeBuffer(mail->lpOriginator), mapi::kFailure) << "a part of it";
    EXPECT_EQ(library.FreeBuffer(const_cast<MapiMessage*>(mail)), mapi::kSuccess);
    EXPECT_EQ(library.FreeBuffer(const_cast<MapiMessage*>(mail)), mapi::kFailure);
    EXPECT_EQ(library.FreeBuffer(nullptr), mapi::kSuccess);
    EXPECT_EQ(FilesIn("C:\\temp").size(), 2U) << "the copies are the caller's";
    const auto held = machine.files.Open("C:\\Eudora\\Attach\\a.txt",
                                         platform::OpenMode::kReadWrite, platform::Share::kNone);
    EXPECT_EQ(Read(1)->nFileCount, 0U) << "another program has it";
    EXPECT_TRUE((*held)->Close());
    machine.files.LimitDisk(0);
    EXPECT_EQ(Read(1), nullptr) << "not as if there were no such file";
    EXPECT_EQ(code, mapi::kAttachmentWriteFailure);
}

// A run that lives keeps what is in the temporary folder; the first one after it sweeps.
TEST_F(StandInReadTest, SweepsWhatAKilledRunLeft) {
    const std::string others = "C:\\temp\\eua-notes.tmp", old = "C:\\temp\\euaFFFF.tmp";
    for (const auto& path : {others, old}) machine.files.Put(path, "");
    machine.files.SetReadOnly(old);
    eumapi::SimpleMapi second(machine.system);
    mapi::Session its = 0;
    const auto logOnAndOff = [&](eumapi::SimpleMapi& run) {
        EXPECT_EQ(run.Logon(&its), mapi::kSuccess);
        EXPECT_EQ(run.Logoff(its), mapi::kSuccess);
    };
    logOnAndOff(library);  // whose other session goes on
    logOnAndOff(second);
    EXPECT_EQ(FilesIn("C:\\temp").size(), 2U);
    ASSERT_EQ(library.Logoff(session), mapi::kSuccess);
    EXPECT_EQ(FilesIn("C:\\temp").size(), 2U) << "the caller's";
    logOnAndOff(second);
    EXPECT_EQ(FilesIn("C:\\temp"), std::vector{others});
}

}  // namespace
