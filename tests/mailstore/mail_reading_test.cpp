#include <functional>
#include <set>

#include "mailstore/mail_fields.h"
#include "tests/mailstore/mail_world.h"
#include "tests/support/fault_sweep.h"
#include "tests/support/table.h"

namespace {

using namespace std::chrono;
using namespace std::string_literals;
using mapi::Entry;
using platform::testing::Fault;

class ReadingTest : public MailTest {
  protected:
    // Makes a message the current one, whose texts the caller keeps.
    void Show(const MapiMessage& message) {
        m_shown = message;
        EXPECT_EQ(util.mapi.UpdateMail(&m_shown), 1);
    }
    // The text cell of a field; "(null)" and "(untouched)" for cells without a text.
    std::string Text(const char* field) {
        char untouched = 'x';
        char* cell = &untouched;
        EXPECT_EQ(mail->GetField(field, nullptr, &cell), RRC_OK) << field;
        if (cell == &untouched) return "(untouched)";
        const std::string text = cell != nullptr ? cell : "(null)";
        FreeVornString(cell);
        return text;
    }

    MapiMessage m_shown;
};

char* Mutable(const char* text) {
    return const_cast<char*>(text);
}

TEST_F(ReadingTest, StartChecksEudoraAndWaitsForIt) {
    const auto enter = [&](const char* key, const char* value, const char* text) {
        constexpr auto kRoot = platform::RegistryRoot::kLocalMachine;
        EXPECT_TRUE(machine.registry.WriteText(kRoot, key, value, text));
    };
    const auto setClient = [&](const char* command) {
        enter("SOFTWARE\\Classes\\mailto\\shell\\open\\command", "", command);
    };
    const auto setFolder = [&](const char* folder) {
        enter(locate::kAppPathsKey, "path", folder);
        library.Install(folder);
    };
    const std::function<void()> other = [&] { setClient("C:\\E\\Eudora.exe /M %1 /x"); },
                                closed = [&] { setFolder("C:\\E\\"); },
                                half = [&] { library.Install("C:\\E\\", "MAPIResolveName"); },
                                alone = [&] { library.results[Entry::kLogon] = {3}; },
                                gone = [&] { (void)machine.files.Delete("C:\\E\\Eudora.exe"); };
    const std::pair<std::function<void()>, Texts> rows[] = {
        {[] {}, {}},      {other, {}},     {closed, {}},
        {alone, {"m74"}}, {half, {"m73"}}, {[&] { other(), half(); }, {"m72", "m73"}},
        {gone, {"m71"}}};
    LogOff();
    setFolder("C:\\E");
    enter(locate::kAppPathsKey, "", "C:\\E\\Eudora.exe");
    machine.files.Put("C:\\E\\Eudora.exe", "MZ");
    for (const auto& [damage, errors] : rows) {
        (void)machine.files.RemoveFolder("C:\\E\\Attach");
        setClient("C:\\E\\Eudora.exe /M %1");
        damage();
        TestMail one;
        NumberedHost host{&util};
        CString text;
        EXPECT_EQ(one.GetAppInfo(0, &host, text, 0, text, 0), errors.empty() ? RRC_OK : RRC_FAILED);
        EXPECT_EQ(DrainErrors(), errors);
        EXPECT_EQ(one.m_attach.m_csAttachDir, errors.empty() ? "C:\\E\\Attach\\" : "");
        EXPECT_EQ(machine.files.Exists("C:\\E\\Attach"), errors.empty());
        LogOff();
        machine.windows.classes.insert("EudoraMainWindow");
    }
    EXPECT_EQ(machine.processes.started, Texts{"C:\\E\\Eudora.exe"});
    EXPECT_EQ(machine.clock.sleeps, 1) << "time for Eudora to come up";
}

TEST_F(ReadingTest, OpenTiesTheTwoNamesOfAMail) {
    const char *all = "one@x two@x 0x00000005 - one@x - one@x ", *two = "one@x two@x - - - - - ",
               *none = "- - - - - - - ";
    MailboxBuilder box;
    box.Mail(3, MailText({"Message-ID: <one@x>"}))
        .Mail(0xABCDEF, MailText({"Message-Id: <two@x>"}));
    box.Mail(5, MailText({"Subject: none"})).Mail(6, "From ???@???\r\nno recipient\r\n");
    box.Mail(8, MailText({"Message-ID: <one@x>"})).Mail(5, MailText({"Message-ID: <5 again>"}));
    box.Mail(6, MailText({"Message-ID: <6 again>"})).Block(9, 1U << 31, 100).Block(10, 0, ~0U);
    const struct {
        std::string toc;
        std::uint32_t counter;
        const char* ids;
        std::uint32_t flag;  // in the registry: the Open before it found nothing
    } rows[] = {{box.Toc(), 10, all, 0},
                {MailboxBuilder(box).Block(500, 0, 0).Toc(), 500, all, 0},
                {"", 1, none, 0},
                {box.Toc(3).substr(0, 104), 3, none, 1},
                {box.Toc(3).substr(0, 104 + 218 * 2 + 192), 3, two, 0},  // a block without its id
                {box.Toc(65535), 65535, all, 0}};
    std::int32_t flag = 0;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.counter);
        machine.files.Put("C:\\E\\In.mbx", box.mbx);
        machine.files.Put("C:\\E\\In.toc", row.toc);
        TestMail one;
        one.m_bBoxFileOpenFlag = flag;
        EXPECT_EQ(one.OpenMailbox(util, 3), RRC_OK);
        EXPECT_EQ(one.m_ids.m_dwNextIndexID, row.counter);
        EXPECT_EQ(one.Names({"0x00000003", "0x00ABCDEF", "0x00000005", "0x00000006", "0x00000008",
                             "0x00000009", "0x0000000A"}),
                  row.ids);
        EXPECT_EQ(Toc(), row.toc);
        const auto number =
            machine.registry.ReadNumber(platform::RegistryRoot::kLocalMachine,
                                        "SOFTWARE\\Vorn Software\\Orlix\\3.0\\Keld", "RecCntFlag");
        EXPECT_EQ(*number, row.flag);
        flag = one.m_bBoxFileOpenFlag;
        ASSERT_TRUE(machine.files.Delete("C:\\E\\In.mbx"));
        EXPECT_EQ(one.OpenMailbox(util), RRC_OK);
        EXPECT_TRUE(row.counter == 1 || Mbx() == "(none)") << "not even looked at";
    }
}

