#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "frame/interface/field_ids.h"
#include "frame/trans_util.h"

// The eleven fields of a mail and their values for the host. Texts are in the system code page.
namespace mailstore {

// Replaces the list by the fields in their promised order.
void BuildFieldList(CREudoraFieldArray& fields);

// A mail's status in the host's numbers.
inline constexpr std::uint32_t kReadBit = 0x20000;
inline constexpr std::uint32_t kStatusUnread = 1;
inline constexpr std::uint32_t kStatusRead = kStatusUnread | kReadBit;
inline constexpr std::uint32_t kStatusSent = 4;
// The status for the flags of a message (mapi/records.h).
std::uint32_t StatusOfFlags(std::uint32_t flags);

// The body of a message's note text: without "<x-flowed>" and "</x-flowed>", with CR LF for each
// line feed.
std::string BodyOf(std::string_view note);
// The length in bytes of `text` without its last `count` attachment trailers: an empty line, a line
// that begins with `marker`, and everything up to the next trailer. An empty marker finds none.
std::size_t LengthWithoutTrailers(std::string_view text, std::size_t count,
                                  std::string_view marker);

// Stores the value of a field of the library's current message in the host's cell. A text is a
// block that the host frees with FreeVornString; a missing one is null, and an empty body leaves
// the cell as it is. RRC_FAILED, with a message, if a date makes no sense, and the cell then has no
// date, or if memory runs out, and a text cell then holds no new block.
RRETURNCODE GiveField(CEudoraTransUtil& util, MailField field, const MapiMessage& message,
                      void* cell);
// Stores any text in the same way.
RRETURNCODE GiveText(CEudoraTransUtil& util, const std::optional<std::string>& text, char*& cell);

}  // namespace mailstore
