#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/base/failure.h"
#include "host/mail/mime_entity.h"
#include "host/mail/new_mail.h"
#include "platform/os/clock.h"

namespace host::mail {

// What the header of a part says of its body. Texts are UTF-8.
struct PartType {
    std::string type, subtype;  // lower case
    std::string charset, boundary;
    std::string fileName;  // of the disposition, else of the type; empty if there is none
    std::string ownPiece;  // what ComposeMail noted: "html", "rich" or "remark"
    std::string encoding;  // of the transfer
    bool isAttachment = false;
};

// A header without a type says "text/plain", or message/rfc822 within a digest.
PartType TypeOf(const Entity& entity, bool isInDigest, unsigned codePage);

// A text field decoded to UTF-8: encoded words, and bare 8-bit text as UTF-8 or the code page.
std::string DecodedHeader(const std::string& value, unsigned codePage);
// The mailboxes of address fields; names and addresses in UTF-8. A group without members is one
// whose address is its name, and so is a text without an address.
std::vector<Recipient> DecodedAddresses(const std::string& value, unsigned codePage);
// OLE automation date in local time.
std::optional<double> DecodedDate(const std::string& value, platform::Clock& clock);

// Undoes a transfer encoding and hands the bytes over piece by piece; a failure of `take` ends it.
// An encoding that is not known is none.
base::Status DecodeBody(std::string_view body, const std::string& encoding,
                        const std::function<base::Status(std::string_view)>& take);

}  // namespace host::mail
