#include "host/contactsync/pairing.h"

#include <algorithm>
#include <functional>
#include <unordered_map>

namespace host::contactsync {

namespace {

using base::Contact;
using base::Field;
using contacts::StoredContact;
using Index = std::size_t;
using Key = std::string;  // an empty one is like no other
using KeyOf = std::function<Key(Index)>;
using Groups = std::unordered_map<Key, std::vector<Index>>;

constexpr char kPart = '\x1F';

Key NameAndAddress(const Contact& contact) {
    if (contact[Field::kName].empty() || contact[Field::kEmail].empty()) return {};
    return contact[Field::kName] + kPart + contact[Field::kEmail];
}

Key Nickname(const Contact& contact) {
    return contact[Field::kNickname];
}

Key Everything(const Contact& contact) {
    return contact[Field::kNickname] + kPart + base::BeyondNickname(contact);
}

// What Eudora's contact of a pair held beside the nickname.
Key BeyondNicknameInEudora(const state::RememberedPair& pair) {
    const std::string_view marker = pair.eudora.item.marker;
    return marker.starts_with(kWaits) ? Key(marker.substr(kWaits.size()))
                                      : base::BeyondNickname(pair.eudora.contact);
}

// The contacts of one side that belong to nobody yet.
class Pool {
  public:
    explicit Pool(const std::vector<StoredContact>& contacts) : m_used(contacts.size(), false) {
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

    std::vector<Index> Rest() const {
        std::vector<Index> rest;
        for (Index i = 0; i < m_used.size(); ++i) {
            if (!m_used[i]) rest.push_back(i);
        }
        return rest;
    }

  private:
    std::vector<bool> m_used;
    std::unordered_map<std::string, Index> m_byId;
};

Groups GroupBy(const KeyOf& keyOf, const std::vector<Index>& members) {
    Groups groups;
    for (const Index member : members) {
        Key key = keyOf(member);
        if (!key.empty()) groups[std::move(key)].push_back(member);
    }
    return groups;
}

// Brings together what stands under the same key in both lists, in their order; with `unique` only
// where each list has one.
template <class Together>
void Match(const std::vector<Index>& left, const KeyOf& leftKey, const std::vector<Index>& right,
           const KeyOf& rightKey, bool unique, const Together& together) {
    if (left.empty() || right.empty()) return;
    const Groups candidates = GroupBy(rightKey, right);
    for (const auto& [key, members] : GroupBy(leftKey, left)) {
        const auto found = candidates.find(key);
        if (found == candidates.end()) continue;
        const std::size_t most = std::max(members.size(), found->second.size());
        for (Index i = 0; i < std::min(members.size(), found->second.size()); ++i) {
            if (!unique || most == 1) together(members[i], found->second[i]);
        }
    }
}

class Matchmaker {
  public:
    Matchmaker(const Sides& sides, const state::Remembered& remembered,
               const contacts::Stores& stores)
        : m_sides(sides),
          m_remembered(remembered),
          m_stores(stores),
          m_eudora(sides.eudora),
          m_folder(sides.folder) {}

    Pairing Make() {
        for (const state::RememberedPair& pair : m_remembered.pairs) {
            m_pairing.known.push_back(
                {m_eudora.TakeId(pair.eudora.item.id), m_folder.TakeId(pair.folder.item.id)});
        }
        UseIntents();
        FindRenames();
        FindTwins();
        m_pairing.onlyEudora = m_eudora.Rest();
        m_pairing.onlyFolder = m_folder.Rest();
        // The groups come in no order; the report's is the sides'.
        std::ranges::sort(m_pairing.found, {}, &Pairing::Found::eudora);
        return std::move(m_pairing);
    }

