#include "tests/mapi/scripted_library.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

using mapi::Code, mapi::Entry, mapi::Flags, mapi::Reserved, mapi::Session, mapi::Window;

namespace {

ScriptedLibrary* g_library = nullptr;

ScriptedLibrary& Told(bool isAsAgreed) {
    if (!isAsAgreed) ++g_library->badCalls;
    return *g_library;
}

Code KV_LIBRARY_CALL Logon(Window window, const char* profile, const char* password, Flags flags,
                           Reserved reserved, Session* session) {
    return Told((window | reserved) == 0 && profile == password && profile == nullptr && flags == 3)
        .Logon(session);
}

Code KV_LIBRARY_CALL Logoff(Session session, Window window, Flags flags, Reserved reserved) {
    return Told((window | flags | reserved) == 0).Logoff(session);
}

Code KV_LIBRARY_CALL SendMail(Session session, Window window, MapiMessage* message, Flags flags,
                              Reserved reserved) {
    return Told((window | flags | reserved) == 0).SendMail(session, message);
}

Code KV_LIBRARY_CALL FindNext(Session session, Window window, const char* type, const char* seed,
                              Flags flags, Reserved reserved, char* id) {
    return Told((window | reserved) == 0 && type == nullptr && id != seed &&
                flags == ScriptedLibrary::kFindFlags)
        .FindNext(session, seed, id);
}

Code KV_LIBRARY_CALL ReadMail(Session session, Window window, const char* id, Flags flags,
                              Reserved reserved, MapiMessage** message) {
    return Told((window | reserved) == 0 && flags == ScriptedLibrary::kReadFlags)
        .ReadMail(session, id, message);
}

Code KV_LIBRARY_CALL DeleteMail(Session session, Window window, const char* id, Flags flags,
                                Reserved reserved) {
    return Told((window | flags | reserved) == 0).DeleteMail(session, id);
}

Code KV_LIBRARY_CALL FreeBuffer(void* buffer) {
    return g_library->FreeBuffer(buffer);
}

// Stands for the entry points that nobody may call.
void NeverCalled() {
    std::abort();
}

}  // namespace

ScriptedLibrary::ScriptedLibrary(platform::testing::TestSystem& machine, const std::string& folder)
    : m_machine(machine) {
    g_library = this;
    Install(folder);
    (void)machine.registry.WriteText(platform::RegistryRoot::kLocalMachine,
                                     "SOFTWARE\\Microsoft\\Windows Messaging Subsystem", "MAPI",
                                     "1");
}

ScriptedLibrary::~ScriptedLibrary() {
    g_library = nullptr;
}

void ScriptedLibrary::Install(const std::string& folder, const char* missing) {
    std::map<std::string, void*> symbols;
    for (const char* name : mapi::kEntryNames) {
        symbols[name] = reinterpret_cast<void*>(&NeverCalled);
    }
    symbols["MAPILogon"] = reinterpret_cast<void*>(&::Logon);
    symbols["MAPILogoff"] = reinterpret_cast<void*>(&::Logoff);
    symbols["MAPISendMail"] = reinterpret_cast<void*>(&::SendMail);
    symbols["MAPIFindNext"] = reinterpret_cast<void*>(&::FindNext);
    symbols["MAPIReadMail"] = reinterpret_cast<void*>(&::ReadMail);
    symbols["MAPIDeleteMail"] = reinterpret_cast<void*>(&::DeleteMail);
    symbols["MAPIFreeBuffer"] = reinterpret_cast<void*>(&::FreeBuffer);
    if (missing != nullptr) symbols.erase(missing);
    m_machine.libraries.AddLibrary(folder + "\\EUMAPI32.DLL", symbols);
}

std::size_t ScriptedLibrary::Count(const std::string& word) const {
    return static_cast<std::size_t>(
        std::count_if(calls.begin(), calls.end(),
                      [&](const std::string& call) { return call.starts_with(word); }));
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
    const char* subject = message->lpszSubject;
    const auto result =
        Note(session, Entry::kSendMail, std::string("send ") + (subject != nullptr ? subject : ""));
    if (onSend) onSend(*message);
    return result;
}

