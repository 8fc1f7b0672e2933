#include <sstream>

#include <gtest/gtest.h>

#include "host/mail/html_text.h"
#include "host/mail/mail_text.h"
#include "host/vcard/card.h"
#include "host/vcard/card_fields.h"
#include "tests/host/mail_world.h"
#include "tests/support/failing_allocation.h"
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

// Twice the size, twice the work, whatever a text, a page, a header or a card is made of: the parts
// repeated, some with a text in front of them and one behind, after a "~" each.
TEST(Growth, HostileShapesCostInProportionToTheirSize) {
    std::istringstream shapes(
        "<title>|<head></x>|<|</|<!--|<!|&|&amp|&#1|<p|<a b|\"=|<x a=\"|='|<script>|</title|<a "
        "href=http:x>|<a href=http:x>y</a>|<<|<x-html>|</x-html>|<x-rich>| | \n|> \n|a "
        "\nb\n|\r|\r\r\n|>|From \n|\n|To: a\n|To:\n b\n| f\n|Subject|x: y\n|:|--b\n|--b--\n|\n--|"
        ";A=b~TEL~:1|a,~TEL;TYPE=~fax:1|\r~NOTE:~x|TEL;TYPE=fax:1\n|a\\n~ADR:;;~;b;c;d|a ;~N:|"
        "^n~ADR;LABEL=\"~\":;;;|=E9=0A~NOTE;CHARSET=ISO-8859-1;ENCODING=QUOTED-PRINTABLE:|UID:a\n|<"
        "~To: |g:~Cc: |; n*1*=x~Content-Type: a/b|\xCC\x81\xCC\xA3~\n");
    for (std::string shape; std::getline(shapes, shape, '|');) {
        std::istringstream pieces(shape);
        std::string part, head, tail;
        std::getline(std::getline(std::getline(pieces, part, '~'), head, '~'), tail);
        const auto work = [&](std::size_t count) {
            std::string text = head;
            while (text.size() < count) text += part;
            return WorkFor(text + tail);
        };
        EXPECT_LT(work(40'000), 3 * work(20'000)) << shape;
    }
    const auto longLink = [](std::size_t count) {
        return WorkFor("<a href=\"http:" + std::string(count, 'a') +
                       "b\">http:" + std::string(2 * count, 'a') + "</a>");
    };
    EXPECT_LT(longLink(20'000), 3 * longLink(10'000));
}

}  // namespace
}  // namespace host
