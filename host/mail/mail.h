#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// Mails as they are told, in both directions. Texts are UTF-8 unless stated.
namespace host::mail {

struct MailAttachment {
    std::string name;  // as Eudora shows it
    std::string path;  // native; a copy that is there until the session is closed
};

// What the translator told of one mail; nothing for a field without value.
struct Mail {
    std::string id;      // the record id, system code page
    std::string marker;  // changes with the read state alone
    std::optional<std::string> from, to, cc, bcc, subject, body;
    std::optional<double> date;           // OLE automation date in local time
    std::optional<std::uint32_t> status;  // one of those below
    std::optional<std::string> messageId;
    std::uint32_t size = 0;  // bytes of the text as Eudora has it
    std::vector<MailAttachment> attachments;
    std::vector<std::string> notes;  // fields that could not be read, and why
};

inline constexpr std::uint32_t kStatusUnread = 1;
inline constexpr std::uint32_t kStatusRead = 0x20001;
inline constexpr std::uint32_t kStatusToSend = 2;
inline constexpr std::uint32_t kStatusSent = 4;

// Somebody who gets a mail. Without line ends and other control characters; the address is never
// empty, the name often is.
struct Recipient {
    std::string name, address;
};

struct NewAttachment {
    std::string name;             // a plain file name, system code page
    std::string path;             // as the module takes it; a file of ours, gone when stored
    std::string copyName = name;  // of the copy in Eudora's folder, where it is free
};

// A mail on its way into Eudora. Texts are in the system code page and fit the translator's fields:
// no zero bytes, one line but for the body, whose line ends are CR LF without one at its end.
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

// What a report calls a mail: "SUBJECT from SENDER" in one line, without anything that moves a
// terminal's cursor.
std::string MailName(std::string subject, std::string from);

// Recipients as a field text ("; " between them, names in quotes where they need them), for a mail
// that is stored; a semicolon in a name becomes a blank, since each one separates.
std::string StoredRecipients(const std::vector<Recipient>& recipients);
// The same for a mail that is sent, where a comma separates as well and a blank stays.
std::string OutgoingRecipients(const std::vector<Recipient>& recipients);

// The Message-ID that a mail has outside Eudora, without its angle brackets: its own where it has
// one that a header can hold. A mail without one is known to Eudora by its place alone (its index
// id, not the same mail in another mailbox), so it gets one made of that and of what is told of it:
// the same at each run, another for another mail.
std::string MessageIdOf(const Mail& mail);

// Whether a text is the id by which Eudora knows a mail: "0x" and eight upper-case hexadecimal
// digits.
bool IsIndexId(std::string_view id);

// Whether a mail can keep its Message-ID on its way: a header can hold it, and it is no index id.
bool CanKeepMessageId(std::string_view id);

// 64 bits as 16 hexadecimal digits that differ for different texts, but not for a person's
// purpose.
std::string Fingerprint(std::string_view text);
// Of the pieces as one text.
std::string Fingerprint(std::span<const std::string_view> pieces);

}  // namespace host::mail
