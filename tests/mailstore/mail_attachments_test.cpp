#include <gmock/gmock.h>

#include <cstring>

#include "mailstore/mail_attachments_names.h"
#include "tests/mailstore/reading_fixture.h"

namespace {

using Strings = std::vector<std::string>;
using platform::testing::Fault;

CArray<CRAttachmentInfo> ListOf(const std::string& text) {
    CArray<CRAttachmentInfo> list;
    EXPECT_EQ(StrToAttachmentInfo(text.c_str(), list), RRC_OK);
    return list;
}

class AttachmentsOutTest : public ReadingTest {
  protected:
    AttachmentsOutTest() { mail.m_appInfo.m_bAttachments = 1; }

    // Makes a mail with files of that size current; their names are a, b, c and so on.
    void ShowFiles(std::vector<std::size_t> sizes) {
        FakeMail one;
        while (one.files.size() < sizes.size()) {
            const std::string name(1, static_cast<char>('a' + one.files.size()));
            one.files.push_back({"C:\\lib\\" + name, "C:\\sent\\" + name + ".txt", 0});
        }
        Show(one);
        // Not before: with the mail that was current its files go away.
        for (std::size_t i = 0; i < sizes.size(); ++i) {
            machine.files.Put(*one.files[i].path, std::string(sizes[i], 'x'));
        }
    }
    // The names and the sizes of the copies that field 8 lists.
    std::string Listed() {
        std::string all;
        for (const auto& item : ListOf(Text("8"))) {
            EXPECT_EQ(item.dwInfoFlag, 1U);
            EXPECT_EQ(item.bDeleteSource, 1U);
            EXPECT_EQ(item.csDisplayName, item.csFileName);
            EXPECT_EQ(item.csFilePath.Str().rfind("C:\\temp\\Qzv", 0), 0U);
            const auto copy = machine.files.Get(item.csFilePath.Str());
            all += item.csFileName.Str() + ' ' + std::to_string(copy.value_or("none").size()) + '|';
        }
        return all;
    }
    Strings FailureOfField8() {
        char* cell = nullptr;
        EXPECT_EQ(mail.GetField("8", nullptr, &cell), RRC_FAILED);
        EXPECT_EQ(cell, nullptr);
        return DrainErrors();
    }
};

TEST_F(AttachmentsOutTest, SettingsChooseWhatIsCopied) {
    ShowFiles({5120, 5121, 0, 3});
    EXPECT_EQ(Listed(), "a.txt 5120|c.txt 0|d.txt 3|");
    mail.m_appInfo.m_bLimitAttachSize = 0;
    EXPECT_EQ(Listed(), "a.txt 5120|b.txt 5121|c.txt 0|d.txt 3|");
    mail.m_appInfo.m_bLimitAttachSize = 1;
    mail.m_appInfo.m_nAttachLimitKB = -1;
    EXPECT_EQ(Listed(), "a.txt 5120|b.txt 5121|c.txt 0|d.txt 3|") << "an unsigned limit";
    mail.m_appInfo.m_nAttachLimitKB = 0;
    EXPECT_EQ(Listed(), "c.txt 0|");
    mail.m_appInfo.m_bAttachments = 0;
    machine.faults.Arm(Fault::kNone, 0);
    EXPECT_EQ(Text("8"), "");
    EXPECT_EQ(machine.faults.Operations(), 0);
    mail.m_appInfo.m_bAttachments = 1;
    ShowFiles({});
    EXPECT_EQ(Text("8"), "");
}

TEST_F(AttachmentsOutTest, TooLargeFilesAndOleObjectsCostNoCopy) {
    FakeMail one;
    one.files = {{"C:\\nowhere", "x", mapi::kOle}, {"C:\\nowhere", "y", mapi::kOleStatic | 8}};
    Show(one);
    machine.faults.Disarm();
    EXPECT_EQ(Text("8"), "");
    EXPECT_EQ(machine.faults.Operations(), 0);
    ShowFiles({6000});
    EXPECT_EQ(Text("8"), "");
    EXPECT_EQ(machine.files.AllFiles(), Strings{"C:\\lib\\a"});
}

TEST_F(AttachmentsOutTest, NamesAreNamePartsOnly) {
    const std::pair<std::optional<std::string>, const char*> rows[] = {
        {"..\\..\\evil.exe", "evil.exe"}, {"a/b/c.txt", "c.txt"}, {"D:x.txt", "x.txt"},
        {"100%s%n.txt", "100%s%n.txt"},   {"folder\\", ""},       {std::nullopt, "a"}};
    for (const auto& [given, name] : rows) {
        ShowFiles({1});
        library.mails[0].files[0].name = given;
        ASSERT_EQ(mail.MoveFirst(), RRC_OK);
        machine.files.Put("C:\\lib\\a", "x");
        EXPECT_EQ(Listed(), std::string(name) + " 1|");
    }
}

TEST_F(AttachmentsOutTest, OneFailureEndsTheField) {
    ShowFiles({1, 2});
    (void)machine.files.Delete("C:\\lib\\b");
    EXPECT_EQ(FailureOfField8(), Strings{"no such file"});
    library.mails[0].files[0].path.reset();
    ASSERT_EQ(mail.MoveFirst(), RRC_OK);
    EXPECT_EQ(FailureOfField8(), Strings{"no such file"});
    library.badRead = "0x00000001";
    EXPECT_EQ(mail.MoveFirst(), RRC_FAILED);
    (void)DrainErrors();
    EXPECT_EQ(FailureOfField8(), Strings{"no message"});
}

TEST_F(AttachmentsOutTest, EachStepTellsItsOwnFailure) {
    ShowFiles({1});
    enum { kSize = 2, kCopy = 5 };  // numbers of the file operations
    machine.faults.Arm(Fault::kFail, kSize);
    EXPECT_EQ(Listed(), "a.txt 1|") << "a size is asked for twice";
    machine.faults.Arm(Fault::kKill, kSize);
    EXPECT_EQ(FailureOfField8(), Strings{"no size"});
    machine.faults.Arm(Fault::kFail, kCopy);
    const LogCapture log;
    EXPECT_EQ(FailureOfField8(), Strings{}) << "a failed copy is in the log alone";
    EXPECT_TRUE(LogCapture::Has("1 Unable to Copy the file"));
}

// Whatever fails, the field fails as a whole, the library's files stay, and what was made is found
// by the pattern of the clean-up.
TEST_F(AttachmentsOutTest, FaultsLeaveNothingButTemporaryFiles) {
    int number = 1;
    for (bool fired = true; fired; ++number) {
        ShowFiles({10, 20});
        machine.faults.Arm(Fault::kTornWrite, number);
        char* cell = nullptr;
        const auto code = mail.GetField("8", nullptr, &cell);
        fired = machine.faults.Fired();
        machine.faults.Disarm();
        EXPECT_EQ(code == RRC_OK ? ListOf(cell).GetSize() : 2, 2) << number;
        FreeVornString(cell);
        EXPECT_LE(DrainErrors().size(), 1U);
        EXPECT_EQ(machine.files.OpenCount(), 0);
        mail.DeleteAttachFile();
        EXPECT_EQ(machine.files.AllFiles(), (Strings{"C:\\lib\\a", "C:\\lib\\b"})) << number;
    }
    EXPECT_GT(number, 8);
}

class AttachmentsInTest : public ReadingTest {
  protected:
    explicit AttachmentsInTest(unsigned codePage = 1252) : ReadingTest(codePage) { Renew(); }

