#pragma once

#include <deque>
#include <functional>
#include <list>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "mapi/entry_points.h"
#include "mapi/records.h"
#include "platform/testing/test_system.h"

// A mail as a test says it. What has no value is a null pointer in the record.
struct ScriptedMail {
    using Text = std::optional<std::string>;
    struct Recipient {
        std::uint32_t kind;
        Text address;
    };
    struct File {
        Text path, name;
        std::uint32_t flags = 0;
    };
    std::string id = {};
    Text originator = {}, subject = {}, date = {}, note = {};
    std::uint32_t flags = 0;
    std::vector<Recipient> recipients = {};
    std::vector<File> files = {};
    int tempFiles = 0;  // each read makes that many new temporary files
};

// A Simple MAPI library of a machine in memory, as the EUMAPI32.DLL of a folder. It does what a
// test says: it walks and reads a mailbox, counts what it is asked and told, and fails where it is
// told to; a derived class may answer otherwise. One at a time, since its functions are plain ones.
class ScriptedLibrary {
  public:
    static constexpr mapi::Session kSession = 42;
    static constexpr mapi::Flags kFindFlags = 0x4100, kReadFlags = 0x80;

    ScriptedLibrary(platform::testing::TestSystem& machine, const std::string& folder);
    virtual ~ScriptedLibrary() = default;
    ScriptedLibrary(const ScriptedLibrary&) = delete;
    ScriptedLibrary& operator=(const ScriptedLibrary&) = delete;

    // Puts the library into a folder, in place of one that is there: all its functions but one.
    void Install(const std::string& folder, const char* missing = nullptr);

    std::vector<ScriptedMail> mailbox;
    // What the coming calls of an entry point give, in order; 0 is a call that works, as do all
    // calls after the last one.
    std::map<mapi::Entry, std::deque<mapi::Code>> results;
    std::function<void(const MapiMessage&)> onSend = [](auto&) {};

    // The calls as words: "logon", "find -" (the first), "find ID", "read ID", "send SUBJECT",
    // "delete ID", "free ID", "logoff".
    std::vector<std::string> calls;
    std::size_t Count(const std::string& word) const;  // of the calls that begin with it
    // The calls with another argument than the agreed one where there is only one.
    int badCalls = 0;

    // The records that were read and not freed; what else is freed counts as a bad call.
    std::size_t LiveRecords() const { return m_records.size(); }

    virtual mapi::Code Logon(mapi::Session* session);
    virtual mapi::Code Logoff(mapi::Session session);
    virtual mapi::Code FindNext(mapi::Session session, const char* seed, char* id);
    virtual mapi::Code ReadMail(mapi::Session session, const char* id, MapiMessage** message);
    virtual mapi::Code SendMail(mapi::Session session, MapiMessage* message);
    virtual mapi::Code DeleteMail(mapi::Session session, const char* id);
    virtual mapi::Code FreeBuffer(void* buffer);

  private:
    struct Record {
        ScriptedMail mail;
        MapiRecipDesc originator{};
        std::vector<MapiRecipDesc> recipients;
        std::vector<MapiFileDesc> files;
        MapiMessage message{};
    };
    mapi::Code Note(mapi::Session session, mapi::Entry entry, const std::string& word);
    std::size_t IndexOf(const std::string& id);  // of the first; the mailbox's size for none

    platform::testing::TestSystem& m_machine;
    std::list<Record> m_records;
    std::unordered_map<std::string, std::size_t> m_places;  // by id, as they once were
    int m_filesMade = 0;
};
