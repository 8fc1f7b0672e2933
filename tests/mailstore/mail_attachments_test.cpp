#include <cstring>
#include <set>

#include "mailstore/attachments.h"
#include "tests/mailstore/reading_fixture.h"
#include "tests/support/fault_sweep.h"

namespace {

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
    void ShowFiles(const std::vector<std::size_t>& sizes) {
        ScriptedMail one;
        for (const std::size_t size : sizes) {
            const std::string name(1, static_cast<char>('a' + one.files.size()));
            one.files.push_back({"C:\\lib\\" + name, "C:\\sent\\" + name + ".txt", 0});
            machine.files.Put(*one.files.back().path, std::string(size, 'x'));
        }
        Show(one);
        // The files of the mail that was current went away with it.
        for (std::size_t i = 0; i < sizes.size(); ++i) {
            machine.files.Put(*one.files[i].path, std::string(sizes[i], 'x'));
        }
    }
    // The names and the sizes of the copies that field 8 lists.
    std::string Listed() {
        std::string all;
        for (const auto& item : ListOf(Text("8"))) {
            EXPECT_TRUE(item.dwInfoFlag == 1 && item.bDeleteSource == 1);
            EXPECT_EQ(item.csDisplayName, item.csFileName);
            EXPECT_THAT(item.csFilePath.Str(), ::testing::StartsWith("C:\\temp\\Qzv"));
            const auto copy = machine.files.Get(item.csFilePath.Str());
            all += item.csFileName.Str() + ' ' + std::to_string(copy.value_or("none").size()) + '|';
        }
        return all;
    }
};

TEST_F(AttachmentsOutTest, SettingsChooseWhatIsCopied) {
    struct Row {
        int isOn, isLimited, limitKB;
        const char* listed;
    };
    for (const Row& row : {Row{1, 1, 5, "a.txt 5120|c.txt 0|d.txt 3|"},
                           {1, 0, 5, "a.txt 5120|b.txt 5121|c.txt 0|d.txt 3|"},
                           {1, 1, -1, "a.txt 5120|b.txt 5121|c.txt 0|d.txt 3|"},
                           {1, 1, 0, "c.txt 0|"},
                           {0, 0, 0, ""}}) {
        mail.m_appInfo.m_bAttachments = row.isOn;
        mail.m_appInfo.m_bLimitAttachSize = row.isLimited;
        mail.m_appInfo.m_nAttachLimitKB = row.limitKB;
        ShowFiles({5120, 5121, 0, 3});
        EXPECT_EQ(Listed(), row.listed) << row.limitKB;
    }
    Show({.files = {{"C:\\nowhere", "x", mapi::kOle}, {"C:\\nowhere", "y", mapi::kOleStatic | 8}}});
    EXPECT_EQ(Listed(), "") << "no files";
}

TEST_F(AttachmentsOutTest, NamesAreNamePartsOnly) {
    const std::pair<ScriptedMail::Text, const char*> rows[] = {
        {"..\\..\\evil.exe", "evil.exe"}, {"a/b/c.txt", "c.txt"}, {"D:x.txt", "x.txt"},
        {"100%s%n.txt", "100%s%n.txt"},   {"folder\\", ""},       {std::nullopt, "a"}};
    for (const auto& [given, name] : rows) {
        ShowFiles({1});
        library.mailbox[0].files[0].name = given;
        ASSERT_EQ(mail.MoveFirst(), RRC_OK);
        machine.files.Put("C:\\lib\\a", "x");
        EXPECT_EQ(Listed(), std::string(name) + " 1|");
    }
}

