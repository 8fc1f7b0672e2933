#include "host/cli/mail_table.h"

#include <algorithm>

#include <nlohmann/json.hpp>

#include "host/base/output.h"
#include "host/base/paths.h"
#include "host/mail/encoded_words.h"
#include "host/mail/mail_text.h"
#include "platform/os/clock.h"
#include "platform/os/program.h"
#include "text/ascii.h"
#include "text/calendar.h"

namespace host::cli {

namespace {

using Json = nlohmann::ordered_json;
using Text = std::optional<std::string>;

constexpr std::size_t kIdWidth = 10, kDateWidth = 16, kLabelWidth = 13;

// A header text on one line.
std::string Header(const Text& text) {
    std::string line = mail::DecodeWords(text.value_or(""));
    std::ranges::replace(line, '\n', ' ');
    std::ranges::replace(line, '\t', ' ');
    return base::OneLine(line);
}

// Local time as ISO 8601 tells it; nothing for a mail without date.
Text DateOf(const mail::Mail& mail) {
    const auto date = mail.date ? text::FromOleDate(*mail.date) : std::nullopt;
    return date ? text::IsoText(*date) : Text();
}

// The same with the zone that held then: "2026-11-24T17:05:00+01:00".
Json ZonedDate(const mail::Mail& mail) {
    const auto date = mail.date ? text::FromOleDate(*mail.date) : std::nullopt;
    if (!date) return nullptr;
    return text::IsoText(*date, platform::NativeClock().UtcOffset(*date));
}

bool IsSent(const mail::Mail& mail) {
    return mail.status == mail::kStatusSent || mail.status == mail::kStatusToSend;
}

Text StatusWord(const mail::Mail& mail) {
    if (mail.status == mail::kStatusUnread) return "unread";
    if (mail.status == mail::kStatusRead) return "read";
    if (mail.status == mail::kStatusSent) return "sent";
    if (mail.status == mail::kStatusToSend) return "to be sent";
    return std::nullopt;
}

// A line with a label; "" for a field without value.
std::string Field(const char* label, const Text& text) {
    const std::string line = Header(text);
    return line.empty() ? line : base::Padded(label, kLabelWidth) + line + '\n';
}

Json Value(const Text& text) {
    return text ? Json(*text) : Json(nullptr);
}

Json Decoded(const Text& text) {
    return text ? Json(mail::DecodeWords(*text)) : Json(nullptr);
}

}  // namespace

std::string MailLine(const mail::Mail& mail) {
    std::string date = DateOf(mail).value_or("").substr(0, kDateWidth);
    std::ranges::replace(date, 'T', ' ');
    const char* const mark = mail.status == mail::kStatusUnread ? "N" : IsSent(mail) ? "S" : " ";
    const auto columns = platform::TerminalColumns();
    const std::size_t personWidth = columns ? std::clamp<std::size_t>(*columns / 4, 16, 40) : 26;
    std::string line = base::Column(Header(base::ToUtf8(mail.id)), kIdWidth) + ' ' + mark + ' ' +
                       base::Padded(date, kDateWidth) + "  " +
                       base::Column(Header(IsSent(mail) ? mail.to : mail.from), personWidth) +
                       "  " + Header(mail.subject);
    if (columns) line = base::Column(line, *columns);
    line.erase(line.find_last_not_of(' ') + 1);
    return line;
}

std::string MailText(const mail::Mail& mail) {
    std::string text = Field("From:", mail.from) + Field("To:", mail.to) + Field("Cc:", mail.cc) +
                       Field("Bcc:", mail.bcc) + Field("Subject:", mail.subject) +
                       Field("Date:", DateOf(mail)) + Field("Status:", StatusWord(mail)) +
                       Field("Message-ID:", mail.messageId);
    for (const mail::MailAttachment& attachment : mail.attachments) {
        text += Field("Attachment:", attachment.name);
    }
    text += '\n' + text::WithLineFeeds(mail.body.value_or(""));
    if (!text.ends_with('\n')) text += '\n';
    for (const std::string& note : mail.notes) text += "[not read: " + base::OneLine(note) + "]\n";
    return text;
}

std::string MailJson(const mail::Mail& mail, bool whole) {
    Json json;
    json["id"] = base::ToUtf8(mail.id);
    json["marker"] = base::ToUtf8(mail.marker);
    json["from"] = Decoded(mail.from);
    json["to"] = Decoded(mail.to);
    json["cc"] = Decoded(mail.cc);
    json["bcc"] = Decoded(mail.bcc);
    json["subject"] = Decoded(mail.subject);
    json["date"] = ZonedDate(mail);
    json["status"] = Value(StatusWord(mail));
    json["messageId"] = Value(mail.messageId);
    json["size"] = mail.size;
    json["attachments"] = Json::array();
    for (const mail::MailAttachment& attachment : mail.attachments) {
        json["attachments"].push_back(attachment.name);
    }
    if (whole) {
        json["body"] = mail.body ? Json(text::WithLineFeeds(*mail.body)) : Json(nullptr);
        json["notes"] = mail.notes;
    }
    return base::JsonText(json);
}

}  // namespace host::cli
