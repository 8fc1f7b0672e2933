#include "host/cli/mail_export.h"

#include <algorithm>

#include "host/base/output.h"
#include "host/base/paths.h"
#include "host/base/progress.h"
#include "host/cli/export_target.h"
#include "host/cli/output.h"
#include "host/cli/workplace.h"
#include "host/mail/mail_facts.h"
#include "platform/os/system.h"
#include "text/ascii.h"

namespace host::cli {

namespace {

constexpr std::size_t kBatch = 256;  // mails that are flushed together

// The numbers of an export.
struct Counts {
    std::size_t mailboxes = 0, mails = 0, attachments = 0;
    std::size_t missing = 0;  // attachments that Eudora's folder lacks
    std::size_t present = 0;  // mails that an earlier export brought
};

// Writes the mails of one mailbox into its target. A mail that cannot be read or composed is told
// and left out.
class MailboxExport {
  public:
    MailboxExport(ExportTarget& target, mail::MailboxFiles& facts, base::Progress& progress,
                  Counts& counts, std::vector<std::string>& notes)
        : m_target(target),
          m_facts(facts),
          m_progress(progress),
          m_counts(counts),
          m_notes(notes) {}

    base::Status Run(mail::MailSource& mails) {
        m_hasAttachments = mails.LargestAttachment() > 0;
        if (auto opened = m_target.Open(); !opened) return opened;
        auto walked = mails.Walk(mail::Reach::kWithinLimits,
                                 [&](const mail::MailHead& head) { return Add(mails, head); });
        auto settled = m_target.Settle();
        return walked ? settled : walked;
    }
    bool HasLeftOut() const { return m_hasLeftOut; }

  private:
    // Exports the current mail, or leaves it out if it cannot be read or composed. True in both
    // cases, so that the walk goes on; a failure of the disk ends it.
    base::Result<bool> Add(mail::MailSource& mails, const mail::MailHead& head) {
        const auto known = m_facts.Of(head.id);
        if (!known) {
            return LeaveOut("mail " + base::ToUtf8(head.id) + ": " + known.Error().Message());
        }
        if (*known && m_target.Has((*known)->unique)) return ++m_counts.present > 0;
        auto mail = mails.Read(mail::MailParts::kAll);
        if (!mail) return LeaveOut(mail.Error().Message());
        const mail::MailFacts facts = *known ? **known : FactsOf(*mail);
        mail->label = facts.label;
        bool isMailAtFault = false;
        const auto added = m_target.Add(*mail, facts, isMailAtFault);
        if (!added && !isMailAtFault) return added.Error();
        if (!added) return LeaveOut(NameOf(*mail) + added.Error().Message());
        for (const std::string& note : mail->notes) m_notes.push_back(NameOf(*mail) + note);
        m_counts.attachments += mail->attachments.size();
        TellMissing(*mail);
        m_progress.Step("exporting mail", ++m_counts.mails);
        if (m_counts.mails % kBatch != 0) return true;
        if (auto settled = m_target.Settle(); !settled) return settled.Error();
        return true;
    }

    // Of a mail that the table does not have: it came while the export ran.
    static mail::MailFacts FactsOf(const mail::Mail& mail) {
        mail::MailFacts facts;
        facts.unique = "0." + mail::Fingerprint(mail::MessageIdOf(mail)) + mail::kExported;
        if (mail.status != mail::kStatusUnread) facts.flags = "S";
        return facts;
    }

    // Eudora's text names the attachments that are not where it left them.
    void TellMissing(const mail::Mail& mail) {
        constexpr std::string_view kMark = "Attachment Converted: ";
        if (!m_hasAttachments || !mail.body || mail.body->find(kMark) == std::string::npos) return;
        for (std::string_view rest = *mail.body; !rest.empty();) {
            const std::string_view line = text::TakeLine(rest);
            if (!line.starts_with(kMark)) continue;
            m_notes.push_back(NameOf(mail) + "the attachment " +
                              std::string(text::Trimmed(line.substr(kMark.size()))) +
                              " is missing");
            ++m_counts.missing;
        }
    }

    static std::string NameOf(const mail::Mail& mail) {
        return "mail " + base::ToUtf8(mail.id) + ": ";
    }
    bool LeaveOut(std::string why) {
        m_notes.push_back(std::move(why));
        return m_hasLeftOut = true;
    }

