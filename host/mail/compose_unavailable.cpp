#include "host/mail/compose.h"
#include "host/module/exit_code.h"

namespace host {

platform::Status CanComposeMail() {
    return Refused(
        "this build of kvsync has no MIME library, so it writes no mail: list mail, show mail, "
        "configure mail and shell mail work");
}

platform::Result<std::string> ComposeMail(platform::Files& /*files*/, const Mail& /*mail*/,
                                          std::chrono::seconds /*offset*/) {
    return CanComposeMail().Error();
}

std::string DecodeWords(const std::string& text) {
    return text;
}

}  // namespace host
