#pragma once

#include "host/mail/compose.h"

namespace host::testing {

// A mail composed in one text.
inline platform::Result<std::string> Composed(platform::Files& files, const mail::Mail& mail,
                                              std::chrono::seconds offset) {
    std::string message;
    auto status =
        mail::ComposeMail(files, mail, offset, [&](std::string_view piece) -> platform::Status {
            message += piece;
            return {};
        });
    if (!status) return status.Error();
    return message;
}

}  // namespace host::testing