// Whatever fails, the field fails as a whole and with its own message, the library's files stay,
// and what was made is found by the pattern of the clean-up.
TEST_F(AttachmentsOutTest, FaultsLeaveNothingButTemporaryFiles) {
    std::map<Fault, std::set<Texts>> failures;
    const auto play = [&](Fault fault, int number) {
        ShowFiles({10, 20});
        machine.faults.Arm(fault, number);
        char* cell = nullptr;
        const auto code = mail.GetField("8", nullptr, &cell);
        const bool fired = machine.faults.Disarm();
        EXPECT_EQ(code == RRC_OK ? ListOf(cell).GetSize() : 2, 2);
        EXPECT_TRUE(code == RRC_OK || cell == nullptr);
        FreeVornString(cell);
        const auto errors = DrainErrors();
        if (code != RRC_OK) failures[fault].insert(errors);
        EXPECT_EQ(machine.files.OpenCount(), 0);
        mailstore::DeleteAttachFile(machine.system);
        EXPECT_EQ(machine.files.AllFiles(), (Texts{"C:\\lib\\a", "C:\\lib\\b"}));
        return fired;
    };
    test::ForEveryFault(play, 1, {Fault::kTornWrite, Fault::kKill});
    // A size is asked for twice; a failed copy is in the log alone.
    EXPECT_EQ(failures[Fault::kTornWrite], (std::set{Texts{}, Texts{"m62"}}));
    EXPECT_EQ(failures[Fault::kKill], (std::set{Texts{}, Texts{"m62"}, Texts{"m63"}}));
}

class AttachmentsInTest : public ReadingTest {
  protected:
    AttachmentsInTest() {
        machine.files.Put("C:\\src\\one", "1");
        machine.files.Put("C:\\src\\two", "2");
        Renew();
    }
    ~AttachmentsInTest() override { Drop(); }

    // Starts a new record.
    void Renew() {
        Drop();
        EXPECT_NE(CMapi::AllocMessage(mail.m_draft.m_lpNewMessage), 0);
    }
    void Drop() {
        if (mail.m_draft.m_lpNewMessage != nullptr)
            util.mapi.FreeMessage(mail.m_draft.m_lpNewMessage, true);
        mail.m_draft.m_lpNewMessage = nullptr;
    }
    RRETURNCODE Add(const std::vector<CRAttachmentInfo>& items) {
        CArray<CRAttachmentInfo> list;
        for (const auto& item : items) list.Add(item);
        CString text;
        EXPECT_EQ(AttachmentInfoToStr(list, text), RRC_OK);
        return New(text);
    }
    RRETURNCODE New(const char* list) {
        return mail.m_attach.NewAttachments(util, list, *mail.m_draft.m_lpNewMessage);
    }
    RRETURNCODE AddUnder(const std::string& name) {
        return Add({{0, 0, "d", name.c_str(), "C:\\src\\one"}});
    }
    std::string Entries() const {
        const MapiMessage& record = *mail.m_draft.m_lpNewMessage;
        EXPECT_EQ(record.nFileCount == 0, record.lpFiles == nullptr);
        std::string all;
        for (std::uint32_t i = 0; i < record.nFileCount; ++i) {
            const MapiFileDesc& file = record.lpFiles[i];
            const bool isEmpty = file.lpszPathName == nullptr;
            EXPECT_EQ(file.flFlags, isEmpty ? 0 : 0xFFFFFFFC);
            EXPECT_EQ(file.lpszFileName == nullptr, isEmpty);
            all += isEmpty ? "(zero)|"
                           : std::string(file.lpszPathName) + '=' + file.lpszFileName + '|';
        }
        return all;
    }
    std::string Content(const std::string& name) const {
        return machine.files.Get("C:\\E\\Attach\\" + name).value_or("(none)");
    }
};

TEST_F(AttachmentsInTest, CopiesAreEnteredInOrder) {
    EXPECT_EQ(Add({{0, 0, "Shown", "r.txt", "C:\\src\\one"},
                   {0, 1, "No file", "x", ""},
                   {0, 1, "", "R.TXT", "C:\\src\\two"},
                   {0, 0, "%s", "r.txt", "C:\\src\\one"}}),
              RRC_OK);
    EXPECT_EQ(
        Entries(),
        "C:\\E\\Attach\\r.txt=Shown|(zero)|C:\\E\\Attach\\R1.TXT=|C:\\E\\Attach\\r11.txt=%s|");
    EXPECT_EQ(Content("r.txt") + Content("r1.txt") + Content("r11.txt"), "121");
    EXPECT_TRUE(machine.files.Get("C:\\src\\one")) << "stays without the flag";
    EXPECT_FALSE(machine.files.Get("C:\\src\\two"));
}

TEST_F(AttachmentsInTest, ManyFilesOfOneNameCostLittle) {
    std::string name = "r";
    for (int i = 0; i < 200; ++i, name += '1') {
        machine.files.Put("C:\\E\\Attach\\" + name + ".TXT", "");
    }
    machine.faults.Arm(Fault::kNone, 0);
    EXPECT_EQ(AddUnder("r.txt"), RRC_OK);
    EXPECT_LE(machine.faults.Operations(), 10);
    EXPECT_EQ(Content(name + ".txt"), "1");
}

