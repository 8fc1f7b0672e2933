#include "eumapi/outgoing_text.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "eumapi/mail_date.h"

namespace eumapi {

namespace {

using TimePoint = std::chrono::system_clock::time_point;

constexpr const char* kDays[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
constexpr const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                   "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
constexpr const char* kEnd = "\r\n";

template <class... Values>
std::string Formatted(const char* format, Values... values) {
    char text[128];
    std::snprintf(text, sizeof text, format, values...);
    return text;
}

std::string ZoneText(TimePoint now, platform::Clock& clock) {
    const auto minutes = static_cast<int>(clock.UtcOffset(now).count() / 60);
    return Formatted("%c%02d%02d", minutes < 0 ? '-' : '+', std::abs(minutes) / 60,
                     std::abs(minutes) % 60);
}

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

// Every kind of line end becomes CR LF, and the last line has one.
std::string WithLineEnds(std::string_view text) {
    std::string out;
    out.reserve(text.size() + text.size() / 32);
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\r' && text[i] != '\n') {
            out += text[i];
            continue;
        }
        if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') ++i;
        out += kEnd;
    }
    if (!out.empty() && out.back() != '\n') out += kEnd;
    return out;
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
    const auto at = SplitLocal(now, clock);
    std::string text = Formatted(
        "From ???@??"
        "? %s %s %02d %02d:%02d:%02d %04d\r\n",
        kDays[at.weekday], kMonths[at.month - 1], at.day, at.hour, at.minute, at.second, at.year);
    text += Formatted("Date: %s, %02d %s %04d %02d:%02d:%02d ", kDays[at.weekday], at.day,
                      kMonths[at.month - 1], at.year, at.hour, at.minute, at.second) +
            ZoneText(now, clock) + kEnd;
    text += RecipientLine("To: ", message, mapi::kTo);
    text += RecipientLine("Cc: ", message, mapi::kCc);
    text += RecipientLine("Bcc: ", message, mapi::kBcc);
    if (message.lpOriginator != nullptr && !AddressOf(*message.lpOriginator).empty()) {
        text += "From: " + Mailbox(*message.lpOriginator) + kEnd;
    }
    text += "Subject: " + HeaderText(message.lpszSubject) + kEnd;
    text += AttachmentsLine(attachments);
    text += kEnd;
    return text + WithLineEnds(message.lpszNoteText == nullptr ? "" : message.lpszNoteText);
}

std::string ListDate(TimePoint now, platform::Clock& clock) {
    const auto at = SplitLocal(now, clock);
    return Formatted("%02d:%02d %s %d/%d/%d ", at.hour > 12 ? at.hour - 12 : at.hour, at.minute,
                     at.hour >= 12 ? "PM" : "AM", at.month, at.day, at.year) +
           ZoneText(now, clock);
}

}  // namespace eumapi
