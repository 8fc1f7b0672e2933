#pragma once

#include <string>

namespace host::mail {

// The translator's fields of a mail.
enum class MailField {
    kFrom = 1,
    kTo,
    kCc,
    kBcc,
    kSubject,
    kDate,
    kBody,
    kAttachment,
    kSize,
    kStatus,
    kMessageId
};

// Its name in the translator's interface.
inline std::string FieldId(MailField field) {
    return std::to_string(static_cast<int>(field));
}

}  // namespace host::mail
