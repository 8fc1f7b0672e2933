#include "host/cli/mail_table.h"

#include <algorithm>

#include <nlohmann/json.hpp>

#include "host/mail/compose.h"
#include "host/mail/mail_date.h"
#include "host/mail/mail_text.h"
#include "host/module/native_path.h"
#include "host/output/json_text.h"

namespace host {

namespace {

using Json = nlohmann::ordered_json;
using Text = std::optional<std::string>;

constexpr std::size_t kIdWidth = 10, kDateWidth = 16, kPersonWidth = 26, kLabelWidth = 13;

// A header text on one line.
std::string Header(const Text& text) {
    std::string line = DecodeWords(text.value_or(""));
    std::ranges::replace(line, '\n', ' ');
    std::ranges::replace(line, '\t', ' ');
    return OneLine(line);
}

Text DateOf(const Mail& mail) {
    const auto date = mail.date ? FromOleDate(*mail.date) : std::nullopt;
    return date ? IsoDate(*date) : Text();
}

bool IsSent(const Mail& mail) {
    return mail.status == kStatusSent || mail.status == kStatusToSend;
}

Text StatusWord(const Mail& mail) {
    if (mail.status == kStatusUnread) return "unread";
    if (mail.status == kStatusRead) return "read";
    if (mail.status == kStatusSent) return "sent";
    if (mail.status == kStatusToSend) return "to be sent";
    return std::nullopt;
}

std::string Field(const char* label, const Text& text) {
    const std::string line = Header(text);
    return line.empty() ? line : Padded(label, kLabelWidth) + line + '\n';
}

Json Value(const Text& text) {
    return text ? Json(*text) : Json(nullptr);
}

Json Decoded(const Text& text) {
    return text ? Json(DecodeWords(*text)) : Json(nullptr);
}

}  // namespace

std::string MailLine(const Mail& mail) {
    std::string date = DateOf(mail).value_or("").substr(0, kDateWidth);
    std::ranges::replace(date, 'T', ' ');
    const char* const mark = mail.status == kStatusUnread ? "N" : IsSent(mail) ? "S" : " ";
    std::string line = Column(Header(ToUtf8(mail.id)), kIdWidth) + ' ' + mark + ' ' +
                       Padded(date, kDateWidth) + "  " +
                       Column(Header(IsSent(mail) ? mail.to : mail.from), kPersonWidth) + "  " +
                       Header(mail.subject);
    line.erase(line.find_last_not_of(' ') + 1);
    return line;
}

std::string MailText(const Mail& mail) {
    std::string text = Field("From:", mail.from) + Field("To:", mail.to) + Field("Cc:", mail.cc) +
                       Field("Bcc:", mail.bcc) + Field("Subject:", mail.subject) +
                       Field("Date:", DateOf(mail)) + Field("Status:", StatusWord(mail)) +
                       Field("Message-ID:", mail.messageId);
    for (const MailAttachment& attachment : mail.attachments) {
        text += Field("Attachment:", attachment.name);
    }
    text += '\n' + NormalLineEnds(mail.body.value_or(""));
    if (!text.ends_with('\n')) text += '\n';
    for (const std::string& note : mail.notes) text += "[not read: " + OneLine(note) + "]\n";
    return text;
}

std::string MailJson(const Mail& mail, bool whole) {
    Json json;
    json["id"] = ToUtf8(mail.id);
    json["marker"] = ToUtf8(mail.marker);
    json["from"] = Decoded(mail.from);
    json["to"] = Decoded(mail.to);
    json["cc"] = Decoded(mail.cc);
    json["bcc"] = Decoded(mail.bcc);
    json["subject"] = Decoded(mail.subject);
    json["date"] = Value(DateOf(mail));
    json["status"] = Value(StatusWord(mail));
    json["messageId"] = Value(mail.messageId);
    json["size"] = mail.size;
    json["attachments"] = Json::array();
    for (const MailAttachment& attachment : mail.attachments) {
        json["attachments"].push_back(attachment.name);
    }
    if (whole) {
        json["body"] = mail.body ? Json(NormalLineEnds(*mail.body)) : Json(nullptr);
        json["notes"] = mail.notes;
    }
    return JsonText(json);
}

}  // namespace host
