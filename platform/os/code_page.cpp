#include "platform/os/code_page.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <unordered_map>

#include "text/double_byte.h"
#include "text/utf.h"

namespace platform {

namespace {

std::string BytesOf(unsigned number) {
    if (number < 0x100) return {static_cast<char>(number)};
    return {static_cast<char>(number >> 8), static_cast<char>(number & 0xFF)};
}

// One system code page as a table, built once. Lookups are pure, so any number of threads may use
// one.
class CodePageTable {
  public:
    // Lives until the process ends.
    static const CodePageTable& Of(unsigned codePage) {
        static std::mutex mutex;
        static std::map<unsigned, std::unique_ptr<CodePageTable>> tables;
        const std::lock_guard guard(mutex);
        auto& table = tables[codePage];
        if (!table) table = std::make_unique<CodePageTable>(codePage);
        return *table;
    }

    explicit CodePageTable(unsigned codePage) : m_codePage(codePage) {
        m_single.fill(text::kNoCharacter);
        if (codePage == text::kUtf8) return;
        const CharacterCodes codes = CodesOf(codePage);
        for (unsigned number = 0; number < 0xFFFF; ++number) {
            const bool isPair = number > 0xFF;
            if (text::IsLeadByte(static_cast<char>(isPair ? number >> 8 : number), codePage) !=
                isPair) {
                continue;
            }
            char32_t character = number < 0x80 ? number : codes.decode(BytesOf(number));
            const bool isControl = number >= 0x80 && number <= 0x9F;
            if (character == text::kNoCharacter && isControl) character = number;
            if (character == text::kNoCharacter) continue;
            if (!isPair) m_single[number] = character;
            if (isPair) m_pairs.emplace(number, character);
            // Some characters have several codes; the system knows which of them counts.
            const bool isNew = m_bytes.emplace(character, number).second;
            if (!isNew && isPair && codes.encode(character) == BytesOf(number)) {
                m_bytes[character] = number;
            }
        }
    }

    // Takes the first character off `rest`, which is not empty. kNoCharacter if it is none.
    char32_t Take(std::string_view& rest) const {
        if (m_codePage == text::kUtf8) return text::TakeUtf8(rest);
        const auto first = static_cast<unsigned char>(rest[0]);
        rest.remove_prefix(1);
        if (!text::IsLeadByte(first, m_codePage)) return m_single[first];
        if (rest.empty()) return text::kNoCharacter;
        const auto second = static_cast<unsigned char>(rest[0]);
        const auto found = m_pairs.find(static_cast<unsigned>(first << 8 | second));
        // A control character or a digit is no trail byte: only the lead byte is spoilt then.
        if (second >= 0x40) rest.remove_prefix(1);
        return found == m_pairs.end() ? text::kNoCharacter : found->second;
    }

    // False, and nothing appended, if the code page lacks the character.
    bool Append(char32_t character, std::string& out) const {
        if (m_codePage == text::kUtf8) {
            text::AppendUtf8(character, out);
            return true;
        }
        const auto found = m_bytes.find(character);
        if (found == m_bytes.end()) return false;
        out += BytesOf(found->second);
        return true;
    }

  private:
    unsigned m_codePage;
    std::array<char32_t, 256> m_single;
    std::unordered_map<unsigned, char32_t> m_pairs;
    std::unordered_map<char32_t, unsigned> m_bytes;
};

// How many bytes at the beginning are ASCII, which is the same in all code pages.
std::size_t AsciiLength(std::string_view text) {
    std::size_t length = 0;
    for (std::uint64_t eight; length + sizeof eight <= text.size(); length += sizeof eight) {
        std::memcpy(&eight, text.data() + length, sizeof eight);
        if ((eight & 0x8080808080808080u) != 0) break;
    }
    while (length < text.size() && static_cast<unsigned char>(text[length]) < 0x80) ++length;
    return length;
}

}  // namespace

std::string ToUtf8(std::string_view text, unsigned codePage) {
    const auto& table = CodePageTable::Of(codePage);
    std::string utf8;
    utf8.reserve(text.size());
    while (!text.empty()) {
        const std::size_t ascii = AsciiLength(text);
        utf8.append(text.substr(0, ascii));
        text.remove_prefix(ascii);
        if (text.empty()) break;
        const char32_t character = table.Take(text);
        text::AppendUtf8(character == text::kNoCharacter ? 0xFFFD : character, utf8);
    }
    return utf8;
}

std::string FromUtf8(std::string_view text, unsigned codePage, bool* lossy) {
    const auto& table = CodePageTable::Of(codePage);
    std::string bytes;
    bytes.reserve(text.size());
    bool isLossy = false;
    while (!text.empty()) {
        const char32_t character = text::TakeUtf8(text);
        if (character != text::kNoCharacter && table.Append(character, bytes)) continue;
        bytes += '?';
        isLossy = true;
    }
    if (lossy != nullptr) *lossy = isLossy;
    return bytes;
}

std::string UpperCase(std::string_view text, unsigned codePage) {
    const auto& table = CodePageTable::Of(codePage);
    std::string upper;
    while (!text.empty()) {
        auto bytes = text;
        const char32_t character = table.Take(text);
        bytes.remove_suffix(text.size());
        const char32_t raised = RaiseCase(character);
        if (raised == character || !table.Append(raised, upper)) upper += bytes;
    }
    return upper;
}

std::u16string ToUtf16(std::string_view text, unsigned codePage) {
    const auto& table = CodePageTable::Of(codePage);
    std::u16string utf16;
    while (!text.empty()) {
        const char32_t character = table.Take(text);
        text::AppendUtf16(character == text::kNoCharacter ? 0xFFFD : character, utf16);
    }
    return utf16;
}

std::string FromUtf16(std::u16string_view text, unsigned codePage) {
    const auto& table = CodePageTable::Of(codePage);
    std::string bytes;
    while (!text.empty()) {
        if (!table.Append(text::TakeUtf16(text), bytes)) bytes += '?';
    }
    return bytes;
}

}  // namespace platform
