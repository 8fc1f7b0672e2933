#pragma once

#include <string>
#include <string_view>

// Texts of mails as Eudora has stored them: mostly in the system code page.
namespace host::mail {

// A text in UTF-8. What is valid UTF-8 and more than ASCII came so and was never converted; all
// else is of the code page.
std::string StoredText(std::string_view bytes);

// The same of a body, whose stored header may declare a charset: bytes that are text of it were
// kept as they came, too.
std::string StoredBody(std::string_view bytes, std::string_view header);

}  // namespace host::mail
