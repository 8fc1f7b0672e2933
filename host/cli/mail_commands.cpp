#include "host/cli/mail_commands.h"

#include <algorithm>
#include <limits>

#include <nlohmann/json.hpp>

#include "host/base/output.h"
#include "host/base/paths.h"
#include "host/base/progress.h"
#include "host/cli/mail_table.h"
#include "host/cli/output.h"
#include "host/cli/workplace.h"
#include "host/mail/compose.h"
#include "host/maildir/maildir.h"
#include "text/ascii.h"

namespace host::cli {

namespace {

// Prints the failure of a mail that is passed over; gives the exit code.
base::ExitCode Tell(const base::Failure& failure) {
    base::PrintError(failure.Message());
    return failure.exit;
}

// The id of a mail from its digits, with or without "0x" and zeros in front; empty for another
// text.
std::string IndexIdOf(std::string_view digits) {
    if (digits.starts_with("0x") || digits.starts_with("0X")) digits.remove_prefix(2);
    if (digits.empty() || digits.size() > 8) return {};
    std::string id = "0x" + std::string(8 - digits.size(), '0');
    for (const char letter : digits) {
        id += letter >= 'a' && letter <= 'f' ? static_cast<char>(letter - 'a' + 'A') : letter;
    }
    return mail::IsIndexId(id) ? id : std::string();
}

// Makes the mail current. A Message-ID is searched: the one of the mail, or the one that kvsync
// gives it outside Eudora; "<a@b>" and "a@b" are the same.
bool Find(mail::MailSource& mails, const std::string& id) {
    const std::string indexId = IndexIdOf(id);
    if (!indexId.empty() && OrEnd(mails.Find(indexId))) return true;
    const bool isBracketed = id.size() >= 2 && id.front() == '<' && id.back() == '>';
    const std::string wanted = isBracketed ? id.substr(1, id.size() - 2) : id;
    bool isFound = false;
    OrEnd(mails.Walk(mail::Reach::kAll, [&](const mail::MailHead&) -> base::Result<bool> {
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
    MailExport(const sync::RunContext& context, const std::string& folder)
        : m_files(context.files),
          m_clock(context.clock),
          m_folder(folder),
          m_maildir(context.files, context.clock, folder),
          m_progress(context.clock, context.progress) {}

    base::Status Run(mail::MailSource& mails) {
        m_hasAttachments = mails.LargestAttachment() > 0;
        const auto there = m_maildir.List();
        if (!there) return there.Error();
        if (!std::ranges::all_of(*there, &maildir::MaildirEntry::isFolder)) {
            return base::Refused(m_folder + " holds mails already", "name a new folder with --to");
        }
        if (auto made = m_maildir.Create(); !made) return made;
        auto walked = mails.Walk(mail::Reach::kWithinLimits,
                                 [&](const mail::MailHead&) { return Add(mails); });
        auto settled = Settle();
        return walked ? settled : walked;
    }

    // The result of a run that ended so.
    Output Result(const base::Status& done) const {
        Output output{base::ExitCode::kNothingToDo, {}, m_notes};
        if (m_count > 0) output.code = base::ExitCode::kChangesMade;
        if (m_hasLeftOut) output.code = base::ExitCode::kFailed;
        if (!done) {
            output.code = done.Error().exit;
            output.errors.push_back(done.Error().Message());
        }
        std::string line = base::Counted(m_count, "mail") + " with " +
                           base::Counted(m_attachments, "attachment") + " exported to " + m_folder;
        if (m_missing > 0) {
            line += "; " + base::Counted(m_missing, "attachment") + " missing in Eudora's folder";
        }
        if (done) output.lines.push_back(std::move(line));
        output.Finish({{"exported", m_count},
                       {"attachments", m_attachments},
                       {"missingAttachments", m_missing}});
        return output;
    }

  private:
    // Exports the current mail, or leaves it out if it cannot be read or composed. True in both
    // cases, so that the walk goes on; a failure of the disk ends it.
    base::Result<bool> Add(mail::MailSource& mails) {
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
        m_attachments += mail->attachments.size();
        TellMissing(*mail);
        m_progress.Step("exporting mail", ++m_count);
        m_unsettled.push_back(m_maildir.EntryOf(unique, flags));
        if (m_unsettled.size() < kBatch) return true;
        if (auto settled = Settle(); !settled) return settled.Error();
        return true;
    }

    // Eudora's text names the attachments that are not where it left them.
    void TellMissing(const mail::Mail& mail) {
        if (!m_hasAttachments) return;
        constexpr std::string_view kMark = "Attachment Converted: ";
        for (std::string_view rest = mail.body ? *mail.body : std::string_view(); !rest.empty();) {
            const std::string_view line = text::TakeLine(rest);
            if (!line.starts_with(kMark)) continue;
            m_notes.push_back(NameOf(mail) + "the attachment " +
                              std::string(text::Trimmed(line.substr(kMark.size()))) +
                              " is missing");
            ++m_missing;
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

    platform::Files& m_files;
    platform::Clock& m_clock;
    std::string m_folder;
    maildir::Maildir m_maildir;
    base::Progress m_progress;
    std::vector<maildir::MaildirEntry> m_unsettled;
    std::vector<std::string> m_notes;
    std::size_t m_count = 0, m_attachments = 0, m_missing = 0;
    bool m_hasLeftOut = false, m_hasAttachments = false;
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

// The limits that hold, by a change or only asked for, in words and as JSON; there a limit that is
// off is null.
Output LimitsOutput(const translator::MailLimits& limits, bool changed, bool isAsked) {
    Output output;
    if (changed) output.code = base::ExitCode::kChangesMade;
    output.lines.push_back((changed || isAsked ? "" : "nothing changed: ") +
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
    Workplace workplace(options, Workplace::For::kLook);
    const auto mails = workplace.OpenMail(options.mailLimits);
    const auto parts = options.json ? mail::MailParts::kWithoutBody : mail::MailParts::kHeader;
    base::ExitCode code = base::ExitCode::kNothingToDo;
    std::size_t shown = 0;
    bool isWhole = true;
    const auto reach = options.all ? mail::Reach::kAll : mail::Reach::kWithinLimits;
    OrEnd(mails->Walk(reach, [&](const mail::MailHead&) -> base::Result<bool> {
        ++shown;
        const auto mail = mails->Read(parts);
        if (!mail) {
            code = Tell(mail.Error());
            return true;
        }
        isWhole = base::PrintLine(options.json ? MailJson(*mail, false) : MailLine(*mail));
        return isWhole;
    }));
    if (options.all || options.quiet || !isWhole || !mails->HasLimits()) return code;
    std::size_t all = 0;
    OrEnd(mails->Walk(mail::Reach::kAll, [&](const mail::MailHead&) { return ++all > 0; }));
    if (all > shown) {
        base::PrintError("the limits hide " + base::Counted(all - shown, "mail") +
                         ": --all lists all, kvsync configure mail changes the limits");
    }
    return code;
}

base::ExitCode ShowMail(const Options& options) {
    Workplace workplace(options, Workplace::For::kLook);
    const auto mails = workplace.OpenMail(options.mailLimits);
    if (!Find(*mails, options.record)) {
        throw Ended(base::Refused("there is no mail " + options.record,
                                  "kvsync list mail --all shows the ids of all"));
    }
    const auto mail = OrEnd(mails->Read(mail::MailParts::kAll));
    base::PrintText(options.json ? MailJson(mail, true) : MailText(mail));
    return base::ExitCode::kNothingToDo;
}

base::ExitCode ExportMail(const Options& options) {
    Workplace workplace(options, Workplace::For::kLook);
    const auto& given = options.limits;
    const auto mails = workplace.OpenMail({given.age.value_or("off"), given.size.value_or("off"),
                                           given.attachments.value_or("on"),
                                           given.attachmentSize.value_or("off")});
    ProgressLine progress(!options.quiet);
    MailExport target(ContextOf(options, progress), options.toFolder);
    const auto done = target.Run(*mails);
    progress.Show({});
    Output output = target.Result(done);
    if (options.quiet) output.lines.clear();
    return Say(output, options);
}

base::ExitCode ConfigureMail(const Options& options) {
    if (options.show && !options.limits.IsEmpty()) {
        throw Misuse("--show changes nothing: give it without limits");
    }
    using enum Workplace::For;
    Workplace workplace(options, options.show ? kLook : kMail);
    auto session =
        OrEnd(translator::TranslatorSession::Create(workplace.Module(), translator::kMailKind));
    const auto selection = OrEnd(translator::SelectMail(session, workplace.Setup(), options.show));
    const auto before = OrEnd(translator::ReadMailLimits(session, selection));
    if (options.show) return Say(LimitsOutput(before, false, true), options);
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
    Output output = LimitsOutput(after, changed, false);
    if (options.quiet) output.lines.clear();
    return Say(output, options);
}

std::string WrongDays(const std::string& text) {
    return WrongNumber(text, kMostDays);
}

std::string WrongSize(const std::string& text) {
    return WrongNumber(text, kMostKB);
}

std::string WrongSwitch(const std::string& text) {
    return text == "on" || text == "off" ? "" : "must be on or off, not " + text;
}

}  // namespace host::cli
