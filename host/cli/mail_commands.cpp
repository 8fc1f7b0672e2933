#include "host/cli/mail_commands.h"

#include <limits>

#include <nlohmann/json.hpp>

#include "host/base/output.h"
#include "host/base/paths.h"
#include "host/base/progress.h"
#include "host/cli/mail_table.h"
#include "host/cli/output.h"
#include "host/cli/workplace.h"
#include "host/mail/compose.h"
#include "host/mail/eudora_mails.h"
#include "host/maildir/maildir.h"
#include "text/ascii.h"

namespace host::cli {

namespace {

// Eudora's mails for commands that read them.
struct OpenMails {
    explicit OpenMails(const Options& options) : workplace(options, Workplace::For::kLook) {}
    Workplace workplace;
    translator::TranslatorSession session = workplace.OpenMail();
    mail::EudoraMails mails{session};
};

// Prints the failure of a mail that is passed over; gives the exit code.
base::ExitCode Tell(const base::Failure& failure) {
    base::PrintError(failure.Message());
    return failure.exit;
}

// Makes the mail current. A Message-ID is searched: the one of the mail, or the one that kvsync
// gives it outside Eudora; "<a@b>" and "a@b" are the same.
bool Find(mail::EudoraMails& mails, const std::string& id) {
    if (mail::IsIndexId(id)) return OrEnd(mails.GoTo(id));
    const bool isBracketed = id.size() >= 2 && id.front() == '<' && id.back() == '>';
    const std::string wanted = isBracketed ? id.substr(1, id.size() - 2) : id;
    bool isFound = false;
    OrEnd(mails.Walk(mail::Reach::kWithinLimits, [&](const mail::MailHead&) -> base::Result<bool> {
        const auto mail = mails.Read(mail::MailParts::kHeader);
        if (!mail) {
            (void)Tell(mail.Error());
            return true;
        }
        isFound = mail->messageId == wanted || mail::MessageIdOf(*mail) == wanted;
        return !isFound;
    }));
    return isFound;
}

constexpr std::size_t kBatch = 256;  // mails that are flushed together

// Writes mail after mail into a Maildir that had none. A mail that cannot be read or composed is
// told and left out.
class MailExport {
  public:
    MailExport(const sync::CommandPlace& place, const std::string& folder)
        : m_files(place.files),
          m_clock(place.clock),
          m_folder(folder),
          m_maildir(place.files, place.clock, folder),
          m_progress(place.clock, place.progress) {}

    base::Status Run(Workplace& workplace) {
        auto session = workplace.OpenMail();
        const auto there = m_maildir.List();
        if (!there) return there.Error();
        if (!there->empty()) {
            return base::Refused(m_folder + " holds mails already", "name a new folder with --to");
        }
        if (auto made = m_maildir.Create(); !made) return made;
        mail::EudoraMails mails(session);
        auto walked = mails.Walk(mail::Reach::kWithinLimits,
                                 [&](const mail::MailHead&) { return Add(mails); });
        auto settled = Settle();
        return walked ? settled : walked;
    }

    std::size_t Count() const { return m_count; }
    const std::vector<std::string>& Notes() const { return m_notes; }
    bool HasLeftOut() const { return m_hasLeftOut; }

  private:
    // Exports the current mail, or leaves it out if it cannot be read or composed. True in both
    // cases, so that the walk goes on; a failure of the disk ends it.
    base::Result<bool> Add(mail::EudoraMails& mails) {
        const auto mail = mails.Read(mail::MailParts::kAll);
        if (!mail) return LeaveOut(mail.Error().Message());
        const char* const flags = mail->status == mail::kStatusUnread ? "" : "S";
        const std::string unique = m_maildir.NewName();
        bool isMailAtFault = false;
        const auto size =
            mail::ComposeInto(m_maildir, unique, m_files, m_clock, *mail, isMailAtFault);
        if (!size && !isMailAtFault) return size.Error();
        if (!size) return LeaveOut(NameOf(*mail) + size.Error().Message());
        if (auto delivered = m_maildir.Deliver(unique, flags); !delivered) return delivered.Error();
        for (const std::string& note : mail->notes) m_notes.push_back(NameOf(*mail) + note);
        m_progress.Step("exporting mail", ++m_count);
        m_unsettled.push_back(m_maildir.EntryOf(unique, flags));
        if (m_unsettled.size() < kBatch) return true;
        if (auto settled = Settle(); !settled) return settled.Error();
        return true;
    }

    // Flushes the deliveries since the last call.
    base::Status Settle() {
        auto settled = m_maildir.Settle(m_unsettled);
        m_unsettled.clear();
        return settled;
    }

    static std::string NameOf(const mail::Mail& mail) {
        return "mail " + base::ToUtf8(mail.id) + ": ";
    }
    bool LeaveOut(std::string why) {
        m_notes.push_back(std::move(why));
        return m_hasLeftOut = true;
    }

