#include "host/contactsync/field_merge.h"

#include <algorithm>

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

// Carries an edit of what a store could hold of a text over to the text itself: `before`, which
// stands for `rich` character for character, became `after`. What the edit left alone stays as it
// is in `rich`.
std::string CarryEdit(const std::string& before, const std::string& after,
                      const std::string& rich) {
    const auto old = Characters(before), now = Characters(after), full = Characters(rich);
    if (before == rich || old.size() != full.size()) return after;
    const auto front = std::ranges::mismatch(old, now).in1 - old.begin();
    const auto back =
        std::mismatch(old.rbegin(), old.rend() - front, now.rbegin(), now.rend() - front).first -
        old.rbegin();
    std::string carried;
    for (auto at = full.begin(); at != full.begin() + front; ++at) carried += *at;
    for (auto at = now.begin() + front; at != now.end() - back; ++at) carried += *at;
    for (auto at = full.end() - back; at != full.end(); ++at) carried += *at;
    return carried;
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

void Merge::ToFolder(base::Field field, const std::string& before) {
    folder[field] = CarryEdit(before, now.eudoraInFolder[field], now.folder[field]);
    if (folder[field] != now.folder[field]) toFolder.Add(field);
}

Merge::Merge(const base::Contact& inEudora, const base::Contact& inFolder,
             const state::RememberedPair* base, bool keepNicknames, const contacts::Stores& stores)
    : now(inEudora, inFolder, stores), eudora(inEudora), folder(inFolder) {
    const TwoSides old(base != nullptr ? base->eudora.contact : base::Contact(),
                       base != nullptr ? base->folder.contact : base::Contact(), stores);
    for (const base::Field field : base::kAllFields) {
        const bool eudoraChanged = now.eudora[field] != old.eudora[field];
        const bool folderChanged = now.folder[field] != old.folder[field];
        if ((!eudoraChanged && !folderChanged) || Agree(now, field)) continue;
        // Two nicknames of what is plainly the same contact may stay two.
        const bool hasTwo = base == nullptr && !eudora[field].empty() && !folder[field].empty();
        if (field == base::Field::kNickname && (hasTwo || keepNicknames)) continue;
        // A change that the other side could not hold anyway is none for it.
        const bool eudoraShows = now.eudoraInFolder[field] != old.eudoraInFolder[field];
        const bool folderShows = now.folderInEudora[field] != old.folderInEudora[field];
        if (eudoraChanged && (!folderChanged || !folderShows)) {
            if (eudoraShows) ToFolder(field, old.eudora[field]);
        } else if (folderChanged && (!eudoraChanged || !eudoraShows)) {
            if (folderShows) ToEudora(field);
        } else if (CanGoToEudora(now, field)) {
            conflicts.Add(field);
        } else {
            ToFolder(field, old.eudora[field]);
        }
    }
}

void Merge::Settle(bool folderWins) {
    for (const base::Field field : base::kAllFields) {
        if (!conflicts.Has(field)) continue;
        (folderWins ? toEudora : toFolder).Add(field);
        (folderWins ? eudora : folder)[field] =
            (folderWins ? now.folderInEudora : now.eudoraInFolder)[field];
    }
    conflicts = {};
}

}  // namespace host::contactsync
