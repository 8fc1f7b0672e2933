#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "mapi/records.h"

namespace mailstore {

// The recipients of a mail under construction, a text of addresses for each class.
struct RecipientTexts {
    std::string_view to, cc, bcc;
};

// The pieces between semicolons and commas that are not empty.
std::vector<std::string> SplitAddresses(std::string_view text);
// The pieces between semicolons that are not empty, joined by ", ".
std::string JoinAddresses(std::string_view text);

// Gives the record, which has none, one recipient for each single address, To first, then cc, then
// bcc. When memory runs out it has none still.
void SetSingleRecipients(MapiMessage& record, const RecipientTexts& texts);
// Gives the record one recipient for each class that has a text, in the same order.
void SetJoinedRecipients(MapiMessage& record, const RecipientTexts& texts);

}  // namespace mailstore
