#pragma once

#include "eumapi/mail_index.h"
#include "eumapi/mail_reader.h"

namespace eumapi {

// Moves a mail from the in-box to the end of the Trash, as Eudora does. It is there, in full and on
// the disk, before the in-box's .toc file loses its block; the .mbx file keeps its bytes. After a
// failure the mail is in the in-box, and a second try does not put it into the Trash twice.
Code DeleteMail(const platform::System& system, const std::string& eudoraFolder,
                const MailIndex& index, MailReader& reader, const IndexedMail& mail);

}  // namespace eumapi
