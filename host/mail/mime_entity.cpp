#include "host/mail/mime_entity.h"

#include <algorithm>

#include "text/ascii.h"
#include "text/mail_view.h"

namespace host::mail {

namespace {

constexpr auto kNone = std::string_view::npos;
constexpr std::size_t kLongestValue = 64 * 1024;

bool IsBlank(char letter) {
    return letter == ' ' || letter == '\t';
}

// "Name:", with nothing in the name that no name has.
bool IsFieldLine(std::string_view line) {
    const auto colon = line.find(':');
    if (colon == kNone || colon == 0) return false;
    const auto name = text::Trimmed(line.substr(0, colon));
    return !name.empty() && std::ranges::all_of(name, [](char letter) {
        return static_cast<unsigned char>(letter) > ' ' && letter != 0x7F;
    });
}

std::string Unfolded(std::string_view value) {
    std::string text;
    for (const char letter : text::Trimmed(value).substr(0, kLongestValue)) {
        if (letter != '\r' && letter != '\n') text += letter == '\0' ? ' ' : letter;
    }
    return text;
}

template <class Take>
void ForEachField(const Entity& entity, std::string_view name, Take take) {
    for (std::string_view rest = entity.header; !rest.empty();) {
        const std::string_view field = text::TakeField(rest);
        const auto colon = field.find(':');
        if (colon == kNone || !text::EqualNoCase(text::Trimmed(field.substr(0, colon)), name))
            continue;
        if (!take(field.substr(colon + 1))) return;
    }
}

struct Delimiter {
    std::size_t begin = 0, end = 0;  // of what does not belong to a part
    bool isLast = false;
};

// Finds delimiters one after the other.
class DelimiterScan {
  public:
    DelimiterScan(std::string_view body, std::string_view boundary)
        : m_body(body), m_mark("\n--" + std::string(boundary)) {}

    bool Next(Delimiter& found) {
        const std::string_view atBegin = std::string_view(m_mark).substr(1);
        if (m_at == 0 && m_body.starts_with(atBegin) && Accept(0, atBegin.size(), found)) {
            return true;
        }
        for (auto at = m_body.find(m_mark, m_at); at != kNone; at = m_body.find(m_mark, at + 1)) {
            if (Accept(at, at + m_mark.size(), found)) return true;
        }
        return false;
    }

  private:
    bool Accept(std::size_t begin, std::size_t behind, Delimiter& found) {
        found.isLast = m_body.substr(behind).starts_with("--");
        const std::size_t tail = behind + (found.isLast ? 2 : 0);
        const std::size_t lineEnd = std::min(m_body.find('\n', tail), m_body.size());
        if (!text::Trimmed(m_body.substr(tail, lineEnd - tail)).empty()) return false;
        found.begin = begin > 0 && m_body[begin - 1] == '\r' ? begin - 1 : begin;
        found.end = std::min(lineEnd + 1, m_body.size());
        // The line end may be the one in front of the next delimiter.
        m_at = std::max(lineEnd, std::size_t{1});
        return true;
    }

    std::string_view m_body;
    std::string m_mark;
    std::size_t m_at = 0;
};

}  // namespace

Entity SplitEntity(std::string_view bytes) {
    std::string_view body = bytes;
    const auto header = [&] { return bytes.substr(0, bytes.size() - body.size()); };
    while (!body.empty()) {
        std::string_view rest = body;
        const std::string_view line = text::TakeLine(rest);
        if (line == "\n" || line == "\r\n") return {header(), rest};
        const bool goesOn = body.size() < bytes.size() && IsBlank(line.front());
        if (!goesOn && !IsFieldLine(line)) break;
        body = rest;
    }
    return {header(), body};
}

std::string FieldValue(const Entity& entity, std::string_view name) {
    std::string value;
    ForEachField(entity, name, [&value](std::string_view text) {
        value = Unfolded(text);
        return false;
    });
    return value;
}

std::string FieldValues(const Entity& entity, std::string_view name) {
    std::string values;
    ForEachField(entity, name, [&values](std::string_view text) {
        if (!values.empty()) values += ", ";
        values += Unfolded(text);
        return values.size() < kLongestValue;
    });
    return values.substr(0, kLongestValue);
}

std::vector<std::string_view> SplitParts(std::string_view body, std::string_view boundary,
                                         std::size_t most) {
    std::vector<std::string_view> parts;
    DelimiterScan scan(body, boundary);
    Delimiter open, close;
    if (boundary.empty() || !scan.Next(open)) return parts;
    while (!open.isLast && parts.size() < most) {
        const bool isClosed = scan.Next(close);
        const std::size_t end = isClosed ? std::max(close.begin, open.end) : body.size();
        parts.push_back(body.substr(open.end, end - open.end));
        if (!isClosed) break;
        open = close;
    }
    return parts;
}

}  // namespace host::mail
