#pragma once

#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <string>

#include "host/base/failure.h"
#include "host/mail/mail.h"

// The interface through which commands and syncs see Eudora's mails.
namespace host::mail {

// Identity and state of a mail.
struct MailHead {
    std::string id;
    std::string marker;  // empty: the mail cannot be read, and Read tells why
};

// Which parts of a mail are read: attachments cost a copy of each file.
enum class MailParts { kAll, kWithoutAttachments, kWithoutBody, kHeader };

// Which mails a walk visits: those within Eudora's limits of age and size, or all.
enum class Reach { kWithinLimits, kAll };

// Eudora's in-box: a walk, one current mail, and changes. Ids and markers are in the system code
// page, other texts in UTF-8 unless stated.
class MailSource {
  public:
    // False from it ends the walk, and so does a failure.
    using Visit = std::function<base::Result<bool>(const MailHead&)>;

    virtual ~MailSource() = default;

    // Whether the limits of age and size hide anything at all.
    virtual bool HasLimits() const = 0;
    // One line on what the limits leave out and how that is changed; empty if they leave out
    // nothing.
    virtual std::string Limits() const { return {}; }
    // How many bytes an attachment may have to pass the limits; 0 if none passes.
    virtual std::uint64_t LargestAttachment() const {
        return std::numeric_limits<std::uint64_t>::max();
    }
    // Visits the mails in the mailbox's order, and those that cannot be read; each is the current
    // one while it is visited.
    virtual base::Status Walk(Reach reach, const Visit& visit) = 0;
    // Makes a mail the current one, whatever the limits hide; nothing if it is gone, a failure if
    // it cannot be read. Cheap in mailbox order.
    virtual base::Result<std::optional<MailHead>> Find(const std::string& id) = 0;

    // Of the current mail: its Message-ID without angle brackets in the system code page, empty if
    // it has none, nothing if that cannot be told; what a report calls it.
    virtual std::optional<std::string> MessageId() = 0;
    virtual std::string Name() = 0;
    // All of the current mail. A field that cannot be read is left out and told in its notes; where
    // nothing can be read, the failure names the mail by what can.
    virtual base::Result<Mail> Read(MailParts parts) = 0;

    // The changes wait: removals until SignOff, unless Eudora's library carries them out at once,
    // the others until Finish.

    // Puts a mail into the in-box, unread or read (kStatusUnread, kStatusRead). Its attachment
    // files are gone afterwards. Gives the id and the marker that it will have. A mail that names
    // no recipient goes to "undisclosed-recipients": Eudora's index passes over one without any.
    // Nothing of a mail that fails is stored.
    virtual base::Result<MailHead> Add(const NewMail& mail, std::uint32_t status) = 0;
    // Hands a mail over for sending. It has no id. Finish puts such mails into the out-box in their
    // order and ends with the first one that fails, of whose place only the out-box tells.
    virtual base::Status AddOutgoing(const NewMail& mail) = 0;
    // Changes the read state of a mail (kStatusUnread, kStatusRead).
    virtual base::Status SetStatus(const std::string& id, std::uint32_t status) = 0;
    // Moves a mail into Eudora's Trash. It is no mail of the in-box any more.
    virtual base::Status Remove(const std::string& id) = 0;
    // Carries out what waits. After a failure a part may have been carried out; the in-box can be
    // read again all the same.
    virtual base::Status Finish() = 0;
    // Carries out what waits and leaves Eudora's library, which ends the use of this object. Mails
    // that could not be moved into the Trash are in the in-box again; nothing else tells of that.
    virtual base::Status SignOff() = 0;
};

}  // namespace host::mail
