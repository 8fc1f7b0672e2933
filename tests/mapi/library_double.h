#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <deque>
#include <functional>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "eumapi/simple_mapi.h"
#include "integration/locate/locate.h"
#include "mapi/entry_points.h"
#include "platform/testing/test_system.h"

// A Simple MAPI library of a machine in memory, as the EUMAPI32.DLL of Eudora's folder: our own one
// over the files of that folder, which also notes what it is asked and told, and fails where a test
// says so. One at a time, since its functions are plain ones.
class LibraryDouble {
  public:
    static constexpr mapi::Flags kFindFlags = 0x4100, kReadFlags = 0x80;

    LibraryDouble(platform::testing::TestSystem& machine, const std::string& folder)
        : m_machine(machine), m_mapi(machine.system) {
        s_library = this;
        for (const auto& made : {folder + "\\Attach", std::string("C:\\temp")}) {
            machine.files.MakeFolders(made);
        }
        Enter(locate::kAppPathsKey, "Path", folder);
        Enter("SOFTWARE\\Microsoft\\Windows Messaging Subsystem", "MAPI", "1");
        Install(folder);
    }
    ~LibraryDouble() {
        EXPECT_EQ(m_badCalls, 0);
        EXPECT_EQ(LiveRecords(), 0U);
    }
    LibraryDouble(const LibraryDouble&) = delete;
    LibraryDouble& operator=(const LibraryDouble&) = delete;

    // Puts the library into a folder, in place of one that is there: all its functions but one.
    void Install(const std::string& folder, const char* missing = "") {
        using Self = LibraryDouble;
        std::map<std::string, void*> symbols{
            {"MAPILogon", Plain<&Self::Logon, 3, mapi::LogonFn, 5>::Address()},
            {"MAPILogoff", Plain<&Self::Logoff, 0, mapi::LogoffFn, 0>::Address()},
            {"MAPISendMail", Plain<&Self::SendMail, 0, mapi::SendMailFn, 0, 2>::Address()},
            {"MAPIFindNext",
             Plain<&Self::FindNext, kFindFlags, mapi::FindNextFn, 0, 3, 6>::Address()},
            {"MAPIReadMail",
             Plain<&Self::ReadMail, kReadFlags, mapi::ReadMailFn, 0, 2, 5>::Address()},
            {"MAPIDeleteMail", Plain<&Self::DeleteMail, 0, mapi::DeleteMailFn, 0, 2>::Address()},
            {"MAPIFreeBuffer", Plain<&Self::FreeBuffer, 0, mapi::FreeBufferFn, 0>::Address()}};
        // The others are there, and nobody may call them.
        void (*const never)() = [] { std::abort(); };
        for (const char* name : mapi::kEntryNames) {
            symbols.try_emplace(name, reinterpret_cast<void*>(never));
        }
        symbols.erase(missing);
        m_machine.libraries.AddLibrary(folder + "\\EUMAPI32.DLL", symbols);
    }

    // What the coming calls of an entry point give, in order; 0 is a call that works, as do all
    // calls after the last one.
    std::map<mapi::Entry, std::deque<mapi::Code>> results;
    std::function<void(const MapiMessage&)> onSend = [](auto&) {};
    bool isWriting = true;  // else sending and deleting change nothing
    // A walk of a test's own: the id behind one, of any length; the first one behind "".
    std::function<std::string(const std::string&)> idBehind;

    // The calls as words: "logon", "find -" (the first), "find ID", "read ID", "send SUBJECT",
    // "delete ID", "free ID", "logoff".
    std::vector<std::string> calls;
    // How many of them begin with the word.
    std::size_t Count(const std::string& word) const {
        return static_cast<std::size_t>(
            std::ranges::count_if(calls, [&](auto& call) { return call.starts_with(word); }));
    }
    // The records that were read and not freed.
    std::size_t LiveRecords() const { return m_live.size(); }

  private:
    using Code = mapi::Code;
    using Session = mapi::Session;

