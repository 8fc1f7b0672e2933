#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/base/contact.h"
#include "host/base/failure.h"
#include "host/translator/translator_session.h"

namespace host::cli {

// Contacts as they are shown: as Eudora has them, but with LF between lines.
base::Result<std::vector<base::Contact>> ReadContacts(translator::TranslatorSession& session);
// Nothing in the result if there is no contact of that nickname (UTF-8).
base::Result<std::optional<base::Contact>> ReadContact(translator::TranslatorSession& session,
                                                       const std::string& nickname);

// A line for each: nickname, name and address of mail, in columns.
std::string ContactTable(const std::vector<base::Contact>& contacts);
// All fields that hold something, a line for each; further lines of a value are indented.
std::string ContactCard(const base::Contact& contact);
std::string ContactJson(const base::Contact& contact);
std::string ContactsJson(const std::vector<base::Contact>& contacts);

}  // namespace host::cli
