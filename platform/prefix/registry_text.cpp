#include "platform/prefix/registry_text.h"

#include <cstdint>
#include <cstdio>

#include "platform/prefix/registry_line.h"

namespace platform::prefix {

namespace {

// What a walk over the text has found of one value.
struct Search {
    std::optional<ValueLine> line;      // the last one for the value
    std::optional<std::size_t> keyEnd;  // behind the key's last line that is not empty
    bool isOpen = false;                // the text ends in a value that would take one more line
};

Search FindPlaces(std::string_view text, std::u16string_view key, std::u16string_view name) {
    Search search;
    const std::u16string wanted = PlainKey(key);
    bool isInKey = false, isInWanted = false;
    for (std::size_t at = 0; at < text.size();) {
        const RegistryLine line = LineAt(text, at);
        const std::string_view content = line.In(text);
        at = line.next;
        if (content.starts_with('[')) {
            const auto found = ParseKeyLine(content);
            isInKey = found.has_value();
            isInWanted = found && EqualFolded(*found, wanted);
        } else if (isInWanted || (isInKey && content.find("hex") != std::string_view::npos)) {
            // Elsewhere, only data in hex matter, since they may take lines that look like others.
            auto value = ReadValueLine(text, line);
            if (value) {
                at = value->next;
                search.isOpen = value->isOpen;
                if (isInWanted && EqualFolded(value->name, name)) search.line = std::move(value);
            }
        }
        if (isInWanted && !content.empty()) search.keyEnd = at;
    }
    return search;
}

std::string_view LineEndOf(std::string_view text) {
    const auto feed = text.find('\n');
    return feed != std::string_view::npos && feed > 0 && text[feed - 1] == '\r' ? "\r\n" : "\n";
}

std::string KeyLines(std::u16string_view key, std::chrono::system_clock::time_point now,
                     std::string_view lineEnd) {
    using Ticks = std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>;
    constexpr std::int64_t kSecondsSince1601 = 11'644'473'600;
    const auto ticks = std::chrono::duration_cast<Ticks>(now.time_since_epoch()).count() +
                       kSecondsSince1601 * 10'000'000;
    char stamp[24];
    std::snprintf(stamp, sizeof stamp, "%llx", static_cast<unsigned long long>(ticks));
    std::string lines = "[" + Escape(key, true) + "] ";
    lines += std::to_string(std::chrono::system_clock::to_time_t(now));
    lines.append(lineEnd).append("#time=").append(stamp).append(lineEnd);
    return lines;
}

}  // namespace

std::optional<RegistryValue> FindValue(std::string_view text, std::u16string_view key,
                                       std::u16string_view name) {
    auto search = FindPlaces(text, key, name);
    if (!search.line) return std::nullopt;
    return std::move(search.line->value);
}

std::string WithValue(std::string_view text, std::u16string_view key, std::u16string_view name,
                      const RegistryValue& value, std::chrono::system_clock::time_point now) {
    const Search search = FindPlaces(text, key, name);
    std::string result(text);
    if (search.line) {
        if (search.line->value == value) return result;
        return result.replace(search.line->dataBegin, search.line->dataEnd - search.line->dataBegin,
                              FormatData(value));
    }
    const std::string_view lineEnd = LineEndOf(text);
    const std::size_t place = search.keyEnd.value_or(text.size());
    std::string added;
    if (place > 0 && text[place - 1] != '\n') added += lineEnd;
    // Else the new line would be taken for the rest of that value.
    if (search.isOpen && place == text.size()) added.append(";").append(lineEnd);
    if (!search.keyEnd) added.append(lineEnd).append(KeyLines(key, now, lineEnd));
    added += name.empty() ? "@" : '"' + Escape(name, false) + '"';
    added.append("=").append(FormatData(value)).append(lineEnd);
    return result.insert(place, added);
}

std::string EmptyRegistry(bool machine, bool is64Bit) {
    std::string text = "WINE REGISTRY Version 2\n;; All keys relative to REGISTRY\\\\";
    text += machine ? "Machine" : "User\\\\S-1-5-21-0-0-0-1000";
    text += "\n\n#arch=";
    return text + (is64Bit ? "win64\n" : "win32\n");
}

bool Is64Bit(std::string_view text) {
    // It stands in the head, before the first key.
    const std::string_view head = text.substr(0, text.find("\n["));
    return head.find("\n#arch=win64") != std::string_view::npos;
}

}  // namespace platform::prefix
