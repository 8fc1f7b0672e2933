#include "platform/posix/registry_text.h"

#include <cstdint>
#include <cstdio>

#include "platform/posix/registry_escape.h"
#include "platform/posix/registry_line.h"

namespace platform::posix {

namespace {

// The first line from `at` on that opens a key; the end of the text if there is none. No other
// line, not even one of several that hold one value's data, begins with a bracket.
std::size_t NextKeyLine(std::string_view text, std::size_t at) {
    if (at >= text.size() || text[at] == '[') return at;
    const auto found = text.find("\n[", at);
    return found == std::string_view::npos ? text.size() : found + 1;
}

// What a walk over the text has found of one value.
struct Search {
    std::optional<RegistryValue> value;
    std::size_t dataBegin = 0, dataEnd = 0;  // of the value, if there is one
    std::optional<std::size_t> keyEnd;       // behind the key's last line that is not empty
};

Search FindPlaces(std::string_view text, std::u16string_view key, std::u16string_view name) {
    Search search;
    bool isInKey = false;
    for (std::size_t at = 0; at < text.size();) {
        if (!isInKey) at = NextKeyLine(text, at);
        if (at == text.size()) break;
        const RegistryLine line = LineAt(text, at);
        const std::string_view content = line.In(text);
        at = line.next;
        if (content.starts_with('[')) {
            const auto found = ParseKeyLine(content);
            isInKey = found && EqualFolded(*found, key);
        }
        if (!isInKey || content.empty()) continue;
        search.keyEnd = line.next;
        std::string_view rest = content;
        const auto found = TakeValueName(rest);
        if (!found || !EqualFolded(*found, name)) continue;
        auto value = ParseData(rest);
        if (!value) continue;
        search.value = std::move(value);
        search.dataBegin = line.end - rest.size();
        search.dataEnd = line.end;
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
    return FindPlaces(text, key, name).value;
}

std::string WithValue(std::string_view text, std::u16string_view key, std::u16string_view name,
                      const RegistryValue& value, std::chrono::system_clock::time_point now) {
    const Search search = FindPlaces(text, key, name);
    std::string result(text);
    if (search.value) {
        if (*search.value == value) return result;
        return result.replace(search.dataBegin, search.dataEnd - search.dataBegin,
                              FormatData(value));
    }
    const std::string_view lineEnd = LineEndOf(text);
    const std::size_t place = search.keyEnd.value_or(text.size());
    std::string added;
    if (place > 0 && text[place - 1] != '\n') added += lineEnd;
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

}  // namespace platform::posix
