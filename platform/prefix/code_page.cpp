#include "platform/os/code_page.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <unordered_map>

#include "platform/posix/character_case.h"
#include "platform/prefix/converter.h"
#include "platform/prefix/prefix_parts.h"
#include "text/double_byte.h"
#include "text/utf.h"

namespace platform::prefix {

namespace {

// The conversion of a whole text; empty if there is none.
std::string Converted(const Converter& converter, std::string_view text) {
    std::string result, closing;
    const bool isWhole = converter.Convert(text, result) == 0;
    converter.Finish(closing);
    return isWhole ? result : std::string();
}

char32_t Decode(const Converter& toUtf8, const std::string& bytes) {
    const std::string utf8 = Converted(toUtf8, bytes);
    std::string_view rest = utf8;
    if (rest.empty()) return text::kNoCharacter;
    const char32_t character = text::TakeUtf8(rest);
    return rest.empty() ? character : text::kNoCharacter;
}

std::string IconvName(unsigned codePage) {
    for (const char* prefix : {"CP", "MSCP"}) {
        std::string name = prefix + std::to_string(codePage);
        if (Converter("UTF-8", name).IsOpen()) return name;
    }
    return "CP1252";
}

std::string BytesOf(unsigned number) {
    if (number < 0x100) return {static_cast<char>(number)};
    return {static_cast<char>(number >> 8), static_cast<char>(number & 0xFF)};
}

// What Windows makes of a single byte that the code page leaves free.
char32_t FreeByte(unsigned byte, unsigned codePage) {
    if (byte >= 0x80 && byte <= 0x9F) return byte;
    if (codePage == 932 && byte == 0xA0) return 0xA0;
    if (codePage == 932 && byte >= 0xFD) return 0xF8F1 + byte - 0xFD;
    return text::kNoCharacter;
}

// One system code page as a table, built once from the C library's converter. Lookups are pure, so
// any number of threads may use one.
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
        const std::string name = IconvName(codePage);
        const Converter toUtf8("UTF-8", name), fromUtf8(name, "UTF-8");
        for (unsigned number = 0; number < 0xFFFF; ++number) {
            const bool isPair = number > 0xFF;
            if (text::IsLeadByte(static_cast<unsigned char>(isPair ? number >> 8 : number),
                                 codePage) != isPair) {
                continue;
            }
            char32_t character = number < 0x80 ? number : Decode(toUtf8, BytesOf(number));
            if (character == text::kNoCharacter && !isPair) character = FreeByte(number, codePage);
            if (character == text::kNoCharacter) continue;
            if (!isPair) m_single[number] = character;
            if (isPair) m_pairs.emplace(number, character);
            if (m_bytes.emplace(character, number).second || !isPair) continue;
            // Some characters have several codes; the converter knows which of them counts.
            std::string utf8;
            text::AppendUtf8(character, utf8);
            if (Converted(fromUtf8, utf8) == BytesOf(number)) m_bytes[character] = number;
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

}  // namespace

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

}  // namespace platform::prefix

namespace platform {

namespace {

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
    const auto& table = prefix::CodePageTable::Of(codePage);
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
    const auto& table = prefix::CodePageTable::Of(codePage);
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
    const auto& table = prefix::CodePageTable::Of(codePage);
    std::string upper;
    while (!text.empty()) {
        auto bytes = text;
        const char32_t character = table.Take(text);
        bytes.remove_suffix(text.size());
        const char32_t raised = posix::RaiseCase(character);
        if (raised == character || !table.Append(raised, upper)) upper += bytes;
    }
    return upper;
}

}  // namespace platform
