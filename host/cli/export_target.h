#pragma once

#include <memory>
#include <string>

#include "host/base/failure.h"
#include "host/eudora/mailboxes.h"
#include "host/mail/mail.h"
#include "host/mail/mail_facts.h"
#include "host/sync/rules.h"

// Where an export writes. Paths are native, in UTF-8.
namespace host::cli {

enum class ExportFormat { kMaildir, kMbox, kEml };

// The place of one mailbox's mails. Mails are known by the unique names of their facts.
class ExportTarget {
  public:
    virtual ~ExportTarget() = default;

    // Makes what is missing and learns what is there. kRefused for what no export wrote.
    virtual base::Status Open() = 0;
    virtual bool Has(const std::string& unique) const = 0;
    // Adds a mail, whole or not at all. After a failure `isMailAtFault` says that others can still
    // be added.
    virtual base::Status Add(const mail::Mail& mail, const mail::MailFacts& facts,
                             bool& isMailAtFault) = 0;
    // Returns when all mails since the last call are on the disk.
    virtual base::Status Settle() = 0;
};

// Prepares the folder of an export. kRefused if it holds mails that no export wrote, or is kept in
// step with Eudora.
base::Status OpenExportFolder(const sync::RunContext& context, const std::string& folder,
                              ExportFormat format);

// The target of a mailbox in that folder: the Maildir itself or one of its folders; a file
// Work/Offers.mbox (mboxrd); a folder Work/Offers of files, one for each mail. Characters that file
// names do not hold are _ there.
std::unique_ptr<ExportTarget> MakeTarget(const sync::RunContext& context, const std::string& folder,
                                         const eudora::Mailbox& mailbox, ExportFormat format);

}  // namespace host::cli
