#include "host/cli/mail_commands.h"

#include <algorithm>
#include <limits>

#include <nlohmann/json.hpp>

#include "host/base/output.h"
#include "host/base/paths.h"
#include "host/cli/mail_table.h"
#include "host/cli/output.h"
#include "host/cli/workplace.h"
#include "host/mail/compose.h"
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
    const auto mails = workplace.OpenChosenMailbox(options.mailLimits);
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
    const auto mails = workplace.OpenChosenMailbox(options.mailLimits);
    if (!Find(*mails, options.record)) {
        throw Ended(base::Refused("there is no mail " + options.record,
                                  "kvsync list mail --all shows the ids of all"));
    }
    const auto mail = OrEnd(mails->Read(mail::MailParts::kAll));
    base::PrintText(options.json ? MailJson(mail, true) : MailText(mail));
    return base::ExitCode::kNothingToDo;
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
