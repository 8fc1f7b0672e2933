#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "text/fingerprint.h"

// Mails on their way out of Eudora (Mail) and into it (NewMail). Texts are UTF-8 unless stated.
namespace host::mail {

// A file that came with a mail.
struct MailAttachment {
    std::string name;  // as Eudora shows it
    std::string path;  // native, UTF-8; a copy of the session's, there until it is closed
};

// One mail as the translator gives it; nothing for a field without value.
struct Mail {
    std::string id;      // the record id, system code page
    std::string marker;  // changes with the read state alone
    std::optional<std::string> from, to, cc, bcc, subject, body;
    std::optional<double> date;           // OLE automation date in local time
    std::optional<std::uint32_t> status;  // one of those below
    std::optional<std::string> messageId;
    std::uint32_t size = 0;  // bytes of the text as Eudora has it
    std::vector<MailAttachment> attachments;
    // Bytes of the smallest attachment that the limits left out, 1 if that is unknown; 0 for none.
    std::uint64_t leftOut = 0;
    std::vector<std::string> notes;  // fields that could not be read, and why
    std::string label;               // the number of its label in Eudora; empty for none
    // The header in the mailbox file, bytes of the system code page with any line ends; empty if it
    // could not be read.
    std::string header;
};

// A mail's status, in the translator's numbers.
inline constexpr std::uint32_t kStatusUnread = 1;
inline constexpr std::uint32_t kStatusRead = 0x20001;
inline constexpr std::uint32_t kStatusToSend = 2;
inline constexpr std::uint32_t kStatusSent = 4;

// A recipient of a mail. Neither text has control characters; the address is never empty, the name
// often is.
struct Recipient {
    std::string name, address;
};

// A file that goes into Eudora with a mail.
struct NewAttachment {
    std::string name;             // a plain file name, system code page
    std::string path;             // Windows path of our own file; the module deletes it once stored
    std::string copyName = name;  // of the copy in Eudora's folder, if it is free there
};

// A mail on its way into Eudora. Texts are in the system code page and fit the translator's fields:
// no zero bytes, and one line each. The body has CR LF line ends and none behind the last line.
struct NewMail {
    std::string from;  // empty if the mail does not tell
    std::vector<Recipient> to, cc, bcc;
    std::string subject;
    std::optional<double> date;  // OLE automation date in local time
    std::string messageId;       // without angle brackets; never empty, the same at each reading
    std::string body;
    std::vector<NewAttachment> attachments;
    std::size_t lostCharacters = 0;  // that the code page lacks; "?" stands for each
    std::vector<std::string> notes;  // what else was left out or cut, a line each; UTF-8
};

// The name of a mail in reports: "SUBJECT from SENDER" in one line without control characters.
std::string MailName(std::string subject, std::string from);

// Recipients as a field text for a mail that is stored: "; " between them, names in quotes where
// they need them. A semicolon in a name becomes a blank, as it separates recipients.
std::string StoredRecipients(const std::vector<Recipient>& recipients);
// The same for a mail that is sent: ";" between them, and a comma in a name becomes a blank too.
std::string OutgoingRecipients(const std::vector<Recipient>& recipients);

// The Message-ID of a mail outside Eudora, without angle brackets. A mail keeps its own if a header
// can hold it. Any other gets one made of its index id and a fingerprint of sender, recipients,
// subject, date and size: the same at each run, and different for different mails.
std::string MessageIdOf(const Mail& mail);

// Whether a text is an index id, the id of a mail in Eudora: "0x" and eight upper-case hexadecimal
// digits.
bool IsIndexId(std::string_view id);

// Whether a mail can keep its Message-ID on its way: a header can hold it, and it is no index id.
bool CanKeepMessageId(std::string_view id);

using text::Fingerprint;

}  // namespace host::mail
