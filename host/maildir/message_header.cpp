#include "host/maildir/message_header.h"

#include <algorithm>

#include "text/ascii.h"

namespace host::maildir {

namespace {

constexpr std::string_view kField = "message-id";

bool IsField(std::string_view line, std::string_view wanted) {
    const auto colon = line.find(':');
    return colon != std::string_view::npos &&
           text::EqualNoCase(text::TrimmedBack(line.substr(0, colon)), wanted);
}

std::string IdOf(std::string_view value) {
    const auto open = value.find('<');
    const auto close = open == std::string_view::npos ? open : value.find('>', open);
    if (close == std::string_view::npos) return std::string(text::Trimmed(value));
    return std::string(text::Trimmed(value.substr(open + 1, close - open - 1)));
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
            std::string value(text::Trimmed(field.substr(field.find(':') + 1)));
            std::erase_if(value, [](char letter) { return letter == '\r' || letter == '\n'; });
            return value;
        }
        rest.remove_prefix(length);
    }
    return {};
}

base::Result<std::string> ReadHeader(platform::Files& files, const std::string& path) {
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
