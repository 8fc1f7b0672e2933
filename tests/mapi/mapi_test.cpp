#include "mapi/mapi.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <set>
#include <tuple>

#include "tests/mailstore/mailbox_builder.h"
#include "tests/mapi/library_double.h"

namespace {

using mapi::Code, mapi::Entry;
using Lines = std::vector<std::string>;

constexpr const char* kFolder = "C:\\Eudora";

// A session with a library double.
class MapiTest : public ::testing::Test {
  protected:
    MapiTest() {
        EXPECT_EQ(mapi.LoadMapiLibrary(kFolder), 1);
        EXPECT_EQ(mapi.MapiLogon(), 1);
        library.calls.clear();
    }
    void TearDown() override { mapi.UnloadMapiLibrary(); }

    // Unread mails with the ids 1, 2, ..., whose subjects are their ids, each with two files.
    void SetMails(std::uint32_t count) {
        MailboxBuilder box;
        for (std::uint32_t id = 1; id <= count; ++id) {
            box.Mail(id, MailText({"Subject: " + mailbox::IndexIdOf(id)},
                                  "\r\nAttachment Converted: \"a\"\r\n"
                                  "\r\nAttachment Converted: \"b\"\r\n"));
        }
        box.Put(machine.files, kFolder);
        for (const char* name : {"a", "b"}) {
            machine.files.Put(std::string(kFolder) + "\\Attach\\" + name, "x");
        }
    }
    MapiMessage* Current() {
        MapiMessage* message = nullptr;
        const int found = mapi.GetCurrentMessage(message);
        EXPECT_EQ(found, message != nullptr ? 1 : 0);
        return message;
    }
    platform::testing::TestSystem machine;
    LibraryDouble library{machine, kFolder};
    CMapi mapi{machine.system};
};

// The agreed conversation with a library whose mailbox has the mails 1 to 6, each with two files,
// and what is then known of the mail in hand.
struct Model {
    static constexpr std::uint32_t kMails = 6;

    int Result() const { return error == 0 ? 1 : error == mapi::kNoMessages ? 0 : -1; }
    int Call(Entry entry, const std::string& word) {
        calls.push_back(word);
        auto& coming = results[entry];
        error = coming.empty() ? 0 : coming.front();
        if (!coming.empty()) coming.pop_front();
        return Result();
    }
    // The general error alone is tried again.
    void Try(const auto& attempt) {
        ++peeks;
        for (int tries = 0; tries == 0 || (error == mapi::kFailure && tries < 10); ++tries) {
            attempt();
            if (error == mapi::kFailure) ++peeks;
        }
    }
    void Name(const std::string& name) {
        id = name;
        isNamed = false;
    }
    void Show(const std::string& subject, std::uint32_t itsFlags) {
        shown = subject;
        flags = itsFlags;
        isNamed = !id.empty();
        edit.reset();
    }
    void DeleteFiles() {
        if (!isLibrarys) return;
        temporary = 0;
        sleeps += 2;
    }
    void Release() {
        DeleteFiles();
        if (isLibrarys) calls.push_back("free " + shown);
        shown.clear();
        isLibrarys = false;
    }
    bool Find(const std::string& seed) {
        const bool isFirst = seed == "-" || seed.empty();
        const auto last = isFirst ? 0 : mailbox::ExactMsgIdOf(seed).value_or(99);
        Try([&] {
            if (Call(Entry::kFindNext, "find " + seed) == 1 && last >= kMails) {
                error = last == kMails ? mapi::kNoMessages : mapi::kInvalidMessage;
            }
        });
        if (error == 0) Name(mailbox::IndexIdOf(last + 1));
        return error == 0;
    }
    int Read() {
        Try([&] {
            Release();
            Call(Entry::kReadMail, "read " + id);
            if (error == mapi::kFailure) ++sleeps;
        });
        ++sleeps;
        if (error != 0) return -1;
        Show(id, 1);
        isLibrarys = true;
        temporary = 2;
        return 1;
    }
    int First() {
        isSeekValid = false;
        return Find("-") ? Read() : Result();
    }
    int Next() { return error == mapi::kNoMessages ? 0 : Find(id) ? Read() : Result(); }
    // One look at the first mail, a walk from the seek point, and, if that comes to the end, both
    // from the start.
    int GoTo(const std::string& target) {
        for (const bool isAgain : {false, true}) {
            if (isAgain) isSeekValid = false;
            if (!Find("-")) return Result();
            for (auto from = isSeekValid ? seek : id; id != target && Find(from);
                 from = seek = id) {
                isSeekValid = true;
                ++sleeps;
            }
            if (error != mapi::kNoMessages) return error == 0 ? Read() : -1;
        }
        return 0;
    }
    int Update(const std::string& subject, std::uint32_t itsFlags, bool isSent) {
        error = subject.empty() ? mapi::kInvalidMessage : 0;
        if (isSent) {
            Name("");
            Call(Entry::kSendMail, "send " + subject);
            stored.erase(subject);
            ++sleeps;
        }
        if (error != 0) return -1;
        if (shown != subject) Release();
        Show(subject, itsFlags);
        return 1;
    }

