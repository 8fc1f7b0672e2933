#include "host/translator/mail_settings.h"

#include "host/base/failure.h"
#include "host/base/folders.h"
#include "host/base/native_path.h"
#include "host/translator/mail_limits_dialog.h"
#include "platform/kvutil/kvutil.h"
#include "platform/os/safe_write.h"
#include "platform/os/system.h"

namespace host::translator {

namespace {

constexpr std::uint64_t kLongestPath = 4096;

std::string ChoiceFile(const eudora::Setup& setup) {
    return base::FromPath(base::ToPath(setup.memoryFolder) / "mail-settings");
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

base::Result<std::string> MailSelection(const eudora::Setup& setup) {
    const std::string choice = ChoiceFile(setup);
    if (!platform::NativeFiles().Exists(choice)) return std::string();
    auto kept = platform::ReadWhole(platform::NativeFiles(), choice, kLongestPath);
    if (!kept) return kept.Error();
    return platform::NativeSystem().files.Exists(*kept) ? *kept : std::string();
}

base::Status RememberMailSelection(const eudora::Setup& setup, const std::string& windowsPath) {
    if (auto made = base::MakeOwnFolders(setup.memoryFolder); !made) return made;
    return platform::WriteWhole(platform::NativeFiles(), ChoiceFile(setup), windowsPath);
}

base::Result<std::string> SelectMail(TranslatorSession& session, const eudora::Setup& setup,
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

base::Result<MailLimits> ReadMailLimits(TranslatorSession& session, const std::string& selection) {
    MailLimitsDialog reader(std::nullopt);
    const DialogsShownBy shown(&reader);
    std::string chosen = selection, summary;
    auto selected = session.Select(chosen, summary, true);
    if (!selected) return selected.Error();
    if (!reader.Shown()) return base::Failed("the translator shows no dialog of mail options");
    return *reader.Shown();
}

base::Status ChangeMailLimits(TranslatorSession& session, const std::string& selection,
                              const MailLimitChanges& changes) {
    MailLimitsDialog answer(changes);
    const DialogsShownBy shown(&answer);
    std::string chosen = selection, summary;
    auto selected = session.Select(chosen, summary, true);
    if (!selected) return selected.Error();
    if (!*selected) return base::Failed("the translator does not take these limits");
    return {};
}

std::string DescribeLimits(const MailLimits& limits) {
    std::string text = "mails of ";
    text += limits.limitsAge ? "the last " + std::to_string(limits.ageDays) + " days" : "any age";
    text += ", " + UpTo(limits.limitsSize, limits.sizeKB);
    if (!limits.attachments) return text + ", without attachments";
    return text + ", with attachments " + UpTo(limits.limitsAttachments, limits.attachmentKB);
}

}  // namespace host::translator
