#include "host/mail/html_text.h"

#include <algorithm>
#include <array>
#include <vector>

#include "host/mail/html_entities.h"
#include "text/ascii.h"

namespace host::mail {

namespace {

constexpr auto kNone = std::string_view::npos;
constexpr std::string_view kSpace = " \t\r\n\f";

bool IsSpace(char letter) {
    return kSpace.find(letter) != kNone;
}

template <std::size_t kCount>
bool IsOneOf(const std::array<std::string_view, kCount>& names, std::string_view name) {
    return std::ranges::find(names, name) != names.end();
}

// Elements whose content nobody reads.
constexpr std::array<std::string_view, 7> kHidden = {"script", "style",  "head",  "title",
                                                     "object", "applet", "iframe"};
constexpr std::array<std::string_view, 24> kBlocks = {
    "address", "article",  "aside",  "blockquote", "center", "dd", "div", "dl",
    "dt",      "fieldset", "footer", "form",       "header", "hr", "li",  "main",
    "nav",     "ol",       "pre",    "section",    "table",  "tr", "ul",  "body"};
constexpr std::array<std::string_view, 7> kParagraphs = {"p", "h1", "h2", "h3", "h4", "h5", "h6"};
constexpr std::array<std::string_view, 4> kShownLinks = {"http:", "https:", "mailto:", "ftp:"};

struct Tag {
    std::string name;  // lower case
    std::string_view attributes;
    bool isEnd = false;
};

Tag ParseTag(std::string_view inside) {
    Tag tag;
    tag.isEnd = inside.starts_with('/');
    if (tag.isEnd) inside.remove_prefix(1);
    const auto end = std::min(inside.find_first_of(" \t\r\n\f/"), inside.size());
    tag.name = text::Lowered(inside.substr(0, end));
    tag.attributes = inside.substr(end);
    return tag;
}

std::string_view TakeValue(std::string_view& rest) {
    rest = text::TrimmedFront(rest, kSpace);
    const bool isQuoted = rest.starts_with('"') || rest.starts_with('\'');
    const auto end = isQuoted ? rest.find(rest.front(), 1) : rest.find_first_of(kSpace);
    const auto value =
        isQuoted ? rest.substr(1, end == kNone ? kNone : end - 1) : rest.substr(0, end);
    rest.remove_prefix(end == kNone ? rest.size() : end + 1);
    return value;
}

std::string Attribute(std::string_view rest, std::string_view wanted) {
    while (!rest.empty()) {
        rest = text::TrimmedFront(rest, " \t\r\n\f/");
        const auto end = std::min(rest.find_first_of("= \t\r\n\f"), rest.size());
        const auto name = rest.substr(0, end);
        rest.remove_prefix(end);
        const auto next = rest.find_first_not_of(kSpace);
        std::string_view value;
        if (next != kNone && rest[next] == '=') {
            rest.remove_prefix(next + 1);
            value = TakeValue(rest);
        }
        if (text::EqualNoCase(name, wanted)) return DecodedEntities(value);
    }
    return {};
}

// Whether a text holds another one, which is not empty, in time in proportion to both.
bool Holds(std::string_view text, std::string_view part) {
    std::vector<std::size_t> borders(part.size(), 0);
    // How much of the part's beginning stands at the end of a text that is one letter longer.
    const auto extend = [&](std::size_t length, char letter) {
        while (length > 0 && part[length] != letter) length = borders[length - 1];
        return part[length] == letter ? length + 1 : length;
    };
    for (std::size_t i = 1; i < part.size(); ++i) borders[i] = extend(borders[i - 1], part[i]);
    std::size_t length = 0;
    return std::ranges::any_of(text, [&](char letter) {
        length = extend(length, letter);
        return length == part.size();
    });
}

// Text that is put together line by line; white space runs together unless it is preformatted.
class TextLines {
  public:
    void Add(std::string_view text, bool isPreformatted) {
        for (const char letter : text) {
            if (isPreformatted && letter == '\n') {
                Break();
            } else if (IsSpace(letter) && !isPreformatted) {
                m_hasSpace = true;
            } else if (letter != '\r') {
                Put(letter);
            }
        }
    }
    void Break() {
        m_text += '\n';
        ++m_breaks;
        m_hasSpace = false;
    }
    // At least that many line ends, but none at the beginning.
    void BreakTo(int count) {
        m_hasSpace = false;
        while (!m_text.empty() && m_breaks < count) Break();
    }
    void Space() { m_hasSpace = true; }
    std::size_t Length() const { return m_text.size(); }
    std::string_view From(std::size_t start) const {
        return std::string_view(m_text).substr(std::min(start, m_text.size()));
    }
    std::string Take() {
        m_text.erase(m_text.find_last_not_of(" \n") + 1);
        return std::move(m_text);
    }

  private:
    void Put(char letter) {
        if (m_hasSpace && !m_text.empty() && m_breaks == 0) m_text += ' ';
        m_hasSpace = false;
        m_breaks = 0;
        m_text += letter;
    }

    std::string m_text;
    bool m_hasSpace = false;
    int m_breaks = 1;
};

class HtmlReader {
  public:
    explicit HtmlReader(std::string_view html) : m_rest(html) {}

    std::string Run() {
        while (!m_rest.empty()) {
            const auto at = std::min(m_rest.find('<'), m_rest.size());
            AddText(m_rest.substr(0, at));
            m_rest.remove_prefix(at);
            if (!m_rest.empty()) TakeMarkup();
        }
        return m_lines.Take();
    }

  private:
    void AddText(std::string_view text) {
        m_lines.Add(WithPlainBlanks(DecodedEntities(text)), m_preDepth > 0);
    }