// Without an index a new number could be that of a mail that is there.
TEST_F(ReadingTest, EveryFileOperationOfOpenMayFail) {
    MailboxBuilder box;
    box.Mail(1, MailText({"Message-ID: <a>"})).Mail(2, MailText({})).Mail(0xFFFFFFFF, "none");
    LogOff();
    for (const bool isNew : {false, true}) {
        int failures = 0;
        const auto play = [&](Fault fault, int n) {
            for (const char* path : {"C:\\E\\In.mbx", "C:\\E\\In.toc"}) {
                (void)machine.files.Delete(path);
            }
            if (!isNew) box.Put(machine.files, "C:\\E");
            TestMail one;
            bool fired = false;
            const auto open = [&](Fault itsFault, int number) {
                machine.faults.Arm(itsFault, number);
                const bool isOpen = one.OpenMailbox(util) == RRC_OK;
                fired = machine.faults.Disarm();
                failures += !isOpen;
                EXPECT_EQ(machine.files.OpenCount(), 0);
                EXPECT_EQ(DrainErrors().size(), isOpen ? 0U : 1U);
                EXPECT_EQ(one.AddNewRecord(0), isOpen ? RRC_OK : RRC_FAILED);
                EXPECT_EQ(DrainErrors(), isOpen ? Texts{} : Texts{"m88 <C:\\E\\In.mbx>"});
            };
            open(fault, n);
            const bool isLast = !fired;
            EXPECT_TRUE(isNew || Mbx() + Toc() == box.mbx + box.Toc());
            EXPECT_EQ(one.OpenMailbox(util), RRC_OK);
            EXPECT_EQ(one.Names({"0x00000001", "0x00000002"}), isNew ? "- - " : "a 0x00000002 ");
            EXPECT_EQ(Toc(), isNew ? mailbox::NewTocHeader() : box.Toc());
            for (const char* id : {isNew ? "0x00000002/1" : "0x00000003/1",
                                   isNew ? "0x00000003/1" : "0x00000004/1"}) {
                EXPECT_EQ(one.Add({}), id) << "neither 0 nor a number that is taken";
                one.m_ids.m_dwNextIndexID = 0;  // the mailbox is to be read again
                open(Fault::kKill, 1);
                EXPECT_EQ(one.OpenMailbox(util), RRC_OK);
            }
            return !isLast;
        };
        test::ForEveryFault(play, 1, {Fault::kTornWrite});
        EXPECT_GE(failures, 15) << isNew;
    }
}

