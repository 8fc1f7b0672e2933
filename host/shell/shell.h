#pragma once

#include <istream>
#include <optional>
#include <string>
#include <string_view>

#include "host/translator/translator_host.h"

namespace host::shell {

// "contacts", "mail", "other" (a kind that the module does not know) or a number.
std::optional<unsigned long> ParseKind(std::string_view text);

// A console on the translator interface, with a translator of the kind in hand: one operation a
// line in, one JSON object a line out, as soon as the operation is done. Empty lines and lines that
// begin with # are passed over. A line that cannot be used gives {"op":...,"error":...} and the
// next one is read. kFailed, with nothing read, if the module gives no translator.
base::Status RunShell(translator::TranslatorHost& module, unsigned long kind, std::istream& in);

// The list of operations for the help text.
std::string ShellHelp();

}  // namespace host::shell
