#include "host/base/exit_code.h"
#include "host/mail/compose.h"

namespace host::mail {

platform::Status CanComposeMail() {
    return base::Refused(
        "this build of kvsync has no MIME library, so it writes no mail: list mail, show mail, "
        "configure mail and shell mail work");
}

platform::Status ComposeMail(platform::Files& /*files*/, const Mail& /*mail*/,
                             std::chrono::seconds /*offset*/, const MessageSink& /*sink*/) {
    return CanComposeMail();
}

std::string DecodeWords(const std::string& text) {
    return text;
}

}  // namespace host::mail
