#pragma once

#include "frame/trans_util.h"

// Messages of the mail translator for the host's queue.
namespace mailstore {

// Queues the message for a file of the in-box that could not be changed.
void ReportInBoxFile(CEudoraTransUtil& util, const platform::Failure& failure,
                     const char* extension);
// Queues a message with the name of a thing; a bundle without that text still names the thing.
void ReportNamed(CEudoraTransUtil& util, frame::StringId id, const CString& name);
// Queues the text for the last error of the MAPI library.
void ReportMapiError(CEudoraTransUtil& util);

}  // namespace mailstore
