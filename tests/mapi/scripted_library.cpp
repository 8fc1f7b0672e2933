#include "tests/mapi/scripted_library.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <tuple>

using mapi::Code, mapi::Entry, mapi::Session;

namespace {

ScriptedLibrary* g_library = nullptr;

// What a caller of the library calls: passes those arguments on. The others are agreed to be null
// and zero, but for the flags.
template <auto Operation, mapi::Flags kFlags, class Published, std::size_t... kPassed>
struct Plain;

template <auto Operation, mapi::Flags kFlags, class... Arguments, std::size_t... kPassed>
struct Plain<Operation, kFlags, Code(KV_LIBRARY_CALL*)(Arguments...), kPassed...> {
    static Code KV_LIBRARY_CALL Function(Arguments... arguments) {
        const std::tuple all(arguments...);
        const auto sum = [](auto... each) { return (std::uintptr_t(each) + ...); };
        if (sum(arguments...) - sum(std::get<kPassed>(all)...) != kFlags) ++g_library->badCalls;
        return (g_library->*Operation)(std::get<kPassed>(all)...);
    }
    static void* Address() { return reinterpret_cast<void*>(&Function); }
};

}  // namespace

ScriptedLibrary::ScriptedLibrary(platform::testing::TestSystem& machine, const std::string& folder)
    : m_machine(machine) {
    g_library = this;
    Install(folder);
    (void)machine.registry.WriteText(platform::RegistryRoot::kLocalMachine,
                                     "SOFTWARE\\Microsoft\\Windows Messaging Subsystem", "MAPI",
                                     "1");
}

void ScriptedLibrary::Install(const std::string& folder, const char* missing) {
    using Self = ScriptedLibrary;
    std::map<std::string, void*> symbols{
        {"MAPILogon", Plain<&Self::Logon, 3, mapi::LogonFn, 5>::Address()},
        {"MAPILogoff", Plain<&Self::Logoff, 0, mapi::LogoffFn, 0>::Address()},
        {"MAPISendMail", Plain<&Self::SendMail, 0, mapi::SendMailFn, 0, 2>::Address()},
        {"MAPIFindNext", Plain<&Self::FindNext, kFindFlags, mapi::FindNextFn, 0, 3, 6>::Address()},
        {"MAPIReadMail", Plain<&Self::ReadMail, kReadFlags, mapi::ReadMailFn, 0, 2, 5>::Address()},
        {"MAPIDeleteMail", Plain<&Self::DeleteMail, 0, mapi::DeleteMailFn, 0, 2>::Address()},
        {"MAPIFreeBuffer", Plain<&Self::FreeBuffer, 0, mapi::FreeBufferFn, 0>::Address()}};
    // The others are there, and nobody may call them.
    void (*const never)() = [] { std::abort(); };
    for (const char* name : mapi::kEntryNames) {
        symbols.try_emplace(name, reinterpret_cast<void*>(never));
    }
    if (missing != nullptr) symbols.erase(missing);
    m_machine.libraries.AddLibrary(folder + "\\EUMAPI32.DLL", symbols);
}

std::size_t ScriptedLibrary::Count(const std::string& word) const {
    return static_cast<std::size_t>(
        std::ranges::count_if(calls, [&](auto& call) { return call.starts_with(word); }));
}

Code ScriptedLibrary::Note(Session session, Entry entry, const std::string& word) {
    if (session != kSession) ++badCalls;
    calls.push_back(word);
    auto& coming = results[entry];
    if (coming.empty()) return mapi::kSuccess;
    const Code result = coming.front();
    coming.pop_front();
    return result;
}

Code ScriptedLibrary::Logon(Session* session) {
    *session = kSession;
    return Note(kSession, Entry::kLogon, "logon");
}

Code ScriptedLibrary::Logoff(Session session) {
    return Note(session, Entry::kLogoff, "logoff");
}

Code ScriptedLibrary::SendMail(Session session, MapiMessage* message) {
    const std::string subject = message->lpszSubject != nullptr ? message->lpszSubject : "";
    onSend(*message);
    return Note(session, Entry::kSendMail, "send " + subject);
}

Code ScriptedLibrary::DeleteMail(Session session, const char* id) {
    return Note(session, Entry::kDeleteMail, std::string("delete ") + id);
}

std::size_t ScriptedLibrary::IndexOf(const std::string& id) {
    auto at = m_places.find(id);
    if (at == m_places.end() || at->second >= mailbox.size() || mailbox[at->second].id != id) {
        m_places.clear();
        for (std::size_t i = 0; i < mailbox.size(); ++i) m_places.emplace(mailbox[i].id, i);
        at = m_places.find(id);
    }
    return at != m_places.end() ? at->second : mailbox.size();
}

Code ScriptedLibrary::FindNext(Session session, const char* seed, char* id) {
    if (seed == id) ++badCalls;
    const std::string word = std::string("find ") + (seed != nullptr ? seed : "-");
    if (const auto result = Note(session, Entry::kFindNext, word)) return result;
    const std::size_t index = seed != nullptr ? IndexOf(seed) + 1 : 0;
    if (index > mailbox.size()) return mapi::kInvalidMessage;
    if (index == mailbox.size()) return mapi::kNoMessages;
    // One that is longer than the room for it fills that.
    const auto& found = mailbox[index].id;
    if (found.copy(id, mapi::kMessageIdSize) < mapi::kMessageIdSize) id[found.size()] = '\0';
    return mapi::kSuccess;
}

Code ScriptedLibrary::ReadMail(Session session, const char* id, MapiMessage** message) {
    // What the library leaves here after a failure means nothing.
    *message = reinterpret_cast<MapiMessage*>(this);
    if (const auto result = Note(session, Entry::kReadMail, std::string("read ") + id)) {
        return result;
    }
    const std::size_t index = IndexOf(id);
    if (index == mailbox.size()) return mapi::kInvalidMessage;
    Record& record = m_records.emplace_back();
    ScriptedMail& mail = record.mail = mailbox[index];
    for (int i = 0; i < mail.tempFiles; ++i) {
        mail.files.push_back({"C:\\temp\\" + std::to_string(++m_filesMade) + ".tmp", {}});
        m_machine.files.Put(*mail.files.back().path, "x");
    }
    const auto text = [](ScriptedMail::Text& from) { return from ? from->data() : nullptr; };
    record.originator.lpszName = text(mail.originator);
    for (auto& one : mail.recipients) {
        record.recipients.push_back({0, one.kind, nullptr, text(one.address), 0, nullptr});
    }
    for (auto& one : mail.files) {
        record.files.push_back({0, one.flags, 0, text(one.path), text(one.name), nullptr});
    }
    const auto count = [](const auto& all) { return static_cast<std::uint32_t>(all.size()); };
    record.message = {0,
                      text(mail.subject),
                      text(mail.note),
                      nullptr,
                      text(mail.date),
                      nullptr,
                      mail.flags,
                      &record.originator,
                      count(record.recipients),
                      record.recipients.data(),
                      count(record.files),
                      record.files.data()};
    *message = &record.message;
    return mapi::kSuccess;
}

Code ScriptedLibrary::FreeBuffer(void* buffer) {
    const auto found = std::ranges::find(m_records, buffer,
                                         [](Record& record) -> void* { return &record.message; });
    if (found == m_records.end()) {
        ++badCalls;
        return mapi::kFailure;
    }
    calls.push_back("free " + found->mail.id);
    m_records.erase(found);
    return mapi::kSuccess;
}
