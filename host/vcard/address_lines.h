#pragma once

#include <string>
#include <string_view>

namespace host::vcard {

// The lines of text that the value of an ADR property stands for: post-office box, extension,
// street, then place, region and code on one line, then country.
std::string AddressLines(std::string_view value);

// The ADR value for new lines. A component whose line is still where it was stays a component; all
// else becomes the street. AddressLines of the result gives `lines` again.
std::string ChangeAddress(std::string_view oldValue, std::string_view lines);

}  // namespace host::vcard
