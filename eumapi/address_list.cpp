#include "eumapi/address_list.h"

#include "text/double_byte.h"

namespace eumapi {

namespace {

bool IsSpace(char letter) {
    return static_cast<unsigned char>(letter) <= ' ';
}

// Without blanks at both ends, and with single ones inside.
std::string Squeezed(std::string_view text) {
    std::string out;
    for (const char letter : text) {
        if (!IsSpace(letter)) {
            out += letter;
        } else if (!out.empty() && out.back() != ' ') {
            out += ' ';
        }
    }
    if (!out.empty() && out.back() == ' ') out.pop_back();
    return out;
}

class AddressScan {
  public:
    AddressScan(std::string_view list, unsigned codePage) : m_list(list), m_codePage(codePage) {}

    std::vector<Address> Run() {
        for (; m_at < m_list.size(); ++m_at) {
            if (IsPair(m_at)) {
                m_phrase += m_list.substr(m_at++, 2);
            } else {
                Step(m_list[m_at]);
            }
        }
        Finish();
        return std::move(m_found);
    }

  private:
    // Whether a double-byte character stands there, whose second byte may look like a mark.
    bool IsPair(std::size_t at) const {
        return text::CharacterLength(m_list.substr(at), m_codePage) == 2;
    }

    void Step(char letter) {
        switch (letter) {
            case ',':
            case ';':
                return Finish();
            case ':':
                // Behind the name of a group; a route or a literal has its colon in brackets.
                if (!HasAt()) return Clear();
                break;
            case '"':
                if (Enclosed('"', '"', m_quoteOpen, m_phrase)) return;
                break;
            case '(':
                if (Enclosed('(', ')', m_commentOpen, m_comment)) return;
                break;
            case '<':
                if (Bracketed()) return;
                break;
        }
        m_phrase += letter;
    }

    // Takes what a pair of marks encloses, without the backslashes that protect its characters; the
    // position is then at the closing mark. False if nothing closes it, here and from here on.
    bool Enclosed(char open, char close, bool& isNeverClosed, std::string& target) {
        if (isNeverClosed) return false;
        std::string text;
        int depth = 1;
        for (auto i = m_at + 1; i < m_list.size(); ++i) {
            const char letter = m_list[i];
            if (IsPair(i)) {
                text += m_list.substr(i++, 2);
                continue;
            }
            if (letter == '\\' && i + 1 < m_list.size()) {
                text += m_list[++i];
                continue;
            }
            if (letter == close && --depth == 0) {
                target += text;
                m_at = i;
                return true;
            }
            if (letter == open) ++depth;
            text += letter;
        }
        isNeverClosed = true;
        return false;
    }

    bool Bracketed() {
        const auto end = m_bracketOpen ? m_list.npos : m_list.find('>', m_at);
        m_bracketOpen = end == m_list.npos;
        if (m_bracketOpen) return false;
        std::string_view inside = m_list.substr(m_at + 1, end - m_at - 1);
        // A route of relays before the address.
        if (inside.starts_with('@')) inside.remove_prefix(inside.rfind(':') + 1);
        m_address = Squeezed(inside);
        m_at = end;
        return true;
    }

    // Looks at each letter of the phrase once, however often it is asked.
    bool HasAt() {
        m_hasAt = m_hasAt || m_phrase.find('@', m_looked) != std::string::npos;
        m_looked = m_phrase.size();
        return m_hasAt;
    }

    void Finish() {
        Address one;
        one.address = m_address;
        one.name = Squeezed(m_phrase);
        if (one.address.empty()) one.address.swap(one.name);
        if (one.name.empty()) one.name = Squeezed(m_comment);
        if (!one.address.empty()) m_found.push_back(std::move(one));
        Clear();
    }

    void Clear() {
        m_phrase.clear();
        m_comment.clear();
        m_address.clear();
        m_looked = 0;
        m_hasAt = false;
    }

    std::string_view m_list;
    unsigned m_codePage;
    std::size_t m_at = 0;
    std::string m_phrase, m_comment, m_address;
    std::size_t m_looked = 0;  // of the phrase, for an @
    bool m_hasAt = false;
    // Whether nothing closes such a mark from here on.
    bool m_quoteOpen = false, m_commentOpen = false, m_bracketOpen = false;
    std::vector<Address> m_found;
};

}  // namespace

std::vector<Address> ParseAddresses(std::string_view list, unsigned codePage) {
    return AddressScan(list, codePage).Run();
}

}  // namespace eumapi
