#include <sstream>

#include <gtest/gtest.h>

#include "host/mail/html_text.h"
#include "host/mail/mail_text.h"
#include "tests/host/mail_world.h"
#include "text/ascii.h"

// The readers are compiled so that each branch they take comes by here.
static std::size_t branches = 0;
extern "C" void __sanitizer_cov_trace_pc() {  // NOLINT
    ++branches;
}

namespace host {
namespace {

std::size_t WorkFor(const std::string& text) {
    const auto before = branches;
    (void)mail::TextOfHtml(text);
    (void)mail::TextOfEnriched(text);
    (void)mail::SplitText('x' + text::WithLineFeeds(text));
    MailFiles world;
    (void)world.Parse("Content-Type: multipart/mixed; boundary=b\n\n" + text);
    (void)world.Parse(text);
    return branches - before;
}

// Twice the size, twice the work, whatever a text, a page or a header is made of.
TEST(MailGrowth, HostileShapesCostInProportionToTheirSize) {
    std::istringstream parts(
        "<title>|<head></x>|<|</|<!--|<!|&|&amp|&#1|<p|<a b|\"=|<x a=\"|='|<script>|</title|<a "
        "href=http:x>|<a href=http:x>y</a>|<<|<x-html>|</x-html>|<x-rich>| | \n|> \n|a "
        "\nb\n|\r|\r\r\n|>|From \n|\n|To: a\n|To:\n b\n| f\n|Subject|x: y\n|:|--b\n|--b--\n|\n--");
    for (std::string part; std::getline(parts, part, '|');) {
        const auto work = [&](std::size_t count) {
            std::string text;
            while (text.size() < count) text += part;
            return WorkFor(text);
        };
        EXPECT_LT(work(40'000), 3 * work(20'000)) << part;
    }
    const auto longLink = [](std::size_t count) {
        return WorkFor("<a href=\"http:" + std::string(count, 'a') +
                       "b\">http:" + std::string(2 * count, 'a') + "</a>");
    };
    EXPECT_LT(longLink(20'000), 3 * longLink(10'000));
}

}  // namespace
}  // namespace host