Code ScriptedLibrary::DeleteMail(Session session, const char* id) {
    return Note(session, Entry::kDeleteMail, std::string("delete ") + id);
}

std::size_t ScriptedLibrary::IndexOf(const std::string& id) {
    const auto find = [&] {
        const auto at = m_places.find(id);
        const bool isThere =
            at != m_places.end() && at->second < mailbox.size() && mailbox[at->second].id == id;
        return isThere ? at->second : mailbox.size();
    };
    if (find() == mailbox.size()) {
        m_places.clear();
        for (std::size_t i = 0; i < mailbox.size(); ++i) m_places.emplace(mailbox[i].id, i);
    }
    return find();
}

Code ScriptedLibrary::FindNext(Session session, const char* seed, char* id) {
    const std::string word = std::string("find ") + (seed != nullptr ? seed : "-");
    if (const auto result = Note(session, Entry::kFindNext, word)) return result;
    if (!endsIds) {
        std::memset(id, 'x', mapi::kMessageIdSize);
        return mapi::kSuccess;
    }
    std::size_t index = 0;
    if (seed != nullptr) {
        index = IndexOf(seed);
        if (index == mailbox.size()) return mapi::kInvalidMessage;
        ++index;
    }
    if (index >= mailbox.size()) return mapi::kNoMessages;
    std::strcpy(id, mailbox[index].id.c_str());
    return mapi::kSuccess;
}

Code ScriptedLibrary::ReadMail(Session session, const char* id, MapiMessage** message) {
    if (const auto result = Note(session, Entry::kReadMail, std::string("read ") + id)) {
        // What the library leaves here after a failure means nothing.
        *message = reinterpret_cast<MapiMessage*>(this);
        return result;
    }
    const std::size_t index = IndexOf(id);
    if (index == mailbox.size()) return mapi::kInvalidMessage;
    m_records.emplace_back().mail = mailbox[index];
    Fill(m_records.back());
    *message = &m_records.back().message;
    return mapi::kSuccess;
}

void ScriptedLibrary::Fill(Record& record) {
    const auto text = [](ScriptedMail::Text& from) { return from ? from->data() : nullptr; };
    ScriptedMail& mail = record.mail;
    for (int i = 0; i < mail.tempFiles; ++i) {
        mail.files.push_back({"C:\\temp\\" + std::to_string(++m_filesMade) + ".tmp", {}});
        m_machine.files.Put(*mail.files.back().path, "x");
    }
    MapiMessage& message = record.message;
    message.lpszSubject = text(mail.subject);
    message.lpszDateReceived = text(mail.date);
    message.lpszNoteText = text(mail.note);
    message.flFlags = mail.flags;
    record.originator.lpszName = text(mail.originator);
    message.lpOriginator = &record.originator;
    for (auto& one : mail.recipients) {
        record.recipients.push_back({0, one.kind, nullptr, text(one.address), 0, nullptr});
    }
    for (auto& one : mail.files) {
        record.files.push_back({0, one.flags, 0, text(one.path), text(one.name), nullptr});
    }
    message.lpRecips = record.recipients.data();
    message.nRecipCount = static_cast<std::uint32_t>(record.recipients.size());
    message.lpFiles = record.files.data();
    message.nFileCount = static_cast<std::uint32_t>(record.files.size());
}

Code ScriptedLibrary::FreeBuffer(void* buffer) {
    const auto found = std::find_if(m_records.begin(), m_records.end(), [&](const Record& record) {
        return &record.message == buffer;
    });
    if (found == m_records.end()) {
        ++badCalls;
        return mapi::kFailure;
    }
    calls.push_back("free " + found->mail.id);
    m_records.erase(found);
    return mapi::kSuccess;
}
