#pragma once

#include <string>
#include <string_view>

#include "eumapi/mail_index.h"
#include "eumapi/message_record.h"
#include "text/mail_view.h"

namespace eumapi {

// Header text with its encoded words ("=?charset?B?...?=") turned into text of the code page. A run
// of them that is damaged, has an unknown character set or a character that the code page lacks
// stays as it stands. Bytes below a blank become blanks.
std::string DecodeHeader(std::string_view text, unsigned codePage);

// Gives the record what the header of a mail says: subject, sender, recipients, date. Where it says
// nothing, what the list of mails in Eudora shows stands in, and for the date the separator line.
void TakeHeader(const text::MailView& text, const platform::System& system, const MailIndex& index,
                const IndexedMail& mail, MessageRecord& record);

}  // namespace eumapi
