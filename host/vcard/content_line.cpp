#include "host/vcard/content_line.h"

#include <algorithm>
#include <span>

#include "text/ascii.h"
#include "text/utf.h"

namespace host::vcard {

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

std::string_view WithoutLineEnd(std::string_view line) {
    if (!line.empty() && line.back() == '\n') line.remove_suffix(1);
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    return line;
}

bool IsNameByte(char byte) {
    return text::IsLetter(byte) || text::IsDigit(byte) || byte == '-' || byte == '_';
}

bool IsName(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), IsNameByte);
}

// The position of the first of `stops` outside double quotes.
std::size_t FindUnquoted(std::string_view text, std::string_view stops, std::size_t from) {
    bool isQuoted = false;
    for (std::size_t i = from; i < text.size(); ++i) {
        if (text[i] == '"') isQuoted = !isQuoted;
        if (!isQuoted && stops.find(text[i]) != std::string_view::npos) return i;
    }
    return std::string_view::npos;
}

Parameter ParseParameter(std::string_view text) {
    Parameter parameter;
    const std::size_t equals = text.find('=');
    if (equals != std::string_view::npos) {
        parameter.name = text::Raised(text.substr(0, equals));
        text.remove_prefix(equals + 1);
    }
    for (std::size_t start = 0;;) {
        const std::size_t comma = FindUnquoted(text, ",", start);
        parameter.values.push_back(DecodeParameter(text.substr(
            start, comma == std::string_view::npos ? std::string_view::npos : comma - start)));
        if (comma == std::string_view::npos) return parameter;
        start = comma + 1;
    }
}

// A carriage return inside a value means a line break, and stands as the escape of one from here
// on: in a line that is folded anew it could be taken for a part of the line end.
std::string WithoutReturns(std::string_view value) {
    std::string written;
    if (value.find('\r') == std::string_view::npos) return std::string(value);
    for (std::size_t i = 0; i < value.size(); ++i) {
        if (value[i] == '\r') {
            written += "\\n";
        } else if (value[i] == '\\' && i + 1 < value.size() && value[i + 1] != '\r') {
            written.append(value, i, 2);
            ++i;
        } else {
            written.append(value[i] == '\\' ? 2 : 1, value[i]);
        }
    }
    return written;
}

struct Escape {
    char plain, letter;  // the letter stands behind the mark
};

// The first four are written and read; the other two come from older writers.
constexpr Escape kTextEscapes[] = {{'\\', '\\'}, {',', ','},  {';', ';'},
                                   {'\n', 'n'},  {'\n', 'N'}, {':', ':'}};
constexpr std::size_t kWritten = 4;

std::string Escaped(std::string_view text, char mark, std::span<const Escape> escapes) {
    std::string escaped;
    for (const char byte : text) {
        const auto escape = std::ranges::find(escapes, byte, &Escape::plain);
        if (escape != escapes.end()) escaped += mark;
        escaped += escape != escapes.end() ? escape->letter : byte;
    }
    return escaped;
}

}  // namespace

bool Parameter::IsQuotedPrintable() const {
    return (name == "ENCODING" || name.empty()) && text::EqualNoCase(values[0], "QUOTED-PRINTABLE");
}

const Parameter* Property::Find(std::string_view parameterName) const {
    for (const Parameter& parameter : parameters) {
        if (parameter.name == parameterName) return &parameter;
    }
    return nullptr;
}

bool Property::HasType(std::string_view type) const {
    for (const Parameter& parameter : parameters) {
        if (!parameter.name.empty() && parameter.name != "TYPE") continue;
        for (const std::string& list : parameter.values) {
            // A quoted list, TYPE="work,voice", counts as a list.
            for (const std::string& piece : SplitEscaped(list, ',')) {
                if (text::EqualNoCase(piece, type)) return true;
            }
        }
    }
    return false;
}

void Property::RemoveParameter(std::string_view parameterName) {
    std::erase_if(parameters,
                  [&](const Parameter& parameter) { return parameter.name == parameterName; });
}

LineReader::LineReader(std::string_view bytes) : m_rest(bytes) {
    if (bytes.starts_with(kByteOrderMark)) {
        m_mark = bytes.substr(0, kByteOrderMark.size());
        m_rest.remove_prefix(m_mark.size());
    }
}

std::string_view LineReader::TakePhysicalLine() {
    ++m_linesTaken;
    return text::TakeLine(m_rest);
}

bool LineReader::Next(std::string& raw, std::string& text) {
    if (m_rest.empty()) return false;
    std::string_view line = TakePhysicalLine();
    m_lineNumber = m_linesTaken;
    raw = std::string(m_mark).append(line);
    m_mark = {};
    text = WithoutLineEnd(line);
    Property property;
    const bool hasSoftBreaks =
        !ParseContentLine(text, property) &&
        std::ranges::any_of(property.parameters, &Parameter::IsQuotedPrintable);
    while (!m_rest.empty()) {
        if (m_rest[0] == ' ' || m_rest[0] == '\t') {
            line = TakePhysicalLine();
            text += WithoutLineEnd(line).substr(1);
        } else if (hasSoftBreaks && !text.empty() && text.back() == '=') {
            line = TakePhysicalLine();
            text.pop_back();
            text += WithoutLineEnd(line);
        } else {
            break;
        }
        raw += line;
    }
    return true;
}

