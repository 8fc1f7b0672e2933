#pragma once

#include <deque>
#include <functional>
#include <list>
#include <map>
#include <optional>
#include <unordered_map>
#include <vector>

#include "tests/mapi/library_double.h"

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

// A Simple MAPI library that does what a test says: it walks and reads a mailbox, counts what it is
// asked and told, and fails where it is told to.
class ScriptedLibrary : public LibraryDouble {
  public:
    static constexpr mapi::Session kSession = 42;

    using LibraryDouble::LibraryDouble;

    std::vector<ScriptedMail> mailbox;
    // What the coming calls of an entry point give, in order; 0 is a call that works, as do all
    // calls after the last one.
    std::map<mapi::Entry, std::deque<std::uint32_t>> results;
    bool endsIds = true;  // else it fills the whole room of an id with "x"
    std::function<void(const MapiMessage&)> onSend;

    // The calls as words: "logon", "find -" (the first), "find ID", "read ID", "send SUBJECT",
    // "delete ID", "free ID", "logoff"; calls without the session count as bad ones.
    std::vector<std::string> calls;
    std::size_t Count(const std::string& word) const;  // of the calls that begin with it

    // The records that were read and not freed; what else is freed counts as a bad call.
    std::size_t LiveRecords() const { return m_records.size(); }

    std::uint32_t Logon(mapi::Session* session) override;
    std::uint32_t Logoff(mapi::Session session) override;
    std::uint32_t FindNext(mapi::Session session, const char* seed, char* id) override;
    std::uint32_t ReadMail(mapi::Session session, const char* id, MapiMessage** message) override;
    std::uint32_t SendMail(mapi::Session session, MapiMessage* message) override;
    std::uint32_t DeleteMail(mapi::Session session, const char* id) override;
    std::uint32_t FreeBuffer(void* buffer) override;

  private:
    struct Record {
        ScriptedMail mail;
        MapiRecipDesc originator{};
        std::vector<MapiRecipDesc> recipients;
        std::vector<MapiFileDesc> files;
        MapiMessage message{};
    };
    std::uint32_t Note(mapi::Session session, mapi::Entry entry, const std::string& word);
    std::size_t IndexOf(
        const std::string& id);  // of the first; the mailbox's size if there is none
    void Fill(Record& record);

    std::list<Record> m_records;
    std::unordered_map<std::string, std::size_t> m_places;  // by id, as they once were
    int m_filesMade = 0;
};
