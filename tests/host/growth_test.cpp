#include <gtest/gtest.h>

#include "host/mail/html_text.h"
#include "host/mail/mail_text.h"
#include "host/vcard/card.h"
#include "host/vcard/card_fields.h"
#include "tests/host/mail_world.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/table.h"
#include "text/ascii.h"

// The readers are compiled so that each branch they take comes by here. What else they cost is
// memory.
static std::size_t branches = 0;
extern "C" void __sanitizer_cov_trace_pc() {  // NOLINT
    ++branches;
}

namespace host {
namespace {

std::size_t WorkFor(const std::string& text) {
    const auto before = branches + test::BytesRequested();
    (void)mail::TextOfHtml(text);
    (void)mail::TextOfEnriched(text);
    (void)mail::SplitText('x' + text::WithLineFeeds(text));
    MailFiles world;
    (void)world.Parse("Content-Type: multipart/mixed; boundary=b\n\n" + text);
    (void)world.Parse(text);
    vcard::Card card;
    if (!card.Parse("BEGIN:VCARD\nVERSION:4.0\n" + text + "\nEND:VCARD\n")) {
        vcard::WriteFields(card, vcard::ReadFields(card).contact, base::FieldSet::All(), {});
        EXPECT_FALSE(card.Serialise().empty());
    }
    return branches + test::BytesRequested() - before;
}

// Twice the size, twice the work, whatever a text, a page, a header or a card is made of.
TEST(Growth, HostileShapesCostInProportionToTheirSize) {
    for (const auto& shape : test::Table<std::string, std::string, std::string>("hostile shapes")) {
        const auto work = [&](std::size_t count) {
            std::string text = std::get<1>(shape);
            while (text.size() < count) text += std::get<0>(shape);
            return WorkFor(text + std::get<2>(shape));
        };
        EXPECT_LT(work(40'000), 3 * work(20'000)) << std::get<0>(shape);
    }
    const auto longLink = [](std::size_t count) {
        return WorkFor("<a href=\"http:" + std::string(count, 'a') +
                       "b\">http:" + std::string(2 * count, 'a') + "</a>");
    };
    EXPECT_LT(longLink(20'000), 3 * longLink(10'000));
}

}  // namespace
}  // namespace host
