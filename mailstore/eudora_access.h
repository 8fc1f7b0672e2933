#pragma once

#include <memory>

#include "frame/trans_util.h"
#include "platform/os/files.h"

// What mails need of Eudora: the program, the two files of its in-box, and messages about both. The
// files lie in Eudora's folder; the bundle has their name. Paths are Windows paths in the system
// code page. Results are RRC_OK or RRC_FAILED with a message.
namespace mailstore {

// Brings up Eudora, its MAPI library and a session.
RRETURNCODE BringUp(CEudoraTransUtil& util);

// `extension` is ".mbx" or ".toc". The folder, which does not open as a file, if the bundle has no
// name for the in-box.
CString InBoxPath(CEudoraTransUtil& util, const char* extension);

// Makes what is missing of the two files, never touching one that is there. False if one cannot be
// made; why is among the messages if the bundle has words for it.
bool MakeInBox(CEudoraTransUtil& util);

// Null, with a message, if the file does not open. `operation` names the caller in the log.
std::unique_ptr<platform::File> OpenInBoxFile(CEudoraTransUtil& util, const char* extension,
                                              platform::OpenMode mode, platform::Share share,
                                              const char* operation);

// Queues the message for a file of the in-box that could not be changed.
void ReportInBoxFile(CEudoraTransUtil& util, const platform::Failure& failure,
                     const char* extension);
// Logs a line and queues a message; gives RRC_FAILED.
RRETURNCODE Fail(CEudoraTransUtil& util, frame::StringId message, const char* log);
// Queues a message with the name of a thing; a bundle without that text still names the thing.
void ReportNamed(CEudoraTransUtil& util, frame::StringId id, const CString& name);
// The same with the text for the last error of the MAPI library, and without a log line for null.
RRETURNCODE FailOfMapi(CEudoraTransUtil& util, const char* log);
// Says that there is no such mail.
RRETURNCODE FailOfNoMail(CEudoraTransUtil& util);

}  // namespace mailstore
