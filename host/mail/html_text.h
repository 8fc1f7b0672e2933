#pragma once

#include <string>
#include <string_view>

namespace host::mail {

// What an HTML text (UTF-8) says, as plain text with LF line ends: paragraphs, list points and
// table rows on lines of their own, links behind their texts as "<https://...>" unless the text is
// the link, pictures by their alternative texts. Scripts, styles, comments and tags are dropped.
// Takes time in proportion to the text, whatever it holds.
std::string TextOfHtml(std::string_view html);

// The same of text/enriched (RFC 1896).
std::string TextOfEnriched(std::string_view enriched);

}  // namespace host::mail
