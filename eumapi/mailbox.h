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

// A mailbox of Eudora's own that is open for adding to its end, kept from other writers. What is in
// it stays as it is: bytes of the .mbx file that no block names are left alone, blocks that the
// count leaves out give way.
class Mailbox {
  public:
    explicit Mailbox(const platform::System& system) : m_system(system) {}

    // `folder` is Eudora's, ending in a backslash. Makes the files if they are missing. Refuses,
    // and writes nothing: a .toc file of Eudora for Macintosh (kNotSupported), a file with content
    // without its partner, and two that do not belong together since no mail begins where the first
    // block says, which Eudora has to mend (kFailure).
    Code Open(const std::string& folder, const mailbox::MailboxKind& kind);

    // A number that no mail here has: above the highest as long as there are such.
    std::uint32_t FreeId() const;
    // Whether a mail of that id and with those bytes is here.
    platform::Result<bool> Contains(std::uint32_t id, std::string_view text);

    // Adds the one mail that this object is for; the place in its block is filled in. The count
    // changes last, after all else is on the disk. After a failure the mailbox is as it was, if the
    // disk allows; in any case without the new mail or with it in full.
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
