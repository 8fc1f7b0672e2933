#include <gtest/gtest.h>

#include <sstream>

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
    for (const auto& [shapes, front, end] : test::Rows<3>("hostile shapes")) {
        std::istringstream list(shapes);
        for (std::string shape; std::getline(list, shape, ' ');) {
            std::ranges::replace(shape, '~', ' ');
            const auto work = [&](std::size_t count) {
                std::string text = front;
                while (text.size() < count) text += shape;
                return WorkFor(text + end);
            };
            EXPECT_LT(work(40'000), 3 * work(20'000)) << shape;
        }
    }
    const auto longLink = [](std::size_t count) {
        return WorkFor("<a href=\"http:" + std::string(count, 'a') +
                       "b\">http:" + std::string(2 * count, 'a') + "</a>");
    };
    EXPECT_LT(longLink(20'000), 3 * longLink(10'000));
}

}  // namespace
}  // namespace host
