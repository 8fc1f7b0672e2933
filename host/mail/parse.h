#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "host/base/failure.h"
#include "host/mail/mail.h"
#include "platform/os/clock.h"
#include "platform/os/files.h"

// Turning foreign Internet messages into mails for Eudora (RFC 5322, RFC 2045 to 2047, RFC 2231).
namespace host::mail {

inline constexpr std::uint64_t kLargestMessage = std::uint64_t{256} << 20;  // bytes

// What reading a message needs. The objects outlive the call.
struct ParseTarget {
    platform::Files& files;  // takes Windows paths in the system code page, as the module does
    std::string folder;      // of these files; exists; the attachments become files in it. Without
                             // one they have names alone.
    unsigned codePage;       // of the texts
    platform::Clock& clock;  // of the local time
};

// kRefused, with the reason and the way out, in a build without a MIME library; ParseMail gives the
// same.
base::Status CanParseMail();

// Reads any Internet message, also a damaged, malicious or empty one; time and memory are bounded
// by its size. kRefused, with `name`, above kLargestMessage; other failures are those of the files.
// After a failure the folder holds no file of this mail; else the caller owns the files.
//
// The text is the plain text if there is one, else the HTML's. Files, pictures and attached mails
// (as .eml) become attachments with plain names. A blank keeps Eudora from taking foreign lines for
// its own marks (attachment lines, separators, <x-html>); parts that ComposeMail marked get
// Eudora's marks back. A text above 16 MB is cut, and its whole is an attachment.
base::Result<NewMail> ParseMail(std::string_view bytes, const ParseTarget& place,
                                const std::string& name);

// The Message-ID that ParseMail would give a message, without angle brackets: its own, or one made
// of a fingerprint of its bytes. A build without a MIME library gives its own or the empty text.
std::string MessageIdForEudora(std::string_view bytes);

}  // namespace host::mail
