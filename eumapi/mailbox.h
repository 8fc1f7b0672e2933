#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "eumapi/eudora_folder.h"
#include "eumapi/result_code.h"
#include "mailbox/toc_records.h"
#include "platform/os/system.h"

namespace eumapi {

// Eudora's own mailboxes that mails are moved into.
struct MailboxKind {
    std::string_view name;
    unsigned char type;  // as the header has it
};
inline constexpr MailboxKind kOutBox{"Out", 1};
inline constexpr MailboxKind kTrash{"Trash", 3};

void PutU32(std::string& bytes, std::size_t at, std::uint32_t number);

// A mailbox that is open for adding to its end, kept from other writers. What is in it stays as it
// is: bytes of the .mbx file that no block names are left alone, blocks that the count leaves out
// give way.
class Mailbox {
  public:
    explicit Mailbox(const platform::System& system) : m_system(system) {}

    // Makes the files if they are missing. Refuses, and writes nothing: a .toc file of Eudora for
    // Macintosh (kNotSupported), a file with content without its partner, and two that do not
    // belong together since no mail begins where the first block says, which Eudora has to mend
    // (kFailure).
    Code Open(const std::string& folder, const MailboxKind& kind);

    std::uint32_t Count() const { return m_header.wNumberOfMsgs; }
    std::string_view Block(std::uint32_t index) const;
    // A number that no mail here has: above the highest as long as there are such.
    std::uint32_t FreeId() const;
    // Whether a mail of that id and with those bytes is here.
    platform::Result<bool> Contains(std::uint32_t id, std::string_view text);

    // Adds the one mail that this object is for; the place in its block is filled in. The count
    // changes last, after all else is on the disk. After a failure the mailbox is as it was, if the
    // disk allows; in any case without the new mail or with it in full.
    Code Append(std::string_view text, std::string block);

  private:
    platform::Status OpenFiles(const MailboxPaths& paths);
    Code TakeHeader(const MailboxKind& kind);
    Code CheckPair() const;
    platform::Status WriteAt(platform::File& file, std::uint64_t offset, std::string_view bytes);
    platform::Result<std::string_view> LineEndBefore() const;
    std::string HeaderWith(std::uint32_t newId, std::uint64_t mbxSize) const;
    platform::Status WriteMail(std::string_view lead, std::string_view text, std::string_view block,
                               std::string_view header);
    void TakeBack(std::string_view header);

    platform::System m_system;
    std::unique_ptr<platform::File> m_mbx, m_toc;
    mailbox::TocHeader m_header;
    std::string m_blocks;
    std::uint64_t m_mbxSize = 0;
};

}  // namespace eumapi
