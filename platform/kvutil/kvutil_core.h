#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "platform/kvutil/kvutil.h"

// The functions of kvUtil over a given registry and code page.
namespace kvutil {

// A text value of at most `size` bytes with its closing zero; kTooLarge if it has more.
platform::Result<std::string> ReadBoundedText(platform::Registry& registry,
                                              platform::RegistryRoot root, std::string_view key,
                                              std::string_view value, std::size_t size);

// The last `count` bytes of the text; one fewer if that would begin with the second half of a
// character of the code page. Code page 0 knows no double-byte characters.
std::string_view LastBytes(std::string_view text, std::size_t count, unsigned codePage);

// The path whole if it has at most `limit` bytes, else its beginning, "..." and its end, cut at
// whole characters, with at most `limit` bytes together. A limit below 3 leaves that many dots.
std::string ShortenPath(std::string_view path, std::size_t limit, unsigned codePage);

// The text form of an attachment list, as kvutil.h tells it.
std::string EncodeAttachments(const CArray<CRAttachmentInfo>& list);
// Adds the elements to `list`. False at a line without five fields, with a number field that is no
// 32-bit number, an unknown escape or a control character in the path; the elements of the lines
// before it are in the list.
bool DecodeAttachments(std::string_view text, CArray<CRAttachmentInfo>& list);

}  // namespace kvutil
