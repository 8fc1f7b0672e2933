#include "mapi/mapi.h"

#include <string>

#include "platform/kvutil/kvutil_core.h"

namespace {

constexpr const char* kMessagingKey = "SOFTWARE\\Microsoft\\Windows Messaging Subsystem";
constexpr std::size_t kFlagSize = 8;  // of the registry text, with its closing zero

// Up to Windows NT 3.51 the profile tells, later systems have the registry.
bool HasRegistryFlag(const platform::SystemVersion& version) {
    return version.major > 3 || (version.major == 3 && version.minor > 51);
}

}  // namespace

int CMapi::IsMapiAvailable() {
    const auto version = m_system.processes.Version();
    if (!version) return 0;
    if (!HasRegistryFlag(*version)) return m_system.processes.ProfileNumber("Mail", "MAPI", 0);
    const auto flag = kvutil::ReadBoundedText(
        m_system.registry, platform::RegistryRoot::kLocalMachine, kMessagingKey, "MAPI", kFlagSize);
    return flag && *flag == "1" ? 1 : 0;
}

int CMapi::LoadMapiLibrary(const char* folder) {
    if (IsMapiAvailable() == 0) {
        m_ulLastError = kNotAvailable;
        return 0;
    }
    auto library = m_system.libraries.Load(std::string(folder) + "\\EUMAPI32.DLL");
    if (!library) {
        m_ulLastError = kNotLoaded;
        return 0;
    }
    mapi::EntryPoints found;
    const bool complete = found.Find(**library);
    // A second translator loads the same library again: session and current message live on in it.
    // Another library cannot free what this one has made.
    if (!m_entries.SameAddress(found, mapi::Entry::kFreeBuffer)) ReleaseCurrent();
    m_entries = found;
    m_hMapiLib = std::move(*library);
    return complete ? 1 : 0;
}

int CMapi::MapiLogon() {
    if (m_lhSession != 0) return 0;
    m_ulLastError = Call<mapi::LogonFn>(mapi::Entry::kLogon, 0, nullptr, nullptr,
                                        mapi::kLogonUi | mapi::kNewSession, 0, &m_lhSession);
    if (m_ulLastError == 0) return 1;
    m_lhSession = 0;
    return 0;
}

void CMapi::MapiLogoff() {
    if (m_lhSession == 0) return;
    ReleaseCurrent();
    Call<mapi::LogoffFn>(mapi::Entry::kLogoff, m_lhSession, 0, 0, 0);
    m_lhSession = 0;
}

void CMapi::UnloadMapiLibrary() {
    ReleaseCurrent();
    m_hMapiLib.reset();
}
