#include "host/cli/contact_commands.h"

#include <algorithm>

#include <nlohmann/json.hpp>

#include "host/base/contact.h"
#include "host/base/output.h"
#include "host/base/paths.h"
#include "host/cli/output.h"
#include "host/cli/workplace.h"
#include "host/eudora/nickname_file.h"
#include "platform/os/program.h"
#include "text/ascii.h"

namespace host::cli {

namespace {

using base::Contact;
using base::Field;

// In the order of the fields.
constexpr const char* kKeys[base::kFieldCount] = {"nickname", "name",  "address", "phone",
                                                  "fax",      "email", "note"};

// The current contact with Eudora's values in UTF-8; LF stands between lines.
Contact Read(translator::TranslatorSession& session) {
    Contact contact;
    for (std::size_t i = 0; i < base::kFieldCount; ++i) {
        const auto text = OrEnd(session.Text(std::to_string(i + 1)));
        contact.values[i] = base::ToUtf8(text.value_or(""));
        std::erase(contact.values[i], '\r');
        std::ranges::replace(contact.values[i], '\x03', '\n');
    }
    return contact;
}

// All fields, also empty ones, in the order of Eudora's ids.
nlohmann::ordered_json ToJson(const Contact& contact) {
    nlohmann::ordered_json json;
    for (std::size_t i = 0; i < base::kFieldCount; ++i) json[kKeys[i]] = contact.values[i];
    return json;
}

std::string JsonList(const std::vector<Contact>& contacts) {
    auto list = nlohmann::ordered_json::array();
    for (const Contact& contact : contacts) list.push_back(ToJson(contact));
    return base::JsonText({{"contacts", std::move(list)}}, 2);
}

// The width of a column for that field.
std::size_t WidthOf(const std::vector<Contact>& contacts, Field field) {
    constexpr std::size_t kWidest = 32;
    std::size_t width = 0;
    for (const Contact& contact : contacts) {
        width = std::max(width, base::Width(base::OneLine(contact[field])));
    }
    return std::min(width, kWidest);
}

// A line for each: nickname, name and address of mail, in columns.
std::string ContactTable(const std::vector<Contact>& contacts) {
    const std::size_t nicknameWidth = WidthOf(contacts, Field::kNickname);
    // On a terminal the name makes room for the address; nicknames stay whole, to be typed.
    const auto columns = platform::TerminalColumns();
    const auto inColumn = columns ? &base::Column : &base::Padded;
    std::size_t nameWidth = WidthOf(contacts, Field::kName);
    if (columns) {
        const std::size_t others = nicknameWidth + WidthOf(contacts, Field::kEmail) + 4;
        nameWidth = std::min(nameWidth, std::max(*columns, others + 12) - others);
    }
    std::string table;
    for (const Contact& contact : contacts) {
        table += base::Padded(base::OneLine(contact[Field::kNickname]), nicknameWidth) + "  " +
                 inColumn(base::OneLine(contact[Field::kName]), nameWidth) + "  " +
                 base::OneLine(contact[Field::kEmail]);
        table.erase(table.find_last_not_of(' ') + 1);
        table += '\n';
    }
    return table;
}

// All fields that hold something, a line for each; further lines of a value are indented.
std::string ContactCard(const Contact& contact) {
    std::string card;
    for (std::size_t i = 0; i < base::kFieldCount; ++i) {
        const std::string& value = contact.values[i];
        if (value.empty()) continue;
        std::string label = base::Padded(std::string(kKeys[i]) + ":", 10);
        for (std::size_t start = 0; start <= value.size();) {
            const std::size_t end = std::min(value.find('\n', start), value.size());
            card += label + value.substr(start, end - start) + '\n';
            label.assign(10, ' ');
            start = end + 1;
        }
    }
    return card;
}

// The contact with that nickname, else all with that name or e-mail address, in any case.
std::vector<Contact> Find(translator::TranslatorSession& session, const std::string& wanted) {
    bool lossy = false;
    const std::string id = base::FromUtf8(wanted, &lossy);
    if (!lossy && OrEnd(session.GoTo(id))) return {Read(session)};
    std::vector<Contact> found;
    for (bool more = OrEnd(session.MoveFirst()); more; more = OrEnd(session.MoveNext())) {
        Contact contact = Read(session);
        for (const Field field : {Field::kNickname, Field::kName, Field::kEmail}) {
            if (!text::EqualNoCase(contact[field], wanted)) continue;
            found.push_back(std::move(contact));
            break;
        }
    }
    return found;
}

void RefuseLimits(const Options& options) {
    if (options.limits.IsEmpty() && !options.show) return;
    throw Misuse("--age, --size, --attachments, --attachment-size and --show are for mail");
}

}  // namespace

base::ExitCode ListContacts(const Options& options) {
    Workplace workplace(options, Workplace::For::kLook);
    auto session = workplace.OpenContacts();
    std::vector<Contact> contacts;
    for (bool found = OrEnd(session.MoveFirst()); found; found = OrEnd(session.MoveNext())) {
        contacts.push_back(Read(session));
    }
    base::PrintText(options.json ? JsonList(contacts) : ContactTable(contacts));
    return base::ExitCode::kNothingToDo;
}

base::ExitCode ShowContact(const Options& options) {
    Workplace workplace(options, Workplace::For::kLook);
    auto session = workplace.OpenContacts();
    const auto found = Find(session, options.record);
    if (found.empty()) {
        throw Ended(base::Refused("there is no contact " + options.record,
                                  "kvsync list contacts shows the nicknames"));
    }
    if (found.size() > 1) {
        std::vector<std::string> names;
        names.reserve(found.size());
        for (const Contact& contact : found) names.push_back(contact[Field::kNickname]);
        throw Ended(
            base::Refused(std::to_string(found.size()) + " contacts are called " + options.record,
                          "name one by its nickname: " + text::Joined(names, ", ")));
    }
    const Contact& contact = found[0];
    base::PrintText(options.json ? base::JsonText(ToJson(contact), 2) : ContactCard(contact));
    return base::ExitCode::kNothingToDo;
}

base::ExitCode ExportContacts(const Options& options) {
    RefuseLimits(options);
    Workplace workplace(options, Workplace::For::kLook);
    const auto eudora = workplace.Contacts(workplace.NicknameFile());
    ProgressLine progress(!options.quiet);
    const auto count =
        contactsync::ExportContacts(ContextOf(options, progress), eudora, options.toFolder,
                                    options.vcardVersion.value_or("4.0"));
    progress.Show({});
    return Say(count ? ExportOutput(*count, options.toFolder) : RefusalOutput(count.Error()),
               options);
}

base::ExitCode ConfigureContacts(const Options& options) {
    RefuseLimits(options);
    Workplace workplace(options, Workplace::For::kWork);
    auto session =
        OrEnd(translator::TranslatorSession::Create(workplace.Module(), translator::kContactsKind));
    auto file = OrEnd(eudora::ChooseNicknameFile(options.setup, workplace.Setup()));
    const bool isChosen =
        options.setup.nicknameFile
            ? OrEnd(session.Select(file))
            : SelectInDialog(session, file, "name the file with --nickname-file FILE");
    Output output;
    if (!isChosen) {
        output.Finish({{"nicknameFile", nullptr}});
        if (!options.quiet) output.lines.emplace_back("nothing changed");
        return Say(output, options);
    }
    OrEnd(eudora::CheckNicknameFile(workplace.Setup(), file, false));
    OrEnd(translator::TranslatorSession::OpenContacts(workplace.Module(), file));
    OrEnd(eudora::RememberNicknameFile(workplace.Setup(), file));
    output.code = base::ExitCode::kChangesMade;
    if (!options.quiet) output.lines.push_back("contacts are kept in " + base::ToUtf8(file));
    output.Finish({{"nicknameFile", base::ToUtf8(file)}});
    return Say(output, options);
}

}  // namespace host::cli
