#include "host/maildir/message_header.h"

#include <algorithm>

namespace host::maildir {

namespace {

constexpr std::string_view kField = "message-id";
constexpr std::string_view kBlank = " \t\r\n";

char Lower(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

bool IsField(std::string_view line, std::string_view wanted) {
    const auto colon = line.find(':');
    if (colon == std::string_view::npos) return false;
    auto name = line.substr(0, colon);
    const auto last = name.find_last_not_of(kBlank);
    name = name.substr(0, last == std::string_view::npos ? 0 : last + 1);
    return std::ranges::equal(name, wanted, [](char a, char b) { return Lower(a) == b; });
}

std::string Trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(kBlank);
    if (first == std::string_view::npos) return {};
    return std::string(text.substr(first, text.find_last_not_of(kBlank) - first + 1));
}

std::string IdOf(std::string_view value) {
    const auto open = value.find('<');
    const auto close = open == std::string_view::npos ? open : value.find('>', open);
    if (close == std::string_view::npos) return Trimmed(value);
    return Trimmed(value.substr(open + 1, close - open - 1));
}

// The length of the field at the beginning of `text`, its continuation lines included; npos if the
// text ends before the field surely does.
std::size_t FieldLength(std::string_view text) {
    for (std::size_t at = 0;;) {
        const auto end = text.find('\n', at);
        if (end == std::string_view::npos || end + 1 == text.size()) return std::string_view::npos;
        const char next = text[end + 1];
        if (next != ' ' && next != '\t') return end + 1;
        at = end + 1;
    }
}

bool IsHeaderEnd(std::string_view text) {
    return text.starts_with('\n') || text.starts_with("\r\n");
}

bool HoldsWholeHeader(std::string_view text) {
    return IsHeaderEnd(text) || text.find("\n\n") != std::string_view::npos ||
           text.find("\n\r\n") != std::string_view::npos;
}

}  // namespace

std::string MessageIdInHeader(std::string_view message) {
    for (auto rest = message; !rest.empty() && !IsHeaderEnd(rest);) {
        const auto length = FieldLength(rest);
        if (IsField(rest.substr(0, length), kField)) {
            // A field without an end may lack a part of its value.
            if (length == std::string_view::npos && rest.back() != '\n') return {};
            const auto field = rest.substr(0, length);
            return IdOf(field.substr(field.find(':') + 1));
        }
        if (length == std::string_view::npos) break;
        rest.remove_prefix(length);
    }
    return {};
}

std::string FieldInHeader(std::string_view message, std::string_view name) {
    for (auto rest = message; !rest.empty() && !IsHeaderEnd(rest);) {
        const auto length = std::min(FieldLength(rest), rest.size());
        const auto field = rest.substr(0, length);
        if (IsField(field, name)) {
            std::string value = Trimmed(field.substr(field.find(':') + 1));
            std::erase_if(value, [](char letter) { return letter == '\r' || letter == '\n'; });
            return value;
        }
        rest.remove_prefix(length);
    }
    return {};
}

platform::Result<std::string> ReadHeader(platform::Files& files, const std::string& path) {
    auto file = files.Open(path, platform::OpenMode::kRead, platform::Share::kReadWrite);
    if (!file) return file.Error();
    constexpr std::size_t kBlock = 4096;
    std::string text;
    while (text.size() < kLargestHeader && !HoldsWholeHeader(text)) {
        const auto filled = text.size();
        text.resize(filled + kBlock);
        auto count = (*file)->Read({text.data() + filled, kBlock});
        if (!count) return count.Error();
        text.resize(filled + *count);
        if (*count < kBlock) break;
    }
    return text;
}

}  // namespace host::maildir