    // Blanks that do not break are for the eye alone.
    static std::string WithPlainBlanks(const std::string& text) {
        std::string plain;
        for (std::size_t i = 0; i < text.size(); ++i) {
            const bool isBlank = text.compare(i, 2, "\xC2\xA0") == 0;
            const bool isNothing = text.compare(i, 2, "\xC2\xAD") == 0;
            if (isBlank) plain += ' ';
            if (isBlank || isNothing) {
                ++i;
            } else {
                plain += text[i];
            }
        }
        return plain;
    }

    void TakeMarkup() {
        if (m_rest.starts_with("<!--")) {
            const auto end = m_rest.find("-->");
            return m_rest.remove_prefix(end == kNone ? m_rest.size() : end + 3);
        }
        const char next = m_rest.size() > 1 ? m_rest[1] : '\0';
        const bool isTag = text::IsLetter(next) || next == '/' || next == '!' || next == '?';
        const auto end = isTag ? TagEnd() : kNone;
        if (end == kNone) {
            AddText("&lt;");
            return m_rest.remove_prefix(1);
        }
        const Tag tag = ParseTag(m_rest.substr(1, end - 1));
        m_rest.remove_prefix(end + 1);
        Apply(tag);
    }

    // Where the tag at the front ends. A quote without an end is no quote, there and further on.
    std::size_t TagEnd() {
        if (m_isNeverClosed) return kNone;
        if (!m_isQuoteOpen) {
            if (const auto end = QuotedTagEnd(); end != kNone) return end;
            m_isQuoteOpen = true;
        }
        const auto end = m_rest.find('>');
        m_isNeverClosed = end == kNone;
        return end;
    }

    std::size_t QuotedTagEnd() const {
        char quote = 0;
        for (std::size_t i = 1; i < m_rest.size(); ++i) {
            const char letter = m_rest[i];
            if (quote != 0) {
                if (letter == quote) quote = 0;
            } else if (letter == '>') {
                return i;
            } else if ((letter == '"' || letter == '\'') && m_rest[i - 1] == '=') {
                quote = letter;
            }
        }
        return kNone;
    }

    void Apply(const Tag& tag) {
        if (IsOneOf(kHidden, tag.name)) return tag.isEnd ? void() : SkipTo(tag.name);
        if (IsOneOf(kParagraphs, tag.name)) return m_lines.BreakTo(2);
        if (tag.name == "br") return m_lines.Break();
        if (tag.name == "td" || tag.name == "th") return m_lines.Space();
        if (tag.name == "a") return tag.isEnd ? EndLink() : BeginLink(tag);
        if (tag.name == "img") return AddPicture(tag);
        if (!IsOneOf(kBlocks, tag.name)) return;
        m_lines.BreakTo(1);
        if (tag.name == "li" && !tag.isEnd) m_lines.Add("- ", true);
        if (tag.name == "hr") m_lines.Add("----------\n", true);
        if (tag.name == "pre") m_preDepth = tag.isEnd ? 0 : 1;
    }

    // Passes over the content of an element, up to its end or that of the text.
    void SkipTo(const std::string& name) {
        if (std::ranges::find(m_endless, name) != m_endless.end()) return;
        const std::string end = "</" + name;
        for (auto at = m_rest.find("</"); at != kNone; at = m_rest.find("</", at + 1)) {
            if (!text::StartsWithNoCase(m_rest.substr(at), end)) continue;
            return m_rest.remove_prefix(at);
        }
        // A page without an end of its head has a body all the same.
        name == "head" || name == "title" ? m_endless.push_back(name)
                                          : m_rest.remove_prefix(m_rest.size());
    }

    void BeginLink(const Tag& tag) {
        EndLink();
        std::string target = Attribute(tag.attributes, "href");
        std::erase_if(target, IsSpace);
        const bool isShown = std::ranges::any_of(kShownLinks, [&](std::string_view kind) {
            return text::StartsWithNoCase(target, kind);
        });
        if (!isShown) return;
        m_link = std::move(target);
        m_linkStart = m_lines.Length();
    }

    void EndLink() {
        if (m_link.empty()) return;
        std::string_view shown = m_link;
        if (text::StartsWithNoCase(shown, "mailto:")) shown.remove_prefix(7);
        const auto text = m_lines.From(m_linkStart);
        if (!Holds(text, shown)) m_lines.Add(" <" + std::string(shown) + ">", false);
        m_link.clear();
    }

    void AddPicture(const Tag& tag) {
        const std::string text = Attribute(tag.attributes, "alt");
        if (text.find_first_not_of(kSpace) != kNone) m_lines.Add("[" + text + "]", false);
    }

    std::string_view m_rest;
    TextLines m_lines;
    std::vector<std::string> m_endless;  // elements of which no end follows
    std::string m_link;
    std::size_t m_linkStart = 0;
    int m_preDepth = 0;
    bool m_isQuoteOpen = false, m_isNeverClosed = false;
};

}  // namespace

std::string TextOfHtml(std::string_view html) {
    return HtmlReader(html).Run();
}

std::string TextOfEnriched(std::string_view enriched) {
    std::string text;
    while (!enriched.empty()) {
        const auto at = std::min(enriched.find('<'), enriched.size());
        text += enriched.substr(0, at);
        enriched.remove_prefix(at);
        if (enriched.empty()) break;
        const bool isLetter = enriched.starts_with("<<");
        const auto end = isLetter ? 1 : enriched.find('>');
        if (isLetter || end == kNone) text += '<';
        enriched.remove_prefix(end == kNone ? 1 : end + 1);
        if (end == kNone) {
            text += enriched;
            break;
        }
    }
    return text;
}

}  // namespace host::mail