    std::map<Entry, std::deque<Code>> results;
    Lines calls;
    Code error = 0;
    std::string id, seek, shown;  // the last one by its subject
    bool isSeekValid = false, isLibrarys = false, isNamed = false;
    std::uint32_t flags = 0;
    std::optional<std::uint32_t> edit;
    std::set<std::string> stored;  // the records with files
    std::size_t temporary = 0;     // files
    int peeks = 0, sleeps = 0;
};

TEST_F(MapiTest, SpeaksWithTheLibraryAsAgreed) {
    const std::pair<std::uint32_t, std::uint32_t> statuses[] = {
        {1, 1}, {0x20001, 0}, {0x20004, 4}, {0, 0}, {3, 3}, {0x8002, 0x8002}, {2, 0}, {0x20002, 0}};
    SetMails(Model::kMails);
    library.isWriting = false;
    Model model;
    std::vector<MapiMessage*> queue;
    std::mt19937 random(7);
    auto [status, flags] = statuses[0];
    int step = 0;
    const auto hasFiles = [&] {
        auto files = machine.files.AllFiles();
        std::erase_if(files, [](const std::string& path) {
            return path.starts_with(kFolder) || path.ends_with(".lock");
        });
        return files.size() == model.stored.size() + model.temporary;
    };
    library.onSend = [&](const MapiMessage& message) {
        EXPECT_TRUE(message.flFlags == 0 && *mapi.MsgID() == '\0' && hasFiles());
    };
    const auto text = [](const std::string& from) {
        return std::strcpy(new char[from.size() + 1], from.c_str());
    };
    const auto add = [&] {
        const std::string name = std::to_string(step), path = "C:\\Attach\\" + name;
        machine.files.Put(path, "x");
        model.stored.insert(name);
        EXPECT_EQ(CMapi::AllocMessage(queue.emplace_back()), 1);
        queue.back()->lpszSubject = text(name);
        queue.back()->nFileCount = 1;
        queue.back()->lpFiles = new MapiFileDesc[1]{{0, 0, 0, text(path), nullptr, nullptr}};
        queue.back()->nRecipCount = 2;  // without an array, as a failed step leaves it
    };
    const auto free = [&] {
        for (MapiMessage* const record : queue) {
            const std::string subject = record->lpszSubject;
            if (model.shown == subject) model.shown.clear();
            EXPECT_EQ(mapi.FreeMessage(record, step == 0), 1);
            if (step > 0) model.stored.erase(subject);
        }
        queue.clear();
    };
    const std::function<void()> acts[] = {
        [&] { EXPECT_EQ(mapi.MoveFirst(), model.First()); },
        [&] { EXPECT_EQ(mapi.MoveNext(), model.Next()); },
        [&] {
            const std::string own = model.id, other = mailbox::IndexIdOf(1 + random() % 7);
            const int result = mapi.GoToEmail(status == 2 ? mapi.MsgID() : other.c_str());
            EXPECT_EQ(result, model.GoTo(status == 2 ? own : other));
        },
        [&] {
            mapi.NoteSeek();
            if (!model.isSeekValid) model.seek = model.id;
            model.isSeekValid = model.isSeekValid || status == 2;
            if (status == 2) mapi.ConfirmSeek();
            if (status == 3) mapi.SetMsgID("new");
            if (status == 3) model.Name("new");
        },
        add,
        [&] {
            if (queue.empty()) return;
            MapiMessage* const record = queue[random() % queue.size()];
            record->flFlags = status;
            const int result = mapi.UpdateMail(record);
            EXPECT_EQ(result, model.Update(record->lpszSubject, flags, (status & 0xFFFF) == 2));
            EXPECT_EQ(record->flFlags, flags);
        },
        [&] {  // shown again it stays its owner's
            if (Current() != nullptr) Current()->flFlags = 1;
            EXPECT_EQ(mapi.UpdateMail(Current()), model.Update(model.shown, 1, false));
        },
        [&] {
            const int expected = model.Call(Entry::kDeleteMail, "delete " + model.id);
            model.isNamed = model.isNamed && expected != 1;
            EXPECT_EQ(mapi.DeleteMail(), expected);
        },
        [&] {
            mapi.SetMailStatus(status);
            if (!model.shown.empty()) model.edit = status;
            if (random() % 2 == 0) return;
            if (model.edit) model.flags = (status & 0x20000) != 0 ? 0 : 1;
            EXPECT_EQ(mapi.FinishEdit(), std::exchange(model.edit, {}));
        },
        [&] {
            mapi.DeleteCurrentAttachments();
            model.DeleteFiles();
        },
        [&] {
            mapi.MapiLogoff();
            model.Release();
            model.calls.push_back("logoff");
            EXPECT_EQ(mapi.MapiLogon(), model.Call(Entry::kLogon, "logon"));
            EXPECT_EQ(mapi.MapiLogon(), 0) << "one at a time";
        },
        [&] {  // and without unloading as a second translator does
            if (status == 2) mapi.UnloadMapiLibrary();
            if (status == 2) model.Release();
            EXPECT_EQ(mapi.LoadMapiLibrary(kFolder), 1);
        },
        free};
    for (; step < 20'000; ++step) {
        model.results.clear();
        for (const Entry entry :
             {Entry::kFindNext, Entry::kReadMail, Entry::kSendMail, Entry::kDeleteMail}) {
            if (random() % 5 != 0) continue;
            auto& coming = model.results[entry];
            coming.assign(random() % 3, 0);
            coming.insert(coming.end(), random() % 12, mapi::kFailure);
            coming.push_back(23);
        }
        library.results = model.results;
        std::tie(status, flags) = statuses[random() % std::size(statuses)];
        const auto act = random() % std::size(acts);
        SCOPED_TRACE(::testing::Message() << step << ": " << act);
        acts[act]();
        const bool isShown = !model.shown.empty();
        ASSERT_EQ(std::tuple(std::exchange(library.calls, {}), hasFiles(), mapi.LastError(),
                             std::string(mapi.MsgID()), isShown ? Current()->lpszSubject : "",
                             mapi.NamesCurrent(), isShown ? mapi.MailFlags() : 0,
                             machine.windows.peeks, machine.clock.sleeps, library.LiveRecords()),
                  std::tuple(std::exchange(model.calls, {}), true, model.error, model.id,
                             model.shown, isShown && model.isNamed, isShown ? model.flags : 0,
                             model.peeks, model.sleeps, model.isLibrarys ? 1 : 0));
        ASSERT_TRUE(!HasFailure() && (Current() != nullptr) == isShown);
    }
    mapi.UnloadMapiLibrary();
    step = model.temporary = 0;
    free();
    EXPECT_TRUE(hasFiles()) << "stored mails keep theirs";
}

TEST_F(MapiTest, AvailabilityIsToldByProfileOrRegistry) {
    const struct {
        unsigned major, minor;
        int profile;
        const char* flag;
        std::uint32_t error;
    } rows[] = {{3, 51, 1, "0", 0},    {3, 51, 0, "1", 1000}, {2, 99, 5, "0", 0},
                {3, 52, 1, "0", 1000}, {4, 0, 0, "1", 0},     {6, 1, 1, "11", 1000}};
    for (const auto& row : rows) {
        CMapi other(machine.system);
        machine.processes.version = {row.major, row.minor};
        machine.processes.profile[{"Mail", "MAPI"}] = row.profile;
        (void)machine.registry.WriteText(platform::RegistryRoot::kLocalMachine,
                                         "SOFTWARE\\Microsoft\\Windows Messaging Subsystem", "MAPI",
                                         row.flag);
        EXPECT_EQ(other.LoadMapiLibrary(kFolder), row.error == 0 ? 1 : 0) << row.major << row.flag;
        EXPECT_EQ(other.LastError(), row.error);
        other.UnloadMapiLibrary();
    }
}

TEST_F(MapiTest, WithoutAWholeLibraryEverythingFails) {
    CMapi none(machine.system);
    for (const char* missing : mapi::kEntryNames) {
        library.Install(kFolder, missing);
        EXPECT_EQ(none.LoadMapiLibrary(kFolder), 0) << missing;
    }
    EXPECT_EQ(machine.libraries.LoadedCount(), 2) << "it stays until it is unloaded";
    none.UnloadMapiLibrary();
    EXPECT_EQ(machine.libraries.LoadedCount(), 1);
    library.Install(kFolder);
    EXPECT_EQ(none.LoadMapiLibrary("C:\\Eudora\\"), 0) << "the backslash is always added";
    int (CMapi::*const operations[])() = {&CMapi::MoveFirst, &CMapi::MoveNext, &CMapi::DeleteMail};
    for (const auto operation : operations) EXPECT_EQ((none.*operation)(), -1);
    EXPECT_EQ(none.LastError(), CMapi::kNotLoaded);
    EXPECT_EQ(none.LoadMapiLibrary(kFolder), 1);
    library.results[Entry::kLogon] = {3};
    EXPECT_EQ(none.MapiLogon(), 0);
    EXPECT_EQ(none.LastError(), 3U);
    none.MapiLogoff();
    SetMails(1);
    ASSERT_EQ(mapi.MoveFirst(), 1);
    library.Install(kFolder, "MAPILogon");
    EXPECT_EQ(mapi.LoadMapiLibrary(kFolder), 0);
    EXPECT_EQ(library.calls, (Lines{"logon", "find -", "read 0x00000001", "free 0x00000001"}));
}

// The library finds the first of two equal ids as the seed, so what lies behind the second one is
// out of reach.
TEST_F(MapiTest, ASeekEndsWhateverTheIdsAre) {
    SetMails(7);
    for (const std::string ids :
         {"1134567", "1214567", "1234517", "1234467", "1233567", "1234267"}) {
        library.idBehind = [&](const std::string& seed) {
            const auto at = seed.empty() ? 0 : ids.find(seed.back()) + 1;
            return at < ids.size() ? "0x0000000" + ids.substr(at, 1) : "";
        };
        ASSERT_EQ(mapi.MoveFirst(), 1);
        for (const std::string target : {"7", "1", "12", "7"}) {
            library.calls.clear();
            EXPECT_EQ(mapi.GoToEmail(("0x0000000" + target).c_str()), target == "1" ? 1 : 0)
                << ids << target;
            EXPECT_LE(library.Count("find"), 40U);
        }
    }
    const std::string longest(mapi::kMessageIdSize - 1, 'x');
    library.idBehind = [&](auto&) { return longest + 'x'; };
    EXPECT_EQ(mapi.MoveFirst(), -1) << "there is no such mail";
    EXPECT_EQ(mapi.MsgID(), longest);
    mapi.SetMsgID((longest + "yy").c_str());
    EXPECT_EQ(mapi.MsgID(), longest) << "cut";
}

TEST_F(MapiTest, GivesTheTextsThatAreThere) {
    const struct {
        const char *originator, *subject;
        std::vector<std::pair<std::uint32_t, const char*>> recipients;
        const char* texts;
    } rows[] = {
        {"A <b@c>", "s", {{1, "a@b"}, {2, "c@d"}, {1, "SMTP:e@f"}}, "b@c|a@b; e@f|c@d|-|s|"},
        {"a", "", {{3, "xSMTP:a"}, {3, "smtp:b"}}, "a|-|-|xSMTP:a; smtp:b||"},
        {"<<b>a", nullptr, {{1, "SMTP:"}, {1, "a"}}, "b|; a|-|-|-|"},
        {"a<>>b>c", nullptr, {{1, nullptr}, {1, "a"}, {1, nullptr}}, "b|a|-|-|-|"},
        {"a>b<", nullptr, {{0, "a"}, {4, "b"}}, "a|-|-|-|-|"},
        {"<>", nullptr, {}, "-|-|-|-|-|"},
        {nullptr, nullptr, {}, "-|-|-|-|-|"}};
    EXPECT_EQ(mapi.MailText(MailField::kSubject), std::nullopt);
    for (const auto& row : rows) {
        const auto text = [](const char* from) { return const_cast<char*>(from); };
        MapiRecipDesc originator{0, 0, text(row.originator), nullptr, 0, nullptr};
        std::vector<MapiRecipDesc> recipients;
        for (const auto& [kind, address] : row.recipients) {
            recipients.push_back({0, kind, nullptr, text(address), 0, nullptr});
        }
        MapiMessage message{};
        message.lpszSubject = text(row.subject);
        message.lpOriginator = &originator;
        message.nRecipCount = static_cast<std::uint32_t>(recipients.size());
        message.lpRecips = recipients.data();
        ASSERT_EQ(mapi.UpdateMail(&message), 1);
        std::string texts;
        for (const auto field : {MailField::kFrom, MailField::kTo, MailField::kCc, MailField::kBcc,
                                 MailField::kSubject}) {
            texts += mapi.MailText(field).value_or("-") + '|';
        }
        EXPECT_EQ(texts, row.texts);
    }
}

}  // namespace
