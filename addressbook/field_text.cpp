#include "addressbook/field_text.h"

#include "addressbook/nickname_record.h"
#include "platform/kvutil/kvutil.h"
#include "text/double_byte.h"

namespace addressbook {

namespace {

constexpr char kLineBreak = 0x03;

bool IsLineEnd(char byte) {
    return byte == '\r' || byte == '\n';
}

std::string_view FirstLine(std::string_view text) {
    auto end = text.find('\n');
    if (end == std::string_view::npos) end = text.find('\r');
    return end == std::string_view::npos ? text : text.substr(0, end + 1);
}

bool IsPunctuation(std::string_view text) {
    std::string left(text.size() + 1, '\0');
    StripChars(std::string(text).c_str(), left.data(), " .,;-()'\r\n\t~!@#$%^&*_+=<>?/");
    return left[0] == '\0';
}

}  // namespace

void CopyFieldText(std::string& target, std::string_view source, CopyMode mode) {
    if (source.empty()) return;
    const auto span = mode == CopyMode::kFirstLine ? FirstLine(source) : source;
    std::string copy;
    for (std::size_t i = 0; i < span.size(); ++i) {
        const char byte = span[i];
        if (IsLineEnd(byte)) {
            copy += kLineBreak;
            if (i + 1 < span.size() && IsLineEnd(span[i + 1])) ++i;
        } else {
            copy += byte == '<' || byte == '>' ? ' ' : byte;
        }
    }
    target = std::move(copy);
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

std::string ExpandLineBreaks(std::string_view text) {
    std::string expanded;
    expanded.reserve(text.size());
    for (const char byte : text) {
        if (byte == kLineBreak) {
            expanded += "\r\n";
        } else {
            expanded += byte;
        }
    }
    return expanded;
}

int CheckFieldValue(std::string_view text, CheckMode mode) {
    if (text.empty()) return mode == CheckMode::kName ? kNoName : kEmptyValue;
    int bits = 0;
    for (const char byte : text) {
        if (byte == '>') bits |= kHasGreater;
        if (byte == '<') bits |= kHasLess;
        if (byte == ',') bits |= kHasComma;
        if (byte == '\r') bits |= kHasCr;
        if (byte == '\n') bits |= kHasLf;
    }
    if (mode == CheckMode::kNickname) {
        if ((bits & kHasComma) != 0) return kHasComma;
        if (text.size() > kNicknameLimit) return kTooLong;
    }
    if (mode == CheckMode::kName && IsPunctuation(text)) return kNoName;
    return bits;
}

}  // namespace addressbook
