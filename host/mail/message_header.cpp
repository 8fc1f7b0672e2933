#include "host/mail/message_header.h"

#include <algorithm>
#include <array>
#include <set>

#include "host/base/paths.h"
#include "host/mail/encoded_words.h"
#include "host/mail/header_block.h"
#include "host/mail/stored_text.h"
#include "text/ascii.h"
#include "text/calendar.h"
#include "text/mail_view.h"
#include "text/utf.h"

namespace host::mail {

namespace {

constexpr std::size_t kLongestLine = 998;  // of RFC 5322

// A field of the header in the mailbox file: bytes in the system code page.
struct StoredField {
    std::string name, value;  // the value with its folds
};

bool IsFieldName(std::string_view name) {
    return !name.empty() &&
           std::ranges::all_of(name, [](char letter) { return letter > ' ' && letter < 0x7F; });
}

std::vector<StoredField> FieldsOf(std::string_view header) {
    std::vector<StoredField> fields;
    while (!header.empty()) {
        const auto field = text::TakeField(header);
        const auto colon = std::min(field.find(':'), field.size());
        const auto name = text::TrimmedBack(field.substr(0, colon), " \t");
        if (colon == field.size() || !IsFieldName(name)) continue;
        fields.push_back({std::string(name), std::string(text::Trimmed(field.substr(colon + 1)))});
    }
    return fields;
}

// Whether the field tells of the stored text, which was decoded, or of its place.
bool IsLeftOut(std::string_view name) {
    constexpr std::array<std::string_view, 5> kNames = {"mime-version", "message-id", "status",
                                                        "x-status", "x-attachments"};
    const std::string lowered = text::Lowered(name);
    return lowered.starts_with("content-") || std::ranges::count(kNames, lowered) > 0;
}

// The value with LF ends if a header can hold it as it stands; empty if not.
std::string AsItStands(const StoredField& field) {
    std::string value;
    for (std::string_view rest = field.value; !rest.empty();) {
        const auto line = text::TrimmedBack(text::TakeLine(rest));
        const bool isPlain = std::ranges::all_of(
            line, [](char letter) { return letter == '\t' || (letter >= ' ' && letter < 0x7F); });
        if (!isPlain || line.empty() || line.size() + field.name.size() + 2 > kLongestLine) {
            return {};
        }
        value.append(value.empty() ? "" : "\n").append(line);
    }
    return value;
}

// The value in one line.
std::string Unfolded(const StoredField& field) {
    return text::WithoutControls(text::Replaced(field.value, "\r\n", ""));
}

// Semicolons in the place of the commas between addresses, as the translator has them.
std::string WithSemicolons(std::string list) {
    bool isQuoted = false;
    for (char& letter : list) {
        if (letter == '"') isQuoted = !isQuoted;
        if (letter == ',' && !isQuoted) letter = ';';
    }
    return list;
}

// Whether the value is a list of addresses, or at least of groups. Eudora also stores nicknames and
// names without an address, which are none to other programs.
bool IsAddressList(const std::string& value) {
    if (value.find(':') != std::string::npos && value.find(';') != std::string::npos) return true;
    const std::string list = WithSemicolons(value);
    std::string_view rest = list;
    while (const auto piece = text::TakeToken(rest, ";")) {
        if (piece->find('@') == piece->npos && !text::Trimmed(*piece).empty()) return false;
    }
    return true;
}

// Whether each address that the translator tells stands in the stored field.
bool HoldsAll(const std::string& stored, const std::string& told) {
    const std::string lowered = text::Lowered(stored);
    std::string_view rest = told;
    while (const auto piece = text::TakeToken(rest, ";")) {
        std::string_view address = text::Trimmed(*piece);
        if (const auto open = address.rfind('<'); open != address.npos) {
            address = text::Trimmed(address.substr(open + 1), " >");
        }
        if (lowered.find(text::Lowered(address)) == std::string::npos) return false;
    }
    return true;
}

// The text as the translator's code page has it, with single blanks.
std::string Shown(const std::string& utf8) {
    std::string shown;
    for (const char letter : base::FromUtf8(text::WithoutControls(DecodeWords(utf8)))) {
        if (letter != ' ' || !shown.ends_with(' ')) shown += letter;
    }
    return shown;
}

std::optional<std::chrono::local_seconds> LocalDate(const Mail& mail) {
    return mail.date ? text::FromOleDate(*mail.date) : std::nullopt;
}

// Whether the stored date is the one that the translator tells, which has no seconds.
bool IsDateOf(const std::string& stored, const Mail& mail, std::chrono::seconds offset) {
    const auto date = text::ReadMailDate(stored);
    const auto told = LocalDate(mail);
    if (!date || !told) return date.has_value();
    const auto local = date->zone ? date->time - *date->zone + offset : date->time;
    return std::chrono::abs(local - *told) < std::chrono::minutes(1);
}

class HeaderMaker {
  public:
    HeaderMaker(const Mail& mail, std::chrono::seconds offset) : m_mail(mail), m_offset(offset) {}

