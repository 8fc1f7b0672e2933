#include "addressbook/field_text.h"

#include <algorithm>

#include "addressbook/nickname_lines.h"
#include "text/ascii.h"
#include "text/double_byte.h"

namespace addressbook {

namespace {

using frame::StringId;

constexpr char kLineBreak = 0x03;
constexpr std::string_view kPunctuation = " .,;-()'\r\n\t~!@#$%^&*_+=<>?/";

bool IsLineEnd(char byte) {
    return byte == '\r' || byte == '\n';
}

std::string_view FirstLine(std::string_view text) {
    auto end = text.find('\n');
    if (end == std::string_view::npos) end = text.find('\r');
    return end == std::string_view::npos ? text : text.substr(0, end + 1);
}

}  // namespace

std::string FieldText(ContactField field, std::string_view value) {
    if (!HasLines(field)) value = FirstLine(value);
    std::string text;
    for (std::size_t i = 0; i < value.size(); ++i) {
        const char byte = value[i];
        if (IsLineEnd(byte)) {
            text += kLineBreak;
            if (i + 1 < value.size() && IsLineEnd(value[i + 1])) ++i;
        } else {
            text += byte == '<' || byte == '>' ? ' ' : byte;
        }
    }
    return text;
}

std::string ExpandLineBreaks(std::string_view text) {
    return text::Replaced(text, std::string_view(&kLineBreak, 1), "\r\n");
}

std::string_view CutNickname(std::string_view text, unsigned codePage) {
    std::size_t end = 0;
    for (int count = 0; count < kNicknameLimit && end < text.size(); ++count) {
        const auto next = end + text::CharacterLength(text.substr(end), codePage);
        if (next > kMaxNickname) break;
        end = next;
    }
    return text.substr(0, end);
}

std::string NicknameOfName(std::string name, unsigned codePage) {
    std::replace(name.begin(), name.end(), ',', ' ');
    const auto trimmed = text::Trimmed(name, kSpaces);
    const auto size = text::WholeCharacterPrefix(trimmed, kMaxNickname, codePage);
    return std::string(trimmed.substr(0, std::min(size, trimmed.find('\0'))));
}

std::optional<StringId> FaultOf(ContactField field, std::string_view value) {
    if (field == ContactField::kName && value.find_first_not_of(kPunctuation) == value.npos) {
        return StringId::kNoLetterOrDigit;
    }
    if (field == ContactField::kNickname) {
        if (value.find(',') != value.npos) return StringId::kInvalidNickname;
        if (value.size() > kNicknameLimit) return StringId::kNicknameTooLong;
    }
    if (value.find_first_of("<>") != value.npos) return StringId::kAngleBracket;
    return std::nullopt;
}

}  // namespace addressbook
