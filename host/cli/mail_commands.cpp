#include "host/base/failure.h"
#include "host/base/output.h"
#include "host/base/paths.h"
#include "host/cli/commands.h"
#include "host/cli/mail_table.h"
#include "host/cli/workplace.h"
#include "host/mail/eudora_mails.h"

namespace host::cli {

namespace {

// "<a@b>" and "a@b" are the same Message-ID.
std::string WithoutBrackets(const std::string& id) {
    const bool isBracketed = id.size() >= 2 && id.front() == '<' && id.back() == '>';
    return isBracketed ? id.substr(1, id.size() - 2) : id;
}

// Of a mail that is passed over; the walk goes on.
base::ExitCode Tell(const base::Failure& failure) {
    base::PrintError(failure.Message());
    return failure.exit;
}

// Walks in search of a Message-ID: the one of the mail, or the one that kvsync gives it outside
// Eudora.
base::Result<bool> FindMessage(mail::EudoraMails& mails, const std::string& messageId) {
    bool isFound = false;
    auto walked =
        mails.Walk(mail::Reach::kWithinLimits, [&](const mail::MailHead&) -> base::Result<bool> {
            const auto mail = mails.Read(mail::MailParts::kHeader);
            if (!mail) {
                (void)Tell(mail.Error());
                return true;
            }
            isFound = mail->messageId == messageId || mail::MessageIdOf(*mail) == messageId;
            return !isFound;
        });
    if (!walked) return walked.Error();
    return isFound;
}

base::Result<bool> Find(mail::EudoraMails& mails, const std::string& id) {
    if (mail::IsIndexId(id)) return mails.GoTo(id);
    return FindMessage(mails, WithoutBrackets(id));
}

base::Failure NoSuchMail(const std::string& id) {
    return base::Refused("there is no mail " + id + " among those that the limits let pass",
                         "kvsync list mail shows the ids, and with its id any mail can be shown");
}

}  // namespace

Ending ListMail(const Options& options) {
    auto workplace = Workplace::EnterForMail(options);
    if (!workplace) return workplace.Error();
    auto session = workplace->OpenMail();
    if (!session) return session.Error();
    mail::EudoraMails mails(*session);
    const mail::MailParts parts =
        options.json ? mail::MailParts::kWithoutBody : mail::MailParts::kHeader;
    base::ExitCode code = base::ExitCode::kNothingToDo;
    const auto walked =
        mails.Walk(mail::Reach::kWithinLimits, [&](const mail::MailHead&) -> base::Result<bool> {
            const auto mail = mails.Read(parts);
            if (!mail) {
                code = Tell(mail.Error());
                return true;
            }
            return base::PrintLine(options.json ? MailJson(*mail, false) : MailLine(*mail));
        });
    if (!walked) return walked.Error();
    return code;
}

Ending ShowMail(const Options& options, const std::string& id) {
    auto workplace = Workplace::EnterForMail(options);
    if (!workplace) return workplace.Error();
    auto session = workplace->OpenMail();
    if (!session) return session.Error();
    mail::EudoraMails mails(*session);
    const auto found = Find(mails, id);
    if (!found) return found.Error();
    if (!*found) return NoSuchMail(id);
    const auto mail = mails.Read(mail::MailParts::kAll);
    if (!mail) return mail.Error();
    base::PrintText(options.json ? MailJson(*mail, true) : MailText(*mail));
    return base::ExitCode::kNothingToDo;
}

}  // namespace host::cli
