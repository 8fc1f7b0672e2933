#pragma once

#include <memory>
#include <string>

#include "eumapi/attachment_lines.h"
#include "eumapi/mail_index.h"
#include "eumapi/message_record.h"
#include "text/mail_view.h"

namespace eumapi {

// A mail of more bytes is refused with kTextTooLarge.
inline constexpr std::uint64_t kLargestMail = 256u << 20;

// Reads mails of one .mbx file, which stays open between them as long as the index is the same.
class MailReader {
  public:
    // The system outlives this object.
    MailReader(const platform::System& system, std::string eudoraFolder, std::string mbxPath)
        : m_system(system), m_folder(std::move(eudoraFolder)), m_path(std::move(mbxPath)) {}

    // The bytes of a mail: no more than its block claims and the file has. A block that claims more
    // than the file has ends at the latest where another mail of the index begins.
    platform::Result<std::string> ReadBytes(const MailIndex& index, const IndexedMail& mail,
                                            std::uint64_t most = kLargestMail);
    // The mail as MAPIReadMail's flags ask for it. The files of `copies` belong to it.
    Code Read(const MailIndex& index, const IndexedMail& mail, std::uint32_t flags,
              AttachmentCopies& copies, MessageRecord& record);
    // Closes the file until it is needed again.
    void LetGo() { m_mbx.reset(); }

  private:
    platform::Result<std::uint64_t> LengthOf(const MailIndex& index, const IndexedMail& mail);
    platform::Result<std::string> ReadHeader(const MailIndex& index, const IndexedMail& mail);
    Code CopyAttachments(std::vector<AttachmentLine>& lines, AttachmentCopies& copies) const;
    Code TakeBody(const text::MailView& text, std::uint32_t flags, AttachmentCopies& copies,
                  MessageRecord& record) const;

    platform::System m_system;
    std::string m_folder, m_path;
    std::unique_ptr<platform::File> m_mbx;
    unsigned m_version = 0;  // of the index that the file was opened for
};

}  // namespace eumapi
