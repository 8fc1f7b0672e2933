#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/os/clock.h"
#include "platform/os/files.h"

namespace host {

struct MaildirEntry {
    std::string unique;  // the file's name without its info part: what it is remembered by
    std::string name;    // the whole file name
    std::string flags;   // letters behind ":2,", in ASCII order
    bool isNew = false;  // lies in new/, not in cur/
};

// A Maildir (https://cr.yp.to/proto/maildir.html) that other programs work on at the same time.
// Paths are native, in UTF-8. On a file system that takes no colon in a name the info part begins
// with "!2,".
class Maildir {
  public:
    Maildir(platform::Files& files, platform::Clock& clock, std::string folder);

    // Makes what is missing of the folder and its cur, new and tmp.
    platform::Status Create();
    // All mails in new and cur. Other files are passed over.
    platform::Result<std::vector<MaildirEntry>> List();
    // Writes a mail into tmp and moves it to cur (with flags) or new (without). A crash leaves it
    // whole or not there. Gives the unique name.
    platform::Result<std::string> Deliver(std::string_view message, std::string_view flags);
    // Renames so that exactly these flags are set; kNotFound if the file is gone.
    platform::Status SetFlags(const MaildirEntry& entry, std::string_view flags);
    platform::Status Remove(const MaildirEntry& entry);

  private:
    platform::Files& m_files;
    platform::Clock& m_clock;
    std::string m_folder;
    unsigned m_count = 0;
};

}  // namespace host
