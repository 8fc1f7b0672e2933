#pragma once

#include "eumapi/simple_mapi.h"
#include "integration/locate/locate.h"
#include "tests/mapi/scripted_library.h"

// Our Simple MAPI library over the files of a machine in memory, as EUMAPI32.DLL of the folder
// C:\E.
class StandInLibrary : public ScriptedLibrary {
  public:
    explicit StandInLibrary(platform::testing::TestSystem& machine)
        : ScriptedLibrary(machine, "C:\\E"), m_mapi(machine.system) {
        (void)machine.registry.WriteText(platform::RegistryRoot::kLocalMachine,
                                         locate::kAppPathsKey, "Path", "C:\\E");
    }

    std::uint32_t Logon(mapi::Session* session) override { return m_mapi.Logon(session); }
    std::uint32_t Logoff(mapi::Session session) override { return m_mapi.Logoff(session); }
    std::uint32_t FindNext(mapi::Session session, const char* seed, char* id) override {
        return m_mapi.FindNext(session, nullptr, seed, kFindFlags, id);
    }
    std::uint32_t ReadMail(mapi::Session session, const char* id, MapiMessage** message) override {
        return m_mapi.ReadMail(session, id, kReadFlags, message);
    }
    std::uint32_t SendMail(mapi::Session session, MapiMessage* message) override {
        return failSends != 0 ? failSends : m_mapi.SendMail(session, message, 0);
    }
    std::uint32_t DeleteMail(mapi::Session session, const char* id) override {
        return m_mapi.DeleteMail(session, id);
    }
    std::uint32_t FreeBuffer(void* buffer) override { return m_mapi.FreeBuffer(buffer); }

    std::uint32_t failSends = 0;  // the result of every MAPISendMail, if not 0

  private:
    eumapi::SimpleMapi m_mapi;
};
