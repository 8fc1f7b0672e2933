#include "text/mail_view.h"

#include <gtest/gtest.h>

namespace test {

TEST(MailView, TakesHeaderApart) {
    const text::MailView mail(
        "From ???@??"
        "? Wed Jan 02 02:03:55 1980\r\n"
        " stray\r\nto: a@b.c,\r\n\td@e.f\r\nno field here\r\n still: none\r\nTO : g@h.i\r\nFrom\n "
        ": x\n"
        "Subject:  one\r\n  two \r\n\r\nFrom: in the body\r\r\n\nlast");
    EXPECT_EQ(mail.Separator(),
              "From ???@??"
              "? Wed Jan 02 02:03:55 1980");
    EXPECT_EQ(mail.AllFields("To"), "a@b.c, d@e.f, g@h.i");
    EXPECT_EQ(mail.Field("Subject"), "one two");
    EXPECT_EQ(mail.Field("From"), std::nullopt);
    EXPECT_EQ(mail.Body(), "From: in the body\r\r\n\nlast");
    EXPECT_FALSE(text::MailView("Subject: x\r\n").HasBody());
    EXPECT_EQ(text::MailView("\r\nbody").Body(), "body");
    EXPECT_EQ(text::MailView("From x").Field("From"), std::nullopt);
    EXPECT_EQ(text::MailView("a:\n\n").Field("A"), "");
}

}  // namespace test
