#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "host/shell/line_source.h"
#include "host/translator/translator_host.h"

namespace host::shell {

// "contacts", "mail", "other" (a kind that the module does not know) or a number.
std::optional<unsigned long> ParseKind(std::string_view text);

// Reads operations from `lines`, one each, and prints a JSON object for each at once. It begins
// with a translator of the data kind. Of contacts an empty selection takes `nicknameFile`, a
// Windows path in the system code page, or the module's own choice if that is empty. Empty lines
// and lines that begin with # are passed over. An unusable line gives {"op":...,"error":...}, and
// the next one is read. kFailed, with nothing read, if the module gives no translator.
base::Status RunShell(translator::TranslatorHost& module, unsigned long kind,
                      const std::string& nicknameFile, const LineSource& lines);

// The list of operations for the help text.
std::string ShellHelp();

}  // namespace host::shell
