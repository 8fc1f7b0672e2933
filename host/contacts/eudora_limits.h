#pragma once

#include <string>

#include "host/base/contact.h"

namespace host::contacts {

// The most bytes that a nickname may have in the system code page.
inline constexpr std::size_t kNicknameLimit = 27;

// The part of a contact that Eudora's address book can hold: one line where it has one line, only
// characters of the code page, no angle brackets, no comma in nickname and address, no nickname
// that Eudora takes for a group. Character for character, but for what is cut.
base::Contact HoldInEudora(const base::Contact& contact, unsigned codePage);

// A nickname made of `base` and `suffix`, cut so that both fit.
std::string NicknameWithSuffix(const std::string& base, const std::string& suffix,
                               unsigned codePage);

}  // namespace host::contacts
