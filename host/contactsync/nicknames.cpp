#include "host/contactsync/nicknames.h"

namespace host::contactsync {

std::string NicknameFor(const base::Contact& held, const contacts::ContactStore& eudora) {
    base::Contact named;
    named[base::Field::kNickname] = base::DisplayName(held, "contact");
    return eudora.Hold(named)[base::Field::kNickname];
}

bool IsMadeUp(const std::string& nickname, const base::Contact& held,
              const contacts::ContactStore& eudora) {
    const std::string made = NicknameFor(held, eudora);
    const auto number = nickname.substr(nickname.find_last_not_of("0123456789") + 1);
    return nickname == made || nickname == eudora.Nickname(made, number);
}

// Numbers of as many digits share a stem, and what was taken under one is not tried again.
std::string FreeNicknames::Take(const std::string& nickname) {
    if (m_taken.insert(nickname).second) return nickname;
    for (int first = 1;; first *= 10) {
        const std::string start = m_eudora.Nickname(nickname, std::to_string(first));
        int& next = m_nextNumber.try_emplace(start, first).first->second;
        while (next < first * 10) {
            std::string candidate = m_eudora.Nickname(nickname, std::to_string(next++));
            if (m_taken.insert(candidate).second) return candidate;
        }
    }
}

}  // namespace host::contactsync