TEST_F(ReadingTest, CloseSendsUntilTheFirstFailure) {
    std::string to;
    library.onSend = [&](const MapiMessage& sent) {
        for (const auto& one : mapi::Recipients(sent)) {
            to += std::to_string(one.ulRecipClass) + one.lpszName + '=' + one.lpszAddress + '|';
        }
    };
    const std::string copy = "C:\\E\\Attach\\doc.txt", kept = "m86 <" + copy + '>';
    const std::pair<std::deque<mapi::Code>, Texts> rows[] = {
        {{}, {}}, {{1}, {"m16", kept}}, {{0, 24}, {"m39", kept}}, {{0, 0, 7}, {"m40"}}};
    for (const auto& [codes, errors] : rows) {
        ASSERT_EQ(mail->OpenMailbox(util), RRC_OK);
        for (int i = 0; i < 3; ++i) {
            HostMail host{.to = ";;a; b,,c", .cc = "d", .bcc = ",", .status = 2};
            host.moves = i == 2;
            if (host.moves) host.files = {"C:\\src\\1"};
            machine.files.Put("C:\\src\\1", "one");
            mail->Add(host);
        }
        library.calls.clear();
        library.results[Entry::kSendMail] = codes;
        EXPECT_EQ(mail->Close(0), errors.empty() ? RRC_OK : RRC_FAILED);
        EXPECT_EQ(library.calls, Texts(errors.empty() ? 3 : codes.size(), "send Hi"));
        EXPECT_EQ(DrainErrors(), errors);
        EXPECT_EQ(machine.files.Delete(copy).HasValue(), errors.size() == 2) << "the only one";
        EXPECT_TRUE(mail->m_queues.m_lstOutBoxMails.empty());
    }
    EXPECT_TRUE(to.starts_with("1a=a|1 b= b|1c=c|2d=d|1a=a|")) << to;
}

TEST_F(ReadingTest, CloseDeletesItsOwnTemporaryFilesAlone) {
    LogOff();
    const std::string temp = *machine.files.TempFolder(), readOnly = temp + "QZVFFFF.TMP",
                      inUse = temp + "Qzv long name.tmp";
    Texts kept{inUse,
               temp + "sub\\Qzv1.tmp",
               temp + "Qzv.folder.tmp\\x",
               temp + "Qz1.tmp",
               temp + "Qzv1.tmp.txt",
               "C:\\src\\1"};
    for (const auto& path : kept) machine.files.Put(path, "x");
    for (const auto& path : {temp + "qzv.tmp", readOnly}) machine.files.Put(path, "x");
    machine.files.SetReadOnly(readOnly);
    const auto held = *machine.files.Open(inUse, platform::OpenMode::kRead, platform::Share::kNone);
    mailstore::DeleteAttachFile(machine.system);
    EXPECT_THAT(machine.files.AllFiles(), ::testing::UnorderedElementsAreArray(kept));
}

TEST_F(ReadingTest, FieldsOfMailsAndOfNone) {
    char* cell = nullptr;
    mail->m_appInfo.m_bAttachments = 1;
    for (const char* field : {"1", "6", "7", "8", "9", "10", "11"}) {
        EXPECT_EQ(mail->GetField(field, nullptr, &cell), RRC_FAILED) << field;
        EXPECT_EQ(DrainErrors(), Texts{field == std::string("8") ? "m76" : "m58"}) << field;
    }
    for (const auto& [flags, status, note, files, body] :
         test::Table<std::uint32_t, std::string, std::string, std::uint32_t, std::string>(
             "mails of the library")) {
        const bool hasNote = note != "(null)";
        MapiFileDesc entries[2]{};
        MapiMessage message{};
        message.lpszSubject = Mutable("%s%n");
        message.lpszNoteText = hasNote ? Mutable(note.c_str()) : nullptr;
        message.flFlags = flags;
        message.nFileCount = files;
        message.lpFiles = entries;
        Show(message);
        EXPECT_EQ(Text("7"), body);
        CString marker;
        EXPECT_EQ(mail->GetModifiedInfo(marker), RRC_OK);
        EXPECT_EQ(marker.Str(), status) << flags;
        std::int32_t size = 0;
        EXPECT_EQ(mail->GetField("9", nullptr, &size), RRC_OK);
        EXPECT_EQ(size, hasNote ? note.size() : 0) << "as the library gave it";
    }
    EXPECT_EQ(Text("5"), "%s%n");
    for (const char* field : {"1", "2", "3", "4"}) EXPECT_EQ(Text(field), "(null)");
    for (const char* field : {"0", "12", ""}) EXPECT_EQ(Text(field), "(untouched)") << field;
}

