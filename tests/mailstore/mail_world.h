#pragma once

#include <gmock/gmock.h>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "mailstore/eudora_mail.h"
#include "tests/frame/frame_fixture.h"
#include "tests/mailstore/mailbox_builder.h"
#include "tests/mapi/library_double.h"
#include "tests/tools/mailbox_check.h"

using Texts = std::vector<std::string>;

// What a host sets in a new record; what has no value is not set.
struct HostMail {
    using Text = std::optional<std::string>;

    Text from = "me@x.example", to = "you@y.example", cc = {}, bcc = {};
    Text subject = "Hi", body = "Text";
    double date = 37653.586910;  // 2003-02-01 14:05:09
    std::int32_t status = 1;
    Text id = "a@b";
    Texts files = {};  // sources, each attached under this name
    std::string fileName = "doc.txt";
    bool moves = false;  // the sources go
};

// The mail translator with its members in sight, and what hosts do with it.
class TestMail : public CREudoraMail {
  public:
    RRETURNCODE OpenMailbox(CEudoraTransUtil& util, int mode = 1) {
        return Open(mode, 0, 0, 0, 0, 0, 0, 0, 0, &util);
    }
    // The Message-IDs of these mails, "-" for what has none.
    std::string Names(const Texts& ids) const {
        std::string names;
        for (const auto& id : ids) names += m_ids.MessageIdOf(id).value_or("-") + ' ';
        return names;
    }
    template <class Cell>
    bool Set(const char* field, Cell cell) {
        return SetField(field, nullptr, &cell) == RRC_OK;
    }
    // False if a field or a file was refused.
    bool Fill(const HostMail& host) {
        const std::string files = host.files.empty() ? "" : List(host);
        const std::pair<const char*, const HostMail::Text*> texts[] = {
            {"1", &host.from},    {"2", &host.to},   {"3", &host.cc}, {"4", &host.bcc},
            {"5", &host.subject}, {"7", &host.body}, {"11", &host.id}};
        bool isDone = Set("6", host.date) && Set("10", host.status);
        if (!files.empty()) isDone = isDone && Set("8", files.c_str());
        for (const auto& path : host.files) isDone = isDone && !(host.moves && IsThere(path));
        for (const auto& [field, text] : texts) {
            if (*text) isDone = isDone && Set(field, (*text)->c_str());
        }
        return isDone;
    }
    bool TryAdd(const HostMail& host) {
        return AddNewRecord(0) == RRC_OK && Fill(host) && TryUpdate();
    }
    bool TryEdit(const char* id, std::optional<std::int32_t> status) {
        return EditRecord(id) == RRC_OK && (!status || Set("10", *status)) && TryUpdate();
    }
    // Needs no memory once the record is stored.
    bool TryUpdate() { return UpdateRecord(m_id, m_info) == RRC_OK; }
    // The record id and the modified info that come back, with "/" between.
    std::string Add(const HostMail& host) {
        EXPECT_TRUE(TryAdd(host));
        return m_id.Str() + '/' + m_info.Str();
    }
    std::string Edit(const char* id, std::optional<std::int32_t> status) {
        EXPECT_TRUE(TryEdit(id, status));
        return m_id.Str() + '/' + m_info.Str();
    }

    using CREudoraMail::m_appInfo;
    using CREudoraMail::m_attach;
    using CREudoraMail::m_bBoxFileOpenFlag;
    using CREudoraMail::m_ids;
    using CREudoraMail::m_queues;

  private:
    bool IsThere(const std::string& path) const { return Util().system.files.Exists(path); }
    static std::string List(const HostMail& host) {
        CArray<CRAttachmentInfo> list;
        for (const auto& path : host.files) {
            list.Add({0, host.moves, "d", host.fileName, path.c_str()});
        }
        CString text;
        (void)AttachmentInfoToStr(list, text);
        return text.Str();
    }

    CString m_id, m_info;
};

// A machine in memory with Eudora's folder C:\E, a library over its files, and a translator that is
// logged on to it. Every string of the bundle is "m" and its number, but for those that are read as
// something else.
class MailTest : public FrameTest {
  protected:
    MailTest() {
        platform::testing::FakeLibraries::Strings strings;
        for (unsigned id = 2; id < 90; ++id) strings[id] = "m" + std::to_string(id);
        strings[1] = "no <%s>";
        for (unsigned id = 85; id <= 88; ++id) strings[id] = "m" + std::to_string(id) + " <%s>";
        strings[41] = "From";
        strings[77] = "Attachment Converted:";
        strings[79] = "In";
        LoadStrings(strings);
        util.csEudoraDir = "C:\\E";
        machine.clock.offset = std::chrono::hours(9);
        machine.files.Put("C:\\src\\1", "one");
        Restart();
    }
    void TearDown() override {
        mail.reset();
        LogOff();
        EXPECT_EQ(machine.files.OpenCount(), 0);
    }

    void LogOff() {
        util.mapi.MapiLogoff();
        util.mapi.UnloadMapiLibrary();
    }
    // What a program does that begins anew.
    void Restart() {
        mail.reset();
        LogOff();
        mail = std::make_unique<TestMail>();
        EXPECT_EQ(util.mapi.LoadMapiLibrary("C:\\E"), 1);
        EXPECT_EQ(util.mapi.MapiLogon(), 1);
        mail->m_attach.m_csAttachDir = "C:\\E\\Attach\\";
        mail->m_appInfo.m_bLimitMailAge = mail->m_appInfo.m_bLimitMailSize = 0;
        (void)util.mapi.MoveFirst();  // what an earlier session passed is no place to walk from
    }
    void Put(const MailboxBuilder& box) {
        box.Put(machine.files, "C:\\E");
        Restart();
    }
    RRETURNCODE Open() { return mail->OpenMailbox(util); }
    std::string Mbx() { return machine.files.Get("C:\\E\\In.mbx").value_or("(none)"); }
    std::string Toc() { return machine.files.Get("C:\\E\\In.toc").value_or("(none)"); }

    // The in-box as the independent reader sees it. From the mail `ours` on it is as the translator
    // writes it.
    mailbox_check::Report Judge(std::uint32_t ours, bool mayHaveLeftovers = false) {
        const auto exists = [&](const std::string& path) { return machine.files.Exists(path); };
        return mailbox_check::Check(Mbx(), Toc(), {ours, mayHaveLeftovers, exists});
    }
    // The same, without a fault.
    std::vector<mailbox_check::Mail> Read(std::uint32_t ours = 0, bool mayHaveLeftovers = false) {
        auto report = Judge(ours, mayHaveLeftovers);
        EXPECT_EQ(report.faults, Texts{});
        return std::move(report.mails);
    }
    // The states of the stored mails, a digit each.
    std::string States(std::uint32_t ours, bool mayHaveLeftovers = false) {
        std::string states;
        for (const auto& stored : Read(ours, mayHaveLeftovers)) {
            states += std::to_string(stored.state);
        }
        return states;
    }

    LibraryDouble library{machine, "C:\\E"};
    std::unique_ptr<TestMail> mail;
};
