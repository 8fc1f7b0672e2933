#include "host/mailsync/mail_sides.h"

#include "text/calendar.h"

namespace host::mailsync {

const std::string& FileMessageIdOf(const state::RememberedMail& row) {
    return row.fileId.empty() ? row.messageId : row.fileId;
}

// Nothing is copied: a mail may be nearly as large as the memory that there is.
std::string ContentOf(const mail::Mail& mail) {
    std::vector<std::string_view> pieces;
    for (const auto* field :
         {&mail.from, &mail.to, &mail.cc, &mail.bcc, &mail.subject, &mail.body}) {
        if (*field) pieces.push_back(**field);
        pieces.emplace_back("\0", 1);
    }
    std::string date;
    if (mail.date) {
        if (const auto local = text::FromOleDate(*mail.date)) date = text::IsoText(*local);
    }
    pieces.push_back(date);
    return mail::Fingerprint(pieces);
}

bool IsSeen(const std::string& marker) {
    return marker != std::to_string(mail::kStatusUnread);
}

std::string FlagsOf(const std::string& marker) {
    return IsSeen(marker) ? "S" : "";
}

bool IsSeen(const maildir::MaildirEntry& file) {
    return maildir::HasFlag(file.flags, 'S');
}

std::string MarkerOf(bool isSeen) {
    return std::to_string(isSeen ? mail::kStatusRead : mail::kStatusUnread);
}

std::unordered_set<std::string> UniqueNames(const std::vector<maildir::MaildirEntry>& files) {
    std::unordered_set<std::string> names;
    for (const maildir::MaildirEntry& file : files) names.insert(file.unique);
    return names;
}

}  // namespace host::mailsync
