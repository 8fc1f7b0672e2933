#include "tests/mapi/library_double.h"

#include <cstdlib>

namespace {

LibraryDouble* g_library = nullptr;

LibraryDouble& Told(bool isAsAgreed) {
    if (!isAsAgreed) ++g_library->badCalls;
    return *g_library;
}

std::uint32_t KV_LIBRARY_CALL Logon(std::uintptr_t window, const char* profile,
                                    const char* password, std::uint32_t flags,
                                    std::uint32_t reserved, mapi::Session* session) {
    return Told(window == 0 && profile == nullptr && password == nullptr && flags == 3 &&
                reserved == 0)
        .Logon(session);
}

std::uint32_t KV_LIBRARY_CALL Logoff(mapi::Session session, std::uintptr_t window,
                                     std::uint32_t flags, std::uint32_t reserved) {
    return Told(window == 0 && flags == 0 && reserved == 0).Logoff(session);
}

std::uint32_t KV_LIBRARY_CALL SendMail(mapi::Session session, std::uintptr_t window,
                                       MapiMessage* message, std::uint32_t flags,
                                       std::uint32_t reserved) {
    return Told(window == 0 && flags == 0 && reserved == 0).SendMail(session, message);
}

std::uint32_t KV_LIBRARY_CALL FindNext(mapi::Session session, std::uintptr_t window,
                                       const char* type, const char* seed, std::uint32_t flags,
                                       std::uint32_t reserved, char* id) {
    return Told(window == 0 && type == nullptr && flags == LibraryDouble::kFindFlags &&
                reserved == 0 && id != seed)
        .FindNext(session, seed, id);
}

std::uint32_t KV_LIBRARY_CALL ReadMail(mapi::Session session, std::uintptr_t window, const char* id,
                                       std::uint32_t flags, std::uint32_t reserved,
                                       MapiMessage** message) {
    return Told(window == 0 && flags == LibraryDouble::kReadFlags && reserved == 0)
        .ReadMail(session, id, message);
}

std::uint32_t KV_LIBRARY_CALL DeleteMail(mapi::Session session, std::uintptr_t window,
                                         const char* id, std::uint32_t flags,
                                         std::uint32_t reserved) {
    return Told(window == 0 && flags == 0 && reserved == 0).DeleteMail(session, id);
}

std::uint32_t KV_LIBRARY_CALL FreeBuffer(void* buffer) {
    return g_library->FreeBuffer(buffer);
}

// Stands for the entry points that nobody may call.
void NeverCalled() {
    std::abort();
}

}  // namespace

LibraryDouble::LibraryDouble(platform::testing::TestSystem& machine, const std::string& folder)
    : m_machine(machine) {
    g_library = this;
    Install(folder);
    (void)machine.registry.WriteText(platform::RegistryRoot::kLocalMachine,
                                     "SOFTWARE\\Microsoft\\Windows Messaging Subsystem", "MAPI",
                                     "1");
}

LibraryDouble::~LibraryDouble() {
    g_library = nullptr;
}

void LibraryDouble::Install(const std::string& folder, const char* missing) {
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
