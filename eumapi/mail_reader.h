#pragma once

#include "eumapi/in_box.h"
#include "eumapi/message_record.h"

namespace eumapi {

// Gives an empty record the mail as MAPIReadMail's flags ask for it. After a failure any part of it
// may be there.
Code ReadMail(const platform::System& system, InBox& inBox, const IndexedMail& mail,
              mapi::Flags flags, MessageRecord& record);

}  // namespace eumapi
