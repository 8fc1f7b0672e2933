#pragma once

#include <string>
#include <vector>

#include "host/base/failure.h"
#include "host/translator/translator_session.h"

namespace host::cli {

// One contact as it is shown: texts in UTF-8, in the order of kContactKeys.
inline constexpr const char* kContactKeys[] = {"nickname", "name",  "address", "phone",
                                               "fax",      "email", "note"};
struct ShownContact {
    std::vector<std::string> values;
};

base::Result<std::vector<ShownContact>> ReadContacts(translator::TranslatorSession& session);
// Nothing in the result if there is no contact of that nickname (UTF-8).
base::Result<std::vector<ShownContact>> ReadContact(translator::TranslatorSession& session,
                                                    const std::string& nickname);

// A line for each: nickname, name and address of mail, in columns.
std::string ContactTable(const std::vector<ShownContact>& contacts);
// All fields that hold something, a line for each; further lines of a value are indented.
std::string ContactCard(const ShownContact& contact);
std::string ContactJson(const ShownContact& contact);
std::string ContactsJson(const std::vector<ShownContact>& contacts);

}  // namespace host::cli
