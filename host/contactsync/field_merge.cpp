#include "host/contactsync/field_merge.h"

#include <algorithm>

#include "text/utf.h"

namespace host::contactsync {

namespace {

// The beginnings of the characters of a UTF-8 text, and its end.
std::vector<std::size_t> CharacterStarts(const std::string& text) {
    std::vector<std::size_t> starts;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (!text::IsContinuation(text[i])) starts.push_back(i);
    }
    starts.push_back(text.size());
    return starts;
}

// Carries an edit of what a store could hold of a text over to the text itself: `before`, which
// stands for `rich` character for character, became `after`. What the edit left alone stays as it
// is in `rich`.
std::string CarryEdit(const std::string& before, const std::string& after,
                      const std::string& rich) {
    const auto old = CharacterStarts(before), now = CharacterStarts(after),
               full = CharacterStarts(rich);
    if (before == rich || old.size() != full.size()) return after;
    const auto same = [&](std::size_t i, std::size_t j) {
        return before.compare(old[i], old[i + 1] - old[i], after, now[j], now[j + 1] - now[j]) == 0;
    };
    const std::size_t oldCount = old.size() - 1, newCount = now.size() - 1;
    const std::size_t shared = std::min(oldCount, newCount);
    std::size_t front = 0, back = 0;
    while (front < shared && same(front, front)) ++front;
    while (back < shared - front && same(oldCount - 1 - back, newCount - 1 - back)) ++back;
    return rich.substr(0, full[front]) +
           after.substr(now[front], now[newCount - back] - now[front]) +
           rich.substr(full[oldCount - back]);
}

// One comparison; the held forms are made once for all fields.
struct Comparison {
    const base::Contact &eudora, &folder;
    base::Contact folderInEudora, eudoraInFolder;

    bool Agree(base::Field field) const {
        return eudora[field] == folder[field] || folderInEudora[field] == eudora[field] ||
               eudoraInFolder[field] == folder[field];
    }
    // Eudora's contacts always have a nickname, and its rules let no name be emptied.
    bool CanGoToEudora(base::Field field) const {
        const bool mayBeEmpty = field != base::Field::kNickname && field != base::Field::kName;
        return mayBeEmpty || !folderInEudora[field].empty();
    }
};

void ToEudora(Merge& merge, base::Field field, const Comparison& sides) {
    if (!sides.CanGoToEudora(field)) return;
    merge.eudora[field] = sides.folderInEudora[field];
    if (merge.eudora[field] != sides.eudora[field]) merge.toEudora.Add(field);
}

void ToFolder(Merge& merge, base::Field field, const Comparison& sides, const std::string& before) {
    merge.folder[field] = CarryEdit(before, sides.eudoraInFolder[field], sides.folder[field]);
    if (merge.folder[field] != sides.folder[field]) merge.toFolder.Add(field);
}

}  // namespace

Merge MergeFields(const base::Contact& eudora, const base::Contact& folder,
                  const state::RememberedPair* base, bool keepNicknames,
                  const contacts::Stores& stores) {
    const Comparison sides{eudora, folder, stores.eudora.Hold(folder), stores.folder.Hold(eudora)};
    base::Contact oldEudora, oldFolder, oldFolderInEudora, oldEudoraInFolder;
    if (base != nullptr) {
        oldEudora = base->eudora.contact;
        oldFolder = base->folder.contact;
        oldFolderInEudora = stores.eudora.Hold(oldFolder);
        oldEudoraInFolder = stores.folder.Hold(oldEudora);
    }
    Merge merge;
    merge.eudora = eudora;
    merge.folder = folder;
    for (base::Field field : base::kAllFields) {
        const bool eudoraChanged = eudora[field] != oldEudora[field];
        const bool folderChanged = folder[field] != oldFolder[field];
        if ((!eudoraChanged && !folderChanged) || sides.Agree(field)) continue;
        // Two nicknames of what is plainly the same contact may stay two.
        const bool hasTwo = base == nullptr && !eudora[field].empty() && !folder[field].empty();
        if (field == base::Field::kNickname && (hasTwo || keepNicknames)) continue;
        // A change that the other side could not hold anyway is none for it.
        const bool eudoraShows = sides.eudoraInFolder[field] != oldEudoraInFolder[field];
        const bool folderShows = sides.folderInEudora[field] != oldFolderInEudora[field];
        if (eudoraChanged && (!folderChanged || !folderShows)) {
            if (eudoraShows) ToFolder(merge, field, sides, oldEudora[field]);
        } else if (folderChanged && (!eudoraChanged || !eudoraShows)) {
            if (folderShows) ToEudora(merge, field, sides);
        } else if (sides.CanGoToEudora(field)) {
            merge.conflicts.Add(field);
        } else {
            ToFolder(merge, field, sides, oldEudora[field]);
        }
    }
    return merge;
}

void SettleConflicts(Merge& merge, bool folderWins, const contacts::Stores& stores) {
    const base::Contact folderInEudora = stores.eudora.Hold(merge.folder);
    const base::Contact eudoraInFolder = stores.folder.Hold(merge.eudora);
    for (base::Field field : base::kAllFields) {
        if (!merge.conflicts.Has(field)) continue;
        if (folderWins) {
            merge.eudora[field] = folderInEudora[field];
            merge.toEudora.Add(field);
        } else {
            merge.folder[field] = eudoraInFolder[field];
            merge.toFolder.Add(field);
        }
    }
    merge.conflicts = {};
}

}  // namespace host::contactsync
