#pragma once

#include <string>
#include <string_view>

#include "mailbox/toc_records.h"
#include "mailstore/mail_date.h"
#include "mapi/records.h"

namespace mailstore {

// Words of the language bundle that stand in a mailbox.
struct MailLabels {
    std::string from;        // opens the separator line and the sender's line
    std::string attachment;  // opens an attachment line
};

// Appends the mail as docs/formats/mbx.md tells, from its separator line to its last line end. The
// record's texts go in as they are; a null one is empty.
void AppendMailText(std::string& out, const MapiMessage& mail, std::string_view messageId,
                    const MailDate& date, const MailLabels& labels);

// The mail's block but for its place. The texts of the fields are cut at whole characters of the
// code page.
mailbox::MsgBlock MakeMsgBlock(const MapiMessage& mail, const MailDate& date, unsigned codePage);

}  // namespace mailstore
