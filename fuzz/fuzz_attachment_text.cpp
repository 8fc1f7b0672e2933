#include <cstdint>
#include <cstdlib>

#include "platform/kvutil/attachment_text.h"

// What is read of a text, written and read again, is the same text from then on.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    CArray<CRAttachmentInfo> list, again;
    (void)kvutil::DecodeAttachments({reinterpret_cast<const char*>(data), size}, list);
    const std::string text = kvutil::EncodeAttachments(list);
    if (!kvutil::DecodeAttachments(text, again)) std::abort();
    if (again.GetSize() != list.GetSize() || kvutil::EncodeAttachments(again) != text) std::abort();
    return 0;
}
