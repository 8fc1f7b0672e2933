#pragma once

#include <memory>
#include <string>

#include "platform/os/system.h"

// The module's one door to Eudora's Simple MAPI library EUMAPI32.DLL.
class CMapi {
  public:
    explicit CMapi(const platform::System& system) : m_system(system) {}
    virtual ~CMapi() = default;

    // Ends the session, if there is one.
    void MapiLogoff();
    // Frees the library, if it is loaded.
    void UnloadMapiLibrary();

  private:
    platform::System m_system;
};
