#pragma once

#include <memory>

#include "frame/trans_util.h"
#include "platform/os/files.h"

// Access to Eudora: its program, the two files of its in-box, and messages about both. The files
// lie in Eudora's folder and have their name from the bundle. Paths are Windows paths in the system
// code page. Results are RRC_OK, or RRC_FAILED with a queued message.
namespace mailstore {

// Starts Eudora unless it runs, loads its MAPI library and opens a session.
RRETURNCODE BringUp(CEudoraTransUtil& util);

// The path of an in-box file; `extension` is ".mbx" or ".toc". Without a name in the bundle it is
// Eudora's folder, which cannot be opened as a file.
CString InBoxPath(CEudoraTransUtil& util, const char* extension);

// Creates missing in-box files and never writes to existing ones. False if one cannot be made; it
// is deleted again, and the reason is queued if the bundle has a text for it.
bool MakeInBox(CEudoraTransUtil& util);

// The open file, owned by the caller; null, with a message, if it does not open. `operation` names
// the caller in the log.
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
// As Fail, with the text for the last error of the MAPI library; null for no log line.
RRETURNCODE FailOfMapi(CEudoraTransUtil& util, const char* log);
// As Fail, with the message that there is no such mail.
RRETURNCODE FailOfNoMail(CEudoraTransUtil& util);

}  // namespace mailstore
