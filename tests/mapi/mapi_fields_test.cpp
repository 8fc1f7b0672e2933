#include "tests/mapi/mapi_fixture.h"

namespace {

class MapiFieldsTest : public MapiFixture {
  protected:
    void Read(const ScriptedMail& mail) {
        library.mailbox = {mail};
        ASSERT_EQ(mapi.MoveFirst(), 1);
    }
    std::string Text(MailField field) { return mapi.MailText(field).value_or("(null)"); }
};

TEST_F(MapiFieldsTest, TheOriginatorsNameHoldsTheAddress) {
    const std::pair<ScriptedMail::Text, const char*> rows[] = {
        {"Name <a@b>", "a@b"}, {"", "(null)"}, {std::nullopt, "(null)"}};
    for (const auto& [name, address] : rows) {
        Read({.id = "A", .originator = name});
        EXPECT_EQ(Text(MailField::kFrom), address);
    }
}

// Against strtok itself, over all texts of up to seven of these characters.
TEST_F(MapiFieldsTest, CutsEveryTextAsStrtokCuts) {
    const auto cut = [](std::string text) -> std::optional<std::string> {
        const char* const outside = std::strtok(text.data(), "<");
        if (outside == nullptr) return std::nullopt;
        if (const char* const address = std::strtok(nullptr, ">")) return address;
        std::string whole = outside;
        const char* const address = std::strtok(whole.data(), ">");
        return address != nullptr ? std::optional<std::string>(address) : std::nullopt;
    };
    for (int length = 0, texts = 1; length <= 7; ++length, texts *= 4) {
        for (int number = 0; number < texts; ++number) {
            std::string text;
            for (int i = 0, rest = number; i < length; ++i, rest /= 4) text += "<>ab"[rest % 4];
            ASSERT_EQ(mapi::AddressOfName(text), cut(text)) << text;
        }
    }
}

TEST_F(MapiFieldsTest, JoinsTheRecipientsOfAClass) {
    struct Row {
        std::vector<ScriptedMail::Recipient> recipients;
        const char *to, *cc, *bcc;
    };
    const Row rows[] = {
        {{}, "(null)", "(null)", "(null)"},
        {{{1, "a@b"}, {2, "c@d"}, {1, "SMTP:e@f"}}, "a@b; e@f", "c@d", "(null)"},
        {{{3, "xSMTP:a"}, {3, "smtp:b"}, {3, "SMTP:SMTP:c"}},
         "(null)",
         "(null)",
         "xSMTP:a; smtp:b; SMTP:c"},
        {{{1, ""}}, "", "(null)", "(null)"},
        {{{1, "SMTP:"}, {1, "a"}}, "; a", "(null)", "(null)"},
        {{{1, {}}, {1, "a"}, {1, {}}}, "a", "(null)", "(null)"},
        {{{0, "a"}, {4, "b"}, {0xFFFFFFFF, "c"}}, "(null)", "(null)", "(null)"},
    };
    for (const Row& row : rows) {
        Read({.id = "A", .recipients = row.recipients});
        EXPECT_EQ(Text(MailField::kTo), row.to);
        EXPECT_EQ(Text(MailField::kCc), row.cc);
        EXPECT_EQ(Text(MailField::kBcc), row.bcc);
    }
}

TEST_F(MapiFieldsTest, WhatIsNotThereIsNothing) {
    for (const bool hasMessage : {false, true}) {
        if (hasMessage) Read({.id = "A"});
        for (int field = -1; field <= 12; ++field) {
            EXPECT_EQ(Text(static_cast<MailField>(field)), "(null)") << field;
        }
    }
    Read({.id = "A", .subject = ""});
    EXPECT_EQ(Text(MailField::kSubject), "");
}

}  // namespace
