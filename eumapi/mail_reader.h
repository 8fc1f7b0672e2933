#pragma once

#include "eumapi/in_box.h"
#include "eumapi/message_record.h"

namespace eumapi {

// Fills an empty record with a mail, as MAPIReadMail's flags ask for it. After a failure the record
// may be filled in part; it owns the copies of attachments.
Code ReadMail(const platform::System& system, InBox& inBox, const IndexedMail& mail,
              mapi::Flags flags, MessageRecord& record);

}  // namespace eumapi