    platform::Files& m_files;
    platform::Clock& m_clock;
    std::string m_folder;
    maildir::Maildir m_maildir;
    base::Progress m_progress;
    std::vector<maildir::MaildirEntry> m_unsettled;
    std::vector<std::string> m_notes;
    std::size_t m_count = 0;
    bool m_hasLeftOut = false;
};

constexpr std::int32_t kMostDays = 99999;  // so many days ago there was a calendar
constexpr std::int32_t kMostKB = std::numeric_limits<std::int32_t>::max() / 1024;

// What is wrong with a limit that should be "off" or a number up to `most`; "" if nothing is.
std::string WrongNumber(const std::string& text, std::int32_t most) {
    const auto number = text::NumberIn<std::int32_t>(text);
    if (text == "off" || (number && *number >= 0 && *number <= most)) return {};
    return "must be off or a number from 0 to " + std::to_string(most) + ", not " + text;
}

nlohmann::json NumberOrNull(bool limits, std::int32_t number) {
    return limits ? nlohmann::json(number) : nlohmann::json();
}

// The limits that hold, in words and as JSON, in which a limit that is off is null.
Output LimitsOutput(const translator::MailLimits& limits, bool changed) {
    Output output;
    if (changed) output.code = base::ExitCode::kChangesMade;
    output.lines.push_back((changed ? "" : "nothing changed: ") +
                           translator::DescribeLimits(limits));
    output.Finish(
        {{"changed", changed},
         {"ageDays", NumberOrNull(limits.limitsAge, limits.ageDays)},
         {"sizeKB", NumberOrNull(limits.limitsSize, limits.sizeKB)},
         {"attachments", limits.attachments},
         {"attachmentSizeKB", NumberOrNull(limits.limitsAttachments, limits.attachmentKB)}});
    return output;
}

}  // namespace

base::ExitCode ListMail(const Options& options) {
    OpenMails open(options);
    const auto parts = options.json ? mail::MailParts::kWithoutBody : mail::MailParts::kHeader;
    base::ExitCode code = base::ExitCode::kNothingToDo;
    OrEnd(open.mails.Walk(
        mail::Reach::kWithinLimits, [&](const mail::MailHead&) -> base::Result<bool> {
            const auto mail = open.mails.Read(parts);
            if (!mail) {
                code = Tell(mail.Error());
                return true;
            }
            return base::PrintLine(options.json ? MailJson(*mail, false) : MailLine(*mail));
        }));
    return code;
}

base::ExitCode ShowMail(const Options& options) {
    OpenMails open(options);
    if (!Find(open.mails, options.record)) {
        throw Ended(base::Refused(
            "there is no mail " + options.record + " among those that the limits let pass",
            "kvsync list mail shows the ids, and with its id any mail can be shown"));
    }
    const auto mail = OrEnd(open.mails.Read(mail::MailParts::kAll));
    base::PrintText(options.json ? MailJson(mail, true) : MailText(mail));
    return base::ExitCode::kNothingToDo;
}

base::ExitCode ExportMail(const Options& options) {
    Workplace workplace(options, Workplace::For::kLook);
    ProgressLine progress(!options.quiet);
    MailExport target(PlaceOf(options, progress), options.toFolder);
    const auto done = target.Run(workplace);
    progress.Show({});
    Output output = ExportOutput(target.Count(), Subject::kMails, options.toFolder);
    if (options.quiet) output.lines.clear();
    output.errors = target.Notes();
    if (target.HasLeftOut()) output.code = base::ExitCode::kFailed;
    if (!done) {
        output.lines.clear();
        output.code = done.Error().exit;
        output.errors.push_back(done.Error().Message());
    }
    output.Finish({{"exported", target.Count()}});
    return Say(output, options);
}

base::ExitCode ConfigureMail(const Options& options) {
    Workplace workplace(options, Workplace::For::kMail);
    auto session =
        OrEnd(translator::TranslatorSession::Create(workplace.Module(), translator::kMailKind));
    const auto selection = OrEnd(translator::SelectMail(session, workplace.Setup(), false));
    const auto before = OrEnd(translator::ReadMailLimits(session, selection));
    if (options.limits.IsEmpty()) {
        std::string asked = selection;
        SelectInDialog(session, asked,
                       "say what is wanted with --age, --size, --attachments and "
                       "--attachment-size");
    } else {
        OrEnd(translator::ChangeMailLimits(session, selection, options.limits));
    }
    const auto after = OrEnd(translator::ReadMailLimits(session, selection));
    const bool changed = after != before;
    if (changed) OrEnd(session.SaveSettings(selection));
    Output output = LimitsOutput(after, changed);
    if (options.quiet) output.lines.clear();
    return Say(output, options);
}

std::string WrongDays(const std::string& text) {
    return WrongNumber(text, kMostDays);
}

std::string WrongSize(const std::string& text) {
    return WrongNumber(text, kMostKB);
}

}  // namespace host::cli
