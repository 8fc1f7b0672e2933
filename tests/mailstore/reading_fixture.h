#pragma once

#include "tests/mailstore/mail_fixture.h"
#include "tests/mapi/scripted_library.h"

// A translator that is logged on to a library whose mails a test says.
class ReadingTest : public MailFixture {
  protected:
    ReadingTest() {
        EXPECT_EQ(util.mapi.LoadMapiLibrary("C:\\E"), 1);
        EXPECT_EQ(util.mapi.MapiLogon(), 1);
        mail.m_attach.m_csAttachDir = "C:\\E\\Attach\\";
        mail.m_appInfo.m_bLimitMailAge = mail.m_appInfo.m_bLimitMailSize = 0;
    }
    ~ReadingTest() override {
        EXPECT_EQ(library.LiveRecords(), 0U);
        EXPECT_EQ(library.badCalls, 0);
    }

    ScriptedMail& AddMail() {
        const auto number = static_cast<std::uint32_t>(library.mailbox.size() + 1);
        return library.mailbox.emplace_back(ScriptedMail{.id = mailbox::IndexIdOf(number)});
    }
    // Makes the mail the only one, and current.
    void Show(ScriptedMail only) {
        library.mailbox.clear();
        only.id = "0x00000001";
        library.mailbox.push_back(std::move(only));
        EXPECT_EQ(mail.MoveFirst(), RRC_OK);
    }
    std::string Id() {
        CString id;
        EXPECT_EQ(mail.GetRecordID(id), RRC_OK);
        return id.Str();
    }
    // The text cell of a field; "(null)" and "(untouched)" for cells without a text.
    std::string Text(const char* field) {
        char untouched = 'x';
        char* cell = &untouched;
        unsigned long type = kFieldText;
        EXPECT_EQ(mail.GetField(field, &type, &cell), RRC_OK) << field;
        if (cell == &untouched) return "(untouched)";
        const std::string text = cell != nullptr ? cell : "(null)";
        FreeVornString(cell);
        return text;
    }
    std::int32_t Number(const char* field) {
        std::int32_t cell = -77;
        unsigned long type = kFieldInteger;
        EXPECT_EQ(mail.GetField(field, &type, &cell), RRC_OK) << field;
        return cell;
    }

    ScriptedLibrary library{machine, "C:\\E"};
    OpenedMail mail;
};
