#include "tests/mapi/scripted_library.h"

#include <algorithm>
#include <cstring>

namespace {

ScriptedLibrary* g_library = nullptr;

std::uint32_t KV_MAPI_CALL Logon(std::uintptr_t window, const char* profile, const char* password,
                                 std::uint32_t flags, std::uint32_t reserved,
                                 mapi::Session* session) {
    g_library->Note("logon", window == 0 && profile == nullptr && password == nullptr &&
                                 flags == 3 && reserved == 0);
    return g_library->Logon(session);
}

std::uint32_t KV_MAPI_CALL Logoff(mapi::Session session, std::uintptr_t window, std::uint32_t flags,
                                  std::uint32_t reserved) {
    g_library->Note("logoff", session == ScriptedLibrary::kSession && window == 0 && flags == 0 &&
                                  reserved == 0);
    return g_library->Result(mapi::Entry::kLogoff);
}

std::uint32_t KV_MAPI_CALL SendMail(mapi::Session session, std::uintptr_t window,
                                    MapiMessage* message, std::uint32_t flags,
                                    std::uint32_t reserved) {
    const char* const subject = message->lpszSubject;
    g_library->Note(
        "send " + std::string(subject != nullptr ? subject : ""),
        session == ScriptedLibrary::kSession && window == 0 && flags == 0 && reserved == 0);
    if (g_library->onSend) g_library->onSend(*message);
    return g_library->Result(mapi::Entry::kSendMail);
}

std::uint32_t KV_MAPI_CALL FindNext(mapi::Session session, std::uintptr_t window, const char* type,
                                    const char* seed, std::uint32_t flags, std::uint32_t reserved,
                                    char* id) {
    g_library->Note("find " + std::string(seed != nullptr ? seed : "-"),
                    session == ScriptedLibrary::kSession && window == 0 && type == nullptr &&
                        flags == 0x4100 && reserved == 0 && id != seed);
    return g_library->Find(seed, id);
}

std::uint32_t KV_MAPI_CALL ReadMail(mapi::Session session, std::uintptr_t window, const char* id,
                                    std::uint32_t flags, std::uint32_t reserved,
                                    MapiMessage** message) {
    g_library->Note("read " + std::string(id), session == ScriptedLibrary::kSession &&
                                                   window == 0 && flags == 0x80 && reserved == 0);
    return g_library->Read(id, message);
}

std::uint32_t KV_MAPI_CALL DeleteMail(mapi::Session session, std::uintptr_t window, const char* id,
                                      std::uint32_t flags, std::uint32_t reserved) {
    g_library->Note("delete " + std::string(id), session == ScriptedLibrary::kSession &&
                                                     window == 0 && flags == 0 && reserved == 0);
    return g_library->Result(mapi::Entry::kDeleteMail);
}

std::uint32_t KV_MAPI_CALL FreeBuffer(void* buffer) {
    return g_library->Free(buffer);
}

// Stands for the entry points that nobody may call.
void NeverCalled() {
    std::abort();
}

}  // namespace

ScriptedLibrary::ScriptedLibrary(platform::testing::TestSystem& machine) : m_machine(machine) {
    g_library = this;
    std::map<std::string, void*> symbols;
    for (const char* name : mapi::kEntryNames)
        symbols[name] = reinterpret_cast<void*>(&NeverCalled);
    symbols["MAPILogon"] = reinterpret_cast<void*>(&::Logon);
    symbols["MAPILogoff"] = reinterpret_cast<void*>(&Logoff);
    symbols["MAPISendMail"] = reinterpret_cast<void*>(&SendMail);
    symbols["MAPIFindNext"] = reinterpret_cast<void*>(&FindNext);
    symbols["MAPIReadMail"] = reinterpret_cast<void*>(&ReadMail);
    symbols["MAPIDeleteMail"] = reinterpret_cast<void*>(&DeleteMail);
    symbols["MAPIFreeBuffer"] = reinterpret_cast<void*>(&FreeBuffer);
    machine.libraries.AddLibrary("C:\\Eudora\\EUMAPI32.DLL", symbols);
    (void)machine.registry.WriteText(platform::RegistryRoot::kLocalMachine,
                                     "SOFTWARE\\Microsoft\\Windows Messaging Subsystem", "MAPI",
                                     "1");
}

