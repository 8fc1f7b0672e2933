#include "addressbook/carried_units.h"

#include <utility>

namespace addressbook {

namespace {

constexpr ByteSet kFirstWordSet(" \""), kNoteWordSet(" "), kNameEndSet(" \t\r\n\v\f<");

// The text behind the nickname and its blank. A line in our own form is compared first, as a scan
// would misread a nickname with a quote in it.
std::string_view BehindName(std::string_view line, std::string_view name) {
    std::string own;
    AppendHead(own, "alias", name);
    if (line.starts_with(own)) return line.substr(own.size());
    const auto head = ScanEntryHead(line);
    auto rest = head.rest;
    if (head.quoted && rest.starts_with(' ')) rest.remove_prefix(1);
    return rest;
}

std::string RenamedEntryLine(std::string_view line, std::string_view name,
                             std::string_view newName) {
    auto word = TokenScan(line).Next(kFirstWordSet);
    // The quoted form asks for a first word of five bytes; any other word could also bring a
    // quote of the text behind the nickname to index 6, where it would change its meaning.
    const auto plain = std::string(word).append(" ").append(newName).append(" ");
    if (newName.find(' ') != newName.npos || plain.size() < 7 || plain[6] == '"') word = "alias";
    std::string text;
    AppendHead(text, word, newName);
    return text.append(BehindName(line, name));
}

std::string RenamedNoteLine(std::string_view line, std::string_view name,
                            std::string_view newName) {
    TokenScan scan(line);
    const auto word = scan.Next(kNoteWordSet);
    auto behind = scan.Rest();
    const auto quoted = '"' + std::string(name) + '"';
    const auto found = behind.starts_with(quoted) ? std::string_view(quoted) : name;
    if (!behind.starts_with(found)) return std::string(line);
    behind.remove_prefix(found.size());
    if (!behind.empty() && !kNameEndSet.Has(behind[0])) return std::string(line);
    std::string text;
    AppendHead(text, word, newName);
    text.pop_back();
    return text.append(behind);
}

}  // namespace

void CarriedUnits::AddLeftover(std::size_t place, std::string_view owner,
                               const Leftover& leftover) {
    if (!leftover.Any()) return;
    CarriedUnit unit{.place = place, .line = {}, .note = {}};
    std::string text;
    AppendHead(text, "alias", owner);
    if (!leftover.tail.empty()) text.append("\r").append(leftover.tail);
    unit.line = Keep(std::exchange(text, {}));
    if (!leftover.tokens.empty()) {
        AppendHead(text, "note", owner);
        unit.note = Keep(text.append(leftover.tokens));
    }
    AddOwned(unit, owner);
}

void CarriedUnits::Rename(std::string_view owner, std::string_view newOwner) {
    decltype(m_owned) renamed;
    const auto [first, last] = m_owned.equal_range(owner);
    for (auto each = first; each != last; ++each) {
        auto unit = each->second;
        unit.line = Keep(RenamedEntryLine(unit.line, owner, newOwner));
        if (!unit.note.empty()) unit.note = Keep(RenamedNoteLine(unit.note, owner, newOwner));
        renamed.emplace(std::string(newOwner), unit);
    }
    m_owned.erase(first, last);
    m_owned.merge(renamed);
}

void CarriedUnits::DropOwned(std::string_view owner) noexcept {
    const auto [first, last] = m_owned.equal_range(owner);
    m_owned.erase(first, last);
}

std::vector<CarriedUnit> CarriedUnits::Units() const {
    auto units = m_free;
    for (const auto& [owner, unit] : m_owned) units.push_back(unit);
    return units;
}

}  // namespace addressbook
