#include "host/translator/in_box.h"

#include <charconv>
#include <map>

#include "host/eudora/setup.h"
#include "host/translator/module_messages.h"
#include "mailbox/toc_file.h"
#include "platform/kvutil/kvutil.h"
#include "platform/os/system.h"

namespace host::translator {

namespace {

constexpr const char* kChoice = "mail-settings";

constexpr int kOptionsDialog = 129;
constexpr int kOk = 1, kCancel = 2;

// The controls of the dialog.
constexpr int kLimitsAge = 1000, kLimitsSize = 1001, kAttachments = 1002, kLimitsAttachments = 1003;
constexpr int kAgeDays = 1004, kSizeKB = 1005, kAttachmentKB = 1006;

// A dialog without a screen: it holds what the logic shows and what a person would set.
class UnseenView : public platform::DialogView {
  public:
    void SetTitle(std::string_view) override {}
    void SetText(int control, std::string_view text) override { m_texts[control] = text; }
    std::string Text(int control) override { return m_texts[control]; }
    void SetChecked(int control, bool checked) override { m_checked[control] = checked; }
    bool IsChecked(int control) override { return m_checked[control]; }
    void Enable(int, bool) override {}
    void SetRange(int, int, int) override {}
    void End(int result) override { m_result = result; }

    std::int32_t Number(int control) {
        const std::string& text = m_texts[control];
        std::int32_t number = 0;
        std::from_chars(text.data(), text.data() + text.size(), number);
        return number;
    }
    int Result() const { return m_result; }

  private:
    std::map<int, std::string> m_texts;
    std::map<int, bool> m_checked;
    int m_result = kCancel;
};

// The limits as the controls show them.
MailLimits Read(UnseenView& view) {
    return {view.IsChecked(kLimitsAge),   view.Number(kAgeDays),
            view.IsChecked(kLimitsSize),  view.Number(kSizeKB),
            view.IsChecked(kAttachments), view.IsChecked(kLimitsAttachments),
            view.Number(kAttachmentKB)};
}

// A change of the limits and its controls; one without number has 0 there.
struct Limit {
    std::optional<std::string> MailLimitChanges::*change;
    int box, number;
};

// The box above the attachments' limit before the one of the limit, which it switches off.
constexpr Limit kLimits[] = {
    {&MailLimitChanges::age, kLimitsAge, kAgeDays},
    {&MailLimitChanges::size, kLimitsSize, kSizeKB},
    {&MailLimitChanges::attachments, kAttachments, 0},
    {&MailLimitChanges::attachmentSize, kLimitsAttachments, kAttachmentKB}};

void Make(const MailLimitChanges& changes, UnseenView& view, platform::DialogLogic& logic) {
    for (const Limit& limit : kLimits) {
        const auto& wanted = changes.*limit.change;
        if (!wanted) continue;
        const bool isOn = *wanted != "off";
        if (view.IsChecked(limit.box) != isOn) {
            view.SetChecked(limit.box, isOn);
            logic.OnCommand(view, limit.box);
        }
        if (isOn && limit.number != 0) view.SetText(limit.number, *wanted);
    }
}

// Stands in for the person before the dialog of the mail options: reads what it shows and, if there
// are changes, makes them and presses OK; else, and before any other dialog, presses Cancel.
// Messages go unread.
class MailLimitsDialog : public platform::Dialogs {
  public:
    explicit MailLimitsDialog(const std::optional<MailLimitChanges>& changes)
        : m_changes(changes) {}

    // What the dialog showed at first, if there was one.
    const std::optional<MailLimits>& Shown() const { return m_shown; }

    void ShowMessage(const std::string&, const std::string&, platform::MessageIcon) override {}
    std::optional<std::string> OpenFile(const platform::OpenFileRequest&) override {
        return std::nullopt;
    }
    int RunModal(const platform::DialogTemplate& dialog, platform::DialogLogic& logic) override {
        if (dialog.id != kOptionsDialog) return kCancel;
        UnseenView view;
        logic.OnInit(view);
        m_shown = Read(view);
        if (m_changes) Make(*m_changes, view, logic);
        logic.OnCommand(view, m_changes ? kOk : kCancel);
        return view.Result();
    }

