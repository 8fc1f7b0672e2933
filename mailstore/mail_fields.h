#pragma once

#include <optional>
#include <string>

#include "frame/interface/field_ids.h"
#include "frame/trans_util.h"

// The eleven fields of a mail, and what the host receives for those that a message holds.
namespace mailstore {

// Replaces the list by the fields in their promised order.
void BuildFieldList(CREudoraFieldArray& fields);

// Gives the value of a field of the library's current message. A text is a block of its own that
// the host frees; a missing one is null, and one that fails leaves the cell as it is. RRC_FAILED
// with a message if the value makes no sense or memory runs out.
RRETURNCODE GiveField(CEudoraTransUtil& util, MailField field, const MapiMessage& message,
                      void* cell);
// The same for any text.
RRETURNCODE GiveText(CEudoraTransUtil& util, const std::optional<std::string>& text, char*& cell);

// Says that there is no such mail.
RRETURNCODE InvalidMessage(CEudoraTransUtil& util);

}  // namespace mailstore