    // Starts a new record.
    void Renew() {
        Drop();
        EXPECT_NE(CMapi::AllocMessage(mail.m_lpNewMessage), 0);
    }
    void Drop() {
        if (mail.m_lpNewMessage != nullptr) util.mapi.FreeMessage(mail.m_lpNewMessage, true);
        mail.m_lpNewMessage = nullptr;
    }
    ~AttachmentsInTest() override { Drop(); }

    RRETURNCODE Add(const std::vector<CRAttachmentInfo>& items) {
        CArray<CRAttachmentInfo> list;
        for (const auto& item : items) list.Add(item);
        CString text;
        EXPECT_EQ(AttachmentInfoToStr(list, text), RRC_OK);
        return mail.NewAttachments(text);
    }
    std::string Entries() const {
        const MapiMessage& record = *mail.m_lpNewMessage;
        EXPECT_EQ(record.nFileCount == 0, record.lpFiles == nullptr);
        std::string all;
        for (std::uint32_t i = 0; i < record.nFileCount; ++i) {
            const MapiFileDesc& file = record.lpFiles[i];
            const bool isEmpty = file.lpszPathName == nullptr;
            EXPECT_EQ(file.flFlags, isEmpty ? 0 : 0xFFFFFFFC);
            EXPECT_EQ(file.lpszFileName == nullptr, isEmpty);
            EXPECT_TRUE(file.ulReserved == 0 && file.nPosition == 0 && file.lpFileType == nullptr);
            all += isEmpty ? "(zero)|"
                           : std::string(file.lpszPathName) + '=' + file.lpszFileName + '|';
        }
        return all;
    }
    std::string Content(const std::string& name) const {
        return machine.files.Get("C:\\Eudora\\Attach\\" + name).value_or("(none)");
    }
};

TEST_F(AttachmentsInTest, CopiesAreEnteredInOrder) {
    machine.files.Put("C:\\src\\one", "1");
    machine.files.Put("C:\\src\\two", "2");
    EXPECT_EQ(Add({{0, 0, "Shown", "r.txt", "C:\\src\\one"},
                   {0, 1, "No file", "x", ""},
                   {0, 1, "", "R.TXT", "C:\\src\\two"},
                   {0, 0, "%s", "r.txt", "C:\\src\\one"}}),
              RRC_OK);
    EXPECT_EQ(Entries(),
              "C:\\Eudora\\Attach\\r.txt=Shown|(zero)|C:\\Eudora\\Attach\\R1.TXT=|"
              "C:\\Eudora\\Attach\\r11.txt=%s|");
    EXPECT_EQ(Content("r.txt") + Content("r1.txt") + Content("r11.txt"), "121");
    EXPECT_TRUE(machine.files.Get("C:\\src\\one")) << "stays without the flag";
    EXPECT_FALSE(machine.files.Get("C:\\src\\two"));
}

TEST_F(AttachmentsInTest, EmptyListsAndNoRecordDoNothing) {
    EXPECT_EQ(mail.NewAttachments(""), RRC_OK);
    EXPECT_EQ(mail.NewAttachments(nullptr), RRC_OK);
    EXPECT_EQ(mail.NewAttachments("no list\n"), RRC_OK);
    EXPECT_EQ(Entries(), "");
    Drop();
    EXPECT_EQ(mail.NewAttachments("x"), RRC_OK);
    machine.files.Put("C:\\src\\one", "1");
    EXPECT_EQ(Add({{0, 1, "a", "a", "C:\\src\\one"}}), RRC_OK);
    EXPECT_TRUE(machine.files.Get("C:\\src\\one"));
}

TEST_F(AttachmentsInTest, ASecondListReplacesTheFirst) {
    machine.files.Put("C:\\src\\one", "1");
    EXPECT_EQ(Add({{0, 0, "a", "a", "C:\\src\\one"}, {0, 0, "b", "b", "C:\\src\\one"}}), RRC_OK);
    EXPECT_EQ(Add({{0, 0, "c", "a", "C:\\Eudora\\Attach\\b"}}), RRC_OK);
    EXPECT_EQ(Entries(), "C:\\Eudora\\Attach\\a1=c|");
    EXPECT_EQ(Content("a1") + Content("a") + Content("b"), "1(none)(none)");
    EXPECT_EQ(mail.NewAttachments(""), RRC_OK);
    EXPECT_EQ(Entries(), "");
}

TEST_F(AttachmentsInTest, NamesNeverLeadOutOfTheFolder) {
    const std::string room(259 - std::strlen("C:\\Eudora\\Attach\\"), 'n');
    const Strings bad = {"..\\x",       "../x",     "..",
                         ".",           "...",      "",
                         "C:x",         "C:\\x",    "\\x",
                         "a\\b",        "a/b",      "a:stream",
                         "con",         "NUL.txt",  "Aux .x.y",
                         "COM1",        "lpt9.z",   "COM\xB2.txt",
                         "CONIN$",      "a\nb",     "a\"b",
                         "a*",          "what?",    "prn.",
                         "\x81\\..\\x", room + 'n', std::string(5000, 'y')};
    machine.files.Put("C:\\src\\one", "1");
    const auto before = machine.files.AllFiles();
    for (const auto& name : bad) {
        Renew();
        EXPECT_EQ(Add({{0, 1, "d", name.c_str(), "C:\\src\\one"}}), RRC_FAILED) << name;
        EXPECT_EQ(Entries(), "") << name;
        EXPECT_EQ(machine.files.AllFiles(), before) << name;
    }
    const Strings good = {"..a",     "a..b", ".profile", "CONS", "COM",          "COM0",
                          "COM10.x", "a b",  "nul2",     room,   "\xE9t\xE9.txt"};
    for (const auto& name : good) {
        Renew();
        EXPECT_EQ(Add({{0, 0, "d", name.c_str(), "C:\\src\\one"}}), RRC_OK) << name;
        EXPECT_EQ(Content(name), "1") << name;
    }
    Renew();
    EXPECT_EQ(Add({{0, 0, "d", room.c_str(), "C:\\src\\one"}}), RRC_FAILED) << "no room for a 1";
}

class JapaneseAttachmentsTest : public AttachmentsInTest {
  protected:
    JapaneseAttachmentsTest() : AttachmentsInTest(932) {}
};

TEST_F(JapaneseAttachmentsTest, SecondHalvesOfCharactersAreNoSeparators) {
    const std::string name = "\x95\x5C\x8E\xA6.txt";  // the second byte equals a backslash
    machine.files.Put("C:\\src\\one", "1");
    for (const char* expected : {"\x95\x5C\x8E\xA6.txt", "\x95\x5C\x8E\xA6\x31.txt"}) {
        Renew();
        EXPECT_EQ(Add({{0, 0, "d", name.c_str(), "C:\\src\\one"}}), RRC_OK);
        EXPECT_EQ(Content(expected), "1");
    }
    EXPECT_TRUE(mailstore::IsPlainFileName("\x83\x7C.txt", 932)) << "nor is one a bar";
    EXPECT_FALSE(mailstore::IsPlainFileName("\x83\x7C.txt", 1252));
    Renew();
    EXPECT_EQ(Add({{0, 0, "d", "\x81/..\\x", "C:\\src\\one"}}), RRC_FAILED);
    FakeMail one;
    one.files.push_back({"C:\\lib\\a", "C:\\" + name, 0});
    mail.m_appInfo.m_bAttachments = 1;
    Show(one);
    machine.files.Put("C:\\lib\\a", "x");
    EXPECT_EQ(ListOf(Text("8")).GetAt(0).csFileName, name.c_str());
}

// At every failure the entries are those whose copies are whole, no source is lost, and nothing
// else is left behind.
TEST_F(AttachmentsInTest, FaultsLoseNoFile) {
    int number = 1;
    for (bool fired = true; fired; ++number) {
        Renew();
        machine.files.Put("C:\\Eudora\\Attach\\a", "old");
        machine.files.Put("C:\\src\\one", "1111");
        machine.files.Put("C:\\src\\two", "2222");
        machine.faults.Arm(Fault::kTornWrite, number);
        const auto code = Add({{0, 1, "d", "a", "C:\\src\\one"}, {0, 1, "d", "a", "C:\\src\\two"}});
        fired = machine.faults.Fired();
        machine.faults.Disarm();
        const MapiMessage& record = *mail.m_lpNewMessage;
        EXPECT_EQ(code == RRC_OK, record.nFileCount == 2) << number;
        (void)Entries();
        const char* contents[] = {"1111", "2222"};
        const char* sources[] = {"C:\\src\\one", "C:\\src\\two"};
        for (std::uint32_t i = 0; i < 2; ++i) {
            if (i >= record.nFileCount) {
                EXPECT_EQ(machine.files.Get(sources[i]), contents[i]) << number;
                continue;
            }
            EXPECT_EQ(machine.files.Get(record.lpFiles[i].lpszPathName), contents[i]) << number;
            (void)machine.files.Delete(record.lpFiles[i].lpszPathName);
        }
        EXPECT_EQ(Content("a"), "old") << number;
        EXPECT_EQ(machine.files.List("C:\\Eudora\\Attach", "*")->size(), 1U) << number;
    }
    EXPECT_GT(number, 5);
}

}  // namespace
