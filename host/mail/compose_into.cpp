#include "host/mail/compose_into.h"

#include "host/base/out_of_memory.h"
#include "host/mail/compose.h"
#include "host/mail/mail_date.h"

namespace host::mail {

namespace {

// Local time's difference to UTC at the mail's date.
std::chrono::seconds OffsetAt(platform::Clock& clock, const Mail& mail) {
    const auto local = mail.date ? FromOleDate(*mail.date) : std::nullopt;
    if (!local) return clock.UtcOffset(clock.Now());
    // The offset at an instant is asked for with the local time first, then with what that gives:
    // right but for the hours around a change.
    const std::chrono::system_clock::time_point asUtc(local->time_since_epoch());
    return clock.UtcOffset(asUtc - clock.UtcOffset(asUtc));
}

}  // namespace

platform::Result<std::uint64_t> ComposeInto(maildir::Maildir& maildir, const std::string& unique,
                                            platform::Files& files, platform::Clock& clock,
                                            const Mail& mail, bool& isMailAtFault) {
    isMailAtFault = false;
    const auto offset = OffsetAt(clock, mail);
    return maildir.Write(unique, [&](platform::File& file) {
        isMailAtFault = true;
        const auto write = [&](std::string_view piece) {
            auto written = file.Write(piece);
            isMailAtFault = written.HasValue();
            return written;
        };
        return base::OrOutOfMemory([&] { return ComposeMail(files, mail, offset, write); });
    });
}

}  // namespace host::mail
