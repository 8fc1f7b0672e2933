#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "frame/trans_util.h"
#include "mailstore/eudora_mail.h"
#include "platform/testing/test_system.h"
#include "tests/frame/log_capture.h"
#include "tests/mailstore/fake_mapi.h"

// The translator with a view into what it holds.
class OpenMail : public CREudoraMail {
  public:
    using CREudoraMail::m_appInfo;
    using CREudoraMail::m_bOutBox;
    using CREudoraMail::m_csAttachDir;
    using CREudoraMail::m_lpNewMessage;
    using CREudoraMail::m_mapIndexIDToMessageID;
};

// A machine in memory whose MAPI library serves what a test puts into `library.mails`.
class ReadingTest : public ::testing::Test {
  protected:
    explicit ReadingTest(unsigned codePage = 1252) : machine(codePage) {
        machine.libraries.AddResources("C:\\b\\xEN.dll", {{20, "no memory"},
                                                          {32, "invalid message"},
                                                          {58, "invalid record"},
                                                          {62, "no such file"},
                                                          {63, "no size"},
                                                          {65, "no status"},
                                                          {75, "invalid date"},
                                                          {76, "no message"},
                                                          {77, "Attachment Converted:"}});
        EXPECT_TRUE(util.bundle.Load("x", "C:\\b", "EN", "", true));
        UseTransUtil(&util);
        EXPECT_EQ(util.mapi.LoadMapiLibrary("C:\\Eudora"), 1);
        EXPECT_EQ(util.mapi.MapiLogon(), 1);
        machine.files.MakeFolders("C:\\Eudora\\Attach");
        mail.m_csAttachDir = "C:\\Eudora\\Attach\\";
        mail.m_appInfo.m_bLimitMailAge = mail.m_appInfo.m_bLimitMailSize = 0;
    }
    ~ReadingTest() override {
        // A mail that nobody reads takes the place of the last one, which is so given back.
        library.badRead = "0x00000001";
        if (!library.mails.empty()) (void)util.mapi.MoveFirst();
        EXPECT_EQ(library.held, 0);
        util.mapi.UnloadMapiLibrary();
        UseTransUtil(nullptr);
    }

    FakeMail& AddMail() {
        char id[16];
        std::snprintf(id, sizeof id, "0x%08X", static_cast<unsigned>(library.mails.size() + 1));
        library.mails.emplace_back().id = id;
        return library.mails.back();
    }
    // Makes the mail the only one, and current.
    void Show(FakeMail only) {
        library.mails.clear();
        FakeMail& shown = AddMail();
        only.id = shown.id;
        shown = std::move(only);
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
    std::vector<std::string> DrainErrors() {
        std::vector<std::string> messages;
        for (CString text; util.GetNextError(text) == RRC_OK;) messages.push_back(text.Str());
        return messages;
    }

    platform::testing::TestSystem machine;
    FakeMapi library{machine};
    CEudoraTransUtil util{machine.system};
    OpenMail mail;
};
