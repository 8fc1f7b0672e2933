#include "host/cli/mail_export.h"

#include <algorithm>
#include <filesystem>
#include <set>

#include "host/base/output.h"
#include "host/base/paths.h"
#include "host/base/progress.h"
#include "host/cli/output.h"
#include "host/cli/workplace.h"
#include "host/mail/compose.h"
#include "host/mail/mail_facts.h"
#include "host/maildir/folder_name.h"
#include "host/maildir/maildir.h"
#include "host/state/folder_mark.h"
#include "platform/os/safe_write.h"
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

// Writes the mails of one mailbox into a Maildir. A mail that cannot be read or composed is told
// and left out.
class MailboxExport {
  public:
    MailboxExport(const sync::RunContext& context, const std::string& folder,
                  mail::MailboxFiles& facts, base::Progress& progress, Counts& counts,
                  std::vector<std::string>& notes)
        : m_context(context),
          m_maildir(context.files, context.clock, folder),
          m_facts(facts),
          m_progress(progress),
          m_counts(counts),
          m_notes(notes) {}

    base::Status Run(mail::MailSource& mails) {
        m_hasAttachments = mails.LargestAttachment() > 0;
        const auto there = m_maildir.List();
        if (!there) return there.Error();
        for (const auto& entry : *there) m_there.insert(entry.unique);
        if (auto made = m_maildir.Create(); !made) return made;
        auto walked = mails.Walk(mail::Reach::kWithinLimits,
                                 [&](const mail::MailHead& head) { return Add(mails, head); });
        auto settled = Settle();
        return walked ? settled : walked;
    }
    bool HasLeftOut() const { return m_hasLeftOut; }

  private:
    // Exports the current mail, or leaves it out if it cannot be read or composed. True in both
    // cases, so that the walk goes on; a failure of the disk ends it.
    base::Result<bool> Add(mail::MailSource& mails, const mail::MailHead& head) {
        auto facts = m_facts.Of(head.id);
        if (!facts)
            return LeaveOut("mail " + base::ToUtf8(head.id) + ": " + facts.Error().Message());
        if (*facts && m_there.contains((*facts)->unique)) return ++m_counts.present > 0;
        auto mail = mails.Read(mail::MailParts::kAll);
        if (!mail) return LeaveOut(mail.Error().Message());
        const std::string unique = *facts ? (*facts)->unique : m_maildir.NewName();
        const std::string flags = *facts                                ? (*facts)->flags
                                  : mail->status == mail::kStatusUnread ? ""
                                                                        : "S";
        if (*facts) mail->label = (*facts)->label;
        m_maildir.Discard(unique);  // what a killed export left
        bool isMailAtFault = false;
        const auto size = mail::ComposeInto(m_maildir, unique, m_context.files, m_context.clock,
                                            *mail, isMailAtFault);
        if (!size && !isMailAtFault) return size.Error();
        if (!size) return LeaveOut(NameOf(*mail) + size.Error().Message());
        if (auto delivered = m_maildir.Deliver(unique, flags); !delivered) return delivered.Error();
        const auto entry = m_maildir.EntryOf(unique, flags);
        if (*facts) SetTime(m_maildir.PathOf(entry), (*facts)->arrival);
        for (const std::string& note : mail->notes) m_notes.push_back(NameOf(*mail) + note);
        m_counts.attachments += mail->attachments.size();
        TellMissing(*mail);
        m_progress.Step("exporting mail", ++m_counts.mails);
        m_unsettled.push_back(entry);
        if (m_unsettled.size() < kBatch) return true;
        if (auto settled = Settle(); !settled) return settled.Error();
        return true;
    }

    // Programs show it as the time at which the mail came. One that the disk does not take is none.
    static void SetTime(const std::string& path, std::chrono::sys_seconds arrival) {
        namespace fs = std::filesystem;
        using Clock = fs::file_time_type::clock;
        std::error_code ignored;
        fs::last_write_time(base::ToPath(path),
                            Clock::from_sys(std::chrono::time_point_cast<Clock::duration>(arrival)),
                            ignored);
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

    const sync::RunContext& m_context;
    maildir::Maildir m_maildir;
    mail::MailboxFiles& m_facts;
    base::Progress& m_progress;
    Counts& m_counts;
    std::vector<std::string>& m_notes;
    std::set<std::string> m_there;  // names of the mails that the Maildir has
    std::vector<maildir::MaildirEntry> m_unsettled;
    bool m_hasLeftOut = false, m_hasAttachments = false;
};

class MailExport {
  public:
    MailExport(Workplace& workplace, const sync::RunContext& context, const Options& options)
        : m_workplace(workplace),
          m_context(context),
          m_folder(options.toFolder),
          m_limits{options.limits.age.value_or("off"), options.limits.size.value_or("off"),
                   options.limits.attachments.value_or("on"),
                   options.limits.attachmentSize.value_or("off")},
          m_progress(context.clock, context.progress) {}

    Output Run() {
        OrEnd(CheckFolder());
        const auto mailboxes = m_workplace.ChosenMailboxes();
        for (const std::string& note : m_workplace.Mailboxes().notes) m_notes.push_back(note);
        if (mailboxes.empty()) {
            throw Ended(base::Refused("there is no mailbox in " + m_workplace.Setup().eudoraShown,
                                      "name the folder that holds Eudora's mail"));
        }
        // The inbox, which makes a Maildir of the folders below it.
        OrEnd(maildir::Maildir(m_context.files, m_context.clock, m_folder).Create());
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
    // An export adds to an export. A Maildir with mails of others would hold them twice, and one
    // that is kept in step would bring them into Eudora.
    base::Status CheckFolder() {
        auto& files = m_context.files;
        maildir::Maildir maildir(files, m_context.clock, m_folder);
        const auto there = maildir.List();
        if (!there) return there.Error();
        const bool isOurs = std::ranges::all_of(*there, [](const maildir::MaildirEntry& entry) {
            return entry.isFolder || entry.unique.ends_with(mail::kExported);
        });
        const bool isSynced = !files.IsFree(base::PathIn(files, m_folder, state::kMarkName));
        if (isOurs && !isSynced) return {};
        return base::Refused(m_folder + (isSynced ? " is kept in step with Eudora"
                                                  : " holds mails already that no export wrote"),
                             "name another folder with --to");
    }

    base::Status Add(const eudora::Mailbox& mailbox) {
        auto& files = m_context.files;
        auto table = m_workplace.TableToRead(mailbox);
        if (!table) return table.Error();
        if (!table->note.empty()) m_notes.push_back(table->note);
        auto facts = mail::MailboxFiles::Open(files, mailbox.text, mailbox.table, table->made);
        if (!facts) return facts.Error();
        auto source = m_workplace.OpenMailbox(mailbox, table->made, m_limits);
        if (!source) return source.Error();
        std::string folder = m_folder;
        if (!mailbox.IsInBox()) {
            folder = base::PathIn(files, m_folder, maildir::FolderName(mailbox.names));
        }
        MailboxExport target(m_context, folder, *facts, m_progress, m_counts, m_notes);
        auto done = target.Run(**source);
        if (target.HasLeftOut()) m_failure = base::ExitCode::kFailed;
        if (!done || mailbox.IsInBox()) return done;
        // The mark of a folder in a Maildir++.
        if (!files.IsFree(base::PathIn(files, folder, "maildirfolder"))) return {};
        return platform::WriteWhole(files, base::PathIn(files, folder, "maildirfolder"), "");
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
