#include "host/mail/compose.h"
#include "host/mail/parse.h"
#include "host/maildir/message_header.h"

namespace host::mail {

platform::Result<NewMail> ParseMail(std::string_view /*bytes*/, const ParsePlace& /*place*/,
                                    const std::string& /*name*/) {
    return CanComposeMail().Error();
}

std::string MessageIdForEudora(std::string_view bytes) {
    return maildir::MessageIdInHeader(bytes);
}

}  // namespace host::mail
