#include "addressbook/carried_units.h"

#include <algorithm>

#include "addressbook/nickname_lines.h"
#include "addressbook/token_scan.h"

namespace addressbook {

namespace {

// What is behind the nickname and its blank. A line of our own may hold a nickname with a quote
// that a scan would misread.
std::string_view BehindName(std::string_view line, std::string_view name) {
    std::string own = "alias ";
    AppendNickname(own, name);
    own += ' ';
    if (line.starts_with(own)) return line.substr(own.size());
    const auto head = ScanEntryHead(line);
    auto rest = line.substr(head.rest);
    if (head.quoted && rest.starts_with(' ')) rest.remove_prefix(1);
    return rest;
}

std::string RenamedEntryLine(std::string_view line, std::string_view name,
                             std::string_view newName) {
    std::string text(TokenScan(line).Next(kFirstWordSet));
    // The quoted form asks for a first word of five bytes; any other word could also bring a
    // quote of the text behind the nickname to index 6, where it would change its meaning.
    const auto plain = text + " " + std::string(newName) + " ";
    if (newName.find(' ') != std::string_view::npos || plain.size() < 7 || plain[6] == '"') {
        text = "alias";
    }
    text += ' ';
    AppendNickname(text, newName);
    text += ' ';
    text += BehindName(line, name);
    return text;
}

std::string RenamedNoteLine(std::string_view line, std::string_view name,
                            std::string_view newName) {
    TokenScan scan(line);
    scan.Next(kNoteWordSet);
    auto rest = scan.Rest();
    std::string quotedName = '"' + std::string(name) + '"';
    const auto found = rest.starts_with(quotedName) ? std::string_view(quotedName) : name;
    const auto behind = rest.substr(std::min(found.size(), rest.size()));
    const bool ends = behind.empty() || kSpaceSet.Has(behind[0]) || behind[0] == '<';
    if (!rest.starts_with(found) || !ends) return std::string(line);
    std::string text(line.substr(0, line.size() - rest.size()));
    AppendNickname(text, newName);
    text += behind;
    return text;
}

}  // namespace

std::string_view CarriedUnits::Keep(std::string text) {
    return m_kept.emplace_back(std::move(text));
}

CarriedUnit CarriedUnits::LeftoverUnit(std::uint64_t place, std::string_view owner,
                                       const Leftover& leftover) {
    std::string line = "alias ";
    AppendNickname(line, owner);
    line += ' ';
    if (!leftover.tail.empty()) {
        line += '\r';
        line += leftover.tail;
    }
    CarriedUnit unit{.place = place, .line = Keep(std::move(line)), .note = {}};
    if (leftover.tokens.empty()) return unit;
    std::string note = "note ";
    AppendNickname(note, owner);
    note += ' ';
    note += leftover.tokens;
    unit.note = Keep(std::move(note));
    unit.hasNote = true;
    return unit;
}

void CarriedUnits::Rename(std::string_view owner, std::string_view newOwner) {
    decltype(m_owned) renamed;
    const auto [first, last] = m_owned.equal_range(owner);
    for (auto each = first; each != last; ++each) {
        auto unit = each->second;
        unit.line = Keep(RenamedEntryLine(unit.line, owner, newOwner));
        if (unit.hasNote) unit.note = Keep(RenamedNoteLine(unit.note, owner, newOwner));
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
