#pragma once

#include <string>
#include <string_view>

// Formatted mail texts as plain text. Both texts are UTF-8; the time is linear in their length.
namespace host::mail {

// HTML as plain text with LF line ends. Paragraphs, list points and table rows have lines of their
// own. A link stands behind its text as "<https://...>", unless the text shows it; a picture is its
// alternative text. Scripts, styles, comments and tags are dropped.
std::string TextOfHtml(std::string_view html);

// text/enriched (RFC 1896) without its commands.
std::string TextOfEnriched(std::string_view enriched);

}  // namespace host::mail
