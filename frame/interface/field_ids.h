#pragma once

#include <cstdlib>
#include <string>

// The fields of contacts and mails. The host names a field by its id, the decimal text of the
// number here.

enum class ContactField : int { kNickname = 1, kName, kAddress, kPhone, kFax, kEmail, kNote };

constexpr bool IsContactField(ContactField field) {
    return field >= ContactField::kNickname && field <= ContactField::kNote;
}
// Fields of more than one line.
constexpr bool HasLines(ContactField field) {
    return field == ContactField::kAddress || field == ContactField::kNote;
}

enum class MailField : int {
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

template <class Field>
std::string FieldId(Field field) {
    return std::to_string(static_cast<int>(field));
}

// The field of an id by its leading digits; 0 without digits and for null. The result may be a
// number that is no field.
template <class Field>
Field FieldOfId(const char* id) {
    return static_cast<Field>(id != nullptr ? std::atoi(id) : 0);
}
