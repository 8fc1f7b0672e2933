#include <algorithm>
#include <functional>
#include <random>

#include "tests/mapi/mapi_fixture.h"

namespace {

using mapi::Entry;

class MapiSessionTest : public MapiFixture {
  protected:
    MapiSessionTest() {
        mapi.MapiLogoff();
        mapi.UnloadMapiLibrary();
        library.calls.clear();
    }
};

TEST_F(MapiSessionTest, AvailabilityIsToldByProfileOrRegistry) {
    struct Row {
        unsigned major, minor;
        int profile;
        const char* flag;
        int available;
    };
    const Row rows[] = {{3, 51, 1, "0", 1}, {3, 51, 0, "1", 0}, {2, 99, 5, "0", 1},
                        {3, 52, 1, "0", 0}, {4, 0, 0, "1", 1},  {6, 1, 1, "11", 0}};
    for (const Row& row : rows) {
        machine.processes.version = {row.major, row.minor};
        machine.processes.profile[{"Mail", "MAPI"}] = row.profile;
        (void)machine.registry.WriteText(platform::RegistryRoot::kLocalMachine,
                                         "SOFTWARE\\Microsoft\\Windows Messaging Subsystem", "MAPI",
                                         row.flag);
        const auto tries = machine.libraries.Tries().size();
        EXPECT_EQ(mapi.LoadMapiLibrary("C:\\Eudora"), row.available)
            << row.major << '.' << row.minor << ' ' << row.flag;
        if (row.available == 0) {
            EXPECT_EQ(mapi.LastError(), CMapi::kNotAvailable);
        }
        EXPECT_EQ(machine.libraries.Tries().size() - tries, row.available == 0 ? 0U : 1U);
        mapi.UnloadMapiLibrary();
    }
}

TEST_F(MapiSessionTest, EveryEntryPointIsNeeded) {
    for (const char* missing : mapi::kEntryNames) {
        library.Install("C:\\Eudora", missing);
        EXPECT_EQ(mapi.LoadMapiLibrary("C:\\Eudora"), 0) << missing;
        EXPECT_EQ(machine.libraries.LoadedCount(), 1) << "it stays until it is unloaded";
    }
    mapi.UnloadMapiLibrary();
    EXPECT_EQ(machine.libraries.LoadedCount(), 0);
    EXPECT_EQ(mapi.LoadMapiLibrary("C:\\Eudora\\"), 0) << "the backslash is always added";
    EXPECT_EQ(mapi.LastError(), CMapi::kNotLoaded);
}

TEST_F(MapiSessionTest, OneSessionAtATime) {
    ASSERT_EQ(mapi.LoadMapiLibrary("C:\\Eudora"), 1);
    library.results[mapi::Entry::kLogon] = {3};
    EXPECT_EQ(mapi.MapiLogon(), 0);
    EXPECT_EQ(mapi.LastError(), 3U);
    mapi.MapiLogoff();
    EXPECT_EQ(mapi.MapiLogon(), 1);
    ASSERT_EQ(mapi.LoadMapiLibrary("C:\\Eudora"), 1) << "as a second translator does";
    EXPECT_EQ(mapi.MapiLogon(), 0);
    EXPECT_EQ(library.calls, (Lines{"logon", "logon"}));
    mapi.MapiLogoff();
    mapi.MapiLogoff();
    EXPECT_EQ(library.calls, (Lines{"logon", "logon", "logoff"}));
}

class MapiRecordTest : public MapiFixture {
  protected:
    void Read(const ScriptedMail& mail) {
        library.mailbox = {mail};
        ASSERT_EQ(mapi.MoveFirst(), 1);
    }
    std::string Text(MailField field) { return mapi.MailText(field).value_or("(null)"); }

