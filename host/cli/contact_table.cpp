#include "host/cli/contact_table.h"

#include <algorithm>
#include <iterator>

#include <nlohmann/json.hpp>

#include "host/cli/terminal_text.h"
#include "host/module/native_path.h"

namespace host {

namespace {

constexpr std::size_t kNickname = 0, kName = 1, kEmail = 5;
constexpr std::size_t kWidestColumn = 32;

platform::Result<ShownContact> Read(TranslatorSession& session) {
    ShownContact contact;
    for (std::size_t i = 0; i < std::size(kContactKeys); ++i) {
        auto text = session.Text(std::to_string(i + 1));
        if (!text) return text.Error();
        std::string value = ToUtf8(text->value_or(""));
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

std::string Dump(const nlohmann::ordered_json& json) {
    return json.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

}  // namespace

platform::Result<std::vector<ShownContact>> ReadContacts(TranslatorSession& session) {
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

platform::Result<std::vector<ShownContact>> ReadContact(TranslatorSession& session,
                                                        const std::string& nickname) {
    std::vector<ShownContact> contacts;
    bool lossy = false;
    const std::string id = FromUtf8(nickname, &lossy);
    if (lossy) return contacts;
    auto found = session.GoTo(id);
    if (!found) return found.Error();
    if (!*found) return contacts;
    auto contact = Read(session);
    if (!contact) return contact.Error();
    contacts.push_back(*std::move(contact));
    return contacts;
}

void PrintTable(std::ostream& out, const std::vector<ShownContact>& contacts) {
    std::size_t nicknameWidth = 0, nameWidth = 0;
    for (const ShownContact& contact : contacts) {
        nicknameWidth = std::max(nicknameWidth, Width(contact.values[kNickname]));
        nameWidth = std::max(nameWidth, Width(contact.values[kName]));
    }
    nicknameWidth = std::min(nicknameWidth, kWidestColumn);
    nameWidth = std::min(nameWidth, kWidestColumn);
    for (const ShownContact& contact : contacts) {
        std::string line = Padded(Printable(contact.values[kNickname]), nicknameWidth) + "  " +
                           Padded(Printable(contact.values[kName]), nameWidth) + "  " +
                           Printable(contact.values[kEmail]);
        line.erase(line.find_last_not_of(' ') + 1);
        out << line << '\n';
    }
}

void PrintCard(std::ostream& out, const ShownContact& contact) {
    for (std::size_t i = 0; i < std::size(kContactKeys); ++i) {
        const std::string& value = contact.values[i];
        if (value.empty()) continue;
        std::string label = Padded(std::string(kContactKeys[i]) + ":", 10);
        for (std::size_t start = 0; start <= value.size();) {
            const std::size_t end = std::min(value.find('\n', start), value.size());
            out << label << Printable(value.substr(start, end - start)) << '\n';
            label.assign(10, ' ');
            start = end + 1;
        }
    }
}

std::string ContactJson(const ShownContact& contact) {
    return Dump(ToJson(contact));
}

std::string ContactsJson(const std::vector<ShownContact>& contacts) {
    auto list = nlohmann::ordered_json::array();
    for (const ShownContact& contact : contacts) list.push_back(ToJson(contact));
    return Dump(list);
}

}  // namespace host
