#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "eumapi/result_code.h"
#include "mailbox/toc_records.h"
#include "platform/os/system.h"

namespace eumapi {

// A mailbox of Eudora's, opened for one append and closed to other writers until destroyed. Its
// content stays, also bytes of the .mbx file that belong to no block; uncounted blocks of the .toc
// file are overwritten.
class Mailbox {
  public:
    explicit Mailbox(const platform::System& system) : m_system(system) {}

    // `folder` is Eudora's, a Windows path ending in a backslash. Makes missing files. Refuses,
    // without writing, a .toc file of Eudora for Macintosh (kNotSupported), a file with content
    // whose partner is missing, and files that do not belong together (kFailure).
    Code Open(const std::string& folder, const mailbox::MailboxKind& kind);

    // A number that no mail here has: the next above the highest, as long as there is one.
    std::uint32_t FreeId() const;
    // Whether a mail of that id and with those bytes is here.
    platform::Result<bool> Contains(std::uint32_t id, std::string_view text);

    // Appends one mail; offset and length in its block are filled in. The count changes last, after
    // all else is on the disk. After a failure the mailbox has the new mail in full or not at all;
    // bytes behind it are removed if the disk allows.
    Code Append(std::string_view text, const std::string& block);

  private:
    Code OpenFiles(const std::string& folder, const mailbox::MailboxKind& kind);
    Code BeginTable(const mailbox::MailboxKind& kind);
    Code ReadTable();

    platform::System m_system;
    std::unique_ptr<platform::File> m_mbx, m_toc;
    mailbox::TocHeader m_header;
    std::vector<mailbox::MailPlace> m_mails;
    std::uint64_t m_mbxSize = 0;  // bytes
};

}  // namespace eumapi