    static constexpr const char* kFile = "C:\\Attach\\a.txt";
};

// Against strtok itself, over all texts of up to five of these characters.
TEST_F(MapiRecordTest, CutsEveryTextAsStrtokCuts) {
    const auto cut = [](std::string text) -> std::optional<std::string> {
        const char* const outside = std::strtok(text.data(), "<");
        if (outside == nullptr) return std::nullopt;
        if (const char* const address = std::strtok(nullptr, ">")) return address;
        std::string whole = outside;
        const char* const address = std::strtok(whole.data(), ">");
        return address != nullptr ? std::optional<std::string>(address) : std::nullopt;
    };
    for (int length = 0, texts = 1; length <= 5; ++length, texts *= 4) {
        for (int number = 0; number < texts; ++number) {
            std::string text;
            for (int i = 0, rest = number; i < length; ++i, rest /= 4) text += "<>ab"[rest % 4];
            Read({.id = "A", .originator = text});
            ASSERT_EQ(mapi.MailText(MailField::kFrom), cut(text)) << text;
        }
    }
}

TEST_F(MapiRecordTest, JoinsTheRecipientsOfAClass) {
    struct Row {
        std::vector<ScriptedMail::Recipient> recipients;
        const char *to, *cc, *bcc;
    };
    const Row rows[] = {
        {{{1, "a@b"}, {2, "c@d"}, {1, "SMTP:e@f"}}, "a@b; e@f", "c@d", "(null)"},
        {{{3, "xSMTP:a"}, {3, "smtp:b"}}, "(null)", "(null)", "xSMTP:a; smtp:b"},
        {{{1, "SMTP:"}, {1, "a"}}, "; a", "(null)", "(null)"},
        {{{1, {}}, {1, "a"}, {1, {}}}, "a", "(null)", "(null)"},
        {{{0, "a"}, {4, "b"}}, "(null)", "(null)", "(null)"},
    };
    for (const Row& row : rows) {
        Read({.id = "A", .recipients = row.recipients});
        EXPECT_EQ(Text(MailField::kTo), row.to);
        EXPECT_EQ(Text(MailField::kCc), row.cc);
        EXPECT_EQ(Text(MailField::kBcc), row.bcc);
    }
}

TEST_F(MapiRecordTest, WhatIsNotThereIsNothing) {
    for (const bool hasMessage : {false, true}) {
        if (hasMessage) Read({.id = "A"});
        for (int field = -1; field <= 12; ++field) {
            EXPECT_EQ(Text(static_cast<MailField>(field)), "(null)") << field;
        }
    }
    Read({.id = "A", .subject = ""});
    EXPECT_EQ(Text(MailField::kSubject), "");
}

TEST_F(MapiRecordTest, TheStatusDecidesWhatIsStoredAndSent) {
    struct Row {
        std::uint32_t status, flags;
        bool sends;
    };
    const Row rows[] = {{1, 1, false},      {0x20001, 0, false},    {0x20004, 4, false},
                        {0, 0, false},      {3, 3, false},          {2, 0, true},
                        {0x20002, 0, true}, {0x8002, 0x8002, false}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.status);
        library.calls.clear();
        mapi.SetMsgID("0x00000007");
        MapiMessage* const record = NewRecord("new", row.status, kFile);
        library.onSend = [&](const MapiMessage& message) {
            EXPECT_EQ(&message, record);
            EXPECT_STREQ(mapi.MsgID(), "");
            EXPECT_EQ(message.flFlags, 0U);
            EXPECT_TRUE(machine.files.Get(kFile));
        };
        EXPECT_EQ(mapi.UpdateMail(record), 1);
        EXPECT_EQ(record->flFlags, row.flags);
        EXPECT_EQ(library.calls, row.sends ? Lines{"send new"} : Lines{});
        EXPECT_STREQ(mapi.MsgID(), row.sends ? "" : "0x00000007");
        EXPECT_EQ(machine.files.Get(kFile).has_value(), !row.sends);
        MapiMessage* current = nullptr;
        EXPECT_EQ(mapi.GetCurrentMessage(current), 1);
        EXPECT_EQ(current, record);
        EXPECT_EQ(mapi.FreeMessage(record), 1);
        EXPECT_EQ(Current(), "-") << "no slot points at a freed record";
    }
}

