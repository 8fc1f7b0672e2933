#include "eumapi/outgoing_text.h"

#include <algorithm>
#include <string_view>

#include "text/ascii.h"
#include "text/calendar.h"

namespace eumapi {

namespace {

using TimePoint = std::chrono::system_clock::time_point;

constexpr const char* kEnd = "\r\n";

// "Name <address>", the name in quotes if it has anything but letters that need none.
std::string Mailbox(const MapiRecipDesc& recipient) {
    std::string address = AddressOf(recipient);
    std::string name = HeaderText(recipient.lpszName);
    if (name.empty() || name == address || name == "SMTP:" + address) return address;
    if (name.find_first_of("\"(),.:;<>@[\\]") != std::string::npos) {
        std::erase_if(name, [](char letter) { return letter == '"' || letter == '\\'; });
        name = '"' + name + '"';
    }
    return name + " <" + address + ">";
}

std::string RecipientLine(const char* label, const MapiMessage& message,
                          std::uint32_t recipientClass) {
    std::string list;
    for (const auto& recipient : mapi::Recipients(message)) {
        if (recipient.ulRecipClass != recipientClass) continue;
        if (!list.empty()) list += ", ";
        list += Mailbox(recipient);
    }
    return list.empty() ? "" : label + list + kEnd;
}

// Each line has an end, the last one too.
std::string WithLineEnds(const char* text) {
    std::string lines = text::WithCrLf(text == nullptr ? "" : text);
    if (!lines.empty() && !lines.ends_with('\n')) lines += kEnd;
    return lines;
}

// A semicolon ends an entry; a path that has one stands in quotes, which no path can have.
std::string AttachmentsLine(const std::vector<std::string>& attachments) {
    if (attachments.empty()) return {};
    std::string line = "X-Attachments: ";
    for (const auto& path : attachments) {
        const bool isPlain = path.find(';') == path.npos;
        line += (isPlain ? path : '"' + path + '"') + ';';
    }
    return line + kEnd;
}

}  // namespace

std::string HeaderText(const char* text) {
    std::string line = text == nullptr ? "" : text;
    std::replace_if(
        line.begin(), line.end(),
        [](char letter) { return static_cast<unsigned char>(letter) < ' '; }, ' ');
    return line;
}

std::string AddressOf(const MapiRecipDesc& recipient) {
    std::string address = HeaderText(recipient.lpszAddress);
    if (address.empty()) address = HeaderText(recipient.lpszName);
    constexpr std::string_view kKind = "SMTP:";
    if (address.starts_with(kKind)) address.erase(0, kKind.size());
    return address;
}

std::string OutgoingText(const MapiMessage& message, const std::vector<std::string>& attachments,
                         TimePoint now, platform::Clock& clock) {
    const auto local = text::CivilTime(now, clock.UtcOffset(now));
    std::string text = text::Format(
        "From ???@??"
        "? %a %b %d %H:%M:%S %Y\r\n",
        local);
    text += text::Format("Date: %a, %d %b %Y %H:%M:%S ", local);
    text += text::ZoneText(clock.UtcOffset(now)) + kEnd;
    text += RecipientLine("To: ", message, mapi::kTo);
    text += RecipientLine("Cc: ", message, mapi::kCc);
    text += RecipientLine("Bcc: ", message, mapi::kBcc);
    if (message.lpOriginator != nullptr && !AddressOf(*message.lpOriginator).empty()) {
        text += "From: " + Mailbox(*message.lpOriginator) + kEnd;
    }
    text += "Subject: " + HeaderText(message.lpszSubject) + kEnd;
    text += AttachmentsLine(attachments);
    text += kEnd;
    return text + WithLineEnds(message.lpszNoteText);
}

std::string ListDate(TimePoint now, platform::Clock& clock) {
    const auto local = text::CivilTime(now, clock.UtcOffset(now));
    const bool isLate =
        local - std::chrono::floor<std::chrono::days>(local) >= std::chrono::hours(12);
    return text::Format(isLate ? "%I:%M PM %-m/%-d/%Y " : "%I:%M AM %-m/%-d/%Y ", local) +
           text::ZoneText(clock.UtcOffset(now));
}

}  // namespace eumapi
