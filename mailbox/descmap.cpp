#include "mailbox/descmap.h"

#include <optional>

#include "text/ascii.h"

namespace mailbox {

namespace {

// Takes the last field off a line, with the comma in front of it; nothing if there is no comma.
std::optional<std::string_view> TakeLastField(std::string_view& line) {
    const std::size_t comma = line.rfind(',');
    if (comma == line.npos) return std::nullopt;
    const std::string_view field = line.substr(comma + 1);
    line = line.substr(0, comma);
    return text::Trimmed(field);
}

std::optional<DescmapType> TypeOf(std::string_view field) {
    if (field.size() != 1) return std::nullopt;
    for (const auto type : {DescmapType::kSystem, DescmapType::kMailbox, DescmapType::kFolder}) {
        if (text::Upper(field[0]) == static_cast<char>(type)) return type;
    }
    return std::nullopt;
}

}  // namespace

Descmap ParseDescmap(std::string_view text) {
    Descmap map;
    while (!text.empty()) {
        std::string_view line = text::Trimmed(text::TakeLine(text));
        if (line.empty()) continue;
        const auto mark = TakeLastField(line), type = TakeLastField(line),
                   file = TakeLastField(line);
        const auto known = mark && type ? TypeOf(*type) : std::nullopt;
        if (known && file && !file->empty() && !line.empty()) {
            map.entries.push_back({std::string(line), std::string(*file), *known});
        } else {
            ++map.strangeLines;
        }
    }
    return map;
}

}  // namespace mailbox
