#include <algorithm>

#include "host/mail/new_mail.h"

namespace host::mail {

namespace {

constexpr std::string_view kNeedsQuotes = "(),.:<>@[]";

// No byte of a double-byte character equals a separator.
std::string Name(std::string name, std::string_view separators) {
    std::ranges::replace_if(
        name, [&](char letter) { return separators.find(letter) != std::string_view::npos; }, ' ');
    return name.find_first_of(kNeedsQuotes) != std::string::npos ? '"' + name + '"' : name;
}

std::string Joined(const std::vector<Recipient>& recipients, std::string_view separators,
                   std::string_view between) {
    std::string text;
    for (const Recipient& one : recipients) {
        if (!text.empty()) text += between;
        const std::string name = Name(one.name, separators);
        text += name.empty() ? one.address : name + " <" + one.address + '>';
    }
    return text;
}

}  // namespace

std::string StoredRecipients(const std::vector<Recipient>& recipients) {
    return Joined(recipients, ";", "; ");
}

std::string OutgoingRecipients(const std::vector<Recipient>& recipients) {
    return Joined(recipients, ";,", ";");
}

}  // namespace host::mail
