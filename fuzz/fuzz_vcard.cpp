#include <algorithm>
#include <random>
#include <set>
#include <sstream>
#include <vector>

#include "fuzz/fuzz.h"
#include "host/vcard/card.h"
#include "host/vcard/card_fields.h"
#include "platform/os/code_page.h"
#include "text/utf.h"

namespace {

using host::vcard::Card;

std::vector<std::string> RawLines(const Card& card, bool ours) {
    const std::set<std::string> names{"N", "FN", "NICKNAME", "TEL", "EMAIL", "ADR", "NOTE", "REV"};
    std::vector<std::string> lines;
    for (const host::vcard::Property& property : card.Properties()) {
        if (ours || !names.contains(property.name)) lines.push_back(property.raw);
    }
    return lines;
}

// In a card of ours no line is too long, and none is folded inside a character.
void CheckLines(const Card& card) {
    std::string line;
    for (std::istringstream lines(card.Serialise()); std::getline(lines, line);) {
        Require(line.size() <= 76);
        Require(platform::ToUtf8(line, text::kUtf8) == line);
    }
}

}  // namespace

// What parses comes back byte for byte. An edit of some fields, to pieces of the card, reads back
// and keeps every byte of the rest.
void Check(std::string_view bytes) {
    Card card, again;
    if (card.Parse(bytes)) return;
    Require(card.Serialise() == bytes);
    std::mt19937 random(static_cast<unsigned>(bytes.size()));
    const auto pick = [&](std::size_t count) { return random() % count; };
    const host::base::Contact before = host::vcard::ReadFields(card).contact;
    host::base::Contact values;
    host::base::FieldSet which;
    for (const host::base::Field field : host::base::kAllFields) {
        if (pick(2) == 0) which.Add(field);
        if (pick(4) == 0) continue;
        std::string piece(bytes.substr(pick(bytes.size()), pick(60)));
        if (!host::base::HoldsLines(field)) std::ranges::replace(piece, '\n', '-');
        std::ranges::replace(piece, '\r', ' ');
        values[field] = host::base::Canonical(piece);
    }
    const auto others = RawLines(card, false);
    host::vcard::WriteFields(card, values, which, {});
    Require(!again.Parse(card.Serialise()));
    Require(RawLines(again, true) == RawLines(card, true) && RawLines(again, false) == others);
    const host::base::Contact after = host::vcard::ReadFields(again).contact;
    for (const host::base::Field field : host::base::kAllFields) {
        // What is taken away may show the next of its kind; a nameless card shows a name.
        if (which.Has(field)) {
            Require(values[field].empty() || after[field] == values[field]);
        } else {
            Require(field == host::base::Field::kName || after[field] == before[field]);
        }
    }
    card = Card::Create("1");
    host::vcard::WriteFields(card, values, host::base::FieldSet::All(), {});
    CheckLines(card);
}
