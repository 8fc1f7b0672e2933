#include "host/mail/html_text.h"

#include <gtest/gtest.h>

namespace host {
namespace {

TEST(TextOfHtml, SaysWhatAPersonWouldRead) {
    const struct {
        const char *html, *text;
    } rows[] = {
        {"  two \n\t words ", "two words"},
        {"<html><head><title>t</title></head><body>b</body></html>", "b"},
        {"<div>a</div><div>b</div>c", "a\nb\nc"},
        {"a<br>b<br/><br />c", "a\nb\n\nc"},
        {"<ul><li>a<li>b</ul>c", "- a\n- b\nc"},
        {"<table><tr><td>a</td><td>b</td></tr><tr><td>c</table>", "a b\nc"},
        {"<pre>a\n  b</pre>  c", "a\n  b\nc"},
        {"a<hr>b", "a\n----------\nb"},
        {"caf&eacute; &amp; &#233;&#xE9;&nbsp;x &lt;b&gt; &copy;",
         "caf\xC3\xA9 & \xC3\xA9\xC3\xA9 "
         "x <b> \xC2\xA9"},
        {"&unknown; & &#0; &#xD800; &#x110000; &;", "&unknown; & &#0; &#xD800; &#x110000; &;"},
        {"&#x1F600;&euro;", "\xF0\x9F\x98\x80\xE2\x82\xAC"},
        {"<a href=\"http://x/?a=1&amp;b\">here</a>.", "here <http://x/?a=1&b>."},
        {"<a href='http://x'>http://x</a>", "http://x"},
        {"<a href=mailto:a@b>Ann</a> <a href=mailto:a@b>a@b</a>", "Ann <a@b> a@b"},
        {"<a href=\"java\nscript:x\">x</a> <a href=\"ht\ntp:y\">y</a>", "x y <http:y>"},
        {"<a href=http:hx>http:hhx</a>", "http:hhx <http:hx>"},
        {"<a name=\"x\">x</a> <a>y</a></a>", "x y"},
        {"<img alt=\"a cat\" src=\"http://track\"><img src=x><img alt=\" \">", "[a cat]"},
        {"a<script>if (a<b) \"</div>\"</script>b", "ab"},
        {"a<SCRIPT src=x>evil</ScRiPt >b", "ab"},
        {"a<!-- <p> -- > --->b", "ab"},
        {"a<script>open", "a"},
        {"<head>no end<p>shown", "no end\n\nshown"},
        {"1 < 2 <3 <", "1 < 2 <3 <"},
        {"a<p title=\"x>y\">b", "a\n\nb"},
        {"a<p title=\"x>b", "a\n\nb"},
        {"a</p", "a</p"},
    };
    for (const auto& row : rows) EXPECT_EQ(mail::TextOfHtml(row.html), row.text) << row.html;
}

TEST(TextOfEnriched, DropsTheMarks) {
    const struct {
        const char *enriched, *text;
    } rows[] = {{"<bold>a</bold>b", "ab"}, {"a << b", "a < b"}, {"a <open", "a <open"},
                {"<<<b>x", "<x"},          {"<", "<"},          {"a>b", "a>b"}};
    for (const auto& row : rows)
        EXPECT_EQ(mail::TextOfEnriched(row.enriched), row.text) << row.enriched;
}

}  // namespace
}  // namespace host
