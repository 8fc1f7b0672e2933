#pragma once

#include <string>
#include <vector>

#include "eumapi/result_code.h"
#include "platform/os/system.h"

namespace eumapi {

// The attachments of one mail for the out-box: copies in Eudora's folder Attach under the names
// that recipients are to see. A name that is taken there gets a folder of its own below. The
// destructor deletes them again unless they are kept.
class OutgoingFiles {
  public:
    OutgoingFiles(const platform::System& system, const std::string& eudoraFolder)
        : m_system(system), m_attach(eudoraFolder + "Attach\\") {}
    OutgoingFiles(const OutgoingFiles&) = delete;
    OutgoingFiles& operator=(const OutgoingFiles&) = delete;
    ~OutgoingFiles();

    Code Add(const MapiFileDesc& file);
    const std::vector<std::string>& Paths() const { return m_paths; }
    void Keep() { m_isKept = true; }

  private:
    platform::Status MakeFile(const std::string& name);
    platform::Status MakeFileIn(const std::string& folder, const std::string& name);
    platform::Status MakeOwnFolder();

    platform::System m_system;
    std::string m_attach;
    std::vector<std::string> m_ownFolders, m_paths;
    bool m_isKept = false;
};

}  // namespace eumapi
