#include "host/base/failure.h"
#include "host/mail/parse.h"
#include "host/maildir/maildir.h"

namespace host::mail {

base::Status CanParseMail() {
    return base::Refused(
        "this build of kvsync has no MIME library, so it reads no mail of other programs",
        "list mail, show mail, export mail, configure mail and shell mail work");
}

base::Result<NewMail> ParseMail(std::string_view /*bytes*/, const ParseTarget& /*place*/,
                                const std::string& /*name*/) {
    return CanParseMail().Error();
}

std::string MessageIdForEudora(std::string_view bytes) {
    return maildir::MessageIdInHeader(bytes);
}

}  // namespace host::mail