  private:
    std::optional<MailLimitChanges> m_changes;
    std::optional<MailLimits> m_shown;
};

platform::Result<std::unique_ptr<platform::File>> OpenIn(const eudora::Setup& setup,
                                                         const std::string& name,
                                                         platform::Share share) {
    return platform::NativeSystem().files.Open(setup.eudoraFolder + '\\' + name,
                                               platform::OpenMode::kRead, share);
}

// Only what tells a table of contents from what would read as an empty one.
base::Status CheckToc(platform::File& toc, const std::string& shown) {
    const auto size = toc.Size();
    if (!size) return size.Error();
    const auto header = mailbox::ReadTocHeader(toc);
    if (!header) return header.Error();
    if (header->IsMacintosh()) {
        return base::Refused(
            shown + " was written by Eudora for Macintosh, which is another format",
            "let Eudora for Windows import that mailbox first");
    }
    if (*size < mailbox::kTocHeaderSize) {
        return base::Refused(shown + " is cut short (" + std::to_string(*size) + " bytes)",
                             "bring back a copy of it, or let Eudora rebuild it");
    }
    return {};
}

std::string UpTo(bool limited, std::int32_t kilobytes) {
    return limited ? "up to " + std::to_string(kilobytes) + " KB" : "of any size";
}

}  // namespace

bool HasInBox(const eudora::Setup& setup) {
    const std::string inBox = setup.eudoraFolder + "\\In.";
    auto& files = platform::NativeSystem().files;
    return files.Exists(inBox + "mbx") || files.Exists(inBox + "toc");
}

base::Status CheckInBox(const eudora::Setup& setup) {
    for (const std::string name : {"In.mbx", "In.toc"}) {
        const std::string shown = name + " in " + setup.eudoraShown;
        const auto file = OpenIn(setup, name, platform::Share::kRead);
        if (file && name == "In.toc") return CheckToc(**file, shown);
        if (file) continue;
        switch (file.Error().code) {
            case platform::ErrorCode::kNotFound:
                return base::Refused(
                    "there is no in-box in " + setup.eudoraShown + " (no " + name + ")",
                    "start Eudora once, or name the folder that holds its mail");
            case platform::ErrorCode::kSharingViolation:
                return base::Refused(shown + " is in use by another program",
                                     "try again when it has ended");
            case platform::ErrorCode::kNotRegular:
                return base::Refused(shown + " is no regular file",
                                     "move it away and bring back a copy of the mailbox");
            default:
                return base::RefusedBy(file.Error(), shown + " cannot be read",
                                       "give yourself read permission");
        }
    }
    return {};
}

base::Status CheckInBoxPair(const eudora::Setup& setup) {
    const auto mbx = OpenIn(setup, "In.mbx", platform::Share::kReadWrite);
    const auto toc = OpenIn(setup, "In.toc", platform::Share::kReadWrite);
    if (!mbx) return mbx.Error();
    if (!toc) return toc.Error();
    const auto belong = mailbox::BelongTogether(**mbx, **toc, "From ???@??? ");
    if (!belong) return belong.Error();
    if (*belong) return {};
    return base::Refused(
        "In.toc and In.mbx in " + setup.eudoraShown +
            " do not belong together (no mail begins where In.toc says that the first "
            "one does)",
        "bring back a copy of both, or let Eudora rebuild In.toc");
}

base::Result<std::string> SelectMail(TranslatorSession& session, const eudora::Setup& setup,
                                     bool writesNothing) {
    auto kept = eudora::Chosen(setup, kChoice);
    if (!kept) return kept.Error();
    std::string selection = *kept;
    // A file that does not exist stands for the usual settings, and the translator says so.
    MailLimitsDialog silent(std::nullopt);
    const bool pretends = kept->empty() && writesNothing;
    if (pretends) selection = setup.init.settingsDir + "\\EudoraAppInfo.none";
    const DialogsShownBy shown(pretends ? &silent : DialogProvider());
    auto selected = session.Select(selection);
    if (!selected) return selected.Error();
    if (!kept->empty() || writesNothing) return selection;
    if (auto remembered = eudora::Choose(setup, kChoice, selection); !remembered) {
        return remembered.Error();
    }
    return selection;
}

std::string LimitsPrint(const eudora::Setup& setup, const MailLimitChanges& changes) {
    constexpr std::uint64_t kMost = 1u << 20;
    std::string print = eudora::Chosen(setup, kChoice).ValueOr({});
    print += '\n' + platform::ReadFront(platform::NativeSystem().files, print, kMost).ValueOr({});
    for (const auto* change :
         {&changes.age, &changes.size, &changes.attachments, &changes.attachmentSize}) {
        print += '\n' + change->value_or("");
    }
    return print;
}

base::Result<TranslatorSession> SelectInBox(TranslatorHost& host, const eudora::Setup& setup,
                                            bool writesNothing, std::string& selection) {
    if (auto ready = CheckInBox(setup); !ready) return ready.Error();
    auto session = TranslatorSession::Create(host, kMailKind);
    if (!session) return session;
    auto selected = SelectMail(*session, setup, writesNothing);
    if (!selected) return selected.Error();
    selection = *std::move(selected);
    return session;
}

base::Result<MailLimits> ReadMailLimits(TranslatorSession& session, const std::string& selection) {
    MailLimitsDialog reader(std::nullopt);
    const DialogsShownBy shown(&reader);
    std::string chosen = selection;
    const auto selected = session.Select(chosen, true);
    if (!selected) return selected.Error();
    if (!reader.Shown()) return base::Failed("the translator shows no dialog of mail options");
    return *reader.Shown();
}

base::Status ChangeMailLimits(TranslatorSession& session, const std::string& selection,
                              const MailLimitChanges& changes) {
    MailLimitsDialog answer(changes);
    const DialogsShownBy shown(&answer);
    std::string chosen = selection;
    const auto selected = session.Select(chosen, true);
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
