#include "tests/mailstore/stand_in_library.h"

#include "integration/locate/locate.h"
#include "mapi/entry_points.h"

namespace {

StandInLibrary* g_library = nullptr;

std::uint32_t KV_MAPI_CALL Logon(std::uintptr_t, const char*, const char*, std::uint32_t,
                                 std::uint32_t, mapi::Session* session) {
    return g_library->mapi.Logon(session);
}
std::uint32_t KV_MAPI_CALL Logoff(mapi::Session session, std::uintptr_t, std::uint32_t,
                                  std::uint32_t) {
    return g_library->mapi.Logoff(session);
}
std::uint32_t KV_MAPI_CALL FindNext(mapi::Session session, std::uintptr_t, const char* type,
                                    const char* seed, std::uint32_t flags, std::uint32_t,
                                    char* id) {
    return g_library->mapi.FindNext(session, type, seed, flags, id);
}
std::uint32_t KV_MAPI_CALL ReadMail(mapi::Session session, std::uintptr_t, const char* id,
                                    std::uint32_t flags, std::uint32_t, MapiMessage** message) {
    return g_library->mapi.ReadMail(session, id, flags, message);
}
std::uint32_t KV_MAPI_CALL SendMail(mapi::Session session, std::uintptr_t, MapiMessage* message,
                                    std::uint32_t flags, std::uint32_t) {
    if (g_library->failSends != 0) return g_library->failSends;
    return g_library->mapi.SendMail(session, message, flags);
}
std::uint32_t KV_MAPI_CALL DeleteMail(mapi::Session session, std::uintptr_t, const char* id,
                                      std::uint32_t, std::uint32_t) {
    return g_library->mapi.DeleteMail(session, id);
}
std::uint32_t KV_MAPI_CALL FreeBuffer(void* buffer) {
    return g_library->mapi.FreeBuffer(buffer);
}

}  // namespace

StandInLibrary::StandInLibrary(platform::testing::TestSystem& machine) : mapi(machine.system) {
    g_library = this;
    std::map<std::string, void*> symbols;
    for (const char* name : mapi::kEntryNames) symbols[name] = g_library;
    symbols["MAPILogon"] = reinterpret_cast<void*>(&::Logon);
    symbols["MAPILogoff"] = reinterpret_cast<void*>(&::Logoff);
    symbols["MAPIFindNext"] = reinterpret_cast<void*>(&::FindNext);
    symbols["MAPIReadMail"] = reinterpret_cast<void*>(&::ReadMail);
    symbols["MAPISendMail"] = reinterpret_cast<void*>(&::SendMail);
    symbols["MAPIDeleteMail"] = reinterpret_cast<void*>(&::DeleteMail);
    symbols["MAPIFreeBuffer"] = reinterpret_cast<void*>(&::FreeBuffer);
    machine.libraries.AddLibrary("C:\\E\\EUMAPI32.DLL", symbols);
    constexpr auto kRoot = platform::RegistryRoot::kLocalMachine;
    (void)machine.registry.WriteText(kRoot, "SOFTWARE\\Microsoft\\Windows Messaging Subsystem",
                                     "MAPI", "1");
    (void)machine.registry.WriteText(kRoot, locate::kAppPathsKey, "Path", "C:\\E");
}

StandInLibrary::~StandInLibrary() {
    g_library = nullptr;
}
