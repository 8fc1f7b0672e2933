#pragma once

#include <string>

#include "eumapi/temporary_files.h"

namespace eumapi {

// Copies the files that the attachment lines at the end of a mail's text name. `eudoraFolder` is a
// Windows path that ends in a separator; the text has LF line ends. The sender can write such lines
// too, so only files in Eudora's attachment folders are copied, with all links followed: Attach in
// Eudora's folder, and the folder that Eudora.ini names.
//
// A reader removes, from the end of the text, one attachment line with a blank line above it for
// each file that it got. So the lines of missing files are moved in front of the others, and only
// lines of copied files are removed; no blank line is added to the rest. A text in that order stays
// as it is, to the byte. After a failure `copies` owns the copies made so far.
Code CopyAttachments(const platform::System& system, const std::string& eudoraFolder,
                     std::string& note, AttachmentCopies& copies);

}  // namespace eumapi
