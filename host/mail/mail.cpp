#include "host/mail/mail.h"

#include <algorithm>

#include "text/ascii.h"

namespace host::mail {

namespace {

constexpr std::size_t kLongestId = 900;  // a line of a header holds 998 bytes

// No byte of a double-byte character equals a separator.
std::string Joined(const std::vector<Recipient>& recipients, std::string_view separators,
                   std::string_view between) {
    std::string text;
    for (auto [name, address] : recipients) {
        std::ranges::replace_if(
            name, [&](char c) { return separators.find(c) != separators.npos; }, ' ');
        if (name.find_first_of("(),.:<>@[]") != name.npos) name.insert(0, 1, '"').append(1, '"');
        if (!name.empty()) name.append(" <").append(address).append(1, '>');
        if (!text.empty()) text += between;
        text += name.empty() ? address : name;
    }
    return text;
}

}  // namespace

std::string MailName(std::string subject, std::string from) {
    for (std::string* text : {&subject, &from})
        std::ranges::replace_if(*text, text::IsControl, ' ');
    if (subject.empty()) subject = "(no subject)";
    return from.empty() ? subject : subject + " from " + from;
}

std::string StoredRecipients(const std::vector<Recipient>& recipients) {
    return Joined(recipients, ";", "; ");
}

std::string OutgoingRecipients(const std::vector<Recipient>& recipients) {
    return Joined(recipients, ";,", ";");
}

bool IsIndexId(std::string_view id) {
    return id.size() == 10 && id.starts_with("0x") &&
           id.find_first_not_of("0123456789ABCDEF", 2) == id.npos;
}

bool CanKeepMessageId(std::string_view id) {
    return !id.empty() && id.size() <= kLongestId && !IsIndexId(id) &&
           std::ranges::all_of(id, [](char letter) {
               return letter > ' ' && letter < 0x7F && letter != '<' && letter != '>';
           });
}

std::string MessageIdOf(const Mail& mail) {
    const std::string& own = mail.messageId ? *mail.messageId : mail.id;
    if (CanKeepMessageId(own)) return own;
    std::string told = own;
    for (const auto* text : {&mail.from, &mail.to, &mail.subject}) {
        told += '\n' + text->value_or("");
    }
    told += '\n' + std::to_string(mail.date.value_or(0)) + '\n' + std::to_string(mail.size);
    return (IsIndexId(own) ? own + '.' : std::string()) + Fingerprint(told) + ".eudora@localhost";
}

}  // namespace host::mail
