#pragma once

#include <memory>

#include "frame/trans_util.h"
#include "platform/os/files.h"

// The two files of Eudora's in-box. They lie in Eudora's folder; the bundle has their name. Paths
// are Windows paths in the system code page.
namespace mailstore {

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

}  // namespace mailstore
