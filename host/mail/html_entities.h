#pragma once

#include <string>
#include <string_view>

namespace host::mail {

// The text with its character references (&eacute; &#233; &#xE9;) replaced, UTF-8. One that is not
// known stays as it stands.
std::string DecodedEntities(std::string_view html);

}  // namespace host::mail