    // What a caller of the library calls: passes those arguments on. The others are agreed to be
    // null and zero, but for the flags; all else is a bad call.
    template <auto Operation, mapi::Flags kFlags, class Published, std::size_t... kPassed>
    struct Plain;
    template <auto Operation, mapi::Flags kFlags, class... Arguments, std::size_t... kPassed>
    struct Plain<Operation, kFlags, Code(KV_LIBRARY_CALL*)(Arguments...), kPassed...> {
        static Code KV_LIBRARY_CALL Function(Arguments... arguments) {
            const std::tuple all(arguments...);
            const auto sum = [](auto... each) { return (std::uintptr_t(each) + ...); };
            if (sum(arguments...) - sum(std::get<kPassed>(all)...) != kFlags) {
                ++s_library->m_badCalls;
            }
            return (s_library->*Operation)(std::get<kPassed>(all)...);
        }
        static void* Address() { return reinterpret_cast<void*>(&Function); }
    };

    void Enter(const char* key, const char* value, const std::string& text) {
        EXPECT_TRUE(
            m_machine.registry.WriteText(platform::RegistryRoot::kLocalMachine, key, value, text));
    }
    template <class Call>
    Code Answer(mapi::Entry entry, const std::string& word, const Call& call) {
        calls.push_back(word);
        auto& coming = results[entry];
        const Code result = coming.empty() ? mapi::kSuccess : coming.front();
        if (!coming.empty()) coming.pop_front();
        return result != mapi::kSuccess ? result : call();
    }

    Code Logon(Session* session) {
        *session = 42;  // which means nothing after a failure
        return Answer(mapi::Entry::kLogon, "logon", [&] { return m_mapi.Logon(session); });
    }
    Code Logoff(Session session) {
        return Answer(mapi::Entry::kLogoff, "logoff", [&] { return m_mapi.Logoff(session); });
    }
    Code SendMail(Session session, const MapiMessage* message) {
        const char* subject = message->lpszSubject;
        onSend(*message);
        return Answer(mapi::Entry::kSendMail, std::string("send ") + (subject ? subject : ""), [&] {
            return isWriting ? m_mapi.SendMail(session, message, 0) : mapi::kSuccess;
        });
    }
    // At once, as Eudora's own library does it.
    Code DeleteMail(Session, const char* id) {
        return Answer(mapi::Entry::kDeleteMail, std::string("delete ") + id, [&] {
            Session own = 0;
            Code code = isWriting ? m_mapi.Logon(&own) : mapi::kSuccess;
            if (own == 0) return code;
            code = m_mapi.DeleteMail(own, id);
            const Code moved = m_mapi.Logoff(own);
            return code != mapi::kSuccess ? code : moved;
        });
    }
    Code FindNext(Session session, const char* seed, char* id) {
        if (seed == id) ++m_badCalls;
        return Answer(mapi::Entry::kFindNext, std::string("find ") + (seed ? seed : "-"), [&] {
            if (!idBehind) return m_mapi.FindNext(session, nullptr, seed, kFindFlags, id);
            const std::string next = idBehind(seed ? seed : "");
            // One that is longer than the room for it fills that.
            if (next.copy(id, mapi::kMessageIdSize) < mapi::kMessageIdSize) id[next.size()] = '\0';
            return next.empty() ? mapi::kNoMessages : mapi::kSuccess;
        });
    }
    Code ReadMail(Session session, const char* id, MapiMessage** message) {
        // What the library leaves here after a failure means nothing.
        *message = reinterpret_cast<MapiMessage*>(this);
        return Answer(mapi::Entry::kReadMail, std::string("read ") + id, [&] {
            const Code code = m_mapi.ReadMail(session, id, kReadFlags, message);
            if (code == mapi::kSuccess) m_live[*message] = id;
            return code;
        });
    }
    Code FreeBuffer(void* buffer) {
        const auto found = m_live.extract(buffer);
        if (!found) ++m_badCalls;
        calls.push_back("free " + (found ? found.mapped() : "what is not there"));
        return m_mapi.FreeBuffer(buffer);
    }

    inline static LibraryDouble* s_library = nullptr;
    platform::testing::TestSystem& m_machine;
    eumapi::SimpleMapi m_mapi;
    std::map<void*, std::string> m_live;
    int m_badCalls = 0;
};
