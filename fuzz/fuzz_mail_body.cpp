#include <cmath>
#include <cstdint>
#include <cstdlib>

#include "mailstore/mail_date.h"
#include "mailstore/mail_fields.h"
#include "text/ascii.h"
#include "text/path.h"

namespace {

constexpr double kFirstDay = -657435.0, kEndOfDays = 2958466.0;

void Require(bool holds) {
    if (!holds) std::abort();
}

}  // namespace

// The first byte counts the attachments; the whole serves as note, date and file name alike.
// Trailers cut one at a time or all at once leave the same, dates lie in the calendar, and no plain
// name has a separator in a single-byte code page.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::size_t count = size > 0 ? data[0] % 8 : 0;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const std::string body = mailstore::BodyOf(text);
    Require(body.size() <= 2 * size);
    const auto length = mailstore::LengthWithoutTrailers(body, count, "A:");
    std::string_view rest = body;
    for (std::size_t i = 0; i < count; ++i) {
        rest = rest.substr(0, mailstore::LengthWithoutTrailers(rest, 1, "A:"));
    }
    Require(rest.size() == length);
    if (const auto date = mailstore::ParseDate(text)) {
        Require(*date > kFirstDay && *date < kEndOfDays);
    }
    if (text::IsPlainFileName(text, 1252)) {
        Require(text.find_first_of("\\/:") == std::string_view::npos);
    }
    (void)text::IsPlainFileName(text, 932);
    return 0;
}
