#include "host/module/mail_settings.h"

#include "host/module/exit_code.h"
#include "host/module/folders.h"
#include "host/module/mail_limits_dialog.h"
#include "host/module/native_path.h"
#include "platform/kvutil/kvutil.h"
#include "platform/os/files.h"
#include "platform/os/system.h"

namespace host {

namespace {

constexpr std::uint64_t kLongestPath = 4096;

std::string ChoiceFile(const Setup& setup) {
    return FromPath(ToPath(setup.memoryFolder) / "mail-settings");
}

std::string UpTo(bool limited, std::int32_t kilobytes) {
    return limited ? "up to " + std::to_string(kilobytes) + " KB" : "of any size";
}

}  // namespace

DialogsShownBy::DialogsShownBy(platform::Dialogs* dialogs) : m_before(DialogProvider()) {
    SetDialogProvider(dialogs);
}

DialogsShownBy::~DialogsShownBy() {
    SetDialogProvider(m_before);
}

platform::Result<std::string> MailSelection(const Setup& setup) {
    const std::string choice = ChoiceFile(setup);
    if (!platform::NativeFiles().Exists(choice)) return std::string();
    auto kept = platform::ReadWhole(platform::NativeFiles(), choice, kLongestPath);
    if (!kept) return kept.Error();
    return platform::NativeSystem().files.Exists(*kept) ? *kept : std::string();
}

platform::Status RememberMailSelection(const Setup& setup, const std::string& windowsPath) {
    if (auto made = MakeOwnFolders(setup.memoryFolder); !made) return made;
    return platform::WriteWhole(platform::NativeFiles(), ChoiceFile(setup), windowsPath);
}

platform::Result<std::string> SelectMail(TranslatorSession& session, const Setup& setup,
                                         bool writesNothing) {
    auto kept = MailSelection(setup);
    if (!kept) return kept.Error();
    std::string selection = *kept, summary;
    // A file that does not exist stands for the usual settings, and the translator says so.
    MailLimitsDialog silent(std::nullopt);
    const bool pretends = kept->empty() && writesNothing;
    if (pretends) selection = setup.init.settingsDir + "\\EudoraAppInfo.none";
    const DialogsShownBy shown(pretends ? &silent : DialogProvider());
    auto selected = session.Select(selection, summary, false);
    if (!selected) return selected.Error();
    if (!kept->empty() || writesNothing) return selection;
    if (auto remembered = RememberMailSelection(setup, selection); !remembered) {
        return remembered.Error();
    }
    return selection;
}

platform::Result<MailLimits> ReadMailLimits(TranslatorSession& session,
                                            const std::string& selection) {
    MailLimitsDialog reader(std::nullopt);
    const DialogsShownBy shown(&reader);
    std::string chosen = selection, summary;
    auto selected = session.Select(chosen, summary, true);
    if (!selected) return selected.Error();
    if (!reader.Shown()) return Failed("the translator shows no dialog of mail options");
    return *reader.Shown();
}

platform::Status ChangeMailLimits(TranslatorSession& session, const std::string& selection,
                                  const MailLimitChanges& changes) {
    MailLimitsDialog answer(changes);
    const DialogsShownBy shown(&answer);
    std::string chosen = selection, summary;
    auto selected = session.Select(chosen, summary, true);
    if (!selected) return selected.Error();
    if (!*selected) return Failed("the translator does not take these limits");
    return {};
}

std::string DescribeLimits(const MailLimits& limits) {
    std::string text = "mails of ";
    text += limits.limitsAge ? "the last " + std::to_string(limits.ageDays) + " days" : "any age";
    text += ", " + UpTo(limits.limitsSize, limits.sizeKB);
    if (!limits.attachments) return text + ", without attachments";
    return text + ", with attachments " + UpTo(limits.limitsAttachments, limits.attachmentKB);
}

}  // namespace host
