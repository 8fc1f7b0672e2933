#pragma once

#include <string>
#include <unordered_map>
#include <unordered_set>

#include "host/contacts/contact_store.h"

// The nicknames that contacts get in Eudora. Texts are UTF-8.
namespace host::contactsync {

// The nickname that a contact without one gets, whose values Eudora holds like that.
std::string NicknameFor(const base::Contact& held, const contacts::ContactStore& eudora);
// Whether it is that nickname, with a number or not.
bool IsMadeUp(const std::string& nickname, const base::Contact& held,
              const contacts::ContactStore& eudora);

// Those that no contact has. The store outlives the object.
class FreeNicknames {
  public:
    explicit FreeNicknames(const contacts::ContactStore& eudora) : m_eudora(eudora) {}

    void Reserve(const std::string& nickname) { m_taken.insert(nickname); }
    // The nickname itself if it is free, else with the first number that makes it so; it is taken
    // from then on.
    std::string Take(const std::string& nickname);

  private:
    const contacts::ContactStore& m_eudora;
    std::unordered_set<std::string> m_taken;
    std::unordered_map<std::string, int> m_nextNumber;  // by the nickname with the first number
};

}  // namespace host::contactsync
