#include "tests/eumapi/stand_in_fixture.h"

namespace {

using std::string_literals::operator""s;

// "CLASS NAME=ADDRESS; " for each recipient.
std::string Recipients(const MapiMessage& message) {
    std::string all;
    for (const auto& one : mapi::Recipients(message)) {
        EXPECT_EQ(std::string(one.lpszAddress).substr(0, 5), "SMTP:");
        all += std::to_string(one.ulRecipClass) + ' ' + one.lpszName + '=' + (one.lpszAddress + 5) +
               "; ";
    }
    return all;
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

TEST_F(StandInReadTest, GivesTheWholeMail) {
    const auto* mail = ReadOnly(
        "From ???@??"
        "? Wed Jan 02 02:03:55 1980\r\nMessage-ID: <x@y>\r\n"
        "Date: Wed, 02 Jan 1980 02:03:55 +0000\r\nTo: B <b@c.d>,\r\n \"C, D\" <c@d.e>\r\n"
        "Cc: e@f.g\r\nBcc: h@i.j\r\nTo: k@l.m\r\nFrom: =?utf-8?q?J=C3=B6?= <a@b.c>\r\n"
        "Subject: a\r\n b\r\n\r\n<x-flowed>one\r\ntwo\r\n</x-flowed>\r\n");
    ASSERT_NE(mail, nullptr) << code;
    EXPECT_STREQ(mail->lpszSubject, "a b");
    EXPECT_STREQ(mail->lpszNoteText, "<x-flowed>one\ntwo\n</x-flowed>\n");
    EXPECT_STREQ(mail->lpszDateReceived, "1980/01/02 02:03");
    EXPECT_STREQ(mail->lpOriginator->lpszName, "J\xF6 <a@b.c>");
    EXPECT_STREQ(mail->lpOriginator->lpszAddress, "SMTP:a@b.c");
    EXPECT_EQ(Recipients(*mail),
              "1 B=b@c.d; 1 C, D=c@d.e; 1 k@l.m=k@l.m; 2 e@f.g=e@f.g; 3 h@i.j=h@i.j; ");
    EXPECT_EQ(mail->flFlags, mapi::kUnread);
    EXPECT_EQ(mail->nFileCount, 0u);
    EXPECT_EQ(mail->lpFiles, nullptr);
}

TEST_F(StandInReadTest, ReadsHeaderFieldsAsPeopleWriteThem) {
    const struct {
        const char *list, *expected;
    } lists[] = {
        {" A B  <a@b.c> , d@e.f", "1 A B=a@b.c; 1 d@e.f=d@e.f; "},
        {"\"say \\\"hi\\\", you\" <a@b.c>", "1 say \"hi\", you=a@b.c; "},
        {"a@b.c (A (deep, er))", "1 A (deep, er)=a@b.c; "},
        {"A <@relay,@two:a@b.c>", "1 A=a@b.c; "},
        {"Team: a@b.c, D <d@e.f>;, g@h.i", "1 a@b.c=a@b.c; 1 D=d@e.f; 1 g@h.i=g@h.i; "},
        {",, a@b.c,,", "1 a@b.c=a@b.c; "},
        {"\"open <a@b.c>, d@e.f", "1 \"open=a@b.c; 1 d@e.f=d@e.f; "},
        {"(open a@b.c, D <d@e.f>", "1 (open a@b.c=(open a@b.c; 1 D=d@e.f; "},
        {"A <a@b.c, d@e.f", "1 A <a@b.c=A <a@b.c; 1 d@e.f=d@e.f; "},
    };
    for (const auto& one : lists) {
        EXPECT_EQ(Recipients(*ReadOnly("To: "s + one.list + "\r\n\r\n")), one.expected) << one.list;
    }
    // So long that looking back at each colon would last longer than any test may.
    const std::size_t many = 4'000'000;
    const auto* one = ReadOnly("To: " + std::string(many, 'x') + '@' + std::string(many, ':'));
    EXPECT_EQ(std::string_view(one->lpRecips[0].lpszName).size(), 2 * many + 1);
    for (const auto& [from, name] : {std::pair{"<a@b.c>", "a@b.c"},
                                     {"\"A <old@b.c>\" <a@b.c>", "A old@b.c <a@b.c>"},
                                     {"A <a@b.c>, B <b@b.c>", "A <a@b.c>"}}) {
        const auto* mail = ReadOnly("From: "s + from + "\r\n\r\n");
        EXPECT_STREQ(mail->lpOriginator->lpszName, name) << "so that the address is found";
    }
    machine.clock.offset = std::chrono::hours(9);
    for (const auto& [text, local] : {std::pair{"2 Jan 1980 02:03 +0000", "1980/01/02 11:03"},
                                      {"Wed Jan 02 02:03:55 1980", "1980/01/02 02:03"}}) {
        EXPECT_STREQ(ReadOnly("Date: "s + text + "\r\n\r\n")->lpszDateReceived, local) << text;
    }
}

TEST_F(StandInReadTest, DecodesWhatTheCodePageHolds) {
    const struct {
        const char *text, *expected;
        unsigned codePage = 1252;
    } cases[] = {
        {"=?iso-8859-15?q?=A4?= alle", "\x80 alle"},
        {"=?utf-8?q?=E6=97=A5?=", "=?utf-8?q?=E6=97=A5?="},
        {"=?utf-8?q?=E6=97=A5?=", "\x93\xFA", 932},
        {"=?utf-8?q?=1B$Z?=", "=?utf-8?q?=1B$Z?=", 932},
        {"=?utf-8?q?=XY?=", "=?utf-8?q?=XY?="},
        {"a =?us-ascii?q?x=0D=0ABcc:_y?=", "a x  Bcc: y"},
    };
    for (const auto& one : cases) {
        machine.system.codePage = one.codePage;
        eumapi::SimpleMapi other(machine.system);
        ASSERT_EQ(other.Logon(&session), mapi::kSuccess);
        PutMails({"Subject: "s + one.text + "\r\nTo: \"\x95\x5C\" <a@b>, c\r\n\r\n"});
        MapiMessage* mail = nullptr;
        ASSERT_EQ(other.ReadMail(session, "0x00000001", mapi::kPeek, &mail), mapi::kSuccess);
        EXPECT_STREQ(mail->lpszSubject, one.expected);
        // The second byte of this character is a backslash to those who do not look at the first.
        EXPECT_EQ(Recipients(*mail),
                  one.codePage == 932 ? "1 \x95\x5C=a@b; 1 c=c; " : "1 \"\x95\x5C\"=a@b; 1 c=c; ");
    }
}

TEST_F(StandInReadTest, FallsBackToWhatTheListShows) {
    mailbox::MsgBlock block;
    block.dwMsgId = 1;
    block.dwOffset = 5000;
    block.dwLength = 10;
    block.szFrom = "list@b.c";
    block.szSubject = "in the list";
    block.dwSeconds = 86400;
    machine.files.Put(kInMbx, Mail("other"));
    MailboxBuilder box;
    box.blocks = {block};
    machine.files.Put(kInToc, box.Toc());
    const auto* mail = Read(1);
    ASSERT_NE(mail, nullptr) << code;
    EXPECT_STREQ(mail->lpszSubject, "in the list");
    EXPECT_STREQ(mail->lpOriginator->lpszName, "list@b.c");
    EXPECT_STREQ(mail->lpszDateReceived, "1970/01/02 00:00");
    EXPECT_STREQ(mail->lpszNoteText, "");
    EXPECT_STREQ(ReadOnly(Mail("a"))->lpszDateReceived, "1980/01/02 02:03") << "separator line";
    EXPECT_EQ(ReadOnly("Subject: a\r\n\r\n")->lpszDateReceived, nullptr);
}

TEST_F(StandInReadTest, KeepsToTheFileWhateverABlockClaims) {
    const std::string first = Mail("first"), second = Mail("second");
    machine.files.Put(kInMbx, first + second);
    const auto at = static_cast<std::uint32_t>(first.size());
    MailboxBuilder box;
    box.Block(1, 0, ~0U).Block(2, at, ~0U).Block(3, ~0U, ~0U);
    machine.files.Put(kInToc, box.Toc());
    EXPECT_STREQ(Read(1)->lpszNoteText, "text\n") << "up to the next mail";
    EXPECT_STREQ(Read(2)->lpszNoteText, "text\n");
    EXPECT_STREQ(Read(3)->lpszNoteText, "");
    EXPECT_STREQ(ReadOnly("Subject: a\r\n\r\none\0two\r\n"s)->lpszNoteText, "one two\n");
}

// A line leads to the file at its path inside one of the folders, else to that of its name there.
TEST_F(StandInReadTest, FindsAttachmentsInTheirFoldersAlone) {
    machine.files.Put("C:\\Eudora\\EUDORA.INI",
                      "AutoReceiveDirectory=C:\\\r\n[SETTINGS]\r\nautoreceivedirectory = 'D:\\In'");
    const std::pair<const char*, const char*> cases[] = {
        {"C:\\Eudora\\Attach\\a.txt", "C:\\Eudora\\Attach\\a.txt"},
        {"c:/EUDORA/x/../attach/.\\A.TXT", "C:\\Eudora\\Attach\\a.txt"},
        {"X:\\old\\Attach\\a.txt", "C:\\Eudora\\Attach\\a.txt"},
        {"\\\\host\\share\\a.txt", "C:\\Eudora\\Attach\\a.txt"},
        {"C:\\Eudora\\Attach\\sub\\a.txt", "C:\\Eudora\\Attach\\sub\\a.txt"},
        {"C:\\Eudora\\Attach\\sub\\b.txt", "C:\\Eudora\\Attach\\sub\\b.txt"},
        {"D:\\In\\c.txt", "D:\\In\\c.txt"},
        {"E:\\c.txt", "D:\\In\\c.txt"},
        {"C:\\secret.txt", nullptr},
        {"C:\\Eudora\\Attach\\..\\..\\secret.txt", nullptr},
        {"C:\\Eudora\\Attachments\\d.txt", nullptr},
        {"C:\\Eudora\\Attach\\a.txt:s", nullptr},
        {"C:\\Eudora\\Attach\\NUL", nullptr},
        {"", nullptr}};
    for (const char* path : {"C:\\Eudora\\Attach\\a.txt", "C:\\Eudora\\Attach\\sub\\a.txt",
                             "C:\\Eudora\\Attach\\sub\\b.txt", "D:\\In\\c.txt", "C:\\secret.txt",
                             "C:\\Eudora\\Attachments\\d.txt"}) {
        machine.files.Put(path, path);
    }
    for (const auto& [path, source] : cases) {
        const auto* mail = ReadOnly(WithAttachments({path}));
        ASSERT_NE(mail, nullptr) << path;
        ASSERT_EQ(mail->nFileCount, source == nullptr ? 0u : 1u) << path;
        EXPECT_NE(std::string(mail->lpszNoteText).find(path), std::string::npos);
        if (source == nullptr) continue;
        EXPECT_EQ(FileText(mail->lpFiles[0].lpszPathName), source) << path;
    }
}

// What a reader leaves who takes off one line with a blank line above it for each file.
std::string Stripped(std::string text, std::size_t count) {
    while (count-- > 0) text.resize(std::min(text.rfind("\n\nAttachment Conv"), text.size()));
    return text;
}

TEST_F(StandInReadTest, PutsTheLinesOfItsFilesLast) {
    PutFile("a");
    PutFile("c d");
    machine.files.SetReadOnly("C:\\Eudora\\Attach\\c d");
    const std::string a = "Attachment Converted: \"C:\\a\"", b = "Attachment Converted: \"C:\\b\"",
                      c = "Attachment Converted: C:\\c d ";
    const struct {
        std::string text;
        const char* files;
        std::string arranged, stripped;
    } cases[] = {
        {"x\n\n\n" + a + "\n\n" + c + "\n", "a;c d;", "x\n\n\n" + a + "\n\n" + c + "\n", "x\n"},
        {"x\n\n" + a + "\n\n" + b, "a;", "x\n\n" + b + "\n\n" + a + "\n", "x\n\n" + b},
        {"x\n" + b + "\n\n" + a + "\n" + b, "a;", "x\n" + b + "\n\n" + b + "\n\n" + a + "\n",
         "x\n" + b + "\n\n" + b},
        {"x\n\n" + a + "\n\n" + a, "a;", "x\n\n" + a + "\n\n" + a + "\n", "x\n\n" + a},
        {"x\n\n" + b, "", "x\n\n" + b, "x\n\n" + b},
        {a + "\n" + c + "\n", "a;c d;", "\n\n" + a + "\n\n" + c + "\n", ""},
        {"x\n" + a + "\nend\n\n" + c, "c d;", "x\n" + a + "\nend\n\n" + c, "x\n" + a + "\nend"},
    };
    for (const auto& one : cases) {
        const auto* mail = ReadOnly("Subject: s\n\n" + one.text);
        ASSERT_NE(mail, nullptr) << code;
        std::string files;
        for (const auto& file : mapi::Files(*mail)) {
            files.append(file.lpszFileName).append(";");
            EXPECT_TRUE(machine.files.Delete(file.lpszPathName)) << "not read-only";
        }
        EXPECT_EQ(files, one.files) << one.text;
        EXPECT_EQ(mail->lpszNoteText, one.arranged) << one.text;
        EXPECT_EQ(Stripped(mail->lpszNoteText, mail->nFileCount), one.stripped) << one.text;
    }
}

TEST_F(StandInReadTest, LooksForThousandsOfFilesAtTheCostOfOne) {
    std::vector<std::string> paths(20000);
    for (std::size_t i = 0; i < paths.size(); ++i) {
        paths[i] = "C:\\Eudora\\Attach\\" + std::to_string(i);
        if (i % 10 != 0) paths[i] = "Z:\\" + std::to_string(i) + "\\gone";
    }
    for (std::size_t i = 0; i < paths.size(); i += 10) PutFile(std::to_string(i));
    EXPECT_EQ(ReadOnly(WithAttachments(paths))->nFileCount, 100u) << "of the last thousand";
    // One file in a thousand spellings: each but the true one has the system look at all names.
    PutFile("tide-table.txt");
    for (std::size_t i = 0; i < paths.size(); ++i) {
        paths[i] = "C:\\Eudora\\Attach\\tide-table.txt";
        for (int bit = 0; bit < 10; ++bit) {
            char& letter = paths[i][paths[i].size() - 14 + bit];
            if ((i >> bit & 1) != 0) letter = static_cast<char>(std::toupper(letter));
        }
    }
    machine.faults.Disarm();
    EXPECT_EQ(ReadOnly(WithAttachments(paths))->nFileCount, 1u);
    EXPECT_LT(machine.faults.Operations(), 100);
}

TEST_F(StandInReadTest, HonoursFlags) {
    PutFile("a.txt");
    PutMails({WithAttachments({"C:\\Eudora\\Attach\\a.txt"})});
    const auto* mail = Read(1, mapi::kPeek | mapi::kSuppressAttach);
    EXPECT_EQ(mail->nFileCount, 0u);
    EXPECT_NE(std::string(mail->lpszNoteText).find("a.txt"), std::string::npos);
    mail = Read(1, mapi::kPeek | mapi::kEnvelopeOnly);
    EXPECT_STREQ(mail->lpszSubject, "files");
    EXPECT_EQ(mail->lpszNoteText, nullptr);
    EXPECT_TRUE(TempFiles().empty());
    mail = Read(1, mapi::kPeek | mapi::kBodyAsFile);
    ASSERT_EQ(mail->nFileCount, 2u);
    EXPECT_STREQ(mail->lpszNoteText, "");
    EXPECT_TRUE(FileText(mail->lpFiles[0].lpszPathName).starts_with("see there\n"));
    EXPECT_EQ(FileText(mail->lpFiles[1].lpszPathName), "content of a.txt");
    machine.files.LimitDisk(0);
    EXPECT_EQ(Read(1), nullptr) << "not as if there were no such file";
    EXPECT_EQ(code, mapi::kAttachmentWriteFailure);
    machine.files.LimitDisk({});
    mail = ReadOnly("X: " + std::string(100000, 'x') + "\r\nSubject: far\r\n\r\nbody",
                    mapi::kPeek | mapi::kEnvelopeOnly);
    EXPECT_STREQ(mail->lpszSubject, "far");
}

TEST_F(StandInReadTest, MarksReadUnlessItPeeks) {
    PutMails({Mail("a"), Mail("b")});
    const std::string before = FileText(kInToc);
    ASSERT_NE(Read(2), nullptr);
    EXPECT_EQ(FileText(kInToc), before);
    machine.faults.Disarm();
    EXPECT_EQ(Read(2, 0)->flFlags, mapi::kUnread);
    std::string expected = before;
    expected[104 + 218 + 12] = 1;
    EXPECT_EQ(FileText(kInToc), expected);
    EXPECT_EQ(Read(2)->flFlags, 0u);
    EXPECT_EQ(Walk(kFindFlags | mapi::kUnreadOnly), "1 =16");
    PutMails({Mail("a")}, 2);
    ASSERT_NE(Read(1, 0), nullptr);
    EXPECT_EQ(FileText(kInToc).at(104 + 12), 2) << "a mail that was answered stays so";
}

// A run that lives keeps what is in the temporary folder; the first one after it sweeps.
TEST_F(StandInReadTest, SweepsWhatAKilledRunLeft) {
    const std::string others = "C:\\temp\\eua-notes.tmp";
    const std::string old = "C:\\temp\\euaFFFF.tmp";
    for (const auto& path : {others, old}) machine.files.Put(path, "");
    machine.files.SetReadOnly(old);
    PutFile("a.txt");
    const std::string copy = ReadOnly(WithAttachments({"a.txt"}))->lpFiles[0].lpszPathName;
    eumapi::SimpleMapi second(machine.system);
    mapi::Session its = 0;
    ASSERT_EQ(library.Logon(&its), mapi::kSuccess);
    ASSERT_EQ(library.Logoff(its), mapi::kSuccess) << "its other session goes on";
    ASSERT_EQ(second.Logon(&its), mapi::kSuccess);
    EXPECT_EQ(FileText(copy), "content of a.txt");
    ASSERT_EQ(second.Logoff(its), mapi::kSuccess);
    ASSERT_EQ(library.Logoff(session), mapi::kSuccess);
    EXPECT_EQ(FileText(copy), "content of a.txt") << "the caller's";
    ASSERT_EQ(second.Logon(&its), mapi::kSuccess);
    ASSERT_EQ(second.Logoff(its), mapi::kSuccess);
    EXPECT_EQ(TempFiles(), std::vector{others});
}

TEST_F(StandInReadTest, FreesEachMessageOnce) {
    PutFile("a.txt");
    auto* mail = ReadOnly(WithAttachments({"a.txt"}));
    EXPECT_EQ(library.FreeBuffer(mail->lpOriginator), mapi::kFailure) << "a part of it";
    EXPECT_EQ(library.FreeBuffer(mail), mapi::kSuccess);
    EXPECT_EQ(library.FreeBuffer(mail), mapi::kFailure);
    EXPECT_EQ(library.FreeBuffer(nullptr), mapi::kSuccess);
    EXPECT_EQ(TempFiles().size(), 1U) << "the copies are the caller's";
}

}  // namespace
