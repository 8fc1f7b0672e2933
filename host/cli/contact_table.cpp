#include "host/cli/contact_table.h"

#include <algorithm>
#include <array>
#include <iterator>

#include <nlohmann/json.hpp>

#include "host/base/json_text.h"
#include "host/base/native_path.h"

namespace host::cli {

namespace {

constexpr std::size_t kNickname = 0, kName = 1, kEmail = 5;
constexpr std::size_t kWidestColumn = 32;

base::Result<ShownContact> Read(translator::TranslatorSession& session) {
    ShownContact contact;
    for (std::size_t i = 0; i < std::size(kContactKeys); ++i) {
        auto text = session.Text(std::to_string(i + 1));
        if (!text) return text.Error();
        std::string value = base::ToUtf8(text->value_or(""));
        std::erase(value, '\r');
        std::ranges::replace(value, '\x03', '\n');
        contact.values.push_back(std::move(value));
    }
    return contact;
}

nlohmann::ordered_json ToJson(const ShownContact& contact) {
    nlohmann::ordered_json json;
    for (std::size_t i = 0; i < std::size(kContactKeys); ++i) {
        json[kContactKeys[i]] = contact.values[i];
    }
    return json;
}

}  // namespace

base::Result<std::vector<ShownContact>> ReadContacts(translator::TranslatorSession& session) {
    std::vector<ShownContact> contacts;
    auto found = session.MoveFirst();
    while (found && *found) {
        auto contact = Read(session);
        if (!contact) return contact.Error();
        contacts.push_back(*std::move(contact));
        found = session.MoveNext();
    }
    if (!found) return found.Error();
    return contacts;
}

base::Result<std::vector<ShownContact>> ReadContact(translator::TranslatorSession& session,
                                                    const std::string& nickname) {
    std::vector<ShownContact> contacts;
    bool lossy = false;
    const std::string id = base::FromUtf8(nickname, &lossy);
    if (lossy) return contacts;
    auto found = session.GoTo(id);
    if (!found) return found.Error();
    if (!*found) return contacts;
    auto contact = Read(session);
    if (!contact) return contact.Error();
    contacts.push_back(*std::move(contact));
    return contacts;
}

std::string ContactTable(const std::vector<ShownContact>& contacts) {
    std::vector<std::array<std::string, 3>> rows;
    std::size_t nicknameWidth = 0, nameWidth = 0;
    for (const auto& [values] : contacts) {
        rows.push_back({base::OneLine(values[kNickname]), base::OneLine(values[kName]),
                        base::OneLine(values[kEmail])});
        nicknameWidth = std::max(nicknameWidth, base::Width(rows.back()[0]));
        nameWidth = std::max(nameWidth, base::Width(rows.back()[1]));
    }
    nicknameWidth = std::min(nicknameWidth, kWidestColumn);
    nameWidth = std::min(nameWidth, kWidestColumn);
    std::string table;
    for (const auto& [nickname, name, email] : rows) {
        table += base::Padded(nickname, nicknameWidth) + "  " + base::Padded(name, nameWidth) +
                 "  " + email;
        table.erase(table.find_last_not_of(' ') + 1);
        table += '\n';
    }
    return table;
}

std::string ContactCard(const ShownContact& contact) {
    std::string card;
    for (std::size_t i = 0; i < std::size(kContactKeys); ++i) {
        const std::string& value = contact.values[i];
        if (value.empty()) continue;
        std::string label = base::Padded(std::string(kContactKeys[i]) + ":", 10);
        for (std::size_t start = 0; start <= value.size();) {
            const std::size_t end = std::min(value.find('\n', start), value.size());
            card += label + value.substr(start, end - start) + '\n';
            label.assign(10, ' ');
            start = end + 1;
        }
    }
    return card;
}

std::string ContactJson(const ShownContact& contact) {
    return base::JsonText(ToJson(contact), 2);
}

std::string ContactsJson(const std::vector<ShownContact>& contacts) {
    auto list = nlohmann::ordered_json::array();
    for (const ShownContact& contact : contacts) list.push_back(ToJson(contact));
    return base::JsonText(list, 2);
}

}  // namespace host::cli
