#pragma once

#include <cstdint>

namespace mailstore {

// The fields of a mail by their ids.
enum FieldId {
    kFromField = 1,
    kToField,
    kCcField,
    kBccField,
    kSubjectField,
    kDateField,
    kBodyField,
    kAttachmentField,
    kSizeField,
    kStatusField,
    kMessageIdField
};

}  // namespace mailstore