TEST(MailBodyTest, LongBodiesTakeTimeInProportion) {
    std::string marks, trailers;
    for (int i = 0; i < 500'000; ++i) {
        marks += "<x-flowed>a";
        trailers += "\r\n\r\nx";
    }
    EXPECT_EQ(mailstore::BodyOf(marks).size(), 500'000U);
    EXPECT_EQ(mailstore::LengthWithoutTrailers(trailers, 500'000, "x"), 0U);
    EXPECT_EQ(mailstore::LengthWithoutTrailers(trailers, 500'000, "\r\ny"), trailers.size());
}

// Mails whose letters say whether the size limit of 1 KB lets them pass: 'p', or not: 'f'. The seek
// point lies right before the mail that passed last without a move to it, so that going to the last
// mail takes that many finds after one look at the first.
TEST_F(ReadingTest, WalksAndSeeksPassOverFilteredMails) {
    const auto put = [&](const MailboxBuilder& box) {
        Put(box);
        mail->m_appInfo.m_bLimitMailSize = mail->m_appInfo.m_nMailLimitKB = 1;
        return mail->MoveFirst();
    };
    const auto text = [](char kind) {
        return MailText({}, std::string(kind == 'p' ? 1024 : 1025, 'x'));
    };
    const std::tuple<std::string, const char*, std::size_t> rows[] = {
        {"", "5", 0},       {"ff", "5", 2},           {"p", "1 5", 1},
        {"ffpf", "3 5", 3}, {"fffppp", "4 5 6 5", 4}, {"pffpfp", "1 4 6 5", 6}};
    for (const auto& [kinds, wanted, cost] : rows) {
        MailboxBuilder box;
        std::uint32_t id = 0;
        for (const char kind : kinds) box.Mail(++id, text(kind));
        std::string walk;
        for (auto code = put(box);; code = mail->MoveNext()) {
            walk += code == RRC_OK ? util.mapi.MsgID()[9] + " "s : std::to_string(code);
            if (code != RRC_OK) break;
        }
        EXPECT_EQ(walk, wanted) << kinds;
        if (kinds.empty()) continue;
        (void)mail->MoveFirst();
        library.calls.clear();
        const std::string last = mailbox::IndexIdOf(id);
        EXPECT_EQ(mail->GoToRecord(last.c_str()), RRC_OK) << "applies no filter";
        EXPECT_EQ(util.mapi.MsgID(), last);
        EXPECT_EQ(library.Count("find"), cost) << kinds;
    }
    EXPECT_EQ(mail->GoToRecord("0x00000009"), RRC_FAILED);
    EXPECT_EQ(mail->GoToRecord(nullptr), RRC_FAILED);
    EXPECT_EQ(DrainErrors(), (Texts{"m31", "m58"}));
    CString marker("old");
    EXPECT_EQ(mail->GoToRecord(""), RRC_OK) << "what is sent, without moving";
    EXPECT_EQ(mail->GetModifiedInfo(marker), RRC_OK);
    EXPECT_TRUE(marker.IsEmpty());
    library.results[Entry::kReadMail] = {mapi::kInvalidMessage};
    EXPECT_EQ(mail->MoveFirst(), RRC_FAILED);
    EXPECT_EQ(DrainErrors(), Texts{"m32"});
    MailboxBuilder many;
    many.Mail(1, text('f'));
    for (std::uint32_t id = 2; id <= 65'000; ++id) many.Block(id, 0, many.blocks[0].dwLength);
    EXPECT_EQ(put(many.Mail(65'001, text('p'))), RRC_OK);
    EXPECT_STREQ(util.mapi.MsgID(), "0x0000FDE9") << "many filtered mails need no stack";
}

TEST_F(ReadingTest, AgesAreCountedInLocalDays) {
    const struct {
        sys_seconds now;
        minutes offset;
        const char* date;
        int passes;
    } rows[] = {{sys_days(March / 10 / 2004) + 15h, 0h, "2004/03/04 00:00", 1},
                {sys_days(March / 10 / 2004) + 15h, 0h, "2004/03/03 23:59", 0},
                {sys_days(March / 10 / 2004) + 30min, -1h, "2004/03/02 23:59", 0},
                // The day of a change of the clocks: midnight counts in the offset of now.
                {sys_days(March / 28 / 2004) + 22h, 2h, "2004/03/22 00:00", 1},
                {sys_days(March / 10 / 2004), 0h, "no date", 1}};
    for (const auto& row : rows) {
        machine.clock.now = row.now;
        machine.clock.offset = row.offset;
        mail->m_appInfo.m_bLimitMailAge = 0;
        MapiMessage message{};
        message.lpszDateReceived = Mutable(row.date);
        Show(message);
        mail->m_appInfo.m_bLimitMailAge = 1;
        mail->m_appInfo.m_nMailAgeDays = 7;
        EXPECT_EQ(mail->PassesFilters(), row.passes) << row.date;
    }
    EXPECT_EQ(DrainErrors(), Texts{"m75"});
}

// Attachments on their way to the host: settings choose what is copied. Whatever fails, the field
// fails as a whole and with its own message, the library's files stay, and what was made is found
// by the pattern of the clean-up.
TEST_F(ReadingTest, AttachmentsAreCopiedOrNone) {
    struct Row {
        int isOn, isLimited, limitKB;
        std::string listed;
    } rows[] = {{1, 0, 5, "a.txt 5120|b.txt 5121|c.txt 0|"},
                {1, 1, 0, "c.txt 0|"},
                {0, 0, 0, ""},
                {1, 1, 5, "a.txt 5120|c.txt 0|"}};
    LogOff();
    const auto others = machine.files.AllFiles();
    std::map<Fault, std::set<Texts>> failures;
    const auto play = [&](const Row& row, Fault fault, int number) {
        mail->m_appInfo.m_bAttachments = row.isOn;
        mail->m_appInfo.m_bLimitAttachSize = row.isLimited;
        mail->m_appInfo.m_nAttachLimitKB = row.limitKB;
        MapiFileDesc files[5]{};
        MapiFileDesc* file = files;
        for (const auto& [flags, path, name] : {std::tuple{0U, "C:\\lib\\a", "C:\\sent\\a.txt"},
                                                {0U, "C:\\lib\\b", "b.txt"},
                                                {mapi::kOle, "C:\\nowhere", "x"},
                                                {mapi::kOleStatic | 8, "C:\\nowhere", "y"},
                                                {0U, "C:\\lib\\c", "c.txt"}}) {
            *file++ = {0, flags, 0, Mutable(path), Mutable(name), nullptr};
        }
        MapiMessage message{};
        message.nFileCount = 5;
        message.lpFiles = files;
        Show(message);
        std::size_t size = 5120;
        for (const char* path : {"C:\\lib\\a", "C:\\lib\\b"}) {
            machine.files.Put(path, std::string(size++, 'x'));
        }
        machine.files.Put("C:\\lib\\c", "");
        machine.faults.Arm(fault, number);
        char* cell = nullptr;
        const auto code = mail->GetField("8", nullptr, &cell);
        const bool fired = machine.faults.Disarm();
        std::string listed;
        CArray<CRAttachmentInfo> list;
        (void)StrToAttachmentInfo(cell, list);
        for (const auto& item : list) {
            EXPECT_TRUE(item.dwInfoFlag == 1 && item.bDeleteSource == 1);
            EXPECT_EQ(item.csDisplayName, item.csFileName);
            const auto copy = machine.files.Get(item.csFilePath.Str()).value_or("none");
            listed += item.csFileName.Str() + ' ' + std::to_string(copy.size()) + '|';
        }
        EXPECT_EQ(listed, code == RRC_OK ? row.listed : "");
        EXPECT_TRUE(code == RRC_OK || cell == nullptr);
        FreeVornString(cell);
        const auto errors = DrainErrors();
        if (code != RRC_OK) failures[fault].insert(errors);
        EXPECT_EQ(machine.files.OpenCount(), 0);
        mailstore::DeleteAttachFile(machine.system);
        for (const char* path : {"C:\\lib\\a", "C:\\lib\\b", "C:\\lib\\c"}) {
            EXPECT_TRUE(machine.files.Delete(path));
        }
        EXPECT_EQ(machine.files.AllFiles(), others);
        return fired;
    };
    for (const Row& row : rows) EXPECT_FALSE(play(row, Fault::kNone, 0));
    test::ForEveryFault([&](Fault fault, int number) { return play(rows[3], fault, number); }, 1,
                        {Fault::kTornWrite, Fault::kKill});
    // A size is asked for twice; a failed copy is in the log alone.
    EXPECT_EQ(failures[Fault::kTornWrite], (std::set{Texts{}, Texts{"m62"}}));
    EXPECT_EQ(failures[Fault::kKill], (std::set{Texts{}, Texts{"m62"}, Texts{"m63"}}));
}

}  // namespace
