#include "host/mail/html_text.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "text/ascii.h"
#include "text/utf.h"

namespace host::mail {

namespace {

constexpr auto kNone = std::string_view::npos;
constexpr std::string_view kSpace = " \t\r\n\f";

bool IsSpace(char letter) {
    return kSpace.find(letter) != kNone;
}

// Elements whose content nobody reads, and those that begin a line. A blank stands around each
// name.
constexpr std::string_view kHidden = " script style head title object applet iframe ";
constexpr std::string_view kBlocks =
    " address article aside blockquote center dd div dl dt fieldset footer form header hr li main "
    "nav ol pre section table tr ul body ";
constexpr std::string_view kParagraphs = " p h1 h2 h3 h4 h5 h6 ";

bool IsOneOf(std::string_view names, const std::string& name) {
    return names.find(' ' + name + ' ') != kNone;
}

constexpr std::string_view kShownLinks[] = {"http:", "https:", "mailto:", "ftp:"};

constexpr std::size_t kLongestReference = 12;

// The names of references with a blank around each: those of the letters below, then those of
// U+00A0 and the letters behind it.
constexpr std::string_view kNames =
    " "
    "amp lt gt quot apos hellip mdash ndash lsquo rsquo sbquo ldquo rdquo bdquo lsaquo rsaquo "
    "bull euro trade OElig oelig Scaron scaron Yuml fnof dagger Dagger permil larr uarr rarr "
    "darr minus ne le ge zwnj zwj ensp emsp thinsp nbsp iexcl cent pound curren yen brvbar "
    "sect uml copy ordf laquo not shy reg macr deg plusmn sup2 sup3 acute micro para middot "
    "cedil sup1 ordm raquo frac14 frac12 frac34 iquest Agrave Aacute Acirc Atilde Auml Aring "
    "AElig Ccedil Egrave Eacute Ecirc Euml Igrave Iacute Icirc Iuml ETH Ntilde Ograve Oacute "
    "Ocirc Otilde Ouml times Oslash Ugrave Uacute Ucirc Uuml Yacute THORN szlig agrave aacute "
    "acirc atilde auml aring aelig ccedil egrave eacute ecirc euml igrave iacute icirc iuml "
    "eth ntilde ograve oacute ocirc otilde ouml divide oslash ugrave uacute ucirc uuml yacute "
    "thorn yuml ";
constexpr std::u32string_view kLetters =
    U"&<>\"'\u2026\u2014\u2013\u2018\u2019\u201A\u201C\u201D\u201E\u2039\u203A\u2022\u20AC\u2122"
    U"\u0152\u0153\u0160\u0161\u0178\u0192\u2020\u2021\u2030\u2190\u2191\u2192\u2193\u2212\u2260"
    U"\u2264\u2265\u200C\u200D   ";

std::optional<char32_t> Named(std::string_view name) {
    const auto at = kNames.find(' ' + std::string(name) + ' ');
    if (at == kNone || name.find(' ') != kNone) return std::nullopt;
    const auto number = static_cast<std::size_t>(std::ranges::count(kNames.substr(0, at), ' '));
    if (number < kLetters.size()) return kLetters[number];
    return 0xA0 + static_cast<char32_t>(number - kLetters.size());
}

std::optional<char32_t> Numbered(std::string_view digits) {
    const bool isHex = digits.starts_with('x') || digits.starts_with('X');
    if (isHex) digits.remove_prefix(1);
    const auto number = text::NumberIn<std::uint32_t>(digits, isHex ? 16 : 10);
    const bool isLetter =
        number && *number != 0 && *number <= 0x10FFFF && (*number < 0xD800 || *number >= 0xE000);
    return isLetter ? std::optional<char32_t>(*number) : std::nullopt;
}

// The text with its character references (&eacute; &#233; &#xE9;) replaced. One that is not known
// stays as it stands.
std::string DecodedEntities(std::string_view html) {
    std::string text;
    while (!html.empty()) {
        const auto at = std::min(html.find('&'), html.size());
        text += html.substr(0, at);
        html.remove_prefix(at);
        const auto end = html.substr(0, kLongestReference).find(';');
        std::optional<char32_t> letter;
        if (end != std::string_view::npos && end > 1) {
            const auto name = html.substr(1, end - 1);
            letter = name.front() == '#' ? Numbered(name.substr(1)) : Named(name);
        }
        if (letter) {
            text::AppendUtf8(*letter, text);
            html.remove_prefix(end + 1);
        } else if (!html.empty()) {
            text += '&';
            html.remove_prefix(1);
        }
    }
    return text;
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
        // Blanks that do not break, and hyphens that show at a break alone, are for the eye.
        const auto plain = text::Replaced(DecodedEntities(text), "\xC2\xA0", " ");
        m_lines.Add(text::Replaced(plain, "\xC2\xAD", ""), m_isPreformatted);
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
        const auto tag = m_rest.substr(1, end - 1);
        m_rest.remove_prefix(end + 1);
        Apply(tag);
    }

    // The end of the tag at the front. A quote without an end is no quote, nor is any later one.
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

    // A tag, without its brackets.
    void Apply(std::string_view tag) {
        const bool isEnd = tag.starts_with('/');
        if (isEnd) tag.remove_prefix(1);
        const auto length = std::min(tag.find_first_of(" \t\r\n\f/"), tag.size());
        const std::string name = text::Lowered(tag.substr(0, length));
        tag.remove_prefix(length);
        if (IsOneOf(kHidden, name)) return isEnd ? void() : SkipTo(name);
        if (IsOneOf(kParagraphs, name)) return m_lines.BreakTo(2);
        if (name == "br") return m_lines.Break();
        if (name == "td" || name == "th") return m_lines.Space();
        if (name == "a") return isEnd ? EndLink() : BeginLink(tag);
        if (name == "img") return AddPicture(tag);
        if (!IsOneOf(kBlocks, name)) return;
        m_lines.BreakTo(1);
        if (name == "li" && !isEnd) m_lines.Add("- ", true);
        if (name == "hr") m_lines.Add("----------\n", true);
        if (name == "pre") m_isPreformatted = !isEnd;
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

    void BeginLink(std::string_view attributes) {
        EndLink();
        std::string target = Attribute(attributes, "href");
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

    void AddPicture(std::string_view attributes) {
        const std::string text = Attribute(attributes, "alt");
        if (text.find_first_not_of(kSpace) != kNone) m_lines.Add("[" + text + "]", false);
    }

    std::string_view m_rest;
    TextLines m_lines;
    std::vector<std::string> m_endless;  // elements of which no end follows
    std::string m_link;
    std::size_t m_linkStart = 0;
    bool m_isPreformatted = false, m_isQuoteOpen = false, m_isNeverClosed = false;
};

}  // namespace

std::string TextOfHtml(std::string_view html) {
    return HtmlReader(html).Run();
}

std::string TextOfEnriched(std::string_view enriched) {
    std::string text;
    for (;;) {
        const auto at = std::min(enriched.find('<'), enriched.size());
        text += enriched.substr(0, at);
        enriched.remove_prefix(at);
        const bool isLetter = enriched.starts_with("<<");
        const auto end = isLetter ? 1 : enriched.find('>');
        if (end == kNone) return text.append(enriched);
        if (isLetter) text += '<';
        enriched.remove_prefix(end + 1);
    }
}

}  // namespace host::mail
