#pragma once

#include <string>
#include <string_view>

#include "platform/kvutil/kvutil.h"

// The text form of an attachment list, as kvutil.h tells it.
namespace kvutil {

std::string EncodeAttachments(const CArray<CRAttachmentInfo>& list);
// Adds the elements to `list`. False at a line without five fields, with a number field that is no
// 32-bit number, an unknown escape or a control character in the path; the elements of the lines
// before it are in the list.
bool DecodeAttachments(std::string_view text, CArray<CRAttachmentInfo>& list);

}  // namespace kvutil
