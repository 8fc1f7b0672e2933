#include "fuzz/fuzz.h"
#include "platform/kvutil/kvutil_core.h"

// What is read of a text, written and read again, is the same text from then on.
void Check(std::string_view input) {
    CArray<CRAttachmentInfo> list, again;
    (void)kvutil::DecodeAttachments(input, list);
    const std::string text = kvutil::EncodeAttachments(list);
    Require(kvutil::DecodeAttachments(text, again));
    Require(again.GetSize() == list.GetSize() && kvutil::EncodeAttachments(again) == text);
}
