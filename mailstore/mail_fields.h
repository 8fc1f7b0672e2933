#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "frame/interface/field_ids.h"
#include "frame/trans_util.h"

// The eleven fields of a mail, and what the host receives for those that a message holds.
namespace mailstore {

// Replaces the list by the fields in their promised order.
void BuildFieldList(CREudoraFieldArray& fields);

// A mail's status as the host has it.
inline constexpr std::uint32_t kReadBit = 0x20000;
inline constexpr std::uint32_t kStatusUnread = 1;
inline constexpr std::uint32_t kStatusRead = kStatusUnread | kReadBit;
inline constexpr std::uint32_t kStatusSent = 4;
// The status that the flags of a message tell.
std::uint32_t StatusOfFlags(std::uint32_t flags);

// The body of a message's note text: without "<x-flowed>" and "</x-flowed>", with CR LF for each
// line feed.
std::string BodyOf(std::string_view note);
// The length of `text` without its last `count` attachment trailers: lines that begin with
// `marker` behind an empty line. What follows a trailer goes with it, and so does the empty line.
// Without a marker there are no trailers.
std::size_t LengthWithoutTrailers(std::string_view text, std::size_t count,
                                  std::string_view marker);

// Gives the value of a field of the library's current message. A text is a block of its own that
// the host frees; a missing one is null, and one that fails leaves the cell as it is. RRC_FAILED
// with a message if the value makes no sense or memory runs out.
RRETURNCODE GiveField(CEudoraTransUtil& util, MailField field, const MapiMessage& message,
                      void* cell);
// The same for any text.
RRETURNCODE GiveText(CEudoraTransUtil& util, const std::optional<std::string>& text, char*& cell);

}  // namespace mailstore
