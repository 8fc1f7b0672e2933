#include "host/cli/contact_table.h"

#include <algorithm>

#include <nlohmann/json.hpp>

#include "host/base/output.h"
#include "host/base/paths.h"

namespace host::cli {

namespace {

using base::Contact;
using base::Field;

// In the order of the fields.
constexpr const char* kKeys[base::kFieldCount] = {"nickname", "name",  "address", "phone",
                                                  "fax",      "email", "note"};

base::Result<Contact> Read(translator::TranslatorSession& session) {
    Contact contact;
    for (std::size_t i = 0; i < base::kFieldCount; ++i) {
        auto text = session.Text(std::to_string(i + 1));
        if (!text) return text.Error();
        contact.values[i] = base::ToUtf8(text->value_or(""));
        std::erase(contact.values[i], '\r');
        std::ranges::replace(contact.values[i], '\x03', '\n');
    }
    return contact;
}

nlohmann::ordered_json ToJson(const Contact& contact) {
    nlohmann::ordered_json json;
    for (std::size_t i = 0; i < base::kFieldCount; ++i) json[kKeys[i]] = contact.values[i];
    return json;
}

// What a column of these fields needs.
std::size_t WidthOf(const std::vector<Contact>& contacts, Field field) {
    constexpr std::size_t kWidest = 32;
    std::size_t width = 0;
    for (const Contact& contact : contacts) {
        width = std::max(width, base::Width(base::OneLine(contact[field])));
    }
    return std::min(width, kWidest);
}

}  // namespace

base::Result<std::vector<Contact>> ReadContacts(translator::TranslatorSession& session) {
    std::vector<Contact> contacts;
    auto found = session.MoveFirst();
    for (; found && *found; found = session.MoveNext()) {
        auto contact = Read(session);
        if (!contact) return contact.Error();
        contacts.push_back(*std::move(contact));
    }
    if (!found) return found.Error();
    return contacts;
}

base::Result<std::optional<Contact>> ReadContact(translator::TranslatorSession& session,
                                                 const std::string& nickname) {
    bool lossy = false;
    const std::string id = base::FromUtf8(nickname, &lossy);
    if (lossy) return std::optional<Contact>();
    auto found = session.GoTo(id);
    if (!found) return found.Error();
    if (!*found) return std::optional<Contact>();
    auto contact = Read(session);
    if (!contact) return contact.Error();
    return std::optional(*std::move(contact));
}

std::string ContactTable(const std::vector<Contact>& contacts) {
    const std::size_t nicknameWidth = WidthOf(contacts, Field::kNickname);
    const std::size_t nameWidth = WidthOf(contacts, Field::kName);
    std::string table;
    for (const Contact& contact : contacts) {
        table += base::Padded(base::OneLine(contact[Field::kNickname]), nicknameWidth) + "  " +
                 base::Padded(base::OneLine(contact[Field::kName]), nameWidth) + "  " +
                 base::OneLine(contact[Field::kEmail]);
        table.erase(table.find_last_not_of(' ') + 1);
        table += '\n';
    }
    return table;
}

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

std::string ContactJson(const Contact& contact) {
    return base::JsonText(ToJson(contact), 2);
}

std::string ContactsJson(const std::vector<Contact>& contacts) {
    auto list = nlohmann::ordered_json::array();
    for (const Contact& contact : contacts) list.push_back(ToJson(contact));
    return base::JsonText(list, 2);
}

}  // namespace host::cli
