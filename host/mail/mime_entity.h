#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace host::mail {

// A message or a part of one, as it stands: the lines of its header and what comes below. These are
// found here and not by GMime's parser, which drops what stands in a header and is no field, parts
// without a header among it, gives attached mails back rewritten, and whose need of memory and of
// stack a hostile header decides (docs/architecture.md).
struct Entity {
    std::string_view header, body;
};

// The header ends at an empty line, or in front of a line that belongs to none.
Entity SplitEntity(std::string_view bytes);

// The value of the first field of that name, its lines joined, blanks at both ends gone; empty if
// there is none. A value longer than a sane one is cut.
std::string FieldValue(const Entity& entity, std::string_view name);
// The values of all fields of that name, ", " between them.
std::string FieldValues(const Entity& entity, std::string_view name);

// The parts of a multipart body, at most `most`. A missing last delimiter is taken as standing at
// the end; without any delimiter there are no parts.
std::vector<std::string_view> SplitParts(std::string_view body, std::string_view boundary,
                                         std::size_t most);

}  // namespace host::mail
