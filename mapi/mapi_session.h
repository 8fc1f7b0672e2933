#pragma once

#include <cstdint>
#include <memory>

#include "mapi/entry_points.h"
#include "platform/os/system.h"

// The module's one door to Eudora's Simple MAPI library EUMAPI32.DLL. Its operations report
// nothing to the host; LastError tells the caller what went wrong.
class CMapi {
  public:
    // Values of LastError beside the library's own result codes.
    static constexpr std::uint32_t kNotAvailable = 1000;
    static constexpr std::uint32_t kNotLoaded = 1001;

    explicit CMapi(const platform::System& system) : m_system(system) {}
    // Neither logs off nor unloads: at process end the library may be gone already.
    virtual ~CMapi() { (void)m_hMapiLib.release(); }
    CMapi(const CMapi&) = delete;
    CMapi& operator=(const CMapi&) = delete;

    // Not 0 if this system has Simple MAPI.
    int IsMapiAvailable();
    // Loads EUMAPI32.DLL of Eudora's folder: 1 if it is loaded and has all entry points, else 0.
    // With an entry point missing it stays loaded.
    int LoadMapiLibrary(const char* folder);
    // Opens a session: 1 on success, else 0, also if there is a session, which goes on. Needs a
    // library that LoadMapiLibrary gave 1 for.
    int MapiLogon();
    // Ends the session, if there is one.
    void MapiLogoff();
    // Frees the library, if it is loaded.
    void UnloadMapiLibrary();

    std::uint32_t LastError() const { return m_ulLastError; }

  private:
    platform::System m_system;
    std::uint32_t m_ulLastError = 0;
    std::unique_ptr<platform::Library> m_hMapiLib;
    mapi::Session m_lhSession = 0;
    mapi::EntryPoints m_entries;
};
