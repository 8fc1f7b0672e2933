#include <cstring>
#include <functional>
#include <random>
#include <tuple>

#include "tests/mailstore/mail_world.h"
#include "tests/support/fault_sweep.h"

namespace {

using platform::testing::Fault;

const std::string kSeparator = "From ???@??\? Sat Feb 01 14:05:09 2003\r\n";

// Whatever is added, edited and deleted, the mailbox holds what a model says after each Close.
TEST_F(MailTest, ARandomWalkStoresWhatAModelSays) {
    struct Mail {
        std::string messageId;
        bool isRead = false;
    };
    std::map<std::string, Mail> stored, waiting;  // by record id
    std::map<std::string, bool> noted;            // read states, until Close
    int made = 0, sent = 0;
    std::mt19937 random;
    const auto below = [&](std::size_t count) { return random() % count; };
    const auto add = [&] {
        HostMail host{.status = below(2) == 0 ? 1 : 0x20001, .id = std::nullopt};
        if (below(5) != 0) host.id = "m" + std::to_string(++made) + "@x";
        if (below(6) == 0) host.status = below(2) == 0 ? 2 : 4;
        host.body = std::string(below(3000), 'x') + '\n';
        if (below(4) == 0) host.files = {"C:\\src\\1"};
        if (below(8) == 0) {  // begun and left
            EXPECT_TRUE(mail->AddNewRecord(0) == RRC_OK && mail->Fill(host));
            if (below(2) == 0) (void)mail->EditRecord();
        }
        const std::string result = mail->Add(host), id = result.substr(0, result.find('/'));
        sent += host.status == 2;
        if ((host.status & 6) != 0) {
            EXPECT_EQ(result, "/");
            return;
        }
        EXPECT_EQ(result, id + '/' + std::to_string(host.status));
        EXPECT_FALSE(stored.contains(id) || waiting.contains(id)) << id;
        waiting[id] = {host.id.value_or(id)};
        noted[id] = host.status != 1;
    };
    const auto edit = [&](const std::string& id) {
        const bool isRead = below(2) == 0, isSet = below(3) != 0;
        if (!isSet) noted.try_emplace(id, stored[id].isRead);
        if (isSet) noted[id] = isRead;
        std::optional<std::int32_t> status;
        if (isSet) status = isRead ? 0x20001 : 1;
        // A status that is set has the flag of an unread mail.
        const bool showsRead = !isSet && stored[id].isRead;
        EXPECT_EQ(mail->Edit(id.c_str(), status), id + (showsRead ? "/131073" : "/1"));
    };
    const auto close = [&] {
        EXPECT_EQ(mail->Close(0), RRC_OK);
        stored.merge(waiting);
        for (const auto& [id, isRead] : noted) stored.at(id).isRead = isRead;
        noted.clear();
        const auto mails = Read(0, true);
        EXPECT_EQ(mails.size(), stored.size());
        for (const auto& each : mails) {
            const auto& [messageId, isRead] = stored.at(mailbox::IndexIdOf(each.id));
            EXPECT_EQ(each.state, isRead);
            EXPECT_NE(each.text.find("Message-ID: <" + messageId + ">\r\n"), std::string::npos);
        }
        const auto out = machine.files.Get("C:\\E\\Out.toc").value_or(mailbox::NewTocHeader());
        EXPECT_EQ(mailbox::TocHeader::Decode(out).wNumberOfMsgs, sent);
        if (below(2) == 0) Restart();
        EXPECT_EQ(Open(), RRC_OK);
    };
    ASSERT_EQ(Open(), RRC_OK);
    for (int step = 0; step < 1500 && !HasFailure(); ++step) {
        SCOPED_TRACE(step);
        const auto action = below(10);
        if (action == 0) close();
        if (action >= 5) add();
        if (action == 0 || action >= 5 || stored.empty()) continue;
        const std::string id = std::next(stored.begin(), long(below(stored.size())))->first;
        if (action > 1) {
            edit(id);
            continue;
        }
        EXPECT_EQ(mail->DeleteRecord(id.c_str()), RRC_OK);
        stored.erase(id);
        noted.erase(id);
    }
    close();
    EXPECT_GT(stored.size(), 100U);
}

// But for what may as well be another state, id, recipient or body.
TEST_F(MailTest, TheIndependentReaderSeesEveryChangedByte) {
    Put({});
    ASSERT_EQ(Open(), RRC_OK);
    for (int i = 0; i < 2; ++i) mail->Add({.files = {"C:\\src\\1"}});
    EXPECT_EQ(mail->Close(0), RRC_OK);
    const std::string mbx = Mbx();
    EXPECT_EQ(Judge(0).faults, Texts{});
    std::string unseen;
    for (const auto& [name, begin] : {std::pair{"C:\\E\\In.mbx", mbx.rfind("From ???")},
                                      {"C:\\E\\In.toc", mailbox::BlockOffset(1)}}) {
        const std::string sound = *machine.files.Get(name);
        for (auto at = begin; at < sound.size(); ++at) {
            std::string changed = sound;
            changed[at] ^= 1;
            machine.files.Put(name, changed);
            if (Judge(0).faults.empty()) unseen += sound[at];
        }
        machine.files.Put(name, sound);
    }
    EXPECT_EQ(unseen, "a@byou@y.exampleText\r\n" + std::string(121, '\0'));
}

TEST_F(MailTest, VetsTheSenderOfReceivedMails) {
    struct Host {
        std::int32_t status;
        const char* from;
        RRETURNCODE wanted, statusCode = RRC_OK, fromCode = RRC_OK;
        BOOL hasFrom = 1;
    } hosts[] = {{1, "", RRC_FAILED},
                 {1, nullptr, RRC_FAILED},
                 {2, "", RRC_OK},
                 {1, "", RRC_OK, RRC_OK, RRC_OK, 0},
                 {1, "a", RRC_EOF, RRC_EOF},
                 {1, "a", RRC_EOF, RRC_OK, RRC_EOF}};
    const auto give = [](void* context, const char* field, void** cell, unsigned long*,
                         BOOL* hasField) {
        auto& host = *static_cast<Host*>(context);
        const bool isStatus = std::string(field) == "10";
        *cell = isStatus ? static_cast<void*>(&host.status) : &host.from;
        *hasField = isStatus ? 1 : host.hasFrom;
        return isStatus ? host.statusCode : host.fromCode;
    };
    for (Host& host : hosts) {
        BOOL isOk = 7;
        EXPECT_EQ(mail->IsOkToSetRecord(0, give, &host, &isOk), host.wanted);
        EXPECT_EQ(isOk, host.wanted == RRC_OK);
        EXPECT_EQ(DrainErrors(), host.wanted == RRC_FAILED ? Texts{"m80"} : Texts{});
    }
}

// What one edit has set reaches its own mail, and that one only by an update.
TEST_F(MailTest, AStatusBelongsToOneEdit) {
    const char *unread = "0x00000001", *read = "0x00000002";
    const auto set = [&](std::int32_t status) { EXPECT_TRUE(mail->Set("10", status)); };
    const auto again = [&] { (void)mail->EditRecord(); };
    const auto out = [&] { mail->GoToRecord(read), mail->Add({.status = 2}); };
    const auto isKept = [&] {  // the one that is shown
        MapiMessage* message = nullptr;
        EXPECT_TRUE(util.mapi.GetCurrentMessage(message) == 1 && message->flFlags == 0);
    };
    const std::pair<std::function<void()>, const char*> rows[] = {
        {[&] { mail->EditRecord(unread), set(1), mail->GoToRecord(read); }, "01"},
        {[&] { mail->EditRecord(unread), set(0x20001), again(); }, "01"},
        {[&] { mail->Edit(unread, 0x20001), mail->Close(0), again(); }, "11"},
        {[&] { mail->EditRecord(unread), mail->GoToRecord("0x9"), again(), set(0x20001); }, "01"},
        {[&] { out(), again(), set(1), isKept(); }, "01"},
        {[&] { out(), mail->DeleteRecord(); }, "01"},
        {[&] { mail->GoToRecord(read), mail->Edit("", 1); }, "00"}};
    int row = 0;
    for (const auto& [steps, states] : rows) {
        SCOPED_TRACE(row++);
        Put(MailboxBuilder().Mail(1, MailText({}), 0).Mail(2, MailText({}), 1));
        ASSERT_EQ(Open(), RRC_OK);
        steps();
        (void)mail->TryUpdate();
        EXPECT_EQ(mail->Close(0), RRC_OK);
        EXPECT_EQ(States(2), states);
        (void)DrainErrors();
    }
}

// A mail that the limits hide outlives the deletion, and keeps its id and state for itself; so does
// one that waits.
TEST_F(MailTest, AfterDeletingAllButHiddenMails) {
    const std::string big = std::string(3000, 'b') + "\r\n";
    Put(MailboxBuilder()
            .Mail(7, MailText({}), 0)
            .Mail(0xFFFFFFFD, MailText({"Message-ID: <big>"}, big), 0)
            .Mail(1, "From ???@??\? no recipient, so in no index\r\n\r\n" + big, 0));
    mail->m_appInfo.m_bLimitMailSize = 1;
    mail->m_appInfo.m_nMailLimitKB = 2;
    ASSERT_EQ(Open(), RRC_OK);
    EXPECT_EQ(mail->Add({.id = "waits"}), "0x00000004/1");
    EXPECT_EQ(mail->DeleteAllRecords(), RRC_OK);
    EXPECT_EQ(mail->Names({"0x00000004", "0xFFFFFFFD", "0x00000007"}), "waits big - ");
    for (const char* id : {"0xFFFFFFFE", "0xFFFFFFFF", "0x00000002"}) {
        EXPECT_EQ(mail->Add({.status = 0x20001}), std::string(id) + "/131073");
    }
    EXPECT_EQ(mail->Close(0), RRC_OK);
    EXPECT_EQ(States(9), "000111");
    mail->m_appInfo.m_bLimitMailSize = 0;
    EXPECT_EQ(mail->DeleteAllRecords(), RRC_OK);
    for (const char* why : {"numbers begin anew", "without the state of what had it"}) {
        EXPECT_EQ(mail->Add({}), "0x00000001/1") << why;
        EXPECT_EQ(mail->Close(0), RRC_OK);
        EXPECT_EQ(States(9), "0") << why;
        mail->Edit("0x00000001", 0x20001);
        EXPECT_EQ(mail->DeleteAllRecords(), RRC_OK);
    }
}

TEST_F(MailTest, TextsOfManyKinds) {
    const std::string to = "To: you@y.example\r\n", from = "From: me@x.example\r\n",
                      end = from + "Subject: Hi\r\n\r\nText\r\n",
                      attached = "\r\n\r\nAttachment Converted: \"C:\\E\\Attach\\doc";
    machine.files.Put("C:\\src\\2", "two");
    const auto body = [&](const std::string& stored) {
        return to + from + "Subject: Hi\r\n\r\n" + stored + "\r\n";
    };
    const std::tuple<const char*, HostMail, std::string> rows[] = {
        {"no recipient", {.to = {}}, end},
        {"all classes",
         {.to = "a;b,c", .cc = "d", .bcc = "e;"},
         "To: a, b,c\r\nCc: d\r\nBcc: e\r\n" + end},
        {"nothing but separators", {.to = ";;"}, "To: \r\n" + end},
        {"nothing but a recipient",
         {.from = {}, .subject = {}, .body = {}},
         to + "From: \r\nSubject: \r\n\r\n\r\n"},
        {"own line ends", {.body = "a\r\nb\nc\r"}, body("a\r\nb\nc\r")},
        {"a separator in the body", {.body = kSeparator + "To: x"}, body(kSeparator + "To: x")},
        {"empty id", {.id = ""}, to + end},
        {"two files of one name",
         {.files = {"C:\\src\\1", "C:\\src\\2"}},
         to + end + attached + ".txt\"" + attached + "1.txt\"\r\n"},
        {"an entry without source",
         {.files = {""}},
         to + end + "\r\n\r\nAttachment Converted: \"\"\r\n"},
        {"a source that is missing",
         {.files = {"C:\\src\\1", "C:\\none"}},
         to + end + attached + ".txt\"\r\n"},
    };
    for (const auto& [name, host, text] : rows) {
        SCOPED_TRACE(name);
        Put({});
        ASSERT_EQ(Open(), RRC_OK);
        mail->Add(host);
        ASSERT_EQ(mail->Close(0), RRC_OK);
        (void)Read();
        const std::string id = host.id->empty() ? "0x00000002" : "a@b";
        EXPECT_EQ(Mbx(), kSeparator + "Message-ID: <" + id +
                             ">\r\nDate: Sat, 01 Feb 2003 14:05:09 +0900\r\n" + text);
        for (const char* copy : {"C:\\E\\Attach\\doc.txt", "C:\\E\\Attach\\doc1.txt"}) {
            const bool isNamed = text.find(copy) != std::string::npos;
            EXPECT_EQ(machine.files.Delete(copy).HasValue(), isNamed) << "kept as long as named";
        }
    }
}

TEST_F(MailTest, ABoxTakes65535Mails) {
    MailboxBuilder box;
    for (std::uint32_t id = 1; id <= 65534; ++id) box.Block(id, 0, 0);
    Put(box);
    ASSERT_EQ(Open(), RRC_OK);
    mail->Add({.id = "last", .files = {"C:\\src\\1"}});
    mail->Add({.id = "beyond", .files = {"C:\\src\\1"}});
    mail->Add({.subject = std::nullopt, .files = {"C:\\src\\1"}, .moves = true});
    EXPECT_EQ(mail->Close(0), RRC_FAILED);
    EXPECT_EQ(DrainErrors(), (Texts{"m85 <0x00010000 \"Hi\">", "m85 <0x00010001>",
                                    "m86 <C:\\E\\Attach\\doc11.txt>"}));
    EXPECT_EQ(Toc().size(), mailbox::BlockOffset(65535));
    EXPECT_NE(Mbx().find("<last>"), std::string::npos);
    EXPECT_EQ(Mbx().find("beyond"), std::string::npos);
    EXPECT_TRUE(machine.files.Get("C:\\E\\Attach\\doc.txt"));
    EXPECT_FALSE(machine.files.Get("C:\\E\\Attach\\doc1.txt")) << "of a mail that is not stored";
    EXPECT_TRUE(machine.files.Get("C:\\E\\Attach\\doc11.txt")) << "all that is left of its source";
    EXPECT_EQ(mail->Names({"0x0000FFFF", "0x00010000", "0x00010001"}), "last - - ");
    EXPECT_EQ(mail->Close(0), RRC_OK) << "refused once";
}

// What stands in an In.toc that is no table of ours, or behind the mails that it counts, is never
// cut or changed; what a run of ours left behind is.
TEST_F(MailTest, OnlyItsOwnLeftoversGiveWay) {
    MailboxBuilder box;
    box.Mail(1, MailText({})).Mail(2, MailText({}));
    const auto block = [](std::uint32_t offset, std::uint32_t length) {
        return MailboxBuilder().Block(9, offset, length).Toc().substr(104);
    };
    const auto end = static_cast<std::uint32_t>(box.mbx.size());
    const std::string toc = box.Toc(), mbx = box.mbx + "left by a run", left = block(end, 4),
                      second = block(end + 4, 9),
                      turned = toc.substr(0, 104) + toc.substr(322) + toc.substr(104, 218);
    std::vector<std::tuple<std::string, std::string, bool>> rows = {
        {"a Macintosh file", std::string("\0\1", 2) + std::string(276, '\0'), false},
        {"a text", std::string(5000, 't'), false},
        {"bytes behind the blocks", toc + "more", false},
        {"a mail that is not counted", toc + block(0, 20), false},
        {"one in the last, which stands first", turned + block(end - 1, 5), false},
        {"one that is not in the file", toc + block(end, 200), false},
        {"one after leftovers", toc + left + block(0, 20), false},
        {"leftovers behind a box in another order", turned + left + second, true},
        {"leftovers, not written out", toc + left + std::string(300, '\0'), true},
        {"leftovers behind a block that leads nowhere",
         MailboxBuilder(box).Block(3, 4'194'304, 218).Toc() + left, true},
        {"an unknown version, nothing behind it", std::string(toc).replace(1, 1, "\x7F"), true},
        {"no byte", "", true},
        {"half a block", toc.substr(0, 400), true},
    };
    for (std::size_t size = 1; size < second.size(); ++size) {
        rows.emplace_back("leftovers, cut short", toc + left + second.substr(0, size), true);
    }
    for (const auto& [name, bytes, isOurs] : rows) {
        SCOPED_TRACE(name);
        machine.files.Put("C:\\E\\In.mbx", mbx);
        machine.files.Put("C:\\E\\In.toc", bytes);
        machine.files.Put("C:\\src\\1", "one");
        Restart();
        ASSERT_EQ(Open(), RRC_OK);
        mail->m_queues.m_mapMailStatus[0x74747474] = 131073;  // the id in the text
        mail->Add({.files = {"C:\\src\\1"}, .moves = true});
        EXPECT_EQ(mail->Close(0), isOurs ? RRC_OK : RRC_FAILED);
        const Texts errors = DrainErrors();
        EXPECT_TRUE(machine.files.Delete("C:\\E\\Attach\\doc.txt")) << "the only copy is kept";
        EXPECT_EQ(Mbx().substr(0, mbx.size()), mbx);
        if (isOurs) {
            EXPECT_EQ(Toc().size(),
                      mailbox::BlockOffset(mailbox::TocHeader::Decode(Toc()).wNumberOfMsgs));
            continue;
        }
        EXPECT_EQ(Mbx() + Toc(), mbx + bytes);
        EXPECT_EQ(errors.front(), "m87 <C:\\E\\In.toc>");
        EXPECT_EQ(errors.at(1), "m86 <C:\\E\\Attach\\doc.txt>");
    }
}

// Attachments on their way into Eudora, each of which goes under its name: those of which all are
// entered, or "failed:" and those that are.
class AttachTest : public MailTest {
  protected:
    AttachTest() { EXPECT_EQ(Open(), RRC_OK); }

