#pragma once

#include <memory>
#include <string>

#include "host/base/failure.h"
#include "platform/os/files.h"

namespace host::mail {

// A private folder with a name that nobody can guess, in the temporary folder of the module's
// machine, for files on their way into Eudora. It goes, with what is left in it, when this does.
class IncomingFolder {
  public:
    // `key` tells runs on different Eudoras apart; what an earlier run with the same key left is
    // removed, so one run at a time may use it.
    static base::Result<std::unique_ptr<IncomingFolder>> Create(const std::string& key);
    ~IncomingFolder();
    IncomingFolder(const IncomingFolder&) = delete;
    IncomingFolder& operator=(const IncomingFolder&) = delete;

    const std::string& Path() const { return m_path; }  // a Windows path, as the module takes it

  private:
    explicit IncomingFolder(std::string path);

    std::string m_path;
};

}  // namespace host::mail