TEST_F(AttachmentsInTest, ASecondListReplacesTheFirst) {
    EXPECT_EQ(Add({{0, 0, "a", "a", "C:\\src\\one"}, {0, 0, "b", "b", "C:\\src\\one"}}), RRC_OK);
    EXPECT_EQ(Add({{0, 0, "c", "a", "C:\\E\\Attach\\b"}}), RRC_OK) << "out of the first list";
    EXPECT_EQ(Entries(), "C:\\E\\Attach\\a1=c|");
    EXPECT_EQ(Content("a1") + Content("a") + Content("b"), "1(none)(none)");
}

TEST_F(AttachmentsInTest, NamesNeverLeadOutOfTheFolder) {
    const std::string room(259 - std::strlen("C:\\E\\Attach\\"), 'n');
    const auto before = machine.files.AllFiles();
    for (const auto& name : Texts{room + 'n', std::string(5000, 'y'), "..\\x", "..", "", "C:x",
                                  "a:stream", "NUL.txt"}) {
        Renew();
        EXPECT_EQ(AddUnder(name), RRC_FAILED) << name;
        EXPECT_EQ(Entries(), "") << name;
        EXPECT_EQ(machine.files.AllFiles(), before) << name;
    }
    for (const auto& name : Texts{"..a", "CONS", room, "\xE9t\xE9.txt"}) {
        Renew();
        EXPECT_EQ(AddUnder(name), RRC_OK) << name;
        EXPECT_EQ(Content(name), "1") << name;
    }
    Renew();
    machine.files.Put("C:\\E\\Attach\\" + room, "old");
    EXPECT_EQ(AddUnder(room), RRC_FAILED) << "no room for a 1";
}

TEST_F(AttachmentsInTest, SecondHalvesOfCharactersAreNoSeparators) {
    util.system.codePage = 932;
    const std::string name = "\x95\x5C\x8E\xA6.txt";  // the second byte equals a backslash
    machine.files.Put("C:\\E\\Attach\\" + name, "old");
    EXPECT_EQ(AddUnder(name), RRC_OK);
    EXPECT_EQ(Content("\x95\x5C\x8E\xA6\x31.txt"), "1");
    Renew();
    EXPECT_EQ(AddUnder("\x81/..\\x"), RRC_FAILED);
    mail.m_appInfo.m_bAttachments = 1;
    Show({.files = {{"C:\\src\\one", "C:\\" + name, 0}}});
    EXPECT_EQ(ListOf(Text("8")).GetAt(0).csFileName, name.c_str());
}

// At every failure the entries are those whose copies are whole, no source is lost, and nothing
// else is left behind.
TEST_F(AttachmentsInTest, FaultsLoseNoFile) {
    const Texts sources{"C:\\src\\one", "C:\\src\\two"}, contents{"1111", "2222"};
    const auto play = [&](Fault fault, int number) {
        Renew();
        machine.files.Put("C:\\E\\Attach\\a", "old");
        for (int i : {0, 1}) machine.files.Put(sources[i], contents[i]);
        machine.faults.Arm(fault, number);
        const auto code = Add({{0, 1, "d", "a", "C:\\src\\one"}, {0, 1, "d", "a", "C:\\src\\two"}});
        const bool fired = machine.faults.Disarm();
        const MapiMessage& record = *mail.m_draft.m_lpNewMessage;
        EXPECT_EQ(code == RRC_OK, record.nFileCount == 2);
        for (std::uint32_t i = 0; i < 2; ++i) {
            const bool isEntered = i < record.nFileCount;
            const std::string at = isEntered ? record.lpFiles[i].lpszPathName : sources[i];
            EXPECT_EQ(machine.files.Get(at), contents[i]);
            if (isEntered) (void)machine.files.Delete(at);
        }
        EXPECT_EQ(Content("a"), "old");
        EXPECT_EQ(machine.files.List("C:\\E\\Attach", "*")->size(), 1U);
        return fired;
    };
    test::ForEveryFault(play, 5, {Fault::kTornWrite});
}

}  // namespace
