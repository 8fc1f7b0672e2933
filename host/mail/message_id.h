#pragma once

#include <span>
#include <string>
#include <string_view>

#include "host/mail/mail.h"

namespace host::mail {

// The Message-ID that a mail has outside Eudora, without its angle brackets: its own where it has
// one that a header can hold. A mail without one is known to Eudora by its place alone ("0x" and
// eight digits, not the same mail in another mailbox), so it gets one made of that and of what is
// told of it: the same at each run, another for another mail.
std::string MessageIdOf(const Mail& mail);

// Whether a header can hold it as a Message-ID.
bool CanBeMessageId(std::string_view id);

// Whether it is the id by which Eudora knows a mail: "0x" and eight upper-case hexadecimal digits.
bool IsIndexId(std::string_view id);

// 64 bits as 16 hexadecimal digits that differ for different texts, but not for a person's
// purpose.
std::string Fingerprint(std::string_view text);
// Of the pieces as one text.
std::string Fingerprint(std::span<const std::string_view> pieces);

}  // namespace host::mail
