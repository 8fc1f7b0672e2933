#pragma once

#include <memory>
#include <string>

#include "host/state/mail_memory.h"
#include "platform/os/files.h"

namespace SQLite {
class Database;
}

namespace host::state {

// The memory of mails in the state file, for one `scope`: one in-box with one Maildir.
class MailState : public MailMemory {
  public:
    // As StateFile::Open. A file of an earlier version has no mails yet.
    static platform::Result<std::unique_ptr<MailState>> Open(platform::Files& files,
                                                             const std::string& path,
                                                             const std::string& scope,
                                                             bool mayWrite);
    ~MailState() override;

    platform::Result<std::vector<RememberedMail>> Load() override;
    using MailMemory::Save;
    platform::Status Save(MailMemoryChange& change) override;

    // Forgets all mails of an in-box, with whatever Maildir: the next run pairs what both sides
    // hold. A state file that is not there has nothing to forget.
    static platform::Status ForgetInBox(platform::Files& files, const std::string& path,
                                        const std::string& inbox);

  private:
    MailState(std::unique_ptr<SQLite::Database> database, std::string path, std::string scope);

    std::unique_ptr<SQLite::Database> m_database;  // null: no file, nothing remembered
    std::string m_path, m_scope;
};

}  // namespace host::state
