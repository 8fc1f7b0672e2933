#pragma once

#include <string>

#include "eumapi/temporary_files.h"

namespace eumapi {

// Copies the files that the attachment lines at the end of a mail's text name. Such a line is the
// sender's text and leads nowhere but to what lies, all links followed, in a folder where Eudora
// keeps attachments: Attach in its own folder (a Windows path that ends in a separator), and the
// one that Eudora.ini names. The text has bare LF line ends.
//
// Afterwards the text is as a reader expects it who takes off, from its end, one attachment line
// with a blank line above it for each file that he was given: the lines of files that are not there
// stand before the others, so that these alone go. What he is left with has no blank line that was
// not there. A text that is so already stays as it is, to the byte.
Code CopyAttachments(const platform::System& system, const std::string& eudoraFolder,
                     std::string& note, AttachmentCopies& copies);

}  // namespace eumapi
