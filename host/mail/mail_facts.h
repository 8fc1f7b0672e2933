#pragma once

#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>

#include "host/base/failure.h"
#include "mailbox/toc_records.h"
#include "platform/os/files.h"

// What the files of a mailbox tell of its mails beside the translator.
namespace host::mail {

// The end of the names of exported mails.
inline constexpr const char* kExported = ".eudora";

struct MailFacts {
    std::string unique;  // a name: the same at each reading, another for each mail of the mailbox
    std::string flags;   // of a Maildir, in ASCII order
    std::string label;   // its number; empty for none
    std::chrono::sys_seconds arrival;
};

// A mailbox's files, read beside the translator. `files` outlives the object.
class MailboxFiles {
  public:
    // Paths in the form of `files`; `made` is the content of the table if it is not in the file.
    static base::Result<MailboxFiles> Open(platform::Files& files, const std::string& text,
                                           const std::string& table,
                                           const std::optional<std::string>& made);

    // The facts of the mail of that id; nothing if the table does not have it. To be asked once for
    // each mail, in the mailbox's order: of mails with the same bytes the later ones get numbers.
    base::Result<std::optional<MailFacts>> Of(const std::string& id);

    // The header of the mail of that id as it is stored; empty if it has none of 64 KB or less, if
    // the place has no mail now, or if it cannot be read.
    std::string HeaderOf(const std::string& id);

  private:
    MailboxFiles(std::unique_ptr<platform::File> mbx, std::string toc);

    std::unique_ptr<platform::File> m_mbx;
    std::string m_toc;
    std::unordered_map<std::uint32_t, std::uint32_t> m_blocks;  // by id
    std::map<std::string, int> m_seen;                          // fingerprints
};

}  // namespace host::mail