TEST_F(MapiRecordTest, AMailThatCannotBeSentChangesNothingButItsFiles) {
    library.mailbox[0].tempFiles = 1;
    ASSERT_EQ(mapi.MoveFirst(), 1);
    MapiMessage* const record = NewRecord("out", 2, kFile);
    for (const std::uint32_t code : {2U, 14U}) {
        library.results[Entry::kSendMail] = {code};
        library.calls.clear();
        EXPECT_EQ(mapi.UpdateMail(record), -1);
        EXPECT_EQ(mapi.LastError(), code);
        EXPECT_EQ(library.calls, Lines{"send out"}) << "once, whatever the error";
        record->flFlags = 2;
    }
    EXPECT_EQ(Current(), "A");
    EXPECT_STREQ(mapi.MsgID(), "");
    EXPECT_EQ(machine.files.AllFiles(), Lines{"C:\\temp\\1.tmp"});
    EXPECT_EQ(mapi.FreeMessage(record), 1);
    EXPECT_EQ(Current(), "A");
    EXPECT_EQ(mapi.UpdateMail(nullptr), -1);
    EXPECT_EQ(mapi.LastError(), 17U);
}

// Whatever comes in whatever order: what the library made goes back to it once, with its files, and
// what a queue owns is left alone.
TEST_F(MapiRecordTest, EveryRecordIsFreedOnceByItsOwner) {
    for (ScriptedMail& mail : library.mailbox) mail.tempFiles = 2;
    std::mt19937 random(11);
    std::vector<MapiMessage*> queue;
    MapiMessage* current = nullptr;
    std::ptrdiff_t stored = 0;  // of these, mails that keep their files
    const auto add = [&](std::uint32_t status, const std::string& path) {
        stored += status != 2;
        queue.push_back(NewRecord("new", status, path.c_str()));
        mapi.UpdateMail(queue.back());
    };
    int round = 0;
    const std::function<void()> acts[] = {
        [&] { mapi.MoveFirst(); },
        [&] { mapi.MoveNext(); },
        [&] { mapi.GoToEmail(std::string(1, "ABCDEZ"[random() % 6]).c_str()); },
        [&] { add(random() % 3 == 0 ? 4 : 1, "C:\\Attach\\" + std::to_string(round)); },
        [&] { add(2, "C:\\Attach\\" + std::to_string(round)); },
        [&] { mapi.DeleteCurrentAttachments(); },
        [&] { mapi.DeleteMail(); },
        [&] {
            if (!queue.empty()) mapi.UpdateMail(queue[random() % queue.size()]);
        },
        [&] {  // shown again it stays its owner's
            EXPECT_EQ(mapi.UpdateMail(current), current != nullptr ? 1 : -1);
        },
        [&] {
            if (queue.empty() || queue[0] == current) return;
            mapi.ReleaseBorrowed(queue[0]);
            EXPECT_EQ(mapi.GetCurrentMessage(current), current == nullptr ? 0 : 1);
        },
        [&] {
            for (MapiMessage* record : queue) mapi.FreeMessage(record);
            queue.clear();
            stored = 0;
        }};
    for (; round < 5000; ++round) {
        if (random() % 5 == 0) library.results[Entry::kReadMail] = {2, 2, 5};
        if (random() % 5 == 0) library.results[Entry::kFindNext] = {0, 2, 23};
        if (random() % 5 == 0) library.results[Entry::kSendMail] = {2};
        mapi.GetCurrentMessage(current);
        acts[random() % std::size(acts)]();
        library.results.clear();
        mapi.GetCurrentMessage(current);
        const bool isBorrowed = current == nullptr || std::ranges::count(queue, current) == 1;
        ASSERT_EQ(library.LiveRecords(), isBorrowed ? 0U : 1U) << round;
        ASSERT_EQ(library.badCalls, 0) << round;
        const auto left = std::ranges::count_if(queue, [&](const MapiMessage* record) {
            return machine.files.Exists(record->lpFiles[0].lpszPathName);
        });
        ASSERT_EQ(left, stored) << round;
        ASSERT_LE(machine.files.AllFiles().size() - static_cast<std::size_t>(left),
                  isBorrowed ? 0U : 2U);
    }
    mapi.UnloadMapiLibrary();
    EXPECT_EQ(library.LiveRecords(), 0U);
    for (MapiMessage* record : queue) mapi.FreeMessage(record, true);
    EXPECT_LE(machine.files.AllFiles().size(), queue.size()) << "kept, and no temporary one";
}

