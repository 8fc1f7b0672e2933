#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "host/mail/mail.h"

// Telling mails of one Message-ID apart: a list's copy and the direct one, or what a program sends
// under one id for ever.
namespace host::mailsync {

// What a mail is known by, as both sides can tell it. Empty texts are unknown but for `people`.
struct Traits {
    std::string name;    // see NameTrait
    std::string people;  // see PeopleTrait
    std::string text;    // see TextTrait, or any fingerprint that both sides have
    // What decides between mails that are alike in all of the above, the weightiest first.
    std::vector<std::string> ties;
};

// Subject and address of the sender, out of what a report calls the mail. Like the others it holds
// letters and digits of ASCII alone, as far as there are any: case, blanks, marks and characters
// that a code page lacks tell nothing.
std::string NameTrait(const std::string& name);
// The addresses in a list of recipients.
std::string PeopleTrait(const std::string& recipients);
// A fingerprint of a text.
std::string TextTrait(const std::string& text);

// Which of the mails on the left is which one on the right.
struct Telling {
    std::vector<std::optional<std::size_t>> rightOf;
    // Those that have no counterpart for sure; each of them could be one of those on the other
    // side. All others without counterpart have none.
    std::vector<bool> isUnclearLeft, isUnclearRight;
};

// One on either side are the same if their names or their texts are. Of several those are that
// are alike in all, or, whatever their texts, the only ones on both sides of that name and these
// people, or of that name. The others of the same name are unclear.
Telling TellApart(const std::vector<Traits>& left, const std::vector<Traits>& right);

}  // namespace host::mailsync
