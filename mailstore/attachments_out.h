#pragma once

#include "frame/trans_util.h"

namespace mailstore {

// Copies the files of a message as the settings allow into the temporary folder, and lists them as
// text; the host owns the copies and may leave them to DeleteAttachFile. RRC_FAILED as a whole if
// one cannot be copied, without a list.
RRETURNCODE GetAttachments(CEudoraTransUtil& util, const CEudoraAppInfo& settings,
                           const MapiMessage& message, CString& csOut);

// Removes the copies that GetAttachments made and nobody took, those of other runs too.
void DeleteAttachFile(platform::System& system);

}  // namespace mailstore
