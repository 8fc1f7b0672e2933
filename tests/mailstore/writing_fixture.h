#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/kvutil/kvutil.h"
#include "tests/mailstore/mail_fixture.h"
#include "tests/mailstore/stand_in_library.h"
#include "tests/tools/mailbox_check.h"

// What a host sets in a new record; what has no value is not set.
struct HostMail {
    using Text = std::optional<std::string>;

    Text from = "me@x.example", to = "you@y.example", cc = {}, bcc = {};
    Text subject = "Hi", body = "Text";
    std::optional<double> date = 37653.586910;  // 2003-02-01 14:05:09
    std::int32_t status = 1;
    Text id = "a@b";
    std::vector<std::string> files = {};  // sources, each attached under the name "doc.txt"
};

class WritingMail : public OpenedMail {
  public:
    using CREudoraMail::m_bOutBox;
    using CREudoraMail::m_mapMailStatus;
    using CREudoraMail::m_pszTo;

    void Set(const char* field, const std::optional<std::string>& text) {
        if (!text) return;
        std::string copy = *text;
        char* cell = copy.data();
        unsigned long type = kFieldText;
        EXPECT_EQ(SetField(field, &type, &cell), RRC_OK) << field;
    }
    void SetStatus(std::int32_t status) {
        unsigned long type = kFieldInteger;
        EXPECT_EQ(SetField("10", &type, &status), RRC_OK);
    }
    void Fill(const HostMail& host) {
        Set("1", host.from);
        Set("2", host.to);
        Set("3", host.cc);
        Set("4", host.bcc);
        Set("5", host.subject);
        unsigned long type = kFieldDateLast;
        double date = host.date.value_or(0);
        if (host.date) {
            EXPECT_EQ(SetField("6", &type, &date), RRC_OK);
        }
        Set("7", host.body);
        if (!host.files.empty()) Set("8", Files(host.files));
        SetStatus(host.status);
        Set("11", host.id);
    }
    // The record id and the modified info that come back, with "/" between.
    std::string Update() {
        CString id, info;
        EXPECT_EQ(UpdateRecord(id, info), RRC_OK);
        return id.Str() + '/' + info.Str();
    }
    std::string Add(const HostMail& host) {
        EXPECT_EQ(AddNewRecord(0), RRC_OK);
        Fill(host);
        return Update();
    }
    std::string Edit(const std::string& id, std::optional<std::int32_t> status) {
        EXPECT_EQ(EditRecord(id.c_str()), RRC_OK);
        if (status) SetStatus(*status);
        return Update();
    }
    // A list of files as text, as the host hands it over.
    static std::string Files(const std::vector<std::string>& paths) {
        CArray<CRAttachmentInfo> list;
        for (const auto& path : paths) list.Add({0, 0, "doc.txt", "doc.txt", path.c_str()});
        CString text;
        EXPECT_EQ(AttachmentInfoToStr(list, text), RRC_OK);
        return text.Str();
    }
};

// A machine in memory with Eudora's folder C:\E, our Simple MAPI library and a translator that is
// logged on.
class WritingTest : public MailFixture {
  protected:
    WritingTest() {
        machine.clock.offset = std::chrono::hours(9);
        machine.files.MakeFolders("C:\\E\\Attach");
        machine.files.MakeFolders("C:\\temp");
        Start();
    }
    ~WritingTest() override {
        End();
        EXPECT_EQ(machine.files.OpenCount(), 0);
    }

    // What a program does that begins anew.
    void Start() {
        util.csEudoraDir = "C:\\E";
        EXPECT_EQ(util.mapi.LoadMapiLibrary("C:\\E"), 1);
        EXPECT_EQ(util.mapi.MapiLogon(), 1);
        (void)util.mapi.MoveFirst();  // what an earlier session passed is no place to walk from
        mail = std::make_unique<WritingMail>();
        mail->m_csAttachDir = "C:\\E\\Attach\\";
        mail->m_appInfo.m_bLimitMailAge = mail->m_appInfo.m_bLimitMailSize = 0;
    }
    void End() {
        mail.reset();
        util.mapi.MapiLogoff();
        util.mapi.UnloadMapiLibrary();
    }
    void Restart() {
        End();
        Start();
    }
    RRETURNCODE Open() { return mail->OpenMailbox(util); }
    // Stores the mails in a session of their own.
    void Store(const std::vector<HostMail>& mails) {
        ASSERT_EQ(Open(), RRC_OK);
        for (const auto& host : mails) mail->Add(host);
        ASSERT_EQ(mail->Close(0), RRC_OK);
    }
    // The in-box as the independent reader sees it.
    mailbox_check::Report Read(std::uint32_t ours = 0, bool mayHaveLeftovers = false) {
        const mailbox_check::Rules rules{ours, mayHaveLeftovers, [&](const std::string& path) {
                                             return machine.files.Get(path).has_value();
                                         }};
        return mailbox_check::Check(Mbx(), Toc(), rules);
    }
    void ExpectSound(std::uint32_t ours = 0) {
        EXPECT_EQ(Read(ours).faults, std::vector<std::string>{});
    }

    StandInLibrary library{machine};
    std::unique_ptr<WritingMail> mail;
};
