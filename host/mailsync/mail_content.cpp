#include "host/mailsync/mail_content.h"

#include <algorithm>

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

std::string ContentOf(const mail::Mail& mail) {
    std::string all;
    for (const auto* field :
         {&mail.from, &mail.to, &mail.cc, &mail.bcc, &mail.subject, &mail.body}) {
        all.append(field->value_or("")).append(1, '\0');
    }
    if (mail.date) {
        if (const auto local = mail::FromOleDate(*mail.date)) all += mail::IsoDate(*local);
    }
    return mail::Fingerprint(all);
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
