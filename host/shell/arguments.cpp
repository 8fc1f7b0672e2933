#include "host/shell/arguments.h"

#include <optional>

#include <nlohmann/json.hpp>

#include "text/ascii.h"
#include "text/utf.h"

namespace host::shell {

namespace {

bool IsBlank(char letter) {
    return letter == ' ' || letter == '\t';
}

bool IsJson(const std::string& word) {
    return !word.empty() && (word[0] == '"' || word[0] == '[' || word[0] == '{');
}

// Nothing if the text holds a character above U+00FF or is no UTF-8.
std::optional<std::string> FromUtf8(std::string_view utf8) {
    std::string bytes;
    while (!utf8.empty()) {
        const char32_t character = text::TakeUtf8(utf8);
        if (character > 0xFF) return std::nullopt;
        bytes += static_cast<char>(character);
    }
    return bytes;
}

}  // namespace

Arguments::Arguments(std::string_view rest) : m_rest(rest) {
    while (!m_rest.empty() && IsBlank(m_rest.back())) m_rest.pop_back();
    for (std::size_t i = 0; i < m_rest.size();) {
        if (IsBlank(m_rest[i])) {
            ++i;
            continue;
        }
        const std::size_t end = WordEnd(i);
        m_words.push_back(m_rest.substr(i, end - i));
        i = end;
    }
    m_rest.erase(0, m_rest.find_first_not_of(" \t"));
}

// The end of the word that begins at `start`: texts and brackets are kept together.
std::size_t Arguments::WordEnd(std::size_t start) const {
    int depth = 0;
    bool quoted = false;
    for (std::size_t i = start; i < m_rest.size(); ++i) {
        const char letter = m_rest[i];
        if (quoted) {
            if (letter == '\\') ++i;
            if (letter == '"') quoted = false;
            if (!quoted && depth == 0 && m_rest[start] == '"') return i + 1;
        } else if (letter == '"' && (depth > 0 || i == start)) {
            quoted = true;
        } else if ((letter == '[' || letter == '{') && (depth > 0 || i == start)) {
            ++depth;
        } else if ((letter == ']' || letter == '}') && depth > 0) {
            if (--depth == 0) return i + 1;
        } else if (IsBlank(letter) && depth == 0) {
            return i;
        }
    }
    return m_rest.size();
}

std::string Arguments::Bytes(const std::string& word) {
    const auto bytes = FromUtf8(word);
    if (!bytes) Complain("a text holds a character above U+00FF: " + word);
    return bytes.value_or("");
}

std::string Arguments::Text(std::size_t index, std::string_view otherwise) {
    if (!Has(index)) return std::string(otherwise);
    return IsJson(m_words[index]) ? BytesOf(Value(index), *this) : Bytes(m_words[index]);
}

std::string Arguments::WholeText() {
    if (!Has(0) || m_words[0][0] != '"') return Bytes(m_rest);
    return EndAt(1) ? Text(0) : std::string();
}

long Arguments::Number(std::size_t index, long otherwise) {
    if (!Has(index)) return otherwise;
    const auto number = text::NumberIn<long>(m_words[index]);
    if (!number) Complain("not a number: " + m_words[index]);
    return number.value_or(0);
}

Json Arguments::Value(std::size_t index) {
    if (!Has(index)) return nullptr;
    // Deeper values go: they would need as deep a stack.
    const auto isShallow = [](int depth, Json::parse_event_t, const Json&) { return depth < 64; };
    Json value = Json::parse(m_words[index], isShallow, false);
    if (!value.is_discarded()) return value;
    Complain("not a JSON value: " + m_words[index]);
    return nullptr;
}

bool Arguments::EndAt(std::size_t count) {
    if (Has(count)) Complain("too many words: " + m_words[count]);
    return !Failed();
}

void Arguments::Complain(std::string text) {
    if (m_complaint.empty()) m_complaint = std::move(text);
}

Json JsonOf(std::string_view bytes) {
    std::string utf8;
    for (const char byte : bytes) text::AppendUtf8(static_cast<unsigned char>(byte), utf8);
    return utf8;
}

std::string BytesOf(const Json& value, Arguments& arguments) {
    if (!value.is_string()) {
        arguments.Complain("not a text: " + value.dump());
        return {};
    }
    const auto bytes = FromUtf8(value.get_ref<const std::string&>());
    if (!bytes) arguments.Complain("a text holds a character above U+00FF: " + value.dump());
    return bytes.value_or("");
}

}  // namespace host::shell
