#pragma once

#include <string>
#include <vector>

namespace host::maildir {

// The name of a folder in a Maildir++, by the names of the folders on the way to it (UTF-8):
// ".Work.Offers". What is not ASCII, the dot and the separators of paths are in the modified UTF-7
// of IMAP (RFC 3501, section 5.1.3), as the programs that read such folders have it.
std::string FolderName(const std::vector<std::string>& names);

}  // namespace host::maildir
