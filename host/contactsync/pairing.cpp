#include "host/contactsync/pairing.h"

#include <algorithm>
#include <unordered_map>

namespace host::contactsync {

namespace {

using Index = std::size_t;
using Key = std::string;
using KeyOf = std::function<Key(const contacts::StoredContact&)>;

constexpr char kPart = '\x1F';

Key NameAndAddress(const base::Contact& contact) {
    if (contact[base::Field::kName].empty() || contact[base::Field::kEmail].empty()) return {};
    return contact[base::Field::kName] + kPart + contact[base::Field::kEmail];
}

// The unused contacts of one side by a key.
class Pool {
  public:
    explicit Pool(const std::vector<contacts::StoredContact>& contacts)
        : m_contacts(contacts), m_used(contacts.size(), false) {
        for (Index i = 0; i < contacts.size(); ++i) m_byId[contacts[i].item.id] = i;
    }

    std::optional<Index> TakeId(const std::string& id) {
        const auto found = m_byId.find(id);
        if (found == m_byId.end() || m_used[found->second]) return std::nullopt;
        m_used[found->second] = true;
        return found->second;
    }
    void Take(Index index) { m_used[index] = true; }
    void Release(Index index) { m_used[index] = false; }

    // By key, all that have one; in the order of the side.
    std::unordered_map<Key, std::vector<Index>> Group(const KeyOf& keyOf) const {
        std::unordered_map<Key, std::vector<Index>> groups;
        for (Index i = 0; i < m_contacts.size(); ++i) {
            if (m_used[i]) continue;
            const Key key = keyOf(m_contacts[i]);
            if (!key.empty()) groups[key].push_back(i);
        }
        return groups;
    }
    std::vector<Index> Rest() const {
        std::vector<Index> rest;
        for (Index i = 0; i < m_used.size(); ++i) {
            if (!m_used[i]) rest.push_back(i);
        }
        return rest;
    }
    bool IsEmpty() const { return std::find(m_used.begin(), m_used.end(), false) == m_used.end(); }

