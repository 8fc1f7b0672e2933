#include "host/cli/mail_table.h"

#include <algorithm>

#include <nlohmann/json.hpp>

#include "host/cli/terminal_text.h"
#include "host/mail/compose.h"
#include "host/mail/mail_date.h"
#include "host/mail/mail_text.h"
#include "host/module/native_path.h"

namespace host {

namespace {

using Json = nlohmann::ordered_json;
using Text = std::optional<std::string>;

constexpr std::size_t kIdWidth = 10, kDateWidth = 16, kPersonWidth = 26, kLabelWidth = 13;

// A header text on one line.
std::string OneLine(const Text& text) {
    std::string line = Visible(DecodeWords(text.value_or("")));
    std::ranges::replace(line, '\n', ' ');
    std::ranges::replace(line, '\t', ' ');
    return line;
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

void PrintField(std::ostream& out, const char* label, const Text& text) {
    const std::string line = OneLine(text);
    if (!line.empty()) out << Padded(label, kLabelWidth) << line << '\n';
}

Json Value(const Text& text) {
    return text ? Json(*text) : Json(nullptr);
}

Json Decoded(const Text& text) {
    return text ? Json(DecodeWords(*text)) : Json(nullptr);
}

}  // namespace

void PrintMailLine(std::ostream& out, const Mail& mail) {
    std::string date = DateOf(mail).value_or("").substr(0, kDateWidth);
    std::ranges::replace(date, 'T', ' ');
    const char* const mark = mail.status == kStatusUnread ? "N" : IsSent(mail) ? "S" : " ";
    std::string line = Column(OneLine(ToUtf8(mail.id)), kIdWidth) + ' ' + mark + ' ' +
                       Padded(date, kDateWidth) + "  " +
                       Column(OneLine(IsSent(mail) ? mail.to : mail.from), kPersonWidth) + "  " +
                       OneLine(mail.subject);
    line.erase(line.find_last_not_of(' ') + 1);
    out << line << '\n';
}

void PrintMail(std::ostream& out, const Mail& mail) {
    PrintField(out, "From:", mail.from);
    PrintField(out, "To:", mail.to);
    PrintField(out, "Cc:", mail.cc);
    PrintField(out, "Bcc:", mail.bcc);
    PrintField(out, "Subject:", mail.subject);
    PrintField(out, "Date:", DateOf(mail));
    PrintField(out, "Status:", StatusWord(mail));
    PrintField(out, "Message-ID:", mail.messageId);
    for (const MailAttachment& attachment : mail.attachments) {
        PrintField(out, "Attachment:", attachment.name);
    }
    const std::string text = Visible(NormalLineEnds(mail.body.value_or("")));
    out << '\n' << text;
    if (!text.empty() && !text.ends_with('\n')) out << '\n';
    for (const std::string& note : mail.notes) out << "[not read: " << OneLine(note) << "]\n";
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
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace host
