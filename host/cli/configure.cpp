#include "host/cli/configure.h"

#include <limits>

#include <nlohmann/json.hpp>

#include "host/base/output.h"
#include "host/base/paths.h"
#include "host/cli/workplace.h"
#include "host/dialogs/terminal_dialogs.h"
#include "host/eudora/nickname_file.h"
#include "host/translator/module_messages.h"
#include "text/ascii.h"

namespace host::cli {

namespace {

constexpr std::int32_t kMostDays = 99999;  // so many days ago there was a calendar
constexpr std::int32_t kMostKB = std::numeric_limits<std::int32_t>::max() / 1024;

std::optional<std::int32_t> ParseNumber(const std::string& text, std::int32_t most) {
    const auto number = text::NumberIn<std::int32_t>(text);
    return number && *number >= 0 && *number <= most ? number : std::nullopt;
}

std::string WrongNumber(const std::string& text, std::int32_t most) {
    if (text == "off" || ParseNumber(text, most)) return {};
    return "must be off or a number from 0 to " + std::to_string(most) + ", not " + text;
}

// Lets a person choose in the translator's own dialog. False if the person cancelled it.
base::Result<bool> Ask(translator::TranslatorSession& session, std::string& selection,
                       const char* otherwise) {
    std::unique_ptr<platform::Dialogs> dialogs;
    if (!base::UsesWindowsPaths()) {
        dialogs = dialogs::MakeTerminalDialogs();
        if (dialogs == nullptr) {
            return base::Refused("kvsync configure needs a terminal for its dialog",
                                 std::string("start it in one, or ") + otherwise);
        }
    }
    const translator::DialogsShownBy shown(dialogs.get());
    return session.Select(selection, true);
}

// Gives the nickname file as a Windows path; nothing if the person cancelled the dialog.
base::Result<std::optional<std::string>> ChooseContacts(Workplace& workplace,
                                                        const Options& options) {
    auto session =
        translator::TranslatorSession::Create(workplace.Module(), translator::kContactsKind);
    if (!session) return session.Error();
    auto selection = eudora::ChooseNicknameFile(options.setup, workplace.Setup());
    if (!selection) return selection.Error();
    const auto chosen = options.setup.nicknameFile
                            ? session->Select(*selection)
                            : Ask(*session, *selection, "name the file with --nickname-file FILE");
    if (!chosen) return chosen.Error();
    return *chosen ? std::optional(*selection) : std::nullopt;
}

base::Result<bool> Change(translator::TranslatorSession& session, const std::string& selection,
                          const translator::MailLimitChanges& changes) {
    if (changes.IsEmpty()) {
        std::string asked = selection;
        return Ask(session, asked,
                   "say what is wanted with --age, --size, --attachments and --attachment-size");
    }
    if (auto changed = translator::ChangeMailLimits(session, selection, changes); !changed) {
        return changed.Error();
    }
    return true;
}

nlohmann::ordered_json NumberOrNull(bool limits, std::int32_t number) {
    return limits ? nlohmann::ordered_json(number) : nlohmann::ordered_json();
}

void Print(const Options& options, const translator::MailLimits& limits, bool changed) {
    if (options.json) {
        const nlohmann::ordered_json answer{
            {"changed", changed},
            {"ageDays", NumberOrNull(limits.limitsAge, limits.ageDays)},
            {"sizeKB", NumberOrNull(limits.limitsSize, limits.sizeKB)},
            {"attachments", limits.attachments},
            {"attachmentSizeKB", NumberOrNull(limits.limitsAttachments, limits.attachmentKB)}};
        base::PrintLine(base::JsonText(answer));
    } else if (!options.quiet) {
        base::PrintLine((changed ? "" : "nothing changed: ") + translator::DescribeLimits(limits));
    }
}

}  // namespace

std::string WrongDays(const std::string& text) {
    return WrongNumber(text, kMostDays);
}

std::string WrongSize(const std::string& text) {
    return WrongNumber(text, kMostKB);
}

Ending ConfigureContacts(const Options& options) {
    auto workplace = Workplace::Enter(options);
    if (!workplace) return workplace.Error();
    const auto selection = ChooseContacts(*workplace, options);
    if (!selection) return selection.Error();
    if (!*selection) {
        if (!options.quiet) base::PrintLine("nothing changed");
        return base::ExitCode::kNothingToDo;
    }
    if (auto checked = eudora::CheckNicknameFile(**selection, false); !checked) {
        return checked.Error();
    }
    const auto opened =
        translator::TranslatorSession::OpenContacts(workplace->Module(), **selection);
    if (!opened) return opened.Error();
    if (auto kept = eudora::RememberNicknameFile(workplace->Setup(), **selection); !kept) {
        return kept.Error();
    }
    if (!options.quiet) base::PrintLine("contacts are kept in " + base::ToUtf8(**selection));
    return base::ExitCode::kChangesMade;
}

Ending ConfigureMail(const Options& options, const translator::MailLimitChanges& changes) {
    auto workplace = Workplace::EnterForMail(options);
    if (!workplace) return workplace.Error();
    auto session =
        translator::TranslatorSession::Create(workplace->Module(), translator::kMailKind);
    if (!session) return session.Error();
    const auto selection = translator::SelectMail(*session, workplace->Setup(), false);
    if (!selection) return selection.Error();
    const auto before = translator::ReadMailLimits(*session, *selection);
    if (!before) return before.Error();
    const auto accepted = Change(*session, *selection, changes);
    if (!accepted) return accepted.Error();
    const auto after = translator::ReadMailLimits(*session, *selection);
    if (!after) return after.Error();
    const bool changed = *after != *before;
    if (changed) {
        if (auto saved = session->SaveSettings(*selection); !saved) return saved.Error();
    }
    Print(options, *after, changed);
    return changed ? base::ExitCode::kChangesMade : base::ExitCode::kNothingToDo;
}

}  // namespace host::cli