  private:
    const std::vector<contacts::StoredContact>& m_contacts;
    std::vector<bool> m_used;
    std::unordered_map<std::string, Index> m_byId;
};

// Gives each pair whose contact of one side vanished one that appeared under the same key. With
// `unique`, only where one vanished and one appeared.
void MatchVanished(Pairing& pairing, Pool& pool, std::optional<Index> Pairing::Known::*side,
                   const std::function<Key(const Pairing::Known&)>& keyOfPair,
                   const KeyOf& keyOfContact, bool unique) {
    std::unordered_map<Key, std::vector<Pairing::Known*>> vanished;
    for (Pairing::Known& known : pairing.known) {
        if (known.*side) continue;
        const Key key = keyOfPair(known);
        if (!key.empty()) vanished[key].push_back(&known);
    }
    if (vanished.empty() || pool.IsEmpty()) return;
    auto appeared = pool.Group(keyOfContact);
    for (auto& [key, pairs] : vanished) {
        const auto found = appeared.find(key);
        if (found == appeared.end()) continue;
        const auto& candidates = found->second;
        if (unique && (pairs.size() != 1 || candidates.size() != 1)) continue;
        for (Index i = 0; i < std::min(pairs.size(), candidates.size()); ++i) {
            pairs[i]->*side = candidates[i];
            pool.Take(candidates[i]);
        }
    }
}

struct Pools {
    Pool eudora, folder;
};

void UseIntents(Pairing& pairing, Pools& pools, const state::Remembered& remembered) {
    if (remembered.intents.empty()) return;
    std::unordered_map<std::string, Pairing::Known*> vanished;  // from Eudora, by the vCard
    for (Pairing::Known& known : pairing.known) {
        if (!known.eudora) vanished[remembered.pairs[known.pair].folder.item.id] = &known;
    }
    for (const state::Intent& intent : remembered.intents) {
        if (const auto pair = vanished.find(intent.folderId); pair != vanished.end()) {
            Pairing::Known& known = *pair->second;
            if (!known.eudora) known.eudora = pools.eudora.TakeId(intent.newId);
            known.isIntended = known.eudora.has_value();
            continue;
        }
        const auto folder = pools.folder.TakeId(intent.folderId);
        const auto eudora = folder ? pools.eudora.TakeId(intent.newId) : std::nullopt;
        if (eudora) {
            pairing.found.push_back({*eudora, *folder, true});
        } else if (folder) {
            pools.folder.Release(*folder);
        }
    }
}

Key WholeKey(const base::Contact& contact) {
    return contact[base::Field::kNickname] + kPart + base::BeyondNickname(contact);
}

// The form that both sides can hold: what each has of one contact is equal in it.
base::Contact InCommon(const base::Contact& eudora, const SideRules& rules) {
    return rules.holdEudora(rules.holdFolder(eudora));
}

// A vCard that a cut-off run wrote anew for a contact whose old one was gone.
void FindRewritten(Pairing& pairing, Pools& pools, const Sides& sides, const SideRules& rules) {
    MatchVanished(
        pairing, pools.folder, &Pairing::Known::folder,
        [&](const Pairing::Known& known) {
            if (!known.eudora) return Key();
            return WholeKey(InCommon(sides.eudora[*known.eudora].contact, rules));
        },
        [&](const contacts::StoredContact& stored) {
            return WholeKey(rules.holdEudora(stored.contact));
        },
        false);
}

void FindRenames(Pairing& pairing, Pools& pools, const state::Remembered& remembered) {
    const auto& pairs = remembered.pairs;
    const auto ofContact = [](Key (*key)(const base::Contact&)) -> KeyOf {
        return [key](const contacts::StoredContact& stored) { return key(stored.contact); };
    };
    using Known = Pairing::Known;
    MatchVanished(
        pairing, pools.folder, &Known::folder,
        [&](const Known& known) { return pairs[known.pair].uid; },
        [](const contacts::StoredContact& stored) { return stored.uid; }, true);
    for (const bool unique : {false, true}) {
        const auto key = unique ? NameAndAddress : base::BeyondNickname;
        MatchVanished(
            pairing, pools.eudora, &Known::eudora,
            [&](const Known& known) { return key(pairs[known.pair].eudora.contact); },
            ofContact(key), unique);
        MatchVanished(
            pairing, pools.folder, &Known::folder,
            [&](const Known& known) { return key(pairs[known.pair].folder.contact); },
            ofContact(key), unique);
    }
}

// Contacts of both sides under the same key. Several under one key go together by content first;
// with `unique` only one and one.
void MatchSides(Pairing& pairing, Pools& pools, const KeyOf& eudoraKey, const KeyOf& folderKey,
                bool unique) {
    if (pools.eudora.IsEmpty() || pools.folder.IsEmpty()) return;
    const auto folderGroups = pools.folder.Group(folderKey);
    for (const auto& [key, eudora] : pools.eudora.Group(eudoraKey)) {
        const auto found = folderGroups.find(key);
        if (found == folderGroups.end()) continue;
        const auto& folder = found->second;
        if (unique && (eudora.size() != 1 || folder.size() != 1)) continue;
        for (Index i = 0; i < std::min(eudora.size(), folder.size()); ++i) {
            pairing.found.push_back({eudora[i], folder[i]});
            pools.eudora.Take(eudora[i]);
            pools.folder.Take(folder[i]);
        }
    }
}

void FindTwins(Pairing& pairing, Pools& pools, const SideRules& rules) {
    const auto eudora = [&](Key (*key)(const base::Contact&)) -> KeyOf {
        return [key, &rules](const contacts::StoredContact& stored) {
            return key(InCommon(stored.contact, rules));
        };
    };
    const auto folder = [&](Key (*key)(const base::Contact&)) -> KeyOf {
        return [key, &rules](const contacts::StoredContact& stored) {
            return key(rules.holdEudora(stored.contact));
        };
    };
    const auto nickname = [](const base::Contact& contact) {
        return contact[base::Field::kNickname];
    };
    MatchSides(pairing, pools, eudora(WholeKey), folder(WholeKey), false);
    MatchSides(pairing, pools, eudora(+nickname), folder(+nickname), false);
    MatchSides(pairing, pools, eudora(base::BeyondNickname), folder(base::BeyondNickname), false);
    MatchSides(pairing, pools, eudora(NameAndAddress), folder(NameAndAddress), true);
}

}  // namespace

Pairing FindPairs(const Sides& sides, const state::Remembered& remembered, const SideRules& rules) {
    Pairing pairing;
    Pools pools{Pool(sides.eudora), Pool(sides.folder)};
    for (Index i = 0; i < remembered.pairs.size(); ++i) {
        const state::RememberedPair& pair = remembered.pairs[i];
        pairing.known.push_back({i, pools.eudora.TakeId(pair.eudora.item.id),
                                 pools.folder.TakeId(pair.folder.item.id)});
    }
    UseIntents(pairing, pools, remembered);
    FindRenames(pairing, pools, remembered);
    FindRewritten(pairing, pools, sides, rules);
    FindTwins(pairing, pools, rules);
    pairing.onlyEudora = pools.eudora.Rest();
    pairing.onlyFolder = pools.folder.Rest();
    // The groups come in no order; the report's is the sides'.
    std::sort(pairing.found.begin(), pairing.found.end(),
              [](const auto& a, const auto& b) { return a.eudora < b.eudora; });
    return pairing;
}

}  // namespace host::contactsync