std::optional<std::string> ParseContentLine(std::string_view line, Property& property) {
    const std::size_t colon = FindUnquoted(line, ":", 0);
    if (colon == std::string_view::npos) return "no colon";
    const std::string_view head = line.substr(0, colon);
    std::size_t end = std::min(head.find(';'), head.size());
    std::string_view name = head.substr(0, end);
    if (const auto dot = name.find('.'); dot != std::string_view::npos) {
        property.group = name.substr(0, dot);
        if (!IsName(property.group)) return "no property name";
        name.remove_prefix(dot + 1);
    }
    if (!IsName(name)) return "no property name";
    property.name = text::Raised(name);
    while (end < head.size()) {
        const std::size_t next = std::min(FindUnquoted(head, ";", end + 1), head.size());
        const std::string_view text = head.substr(end + 1, next - end - 1);
        if (text.starts_with('=')) return "a parameter without a name";
        property.parameters.push_back(ParseParameter(text));
        // A quote there would open a quoted text in the line as it is written again.
        const std::string& parameter = property.parameters.back().name;
        if (parameter.find('"') != std::string::npos) return "a quote in a parameter's name";
        end = next;
    }
    property.value = WithoutReturns(line.substr(colon + 1));
    return std::nullopt;
}

std::string FormatContentLine(const Property& property) {
    std::string line = property.group.empty() ? "" : property.group + ".";
    line += property.name;
    for (const Parameter& parameter : property.parameters) {
        line += ';' + parameter.name;
        const char* separator = parameter.name.empty() ? "" : "=";
        for (const std::string& value : parameter.values) {
            line.append(separator).append(EncodeParameter(value));
            separator = ",";
        }
    }
    return line + ':' + property.value;
}

std::string EscapeText(std::string_view text) {
    return Escaped(text, '\\', std::span(kTextEscapes).first(kWritten));
}

std::string UnescapeText(std::string_view text) {
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto* escape = std::end(kTextEscapes);
        if (text[i] == '\\' && i + 1 < text.size()) {
            escape = std::ranges::find(kTextEscapes, text[i + 1], &Escape::letter);
        }
        const bool isEscape = escape != std::end(kTextEscapes);
        plain += isEscape ? escape->plain : text[i];
        i += isEscape;
    }
    return plain;
}

std::vector<std::string> SplitEscaped(std::string_view text, char separator) {
    std::vector<std::string> pieces(1);
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == separator) {
            pieces.emplace_back();
        } else {
            pieces.back() += text[i];
            // A backslash at the very end stands for itself; escaped, it can do no harm to what is
            // put behind it.
            if (text[i] == '\\') pieces.back() += ++i < text.size() ? text[i] : '\\';
        }
    }
    return pieces;
}

std::string EncodeParameter(std::string_view text) {
    constexpr Escape kEscapes[] = {{'\n', 'n'}, {'^', '^'}, {'"', '\''}};
    const std::string encoded = Escaped(text, '^', kEscapes);
    const bool needsQuotes = encoded.find_first_of(",;:") != std::string::npos;
    return needsQuotes ? '"' + encoded + '"' : encoded;
}

std::string DecodeParameter(std::string_view text) {
    std::string decoded;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char next = i + 1 < text.size() ? text[i + 1] : '\0';
        const bool isEscape = text[i] == '^' && (next == 'n' || next == '^' || next == '\'');
        if (isEscape) {
            decoded += next == '^' ? '^' : next == '\'' ? '"' : '\n';
            ++i;
        } else if (text[i] != '"') {
            decoded += text[i] == '\r' ? '\n' : text[i];
        }
    }
    return decoded;
}

std::string DecodeQuotedPrintable(std::string_view text) {
    std::string decoded;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const int high = text[i] == '=' && i + 2 < text.size() ? text::HexValue(text[i + 1]) : -1;
        const int low = high >= 0 ? text::HexValue(text[i + 2]) : -1;
        if (low < 0) {
            decoded += text[i];
        } else {
            decoded += static_cast<char>(high * 16 + low);
            i += 2;
        }
    }
    return decoded;
}

std::string Fold(std::string_view line, std::string_view lineEnd) {
    constexpr std::size_t kWidth = 75;
    std::string folded;
    std::size_t width = kWidth;
    while (line.size() > width) {
        std::size_t cut = width;
        while (cut > 1 && text::IsContinuation(line[cut])) --cut;
        folded.append(line.substr(0, cut)).append(lineEnd).append(" ");
        line.remove_prefix(cut);
        width = kWidth - 1;
    }
    return folded.append(line).append(lineEnd);
}

}  // namespace host::vcard
