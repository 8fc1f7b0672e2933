#include "host/contactsync/field_merge.h"

#include <algorithm>
#include <map>

#include "host/contactsync/nicknames.h"
#include "text/utf.h"

namespace host::contactsync {

namespace {

// The characters of a UTF-8 text.
std::vector<std::string_view> Characters(const std::string& text) {
    std::vector<std::string_view> characters;
    for (std::size_t start = 0, end = 0; start < text.size(); start = end) {
        do ++end;
        while (end < text.size() && text::IsContinuation(text[end]));
        characters.emplace_back(&text[start], end - start);
    }
    return characters;
}

// How many characters of `one` and `other` are the same from there on.
template <class Iterator>
std::size_t CountSame(Iterator one, Iterator oneEnd, Iterator other, Iterator otherEnd) {
    return static_cast<std::size_t>(std::mismatch(one, oneEnd, other, otherEnd).first - one);
}

// Carries an edit of what Eudora holds of a text over to the text itself, `rich`: `before`, what
// Eudora makes of it, became `after`. What the edit left alone stays as it is in `rich`, whatever
// each of its characters became in Eudora.
std::string CarryEdit(const std::string& before, const std::string& after, const std::string& rich,
                      base::Field field, const contacts::ContactStore& eudora) {
    if (before == rich) return after;
    const auto old = Characters(before), now = Characters(after), full = Characters(rich);
    std::map<std::string_view, std::string> pieces;
    std::string all;
    std::vector<std::size_t> sizes;  // in Eudora, by character of `rich`
    for (const std::string_view character : full) {
        const auto [piece, isNew] = pieces.try_emplace(character);
        if (isNew) {
            base::Contact between;  // blanks at an end would be lost
            between[field].append("x").append(character).append("x");
            const std::string held = eudora.Hold(between)[field];
            piece->second = held.substr(1, held.size() - 2);
        }
        all += piece->second;
        sizes.push_back(Characters(piece->second).size());
    }
    const auto held = Characters(all);
    const std::size_t front = std::min(CountSame(old.begin(), old.end(), now.begin(), now.end()),
                                       CountSame(old.begin(), old.end(), held.begin(), held.end()));
    // Behind a number that Eudora's nickname got nothing stands where it was.
    const auto room = static_cast<std::ptrdiff_t>(front);
    const std::size_t back =
        held != old ? 0
                    : CountSame(old.rbegin(), old.rend() - room, now.rbegin(), now.rend() - room);
    std::string start, end;
    std::size_t first = 0, inFront = 0, last = full.size(), inBack = 0;
    for (; first < full.size() && inFront + sizes[first] <= front; ++first) {
        start += full[first];
        inFront += sizes[first];
    }
    for (std::size_t i = last, size = 0; i > first && size + sizes[i - 1] <= back;) {
        size += sizes[--i];
        // A mark that Eudora drops belongs to the character in front of it.
        if (sizes[i] == 0) continue;
        last = i;
        inBack = size;
    }
    for (; last < full.size(); ++last) end += full[last];
    for (std::size_t i = inFront; i < now.size() - inBack; ++i) start += now[i];
    return start + end;
}

// Whether both have the same, as far as one of them can hold what the other has.
bool Agree(const TwoSides& sides, base::Field field) {
    return sides.eudora[field] == sides.folder[field] ||
           sides.folderInEudora[field] == sides.eudora[field] ||
           sides.eudoraInFolder[field] == sides.folder[field];
}

// Eudora's contacts always have a nickname, and its rules let no name be emptied.
bool CanGoToEudora(const TwoSides& sides, base::Field field) {
    const bool mayBeEmpty = field != base::Field::kNickname && field != base::Field::kName;
    return mayBeEmpty || !sides.folderInEudora[field].empty();
}

}  // namespace

void Merge::ToEudora(base::Field field) {
    if (!CanGoToEudora(now, field)) return;
    eudora[field] = now.folderInEudora[field];
    if (eudora[field] != now.eudora[field]) toEudora.Add(field);
}

void Merge::ToFolder(base::Field field) {
    folder[field] = CarryEdit(now.folderInEudora[field], now.eudoraInFolder[field],
                              now.folder[field], field, m_eudora);
    if (folder[field] != now.folder[field]) toFolder.Add(field);
}

Merge::Merge(const base::Contact& inEudora, const base::Contact& inFolder,
             const state::RememberedPair* base, bool keepNicknames, const contacts::Stores& stores)
    : now(inEudora, inFolder, stores),
      old(base != nullptr ? base->eudora.contact : base::Contact(),
          base != nullptr ? base->folder.contact : base::Contact(), stores),
      eudora(inEudora),
      folder(inFolder),
      m_eudora(stores.eudora) {
    for (const base::Field field : base::kAllFields) {
        const bool eudoraChanged = now.eudora[field] != old.eudora[field];
        const bool folderChanged = now.folder[field] != old.folder[field];
        if ((!eudoraChanged && !folderChanged) || Agree(now, field)) continue;
        // Two nicknames of what is plainly the same contact may stay two, or one.
        const bool mayDiffer = base == nullptr && !eudora[field].empty() &&
                               (!folder[field].empty() ||
                                IsMadeUp(now.eudora[field], now.folderInEudora, stores.eudora));
        if (field == base::Field::kNickname && (mayDiffer || keepNicknames)) continue;
        // A change that the other side could not hold anyway is none for it.
        const bool eudoraShows = now.eudoraInFolder[field] != old.eudoraInFolder[field];
        const bool folderShows = now.folderInEudora[field] != old.folderInEudora[field];
        if (eudoraChanged && (!folderChanged || !folderShows)) {
            if (eudoraShows) ToFolder(field);
        } else if (folderChanged && (!eudoraChanged || !eudoraShows)) {
            if (folderShows) ToEudora(field);
        } else if (CanGoToEudora(now, field)) {
            conflicts.Add(field);
        } else {
            ToFolder(field);
        }
    }
}

void Merge::Settle(bool folderWins) {
    for (const base::Field field : base::kAllFields) {
        if (conflicts.Has(field)) folderWins ? ToEudora(field) : ToFolder(field);
    }
    conflicts = {};
}

void Merge::HoldBack(base::FieldSet fields) {
    for (const base::Field field : base::kAllFields) {
        if (!fields.Has(field)) continue;
        eudora[field] = now.eudora[field];
        folder[field] = now.folder[field];
        for (base::FieldSet* set : {&toEudora, &toFolder, &conflicts}) set->Remove(field);
        waiting.Add(field);
    }
}

}  // namespace host::contactsync
