#include "host/cli/commands.h"
#include "host/cli/mail_table.h"
#include "host/cli/workplace.h"
#include "host/mail/eudora_mails.h"
#include "host/mail/message_id.h"
#include "host/module/native_path.h"
#include "host/output/output.h"
#include "platform/os/system.h"

namespace host {

namespace {

// "<a@b>" and "a@b" are the same Message-ID.
std::string WithoutBrackets(const std::string& id) {
    const bool isBracketed = id.size() >= 2 && id.front() == '<' && id.back() == '>';
    return isBracketed ? id.substr(1, id.size() - 2) : id;
}

// Walks in search of a Message-ID: the one of the mail, or the one that kvsync gives it outside
// Eudora.
platform::Result<bool> FindMessage(EudoraMails& mails, const std::string& messageId) {
    bool isFound = false;
    auto walked = mails.Walk([&](const MailHead&) -> platform::Result<bool> {
        const auto mail = mails.Current(MailParts::kHeader);
        if (!mail) {
            (void)Fail(mail.Error());
            return true;
        }
        isFound = mail->messageId == messageId || MessageIdOf(*mail) == messageId;
        return !isFound;
    });
    if (!walked) return walked.Error();
    return isFound;
}

platform::Result<bool> Find(EudoraMails& mails, const std::string& id) {
    if (IsIndexId(id)) return mails.GoTo(id);
    return FindMessage(mails, WithoutBrackets(id));
}

platform::Failure NoSuchMail(const std::string& id) {
    return Refused("there is no mail " + id +
                   " among those that the limits let pass: kvsync list " +
                   "mail shows the ids, and with its id any mail can be shown");
}

unsigned CodePage() {
    return platform::NativeSystem().processes.CodePage();
}

}  // namespace

ExitCode ListMail(const Options& options) {
    auto place = Workplace::EnterForMail(options);
    if (!place) return Fail(place.Error());
    auto session = place->OpenMail();
    if (!session) return Fail(session.Error());
    EudoraMails mails(*session, CodePage());
    const MailParts parts = options.json ? MailParts::kWithoutBody : MailParts::kHeader;
    ExitCode code = ExitCode::kNothingToDo;
    const auto walked = mails.Walk([&](const MailHead&) -> platform::Result<bool> {
        const auto mail = mails.Current(parts);
        if (!mail) {
            code = Fail(mail.Error());
            return true;
        }
        return PrintLine(options.json ? MailJson(*mail, false) : MailLine(*mail));
    });
    return walked ? code : Fail(walked.Error());
}

ExitCode ShowMail(const Options& options, const std::string& id) {
    auto place = Workplace::EnterForMail(options);
    if (!place) return Fail(place.Error());
    auto session = place->OpenMail();
    if (!session) return Fail(session.Error());
    EudoraMails mails(*session, CodePage());
    const auto found = Find(mails, id);
    if (!found) return Fail(found.Error());
    if (!*found) return Fail(NoSuchMail(id));
    const auto mail = mails.Current(MailParts::kAll);
    if (!mail) return Fail(mail.Error());
    if (options.json) {
        PrintLine(MailJson(*mail, true));
    } else {
        PrintText(MailText(*mail));
    }
    return ExitCode::kNothingToDo;
}

}  // namespace host