  private:
    // Gives each pair whose contact of one side vanished one that appeared under the same key.
    void MatchVanished(std::optional<Index> Pairing::Known::*side, const KeyOf& keyOfPair,
                       const KeyOf& keyOfContact, bool unique) {
        Pool& pool = side == &Pairing::Known::eudora ? m_eudora : m_folder;
        auto& known = m_pairing.known;
        std::vector<Index> vanished;
        for (Index i = 0; i < known.size(); ++i) {
            if (!(known[i].*side)) vanished.push_back(i);
        }
        Match(vanished, keyOfPair, pool.Rest(), keyOfContact, unique,
              [&](Index pair, Index contact) {
                  known[pair].*side = contact;
                  pool.Take(contact);
              });
    }

    void UseIntents() {
        if (m_remembered.intents.empty()) return;
        std::unordered_map<std::string, Pairing::Known*> vanished;  // from Eudora, by the vCard
        for (Index i = 0; i < m_pairing.known.size(); ++i) {
            Pairing::Known& known = m_pairing.known[i];
            if (!known.eudora) vanished[m_remembered.pairs[i].folder.item.id] = &known;
        }
        for (const state::Intent& intent : m_remembered.intents) {
            if (const auto pair = vanished.find(intent.folderId); pair != vanished.end()) {
                Pairing::Known& known = *pair->second;
                if (!known.eudora) known.eudora = m_eudora.TakeId(intent.newId);
                known.isIntended = known.eudora.has_value();
                continue;
            }
            const auto folder = m_folder.TakeId(intent.folderId);
            const auto eudora = folder ? m_eudora.TakeId(intent.newId) : std::nullopt;
            if (eudora) {
                m_pairing.found.push_back({*eudora, *folder, true});
            } else if (folder) {
                m_folder.Release(*folder);
            }
        }
    }

    void FindRenames() {
        const auto& pairs = m_remembered.pairs;
        using Known = Pairing::Known;
        MatchVanished(
            &Known::folder, [&](Index i) { return pairs[i].uid; },
            [&](Index i) { return m_sides.folder[i].uid; }, true);
        for (const bool unique : {false, true}) {
            const auto key = unique ? NameAndAddress : base::BeyondNickname;
            MatchVanished(
                &Known::eudora,
                [&](Index i) {
                    return unique ? key(pairs[i].eudora.contact) : BeyondNicknameInEudora(pairs[i]);
                },
                [&](Index i) { return key(m_sides.eudora[i].contact); }, unique);
            MatchVanished(
                &Known::folder, [&](Index i) { return key(pairs[i].folder.contact); },
                [&](Index i) { return key(m_sides.folder[i].contact); }, unique);
        }
    }

    // Pairs contacts of both sides that are plainly the same.
    void FindTwins() {
        for (const auto key : {Everything, Nickname, base::BeyondNickname, NameAndAddress}) {
            Match(m_eudora.Rest(), InEudora(key), m_folder.Rest(), InFolder(key),
                  key == NameAndAddress, [&](Index eudora, Index folder) {
                      m_pairing.found.push_back({eudora, folder});
                      m_eudora.Take(eudora);
                      m_folder.Take(folder);
                  });
        }
    }

    // The key of a contact in the form that both sides can hold, in which both have equal values.
    KeyOf InEudora(Key (*key)(const Contact&)) const {
        return [this, key](Index i) {
            const Contact& contact = m_sides.eudora[i].contact;
            return key(m_stores.eudora.Hold(m_stores.folder.Hold(contact)));
        };
    }
    KeyOf InFolder(Key (*key)(const Contact&)) const {
        return
            [this, key](Index i) { return key(m_stores.eudora.Hold(m_sides.folder[i].contact)); };
    }

    const Sides& m_sides;
    const state::Remembered& m_remembered;
    const contacts::Stores& m_stores;
    Pool m_eudora, m_folder;
    Pairing m_pairing;
};

}  // namespace

Pairing FindPairs(const Sides& sides, const state::Remembered& remembered,
                  const contacts::Stores& stores) {
    return Matchmaker(sides, remembered, stores).Make();
}

}  // namespace host::contactsync
