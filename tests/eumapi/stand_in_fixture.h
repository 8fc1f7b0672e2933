#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "eumapi/simple_mapi.h"
#include "integration/locate/locate.h"
#include "mailbox/toc_records.h"
#include "platform/testing/test_system.h"
#include "tests/mailstore/mailbox_builder.h"
#include "tests/tools/mailbox_check.h"

inline constexpr const char* kEudora = "C:\\Eudora";
inline constexpr const char* kInToc = "C:\\Eudora\\In.toc";
inline constexpr std::uint32_t kFindFlags = mapi::kGuaranteeFifo | mapi::kLongMessageId;

inline std::string Mail(const std::string& subject, const std::string& body = "text\r\n") {
    return "From ???@??"
           "? Wed Jan 02 02:03:55 1980\r\nTo: b@c.d\r\nFrom: a@b.c\r\nSubject: " +
           subject + "\r\n\r\n" + body;
}

// A machine in memory with Eudora's folder and a session on its in-box.
class StandInTest : public ::testing::Test {
  protected:
    StandInTest() {
        machine.files.MakeFolders("C:\\Eudora\\Attach");
        machine.files.MakeFolders("C:\\temp");
        EXPECT_TRUE(machine.registry.WriteText(platform::RegistryRoot::kLocalMachine,
                                               locate::kAppPathsKey, "Path", kEudora));
        EXPECT_EQ(library.Logon(&session), mapi::kSuccess);
    }

    // The id behind that one, or "=" and the code.
    std::string Next(const std::string& seed, std::uint32_t flags = kFindFlags) {
        char id[mapi::kMessageIdSize] = {};
        const auto result = library.FindNext(session, "IPM.Note", seed.c_str(), flags, id);
        return result == 0 ? id : "=" + std::to_string(result);
    }
    std::string Walk(std::uint32_t flags = kFindFlags) {
        std::string all, id;
        while ((id = Next(id, flags))[0] != '=') all += std::to_string(mailbox::MsgIdOf(id)) + ' ';
        return all + id;
    }
    // Reads a mail; null with `code`. The message is freed with the fixture's library.
    MapiMessage* Read(std::uint32_t id, std::uint32_t flags = mapi::kPeek) {
        MapiMessage* message = nullptr;
        code = library.ReadMail(session, mailbox::IndexIdOf(id).c_str(), flags, &message);
        return message;
    }
    MapiMessage* ReadOnly(const std::string& mail, std::uint32_t flags = mapi::kPeek) {
        MailboxBuilder().Mail(1, mail).Put(machine.files, kEudora);
        return Read(1, flags);
    }
    std::uint32_t Delete(std::uint32_t id) {
        return library.DeleteMail(session, mailbox::IndexIdOf(id).c_str());
    }
    // Ends the session, with its code, and begins another one.
    std::uint32_t EndSession() {
        const auto ended = library.Logoff(session);
        EXPECT_EQ(library.Logon(&session), mapi::kSuccess);
        return ended;
    }

    std::string FileText(const std::string& path) const {
        return machine.files.Get(path).value_or("no file");
    }
    // But for the mark that a session holds.
    std::vector<std::string> FilesIn(const std::string& folder) const {
        auto names = machine.files.AllFiles();
        std::erase_if(names, [&](auto& path) {
            return !path.starts_with(folder) || path.ends_with(".lock");
        });
        return names;
    }
    // The texts of a mailbox's mails, each with "|" behind it, as the independent reader has them.
    std::string Contents(const std::string& mailbox) const {
        const std::string base = std::string(kEudora) + '\\' + mailbox;
        const auto toc = machine.files.Get(base + ".toc");
        if (!toc) return {};
        std::string texts;
        for (const auto& mail : mailbox_check::Check(FileText(base + ".mbx"), *toc, {}).mails) {
            texts += mail.text + '|';
        }
        return texts;
    }

    platform::testing::TestSystem machine;
    eumapi::SimpleMapi library{machine.system};
    mapi::Session session = 0;
    std::uint32_t code = 0;
};
