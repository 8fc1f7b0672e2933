#include "host/base/output.h"
#include "host/cli/commands.h"
#include "host/cli/contact_table.h"
#include "host/cli/output.h"
#include "host/cli/workplace.h"

namespace host::cli {

namespace {

base::Result<translator::TranslatorSession> OpenContacts(Workplace& workplace) {
    auto file = workplace.NicknameFile(false);
    if (!file) return file.Error();
    return translator::TranslatorSession::OpenContacts(workplace.Module(), *file);
}

}  // namespace

Ending ListContacts(const Options& options) {
    auto workplace = Workplace::Enter(options);
    if (!workplace) return workplace.Error();
    auto session = OpenContacts(*workplace);
    if (!session) return session.Error();
    const auto contacts = ReadContacts(*session);
    if (!contacts) return contacts.Error();
    base::PrintText(options.json ? ContactsJson(*contacts) : ContactTable(*contacts));
    return base::ExitCode::kNothingToDo;
}

Ending ShowContact(const Options& options, const std::string& nickname) {
    auto workplace = Workplace::Enter(options);
    if (!workplace) return workplace.Error();
    auto session = OpenContacts(*workplace);
    if (!session) return session.Error();
    const auto contact = ReadContact(*session, nickname);
    if (!contact) return contact.Error();
    if (!*contact) {
        return base::Refused("there is no contact " + nickname,
                             "kvsync list contacts shows the nicknames");
    }
    base::PrintText(options.json ? ContactJson(**contact) : ContactCard(**contact));
    return base::ExitCode::kNothingToDo;
}

Ending ExportContacts(const Options& options, const std::string& toFolder) {
    auto workplace = Workplace::Enter(options);
    if (!workplace) return workplace.Error();
    auto eudora = workplace->Contacts(false);
    if (!eudora) return eudora.Error();
    ProgressLine progress(!options.quiet);
    auto command = PlaceOf(options, progress);
    if (!command) return command.Error();
    const auto count = contactsync::ExportContacts(*command, *eudora, toFolder);
    progress.Show({});
    return Say(count ? ExportOutput(*count, toFolder) : RefusalOutput(count.Error()), options);
}

}  // namespace host::cli
