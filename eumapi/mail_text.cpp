#include "eumapi/mail_text.h"

#include <algorithm>

namespace eumapi {

namespace {

bool IsBlank(char letter) {
    return letter == ' ' || letter == '\t';
}

bool IsSpace(char letter) {
    return IsBlank(letter) || letter == '\r' || letter == '\n';
}

char Lower(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

bool SameName(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return Lower(x) == Lower(y); });
}

// Takes the first line off `rest`, line end included.
std::string_view TakeLine(std::string_view& rest) {
    const auto end = rest.find('\n');
    const auto line = rest.substr(0, end == rest.npos ? end : end + 1);
    rest.remove_prefix(line.size());
    return line;
}

std::string_view Trimmed(std::string_view text) {
    while (!text.empty() && IsSpace(text.front())) text.remove_prefix(1);
    while (!text.empty() && IsSpace(text.back())) text.remove_suffix(1);
    return text;
}

// A line break and the blanks behind it become one blank.
std::string Unfolded(std::string_view value) {
    value = Trimmed(value);
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
    if (bytes.starts_with("From ")) m_separator = Trimmed(TakeLine(bytes));
    while (!bytes.empty() && !m_hasBody) {
        const auto line = TakeLine(bytes);
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
        m_fields.push_back({Trimmed(line.substr(0, colon)), line.substr(colon + 1)});
    }
}

std::optional<std::string> MailText::Field(std::string_view name) const {
    const auto found = std::find_if(m_fields.begin(), m_fields.end(),
                                    [&](const auto& field) { return SameName(field.name, name); });
    if (found == m_fields.end()) return std::nullopt;
    return Unfolded(found->value);
}

std::string MailText::AllFields(std::string_view name) const {
    std::string all;
    for (const auto& field : m_fields) {
        if (!SameName(field.name, name)) continue;
        if (!all.empty()) all += ", ";
        all += Unfolded(field.value);
    }
    return all;
}

std::string MailText::Body() const {
    std::string text;
    text.reserve(m_body.size());
    std::string_view rest = m_body;
    while (!rest.empty()) {
        auto line = TakeLine(rest);
        const bool isEnded = line.back() == '\n';
        if (isEnded) {
            line.remove_suffix(1);
            while (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        }
        text += line;
        if (isEnded) text += '\n';
    }
    return text;
}

}  // namespace eumapi
