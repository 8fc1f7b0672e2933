#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "host/base/failure.h"
#include "host/mail/mail.h"
#include "platform/os/clock.h"
#include "platform/os/files.h"

namespace host::mail {

inline constexpr std::uint64_t kLargestMessage = std::uint64_t{256} << 20;  // bytes

struct ParsePlace {
    platform::Files& files;  // takes `folder`; the mail's own are the module's
    std::string folder;      // exists; the attachments become files in it
    unsigned codePage;       // of the texts
    platform::Clock& clock;  // of the local time
};

// kRefused, with the reason and the way out, in a build without a MIME library; ParseMail gives the
// same.
base::Status CanParseMail();

// Reads an Internet message of any kind, also damaged, malicious or empty, in time and memory that
// its size bounds. `name` is what a refusal calls it: kRefused for one above kLargestMessage; other
// failures are those of the files. After a failure the folder holds no file of this mail.
//
// The text is the plain text where there is one, flowed as it was, else what the HTML says. Files,
// pictures and attached mails (as .eml) become attachments with plain names. Lines that Eudora
// would take for its own marks (attachment lines, separators, <x-html>) are made harmless by a
// blank; those that ComposeMail wrote come back as Eudora's marks. A text too long for Eudora is
// cut, and its whole is an attachment.
base::Result<NewMail> ParseMail(std::string_view bytes, const ParsePlace& place,
                                const std::string& name);

// The Message-ID of a message by the same rule, without reading the rest.
std::string MessageIdForEudora(std::string_view bytes);

}  // namespace host::mail
