#pragma once

#include <string>

#include "host/base/failure.h"

namespace host::eudora {

// A small Wine prefix of our own around a bare Eudora folder: drive C holds a link "Eudora" to the
// folder and the temporary and settings folders, and system.reg names Eudora. Nothing is written
// into the folder. A folder without Eudora.exe gets itself ("C:\Eudora\.") named as the program,
// since the program only has to exist and to lie in the folder.
class PrivatePrefix {
  public:
    PrivatePrefix() = default;
    PrivatePrefix(PrivatePrefix&& other) noexcept;
    PrivatePrefix& operator=(PrivatePrefix&& other) noexcept;
    ~PrivatePrefix();

    // Makes the prefix `path`, or brings it up to date, for the folder. A temporary one goes with
    // this object.
    static base::Result<PrivatePrefix> Make(const std::string& path, const std::string& eudora,
                                            unsigned codePage, bool temporary);

    // Makes a temporary one, `path`, with the drives of another prefix and a copy of its registry.
    static base::Result<PrivatePrefix> Shadow(const std::string& path, const std::string& prefix);

    const std::string& Path() const { return m_path; }

    static constexpr const char* kEudoraFolder = "C:\\Eudora";
    static constexpr const char* kSettingsFolder = "C:\\kvsync";

  private:
    std::string m_path;
    bool m_temporary = false;
};

// The text of its system.reg. `program` is the program's name in the folder.
std::string PrivateRegistry(const std::string& program, unsigned codePage);

}  // namespace host::eudora
