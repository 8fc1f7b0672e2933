#pragma once

#include <string>
#include <string_view>

#include "host/mail/mail_text.h"

namespace host::mail {

// Puts texts into the form in which Eudora stores them, in the system code page.
class EudoraText {
  public:
    explicit EudoraText(unsigned codePage) : m_codePage(codePage) {}

    // UTF-8 in the code page, "?" for each character that it lacks.
    std::string Convert(const std::string& text);
    // The same of a header's text: one line without control characters or blanks at its ends.
    std::string Line(const std::string& text);
    // The same of a stretch of a body: CR LF line ends, Eudora's marks around it if it has a kind
    // of its own. Whatever else looks like one of Eudora's marks gets a blank that spoils it.
    std::string Body(const TextPiece& piece);

    std::size_t LostCharacters() const { return m_lost; }

  private:
    unsigned m_codePage;
    std::size_t m_lost = 0;
};

// Cuts a text behind the last whole line of at most `limit` bytes, or the last whole character.
std::string_view CutText(std::string_view text, std::size_t limit, unsigned codePage);

// A name (UTF-8) made into one that a file can have on Windows in that code page: no folder, no
// character that file names or the code page lack, no device, not too long; its extension is kept.
// `fallback` stands for a name of which nothing is left.
std::string PlainAttachmentName(const std::string& name, const std::string& fallback,
                                unsigned codePage);

}  // namespace host::mail
