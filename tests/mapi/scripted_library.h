#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <list>
#include <map>
#include <string>
#include <vector>

#include "mapi/entry_points.h"
#include "mapi/records.h"
#include "platform/testing/test_system.h"

// A mail as a test says it. A null text is left out of the record.
struct ScriptedMail {
    struct Recipient {
        std::uint32_t kind;
        const char* address;
    };
    std::string id;
    const char* originator = nullptr;
    const char* subject = nullptr;
    const char* date = nullptr;
    const char* note = nullptr;
    std::uint32_t flags = 0;
    std::vector<Recipient> recipients = {};
    int files = 0;  // each read makes that many new temporary files
};

// A Simple MAPI library that does what a test says: it walks and reads a mailbox, counts what it is
// asked and told, and fails where it is told to. One at a time, since its functions are plain ones.
class ScriptedLibrary {
  public:
    static constexpr mapi::Session kSession = 42;

    // Puts the library into C:\Eudora of the machine.
    explicit ScriptedLibrary(platform::testing::TestSystem& machine);
    ~ScriptedLibrary();
    ScriptedLibrary(const ScriptedLibrary&) = delete;
    ScriptedLibrary& operator=(const ScriptedLibrary&) = delete;

    std::vector<ScriptedMail> mailbox;
    // What the coming calls of an entry point give, in order; 0 is a call that works, as do all
    // calls after the last one.
    std::map<mapi::Entry, std::deque<std::uint32_t>> results;
    bool endsIds = true;  // else it fills the whole room of an id with "x"
    std::function<void(const MapiMessage&)> onSend;

    // The calls as words: "logon", "find -" (the first), "find ID", "read ID", "send SUBJECT",
    // "delete ID", "free ID", "logoff"; with " ?" behind them if an argument is not as agreed.
    std::vector<std::string> calls;
    std::size_t Count(const std::string& word) const;  // of the calls that begin with it

    // The records that were read and not freed, and how often something else was freed.
    std::size_t LiveRecords() const { return m_records.size(); }
    int BadFrees() const { return m_badFrees; }

    std::uint32_t Logon(mapi::Session* session);
    void Note(const std::string& word, bool asAgreed);
    std::uint32_t Find(const char* seed, char* id);
    std::uint32_t Read(const char* id, MapiMessage** message);
    std::uint32_t Free(void* buffer);
    std::uint32_t Result(mapi::Entry entry);

  private:
    struct Record {
        std::string id;
        std::list<std::string> texts;
        MapiRecipDesc originator{};
        std::vector<MapiRecipDesc> recipients;
        std::vector<MapiFileDesc> files;
        MapiMessage message{};
    };
    std::size_t IndexOf(const char* id) const;  // the size of the mailbox if it is not there
    void Fill(Record& record, const ScriptedMail& mail);
    void AddFiles(Record& record, int count);

    platform::testing::TestSystem& m_machine;
    std::list<Record> m_records;
    int m_badFrees = 0;
    int m_filesMade = 0;
};
