#include <cmath>

#include "fuzz/fuzz.h"
#include "mailstore/mail_date.h"
#include "mailstore/mail_fields.h"
#include "text/ascii.h"
#include "text/path.h"

// The first byte counts the attachments; the whole serves as note, date and file name alike.
// Trailers cut one at a time or all at once leave the same, dates lie in the calendar, and no plain
// name has a separator in a single-byte code page.
void Check(std::string_view text) {
    const std::size_t count = text.empty() ? 0 : static_cast<unsigned char>(text[0]) % 8;
    const std::string body = mailstore::BodyOf(text);
    Require(body.size() <= 2 * text.size());
    const auto length = mailstore::LengthWithoutTrailers(body, count, "A:");
    std::string_view rest = body;
    for (std::size_t i = 0; i < count; ++i) {
        rest = rest.substr(0, mailstore::LengthWithoutTrailers(rest, 1, "A:"));
    }
    Require(rest.size() == length);
    if (const auto date = mailstore::ParseDate(text)) {
        Require(*date > -657435 && *date < 2958466);
    }
    const bool isPlain = text::IsPlainFileName(text, 1252);
    Require(!isPlain || text.find_first_of("\\/:") == text.npos);
    (void)text::IsPlainFileName(text, 932);
}
