#include "text/mail_view.h"

#include "text/ascii.h"

namespace text {

namespace {

std::string Unfolded(std::string_view value) {
    value = Trimmed(value);
    std::string text;
    text.reserve(value.size());
    while (!value.empty()) {
        const auto line = value.substr(0, value.find_first_of("\r\n"));
        text += line;
        if (line.size() < value.size()) text += ' ';
        value = TrimmedFront(value.substr(line.size()));
    }
    return text;
}

// The value of the next field of that name, as it stands.
std::optional<std::string_view> TakeValue(std::string_view& header, std::string_view name) {
    while (!header.empty()) {
        const auto field = TakeField(header);
        const auto colon = field.find(':');
        const bool isWanted =
            colon != field.npos && EqualNoCase(TrimmedBack(field.substr(0, colon), " \t"), name);
        if (isWanted) return field.substr(colon + 1);
    }
    return std::nullopt;
}

}  // namespace

std::string_view TakeField(std::string_view& header) {
    const std::string_view all = header;
    do {
        TakeLine(header);
    } while (header.starts_with(' ') || header.starts_with('\t'));
    return all.substr(0, all.size() - header.size());
}

MailView::MailView(std::string_view bytes) {
    if (bytes.starts_with("From ")) m_separator = Trimmed(TakeLine(bytes));
    m_body = bytes;
    while (!m_body.empty() && !m_hasBody) {
        m_header = bytes.substr(0, bytes.size() - m_body.size());
        const auto line = TakeLine(m_body);
        m_hasBody = line == "\n" || line == "\r\n";
    }
    if (!m_hasBody) m_header = bytes;
}

std::optional<std::string> MailView::Field(std::string_view name) const {
    std::string_view rest = m_header;
    const auto value = TakeValue(rest, name);
    return value ? std::optional(Unfolded(*value)) : std::nullopt;
}

std::string MailView::AllFields(std::string_view name) const {
    std::string all;
    std::string_view rest = m_header;
    while (const auto value = TakeValue(rest, name)) {
        if (!all.empty()) all += ", ";
        all += Unfolded(*value);
    }
    return all;
}

}  // namespace text
