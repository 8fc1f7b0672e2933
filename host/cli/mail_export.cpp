#include "host/base/failure.h"
#include "host/base/output.h"
#include "host/base/paths.h"
#include "host/base/progress.h"
#include "host/cli/commands.h"
#include "host/cli/workplace.h"
#include "host/mail/compose.h"
#include "host/mail/eudora_mails.h"
#include "host/maildir/maildir.h"

namespace host::cli {

namespace {

constexpr std::size_t kBatch = 256;  // mails that are brought onto the disk together

// Writes mail after mail into a Maildir that had none. A mail that cannot be read or composed is
// told and left out.
class MailExport {
  public:
    MailExport(const sync::CommandPlace& place, const std::string& folder)
        : m_files(place.files),
          m_clock(place.clock),
          m_maildir(place.files, place.clock, folder),
          m_progress(place.clock, place.progress) {}

    base::Status Begin(const std::string& folder) {
        const auto there = m_maildir.List();
        if (!there) return there.Error();
        if (!there->empty()) {
            return base::Refused(folder + " holds mails already", "name a new folder with --to");
        }
        return m_maildir.Create();
    }

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

    base::Status Settle() {
        auto settled = m_maildir.Settle(m_unsettled);
        m_unsettled.clear();
        return settled;
    }

    std::size_t Count() const { return m_count; }
    const std::vector<std::string>& Notes() const { return m_notes; }
    bool HasLeftOut() const { return m_hasLeftOut; }

  private:
    static std::string NameOf(const mail::Mail& mail) {
        return "mail " + base::ToUtf8(mail.id) + ": ";
    }
    bool LeaveOut(std::string why) {
        m_notes.push_back(std::move(why));
        return m_hasLeftOut = true;
    }

    platform::Files& m_files;
    platform::Clock& m_clock;
    maildir::Maildir m_maildir;
    base::Progress m_progress;
    std::vector<maildir::MaildirEntry> m_unsettled;
    std::vector<std::string> m_notes;
    std::size_t m_count = 0;
    bool m_hasLeftOut = false;
};

base::Status Export(Workplace& workplace, MailExport& target, const std::string& folder) {
    auto session = workplace.OpenMail();
    if (!session) return session.Error();
    if (auto begun = target.Begin(folder); !begun) return begun;
    mail::EudoraMails mails(*session);
    auto walked = mails.Walk(mail::Reach::kWithinLimits,
                             [&](const mail::MailHead&) { return target.Add(mails); });
    auto settled = target.Settle();
    return walked ? settled : walked;
}

}  // namespace

Ending ExportMail(const Options& options, const std::string& toFolder) {
    auto workplace = Workplace::EnterForMail(options);
    if (!workplace) return workplace.Error();
    ProgressLine progress(!options.quiet);
    const auto command = PlaceOf(options, progress);
    if (!command) return command.Error();
    MailExport target(*command, toFolder);
    const auto done = Export(*workplace, target, toFolder);
    progress.Show({});
    for (const std::string& note : target.Notes()) base::PrintError(note);
    if (!done) return done.Error();
    if (!options.quiet) {
        base::PrintLine(std::to_string(target.Count()) + " mails exported to " + toFolder);
    }
    if (target.HasLeftOut()) return base::ExitCode::kFailed;
    return target.Count() > 0 ? base::ExitCode::kChangesMade : base::ExitCode::kNothingToDo;
}

}  // namespace host::cli