    std::string Add(const Texts& sources, const std::string& name, bool moves = false) {
        EXPECT_EQ(mail->AddNewRecord(0), RRC_OK);
        (void)mail->Fill({.files = sources, .fileName = name, .moves = moves});
        EXPECT_TRUE(mail->TryUpdate());
        const auto files = mapi::Files(*mail->m_queues.m_lstNewMails.back());
        std::string entries = files.size() == sources.size() ? "" : "failed:";
        m_copies.clear();
        for (const auto& file : files) {
            EXPECT_EQ(file.flFlags, 0xFFFFFFFC);
            m_copies.push_back(file.lpszPathName);
            entries += m_copies.back().substr(12) + '=' + file.lpszFileName + '|';
        }
        return entries;
    }

    Texts m_copies;  // paths
};

TEST_F(AttachTest, NamesNeverLeadOutOfTheFolder) {
    const Texts source{"C:\\src\\one"};
    machine.files.Put(source[0], "1");
    const std::string room(259 - std::strlen("C:\\E\\Attach\\"), 'n');
    const auto before = machine.files.AllFiles();
    for (const auto& name : Texts{room + 'n', "..\\x", "..", "", "C:x", "a:stream", "NUL.txt"}) {
        EXPECT_EQ(Add(source, name), "failed:") << name;
        EXPECT_EQ(machine.files.AllFiles(), before) << name;
    }
    for (const auto& name : Texts{"..a", room}) EXPECT_EQ(Add(source, name), name + "=d|");
    EXPECT_EQ(Add(source, room), "failed:") << "no room for a 1";
    std::string name = "m";
    for (int i = 0; i < 200; ++i, name += '1') {
        machine.files.Put("C:\\E\\Attach\\" + name + ".TXT", "");
    }
    machine.faults.Arm(Fault::kNone, 0);
    EXPECT_EQ(Add(source, "m.txt"), name + ".txt=d|");
    EXPECT_LE(machine.faults.Operations(), 10) << "many files of one name cost little";
    util.system.codePage = 932;
    const std::string kanji = "\x95\x5C\x8E\xA6";  // the second byte equals a backslash
    machine.files.Put("C:\\E\\Attach\\" + kanji + ".txt", "old");
    EXPECT_EQ(Add(source, kanji + ".txt"), kanji + "1.txt=d|");
}

// At every failure the entries are those whose copies are whole, no source is lost, and nothing
// else is left behind.
TEST_F(AttachTest, FaultsLoseNoFile) {
    const Texts sources{"C:\\src\\one", "C:\\src\\two"};
    const auto play = [&](Fault fault, int number) {
        machine.files.Put("C:\\E\\Attach\\a", "old");
        for (const auto& source : sources) machine.files.Put(source, source);
        machine.faults.Arm(fault, number);
        (void)Add(sources, "a", true);
        const bool fired = machine.faults.Disarm();
        for (std::size_t i = 0; i < 2; ++i) {
            const bool isEntered = i < m_copies.size();
            EXPECT_EQ(machine.files.Get(isEntered ? m_copies[i] : sources[i]), sources[i]);
            EXPECT_TRUE(fired || !machine.files.Get(sources[i]));
            if (isEntered) (void)machine.files.Delete(m_copies[i]);
        }
        EXPECT_EQ(machine.files.Get("C:\\E\\Attach\\a"), "old");
        EXPECT_EQ(machine.files.List("C:\\E\\Attach", "*")->size(), 1U);
        return fired;
    };
    test::ForEveryFault(play, 5, {Fault::kTornWrite});
}

}  // namespace
