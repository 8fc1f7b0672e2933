#include "host/contactsync/step.h"

namespace host::contactsync {

using base::DisplayName;
using base::Field;
using contacts::StoredContact;
using sync::Side;
using sync::Verb;

std::optional<sync::Change> Step::Told(bool inEudora, bool inFolder) const {
    const auto told = [&](Side side) -> sync::Change::OnSide {
        const SideAction& action = On(side);
        if (!(side == Side::kEudora ? inEudora : inFolder)) return {};
        const bool isNew = action.verb == Verb::kAdd;
        return {action.verb, isNew ? DisplayName(action.values, name) : name, action.fields,
                side == Side::kEudora ? inPart : base::FieldSet()};
    };
    sync::Change change{name, told(Side::kEudora), told(Side::kFolder), renamedTo, {}, {}};
    const bool isNothing = change.eudora.verb == Verb::kNone && change.folder.verb == Verb::kNone;
    return isNothing ? std::nullopt : std::optional(std::move(change));
}

state::RememberedPair Step::Remembered(const StoredContact& nowInEudora,
                                       const StoredContact& nowInFolder) const {
    state::RememberedPair pair{key,
                               {nowInEudora.item, nowInEudora.contact},
                               {nowInFolder.item, nowInFolder.contact},
                               nowInFolder.uid,
                               nowInFolder.beyond};
    if (waiting.IsEmpty()) return pair;
    for (const Field field : base::kAllFields) {
        if (!waiting.Has(field)) continue;
        pair.eudora.contact[field] = eudora.before[field];
        pair.folder.contact[field] = folder.before[field];
    }
    pair.eudora.item.marker = std::string(kWaits).append(base::BeyondNickname(nowInEudora.contact));
    pair.folder.item.marker = kWaits;
    return pair;
}

}  // namespace host::contactsync