TEST_F(MapiRecordTest, TheCurrentMessageGoesBeforeSessionAndLibrary) {
    ASSERT_EQ(mapi.MoveFirst(), 1);
    EXPECT_EQ(mapi.LoadMapiLibrary("C:\\Eudora"), 1) << "as a second translator does";
    EXPECT_EQ(Current(), "A");
    library.calls.clear();
    mapi.MapiLogoff();
    EXPECT_EQ(library.calls, (Lines{"free A", "logoff"}));
    EXPECT_EQ(Current(), "-");
    ASSERT_EQ(mapi.MapiLogon(), 1);
    ASSERT_EQ(mapi.MoveFirst(), 1);
    library.calls.clear();
    mapi.UnloadMapiLibrary();
    mapi.MapiLogoff();
    EXPECT_EQ(library.calls, Lines{"free A"}) << "there is nobody left to tell";
    {
        CMapi other(machine.system);
        ASSERT_EQ(other.LoadMapiLibrary("C:\\Eudora"), 1);
        ASSERT_EQ(other.MapiLogon(), 1);
        ASSERT_EQ(other.MoveFirst(), 1);
        library.calls.clear();
    }
    EXPECT_TRUE(library.calls.empty()) << "destruction calls no library";
}

TEST_F(MapiRecordTest, WithoutALibraryEverythingFails) {
    CMapi none(machine.system);
    MapiMessage* const record = NewRecord("out", 2);
    int (CMapi::*const operations[])() = {&CMapi::MoveFirst, &CMapi::MoveNext,
                                          &CMapi::ReadCurrentMail, &CMapi::DeleteMail};
    for (const auto operation : operations) EXPECT_EQ((none.*operation)(), -1);
    EXPECT_EQ(none.GoToEmail("A"), -1);
    EXPECT_EQ(none.UpdateMail(record), -1);
    EXPECT_EQ(none.LastError(), CMapi::kNotLoaded);
    EXPECT_EQ(none.MapiLogon(), 0);
    EXPECT_EQ(none.FreeMessage(record), 1);
}

TEST_F(MapiRecordTest, AnEditEndsWithItsMessage) {
    ASSERT_EQ(mapi.MoveFirst(), 1);
    mapi.SetMailStatus(0x20001);
    EXPECT_EQ(mapi.FinishEdit(), 0x20001U);
    EXPECT_EQ(mapi.MailFlags(), 0U);
    EXPECT_EQ(mapi.FinishEdit(), std::nullopt);
    mapi.SetMailStatus(1);
    ASSERT_EQ(mapi.MoveNext(), 1);
    EXPECT_EQ(mapi.FinishEdit(), std::nullopt);
}

TEST_F(MapiRecordTest, DeletingLeavesIdAndMessage) {
    ASSERT_EQ(mapi.GoToEmail("B"), 1);
    for (const mapi::Code code : {0U, 2U}) {
        library.results[Entry::kDeleteMail] = {code};
        library.calls.clear();
        EXPECT_EQ(mapi.DeleteMail(), code == 0 ? 1 : -1);
        EXPECT_EQ(mapi.LastError(), code);
        EXPECT_EQ(library.calls, Lines{"delete B"});
        EXPECT_STREQ(mapi.MsgID(), "B");
        EXPECT_EQ(Current(), "B");
    }
}

TEST_F(MapiRecordTest, FreesWhatABuiltRecordHolds) {
    MapiMessage* const record = NewRecord("s", 1, kFile);
    for (char** text : {&record->lpszNoteText, &record->lpszMessageType, &record->lpszDateReceived,
                        &record->lpszConversationID}) {
        *text = NewText("text");
    }
    record->lpOriginator = new MapiRecipDesc{0, 0, NewText("n"), NewText("a"), 1, NewText("e")};
    record->lpRecips = new MapiRecipDesc[2]{{0, 1, NewText("n"), NewText("a"), 1, NewText("e")},
                                            {0, 2, nullptr, NewText("b"), 0, nullptr}};
    record->nRecipCount = 2;
    record->lpFiles[0].lpszFileName = NewText("a.txt");
    record->lpFiles[0].lpFileType = NewText("t");
    machine.files.SetReadOnly(kFile);  // that its file cannot be deleted is not noticed
    EXPECT_EQ(mapi.FreeMessage(record), 1);

    MapiMessage* const empty = NewRecord("s", 1);
    delete[] empty->lpFiles;
    empty->lpFiles = nullptr;  // counts without arrays, as a failed step leaves them
    empty->nRecipCount = 3;
    EXPECT_EQ(mapi.FreeMessage(empty), 1);
}

}  // namespace
