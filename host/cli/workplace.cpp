#include "host/cli/workplace.h"

#include "host/base/output.h"
#include "host/base/paths.h"
#include "host/dialogs/terminal_dialogs.h"
#include "host/eudora/machine.h"
#include "host/eudora/nickname_file.h"
#include "host/mail/eudora_mails.h"
#include "host/translator/in_box.h"
#include "host/translator/module_messages.h"
#include "platform/os/program.h"
#include "platform/os/system.h"

namespace host::cli {

namespace {

eudora::SetupOptions OptionsFor(Workplace::For use, eudora::SetupOptions options) {
    options.writesNothing = options.writesNothing || use == Workplace::For::kLook;
    return options;
}

}  // namespace

Workplace::Workplace(const Options& options, For use)
    : m_options(OptionsFor(use, options.setup)),
      m_nicknameFiles(options.nicknameFiles),
      m_mailboxes(options.mailboxes),
      m_setup(OrEnd(eudora::Prepare(m_options))) {
    if (use == For::kMail && base::UsesWindowsPaths()) {
        OrEnd(eudora::RefuseMailsElsewhere(m_setup));
    } else if (use != For::kLook) {
        OrEnd(eudora::RefuseRunningEudora(m_setup));
    }
    m_host = OrEnd(translator::TranslatorHost::Start(m_setup.init));
}

// The one that the options name or that was chosen before, else the module's own choice.
std::string Workplace::ChosenNicknameFile() {
    auto chosen = OrEnd(eudora::ChooseNicknameFile(m_options, m_setup));
    if (!chosen.empty()) return chosen;
    auto session = OrEnd(translator::TranslatorSession::Create(*m_host, translator::kContactsKind));
    const bool isFound = session.Select(chosen).HasValue();
    return isFound ? chosen : m_setup.eudoraFolder + "\\nndbase.txt";
}

bool Workplace::HasNicknameFile() {
    return !m_nicknameFiles.empty() || m_options.nicknameFile ||
           platform::NativeSystem().files.Exists(ChosenNicknameFile());
}

bool Workplace::IsCodePageSaid() const {
    return m_options.codePage || !m_options.eudora || base::UsesWindowsPaths();
}

std::string Workplace::NicknameFile() {
    auto chosen = ChosenNicknameFile();
    OrEnd(eudora::CheckNicknameFile(m_setup, chosen, false));
    return chosen;
}

std::vector<std::string> Workplace::NicknameFiles() {
    if (m_options.nicknameFile == "all") return eudora::AllNicknameFiles(m_setup);
    if (m_nicknameFiles.empty()) return {NicknameFile()};
    std::vector<std::string> files;
    for (const std::string& name : m_nicknameFiles) {
        files.push_back(OrEnd(eudora::NamedNicknameFile(m_setup, name)));
    }
    return files;
}

translator::TranslatorSession Workplace::OpenContacts() {
    return OrEnd(translator::TranslatorSession::OpenContacts(*m_host, NicknameFile()));
}

contactsync::AddressBook Workplace::Contacts(const std::string& file) {
    OrEnd(eudora::CheckNicknameFile(m_setup, file, false));
    const auto native = platform::NativePathOf(file);
    if (!native) throw Ended(base::Refused("no drive leads to " + base::ToUtf8(file)));
    const auto open = [host = m_host.get(), file] {
        return translator::TranslatorSession::OpenContacts(*host, file);
    };
    return {open, *native, platform::NativeSystem().codePage, IsCodePageSaid()};
}

base::Result<translator::TranslatorSession> Workplace::SelectInBox(std::string& selection) {
    return translator::SelectInBox(*m_host, m_setup, m_options.writesNothing, selection);
}

std::unique_ptr<mail::MailSource> Workplace::OpenMail(const translator::MailLimitChanges& limits) {
    OrEnd(eudora::RefuseMailsElsewhere(m_setup));
    std::string selection;
    auto session = OrEnd(SelectInBox(selection));
    return OrEnd(
        mail::EudoraMails::Open(std::move(session), selection, m_setup.eudoraFolder, limits));
}

const eudora::MailboxTree& Workplace::Mailboxes() {
    if (!m_tree) {
        m_tree = eudora::FindMailboxes(platform::NativeFiles(), m_setup.nativeFolder,
                                       platform::NativeSystem().codePage, m_options.followLinks);
    }
    return *m_tree;
}

std::vector<eudora::Mailbox> Workplace::ChosenMailboxes() {
    if (m_mailboxes.empty()) return Mailboxes().mailboxes;
    std::vector<eudora::Mailbox> chosen;
    for (const std::string& name : m_mailboxes) {
        const auto* const found = eudora::FindByName(Mailboxes(), name);
        if (found == nullptr) throw Ended(eudora::NoSuchMailbox(m_setup, name));
        chosen.push_back(*found);
    }
    return chosen;
}

// On Windows Eudora itself reads the in-box, by whatever it has.
base::Result<eudora::ReadableTable> Workplace::TableToRead(const eudora::Mailbox& mailbox) const {
    if (base::UsesWindowsPaths() && mailbox.IsInBox()) return eudora::ReadableTable{};
    return eudora::TableToRead(platform::NativeFiles(), mailbox, platform::NativeSystem().codePage);
}

base::Result<std::unique_ptr<mail::MailSource>> Workplace::OpenMailbox(
    const eudora::Mailbox& mailbox, const std::optional<std::string>& table,
    const translator::MailLimitChanges& limits) {
    if (!mailbox.IsInBox() || table || m_servesAnother) {
        m_servesAnother = true;
        auto served = eudora::ServeAsInBox(m_setup, mailbox, table);
        if (served) served = m_host->Restart();
        if (!served) return served.Error();
    }
    std::string selection;
    auto session = SelectInBox(selection);
    if (!session) return session.Error();
    return mail::EudoraMails::Open(*std::move(session), selection, m_setup.eudoraFolder, limits);
}

std::unique_ptr<mail::MailSource> Workplace::OpenChosenMailbox(
    const translator::MailLimitChanges& limits) {
    OrEnd(eudora::RefuseMailsElsewhere(m_setup));
    const auto* mailbox = eudora::FindByName(Mailboxes(), "In.mbx");
    const auto chosen = m_mailboxes.empty() ? std::vector<eudora::Mailbox>() : ChosenMailboxes();
    if (!chosen.empty()) mailbox = &chosen.front();
    // Without a text there is nothing to make a table of: the checks of the in-box say what is
    // missing.
    if (mailbox == nullptr || !platform::NativeFiles().Exists(mailbox->text)) {
        return OpenMail(limits);
    }
    const auto table = OrEnd(TableToRead(*mailbox));
    if (!table.note.empty()) base::PrintError(table.note);
    return OrEnd(OpenMailbox(*mailbox, table.made, limits));
}

bool SelectInDialog(translator::TranslatorSession& session, std::string& selection,
                    const std::string& otherwise) {
    const auto dialogs = dialogs::MakeTerminalDialogs();
    if (dialogs == nullptr && !base::UsesWindowsPaths()) {
        throw Ended(base::Refused("kvsync configure needs a terminal for its dialog",
                                  "start it in one, or " + otherwise));
    }
    const translator::DialogsShownBy shown(dialogs.get());
    return OrEnd(session.Select(selection, true));
}

ProgressLine::ProgressLine(bool wanted)
    : m_wanted(wanted && platform::IsTerminal(platform::Stream::kError)) {}

void ProgressLine::Show(const std::string& line) {
    if (!m_wanted || line == m_shown) return;
    base::ShowProgress(line);
    m_shown = line;
}

sync::RunContext ContextOf(const Options& options, ProgressLine& progress) {
    const std::string state =
        options.state ? *options.state
                      : base::FromPath(base::ToPath(OrEnd(eudora::StateFolder())) / "state.db");
    return {platform::NativeFiles(),
            platform::NativeSystem().clock,
            state,
            {},
            [&progress](const std::string& line) { progress.Show(line); },
            {},
            options.backupBytes,
            platform::NativeSystem().clock.Now()};
}

}  // namespace host::cli
