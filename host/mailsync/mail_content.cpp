#include "host/mailsync/mail_content.h"

#include <algorithm>
#include <vector>

#include "host/mail/mail_date.h"
#include "host/mail/message_id.h"

namespace host::mailsync {

namespace {

std::string Printable(std::string text) {
    std::ranges::replace_if(
        text,
        [](char letter) { return static_cast<unsigned char>(letter) < ' ' || letter == 0x7F; },
        ' ');
    return text;
}

}  // namespace

std::string MailName(std::string subject, std::string from) {
    subject = Printable(std::move(subject));
    if (subject.empty()) subject = "(no subject)";
    return from.empty() ? subject : subject + " from " + Printable(std::move(from));
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
        if (const auto local = mail::FromOleDate(*mail.date)) date = mail::IsoDate(*local);
    }
    pieces.push_back(date);
    return mail::Fingerprint(pieces);
}

std::chrono::seconds OffsetAt(platform::Clock& clock, const mail::Mail& mail) {
    const auto local = mail.date ? mail::FromOleDate(*mail.date) : std::nullopt;
    if (!local) return clock.UtcOffset(clock.Now());
    // The offset at an instant is asked for with the local time first, then with what that gives:
    // right but for the hours around a change.
    const std::chrono::system_clock::time_point asUtc(local->time_since_epoch());
    return clock.UtcOffset(asUtc - clock.UtcOffset(asUtc));
}

}  // namespace host::mailsync