    ExportTarget& m_target;
    mail::MailboxFiles& m_facts;
    base::Progress& m_progress;
    Counts& m_counts;
    std::vector<std::string>& m_notes;
    bool m_hasLeftOut = false, m_hasAttachments = false;
};

class MailExport {
  public:
    MailExport(Workplace& workplace, const sync::RunContext& context, const Options& options)
        : m_workplace(workplace),
          m_context(context),
          m_folder(options.toFolder),
          m_format(options.format == "mbox"  ? ExportFormat::kMbox
                   : options.format == "eml" ? ExportFormat::kEml
                                             : ExportFormat::kMaildir),
          m_limits{options.limits.age.value_or("off"), options.limits.size.value_or("off"),
                   options.limits.attachments.value_or("on"),
                   options.limits.attachmentSize.value_or("off")},
          m_progress(context.clock, context.progress) {}

    Output Run() {
        const auto mailboxes = m_workplace.ChosenMailboxes();
        for (const std::string& note : m_workplace.Mailboxes().notes) m_notes.push_back(note);
        if (mailboxes.empty()) {
            throw Ended(base::Refused("there is no mailbox in " + m_workplace.Setup().eudoraShown,
                                      "name the folder that holds Eudora's mail"));
        }
        OrEnd(OpenExportFolder(m_context, m_folder, m_format));
        for (const eudora::Mailbox& mailbox : mailboxes) {
            // Notes name their mails; of several mailboxes each of them is named, too.
            const std::size_t before = m_notes.size();
            const auto done = Add(mailbox);
            for (std::size_t i = before; i < m_notes.size() && mailboxes.size() > 1; ++i) {
                if (!m_notes[i].starts_with(mailbox.Name() + ':')) {
                    m_notes[i] = mailbox.Name() + ": " + m_notes[i];
                }
            }
            if (done) {
                ++m_counts.mailboxes;
                continue;
            }
            m_failure = mailboxes.size() == 1 ? done.Error().exit : base::ExitCode::kFailed;
            m_notes.push_back(mailbox.Name() + ": " + done.Error().Message());
            if (done.Error().code == platform::ErrorCode::kNoSpace) break;
        }
        return Result();
    }

  private:
    base::Status Add(const eudora::Mailbox& mailbox) {
        auto& files = m_context.files;
        auto table = m_workplace.TableToRead(mailbox);
        if (!table) return table.Error();
        if (!table->note.empty()) m_notes.push_back(table->note);
        auto facts = mail::MailboxFiles::Open(files, mailbox.text, mailbox.table, table->made);
        if (!facts) return facts.Error();
        auto source = m_workplace.OpenMailbox(mailbox, table->made, m_limits);
        if (!source) return source.Error();
        const auto target = MakeTarget(m_context, m_folder, mailbox, m_format);
        MailboxExport mails(*target, *facts, m_progress, m_counts, m_notes);
        auto done = mails.Run(**source);
        if (mails.HasLeftOut()) m_failure = base::ExitCode::kFailed;
        return done;
    }

    Output Result() const {
        Output output{base::ExitCode::kNothingToDo, {}, m_notes};
        if (m_counts.mails > 0) output.code = base::ExitCode::kChangesMade;
        if (m_failure != base::ExitCode::kNothingToDo) output.code = m_failure;
        std::string line = base::Counted(m_counts.mails, "mail") + " with " +
                           base::Counted(m_counts.attachments, "attachment") + " of " +
                           base::Counted(m_counts.mailboxes, "mailbox") + " exported to " +
                           m_folder;
        if (m_counts.present > 0) {
            line += "; " + base::Counted(m_counts.present, "mail") + " there already";
        }
        if (m_counts.missing > 0) {
            line += "; " + base::Counted(m_counts.missing, "attachment") +
                    " missing in Eudora's folder";
        }
        output.lines.push_back(std::move(line));
        output.Finish({{"exported", m_counts.mails},
                       {"mailboxes", m_counts.mailboxes},
                       {"attachments", m_counts.attachments},
                       {"missingAttachments", m_counts.missing},
                       {"present", m_counts.present}});
        return output;
    }

    Workplace& m_workplace;
    const sync::RunContext& m_context;
    const std::string m_folder;
    const ExportFormat m_format;
    const translator::MailLimitChanges m_limits;
    base::Progress m_progress;
    Counts m_counts;
    std::vector<std::string> m_notes;
    base::ExitCode m_failure = base::ExitCode::kNothingToDo;
};

}  // namespace

base::ExitCode ExportMail(const Options& options) {
    Workplace workplace(options, Workplace::For::kLook);
    ProgressLine progress(!options.quiet);
    const auto context = ContextOf(options, progress);
    Output output = MailExport(workplace, context, options).Run();
    progress.Show({});
    if (options.quiet) output.lines.clear();
    return Say(output, options);
}

}  // namespace host::cli
