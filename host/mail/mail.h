#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace host::mail {

struct MailAttachment {
    std::string name;  // as Eudora shows it, UTF-8
    std::string path;  // native, UTF-8; a copy that is there until the session is closed
};

// What the translator told of one mail. Texts are UTF-8 unless stated; nothing for a field without
// value.
struct Mail {
    std::string id;      // the record id, system code page
    std::string marker;  // changes with the read state alone
    std::optional<std::string> from, to, cc, bcc, subject, body;
    std::optional<double> date;           // OLE automation date in local time
    std::optional<std::uint32_t> status;  // 1 unread, 0x20001 read, 2 to be sent, 4 sent
    std::optional<std::string> messageId;
    std::uint32_t size = 0;  // bytes of the text as Eudora has it
    std::vector<MailAttachment> attachments;
    std::vector<std::string> notes;  // fields that could not be read, and why; UTF-8
};

// What a report calls a mail: "SUBJECT from SENDER" in one line, without anything that moves a
// terminal's cursor. UTF-8.
std::string MailName(std::string subject, std::string from);

inline constexpr std::uint32_t kStatusUnread = 1;
inline constexpr std::uint32_t kStatusRead = 0x20001;
inline constexpr std::uint32_t kStatusToSend = 2;
inline constexpr std::uint32_t kStatusSent = 4;

}  // namespace host::mail