    std::string Make() {
        for (const StoredField& field : FieldsOf(IsOfThisMail() ? m_mail.header : "")) {
            if (!IsLeftOut(field.name)) Take(field);
        }
        for (const char* name : {"From", "To", "Cc", "Bcc"}) {
            if (!m_taken.contains(text::Lowered(name))) AppendAddresses(m_out, name, Told(name));
        }
        if (!m_taken.contains("subject")) AppendText(m_out, "Subject", m_mail.subject);
        // Programs take a text without any of these for no mail; this is what Eudora's own line
        // says.
        if (!HasSaid()) AppendField(m_out, "From", "???@?\?\?");
        if (!m_taken.contains("date")) AppendDate();
        AppendField(m_out, "Message-ID", '<' + MessageIdOf(m_mail) + '>');
        if (!m_mail.label.empty()) AppendField(m_out, "X-Label", m_mail.label);
        AppendField(m_out, "MIME-Version", "1.0");
        return std::move(m_out);
    }

  private:
    // Eudora may have written the mailbox anew since its table was read.
    bool IsOfThisMail() const {
        const auto stored = text::MailView(m_mail.header).Field("Message-ID").value_or("");
        return stored.empty() || !m_mail.messageId ||
               stored.find(base::FromUtf8(*m_mail.messageId)) != std::string::npos;
    }

    const std::optional<std::string>& Told(std::string_view name) const {
        const std::string lowered = text::Lowered(name);
        if (lowered == "from") return m_mail.from;
        if (lowered == "to") return m_mail.to;
        return lowered == "cc" ? m_mail.cc : m_mail.bcc;
    }

    bool HasSaid() const {
        return m_mail.from || m_mail.to || m_mail.subject || m_taken.contains("from") ||
               m_taken.contains("to") || m_taken.contains("subject");
    }

    void AppendDate() {
        const auto date = LocalDate(m_mail);
        if (!date) return;
        AppendField(m_out, "Date",
                    text::Format("%a, %-d %b %Y %H:%M:%S ", *date) + text::ZoneText(m_offset));
    }

    // Takes a stored field if what the translator tells is not something else.
    void Take(const StoredField& field) {
        const std::string lowered = text::Lowered(field.name);
        const bool isAddress =
            lowered == "from" || lowered == "to" || lowered == "cc" || lowered == "bcc";
        const bool isOne = lowered == "from" || lowered == "subject" || lowered == "date";
        const std::string text = StoredText(Unfolded(field));
        if (text.empty() || (isOne && m_taken.contains(lowered))) return;
        if (isAddress && !HoldsAll(AllOf(lowered), base::FromUtf8(Told(lowered).value_or("")))) {
            return;
        }
        if (lowered == "subject" && m_mail.subject && Shown(text) != Shown(*m_mail.subject)) return;
        if (lowered == "date" && !IsDateOf(text, m_mail, m_offset)) return;
        m_taken.insert(lowered);
        const std::string value = AsItStands(field);
        if (!value.empty() && (!isAddress || IsAddressList(value))) {
            AppendField(m_out, field.name, value);
        } else if (isAddress) {
            AppendAddresses(m_out, field.name, WithSemicolons(text));
        } else {
            AppendText(m_out, field.name, text);
        }
    }

    std::string AllOf(std::string_view name) const {
        return text::MailView(m_mail.header).AllFields(name);
    }

    const Mail& m_mail;
    const std::chrono::seconds m_offset;
    std::set<std::string> m_taken;  // fields, in lower case
    std::string m_out;
};

}  // namespace

std::string MessageHeader(const Mail& mail, std::chrono::seconds offset) {
    return HeaderMaker(mail, offset).Make();
}

}  // namespace host::mail
