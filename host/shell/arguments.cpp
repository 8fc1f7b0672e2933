#include "host/shell/arguments.h"

#include "text/ascii.h"
#include "text/utf.h"

namespace host::shell {

namespace {

bool IsBlank(char letter) {
    return letter == ' ' || letter == '\t';
}

// Whether a word is a JSON text, array or object by its first character.
bool IsJson(const std::string& word) {
    return !word.empty() && (word[0] == '"' || word[0] == '[' || word[0] == '{');
}

// `shown` is what a complaint calls it.
std::string FromUtf8(std::string_view utf8, const std::string& shown) {
    std::string bytes;
    while (!utf8.empty()) {
        const char32_t character = text::TakeUtf8(utf8);
        if (character > 0xFF) {
            throw Complaint("a text holds a character above U+00FF: " + shown);
        }
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

std::string Arguments::Text(std::size_t index) const {
    if (!Has(index)) return {};
    const std::string& word = m_words[index];
    return IsJson(word) ? BytesOf(Value(index)) : FromUtf8(word, word);
}

std::string Arguments::WholeText() const {
    if (!Has(0) || m_words[0][0] != '"') return FromUtf8(m_rest, m_rest);
    EndAt(1);
    return Text(0);
}

long Arguments::Number(std::size_t index) const {
    if (!Has(index)) return 0;
    const auto number = text::NumberIn<long>(m_words[index]);
    if (!number) throw Complaint("not a number: " + m_words[index]);
    return *number;
}

Json Arguments::Value(std::size_t index) const {
    if (!Has(index)) return nullptr;
    // Deeper values go: they would need as deep a stack.
    const auto isShallow = [](int depth, Json::parse_event_t, const Json&) { return depth < 64; };
    Json value = Json::parse(m_words[index], isShallow, false);
    if (value.is_discarded()) throw Complaint("not a JSON value: " + m_words[index]);
    return value;
}

void Arguments::EndAt(std::size_t count) const {
    if (Has(count)) throw Complaint("too many words: " + m_words[count]);
}

Json JsonOf(std::string_view bytes) {
    std::string utf8;
    for (const char byte : bytes) text::AppendUtf8(static_cast<unsigned char>(byte), utf8);
    return utf8;
}

std::string BytesOf(const Json& value) {
    if (!value.is_string()) throw Complaint("not a text: " + value.dump());
    return FromUtf8(value.get_ref<const std::string&>(), value.dump());
}

}  // namespace host::shell
