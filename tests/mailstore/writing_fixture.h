#pragma once

#include <memory>
#include <optional>
#include <string>
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
    double date = 37653.586910;  // 2003-02-01 14:05:09
    std::int32_t status = 1;
    Text id = "a@b";
    Texts files = {};  // sources, each attached under the name "doc.txt"
};

class WritingMail : public OpenedMail {
  public:
    void Set(const char* field, const HostMail::Text& text) {
        if (text) SetCell(field, text->c_str());
    }
    template <class Cell>
    void SetCell(const char* field, Cell cell) {
        EXPECT_EQ(SetField(field, nullptr, &cell), RRC_OK) << field;
    }
    void Fill(const HostMail& host) {
        const HostMail::Text* texts[] = {&host.from, &host.to, &host.cc, &host.bcc, &host.subject};
        for (int i = 0; i < 5; ++i) Set(std::to_string(i + 1).c_str(), *texts[i]);
        SetCell("6", host.date);
        Set("7", host.body);
        if (!host.files.empty()) Set("8", Files(host.files));
        SetCell("10", host.status);
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
        if (status) SetCell("10", *status);
        return Update();
    }
    // The same for a host that takes no for an answer. It needs no memory of its own.
    bool TrySet(const char* field, const char* text) {
        return SetField(field, nullptr, &text) == RRC_OK;
    }
    bool TryUpdate(std::int32_t status) {
        CString id, info;
        return SetField("10", nullptr, &status) == RRC_OK && UpdateRecord(id, info) == RRC_OK;
    }
    template <class AreTaken>
    bool TryAdd(const HostMail& host, const char* files, const AreTaken& areTaken) {
        return AddNewRecord(0) == RRC_OK && TrySet("1", host.from->c_str()) &&
               TrySet("2", host.to->c_str()) && TrySet("5", host.subject->c_str()) &&
               TrySet("7", host.body->c_str()) && TrySet("8", files) && areTaken() &&
               TrySet("11", host.id->c_str()) && TryUpdate(host.status);
    }
    bool TryEdit(const char* id, std::int32_t status) {
        return EditRecord(id) == RRC_OK && TryUpdate(status);
    }
    // A list of files as text, as the host hands it over.
    static std::string Files(const Texts& paths, bool deletesSources = false) {
        CArray<CRAttachmentInfo> list;
        for (const auto& path : paths) {
            list.Add({0, deletesSources, "doc.txt", "doc.txt", path.c_str()});
        }
        CString text;
        EXPECT_EQ(AttachmentInfoToStr(list, text), RRC_OK);
        return text.Str();
    }
};

// Our Simple MAPI library and a translator that is logged on to it.
class WritingTest : public MailFixture {
  protected:
    WritingTest() {
        machine.clock.offset = std::chrono::hours(9);
        machine.files.MakeFolders("C:\\temp");
        machine.files.Put("C:\\src\\1", "one");
        Start();
    }
    ~WritingTest() override {
        End();
        EXPECT_EQ(machine.files.OpenCount(), 0);
    }

    // What a program does that begins anew.
    void Start() {
        EXPECT_EQ(util.mapi.LoadMapiLibrary("C:\\E"), 1);
        EXPECT_EQ(util.mapi.MapiLogon(), 1);
        (void)util.mapi.MoveFirst();  // what an earlier session passed is no place to walk from
        mail = std::make_unique<WritingMail>();
        mail->m_attach.m_csAttachDir = "C:\\E\\Attach\\";
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
    // The in-box as the independent reader sees it, which finds no fault. From the mail `ours` on
    // it is as the translator writes it.
    std::vector<mailbox_check::Mail> Read(std::uint32_t ours = 0, bool mayHaveLeftovers = false) {
        const mailbox_check::Rules rules{ours, mayHaveLeftovers, [&](const std::string& path) {
                                             return machine.files.Get(path).has_value();
                                         }};
        auto report = mailbox_check::Check(Mbx(), Toc(), rules);
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

    StandInLibrary library{machine};
    std::unique_ptr<WritingMail> mail;
};
