#pragma once

#include <optional>
#include <string>
#include <vector>

namespace host::mail {

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

// Recipients as a field text ("; " between them, names in quotes where they need them), for a mail
// that is stored; a semicolon in a name becomes a blank, since each one separates.
std::string StoredRecipients(const std::vector<Recipient>& recipients);
// The same for a mail that is sent, where a comma separates as well and a blank stays.
std::string OutgoingRecipients(const std::vector<Recipient>& recipients);

}  // namespace host::mail