ScriptedLibrary::~ScriptedLibrary() {
    g_library = nullptr;
}

std::size_t ScriptedLibrary::Count(const std::string& word) const {
    return static_cast<std::size_t>(
        std::count_if(calls.begin(), calls.end(),
                      [&](const std::string& call) { return call.starts_with(word); }));
}

void ScriptedLibrary::Note(const std::string& word, bool asAgreed) {
    calls.push_back(asAgreed ? word : word + " ?");
}

std::uint32_t ScriptedLibrary::Result(mapi::Entry entry) {
    auto& coming = results[entry];
    if (coming.empty()) return mapi::kSuccess;
    const std::uint32_t result = coming.front();
    coming.pop_front();
    return result;
}

std::uint32_t ScriptedLibrary::Logon(mapi::Session* session) {
    *session = kSession;
    return Result(mapi::Entry::kLogon);
}

std::size_t ScriptedLibrary::IndexOf(const char* id) const {
    const auto found = std::find_if(mailbox.begin(), mailbox.end(),
                                    [&](const ScriptedMail& mail) { return mail.id == id; });
    return static_cast<std::size_t>(found - mailbox.begin());
}

std::uint32_t ScriptedLibrary::Find(const char* seed, char* id) {
    if (const std::uint32_t result = Result(mapi::Entry::kFindNext)) return result;
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

std::uint32_t ScriptedLibrary::Read(const char* id, MapiMessage** message) {
    if (const std::uint32_t result = Result(mapi::Entry::kReadMail)) {
        // What the library leaves here after a failure means nothing.
        *message = reinterpret_cast<MapiMessage*>(this);
        return result;
    }
    const std::size_t index = IndexOf(id);
    if (index == mailbox.size()) return mapi::kInvalidMessage;
    m_records.emplace_back();
    Fill(m_records.back(), mailbox[index]);
    *message = &m_records.back().message;
    return mapi::kSuccess;
}

void ScriptedLibrary::Fill(Record& record, const ScriptedMail& mail) {
    record.id = mail.id;
    const auto text = [&](const char* from) {
        return from != nullptr ? record.texts.emplace_back(from).data() : nullptr;
    };
    MapiMessage& message = record.message;
    message.lpszSubject = text(mail.subject);
    message.lpszDateReceived = text(mail.date);
    message.lpszNoteText = text(mail.note);
    message.flFlags = mail.flags;
    record.originator.lpszName = text(mail.originator);
    message.lpOriginator = &record.originator;
    for (const auto& recipient : mail.recipients) {
        record.recipients.push_back({0, recipient.kind, nullptr, text(recipient.address), 0, {}});
    }
    message.lpRecips = record.recipients.data();
    message.nRecipCount = static_cast<std::uint32_t>(record.recipients.size());
    AddFiles(record, mail.files);
}

void ScriptedLibrary::AddFiles(Record& record, int count) {
    for (int i = 0; i < count; ++i) {
        std::string& path =
            record.texts.emplace_back("C:\\temp\\" + std::to_string(++m_filesMade) + ".tmp");
        m_machine.files.Put(path, "x");
        record.files.push_back({0, 0, 0xFFFFFFFF, path.data(), nullptr, nullptr});
    }
    record.message.lpFiles = record.files.data();
    record.message.nFileCount = static_cast<std::uint32_t>(count);
}

std::uint32_t ScriptedLibrary::Free(void* buffer) {
    const auto found = std::find_if(m_records.begin(), m_records.end(), [&](const Record& record) {
        return &record.message == buffer;
    });
    if (found == m_records.end()) {
        ++m_badFrees;
        return mapi::kFailure;
    }
    calls.push_back("free " + found->id);
    m_records.erase(found);
    return mapi::kSuccess;
}
