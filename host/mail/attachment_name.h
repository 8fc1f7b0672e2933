#pragma once

#include <string>

namespace host::mail {

// A name (UTF-8) made into one that a file can have on Windows in that code page: no folder, no
// character that file names or the code page lack, no device, not too long; its extension is kept.
// `fallback` stands for a name of which nothing is left.
std::string PlainAttachmentName(const std::string& name, const std::string& fallback,
                                unsigned codePage);

}  // namespace host::mail
