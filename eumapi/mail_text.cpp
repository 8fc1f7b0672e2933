#include "eumapi/mail_text.h"

#include <algorithm>

#include "text/ascii.h"

namespace eumapi {

namespace {

bool IsBlank(char letter) {
    return letter == ' ' || letter == '\t';
}

bool IsSpace(char letter) {
    return IsBlank(letter) || letter == '\r' || letter == '\n';
}

// A line break and the blanks behind it become one blank.
std::string Unfolded(std::string_view value) {
    value = text::Trimmed(value);
    std::string text;
    text.reserve(value.size());
    for (std::size_t i = 0; i < value.size(); ++i) {
        if (value[i] != '\r' && value[i] != '\n') {
            text += value[i];
            continue;
        }
        while (i + 1 < value.size() && IsSpace(value[i + 1])) ++i;
        text += ' ';
    }
    return text;
}

}  // namespace

MailText::MailText(std::string_view bytes) {
    if (bytes.starts_with("From ")) m_separator = text::Trimmed(text::TakeLine(bytes));
    while (!bytes.empty() && !m_hasBody) {
        const auto line = text::TakeLine(bytes);
        m_hasBody = line == "\n" || line == "\r\n";
        if (!m_hasBody) TakeHeaderLine(line);
    }
    m_body = bytes;
}

void MailText::TakeHeaderLine(std::string_view line) {
    if (IsBlank(line.front())) {
        if (m_fields.empty()) return;
        // The lines of a field lie one behind the other.
        auto& value = m_fields.back().value;
        const char* end = line.data() + line.size();
        value = {value.data(), static_cast<std::size_t>(end - value.data())};
        return;
    }
    const auto colon = line.find(':');
    if (colon == line.npos) {
        // No field, and what goes on below it is none either.
        m_fields.push_back({{}, line});
    } else {
        m_fields.push_back({text::Trimmed(line.substr(0, colon)), line.substr(colon + 1)});
    }
}

std::optional<std::string> MailText::Field(std::string_view name) const {
    const auto found = std::find_if(m_fields.begin(), m_fields.end(), [&](const auto& field) {
        return text::EqualNoCase(field.name, name);
    });
    if (found == m_fields.end()) return std::nullopt;
    return Unfolded(found->value);
}

std::string MailText::AllFields(std::string_view name) const {
    std::string all;
    for (const auto& field : m_fields) {
        if (!text::EqualNoCase(field.name, name)) continue;
        if (!all.empty()) all += ", ";
        all += Unfolded(field.value);
    }
    return all;
}

std::string MailText::Body() const {
    return text::WithLineFeeds(m_body);
}

}  // namespace eumapi
