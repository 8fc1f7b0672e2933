#include "host/mailsync/mail_content.h"

#include <vector>

#include "host/mail/message_id.h"
#include "text/calendar.h"

namespace host::mailsync {

// Nothing is copied: a mail may be nearly as large as the memory that there is.
std::string ContentOf(const mail::Mail& mail) {
    std::vector<std::string_view> pieces;
    for (const auto* field :
         {&mail.from, &mail.to, &mail.cc, &mail.bcc, &mail.subject, &mail.body}) {
        if (*field) pieces.push_back(**field);
        pieces.emplace_back("\0", 1);
    }
    std::string date;
    if (mail.date) {
        if (const auto local = text::FromOleDate(*mail.date)) date = text::IsoText(*local);
    }
    pieces.push_back(date);
    return mail::Fingerprint(pieces);
}

}  // namespace host::mailsync
