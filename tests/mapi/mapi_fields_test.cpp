#include "mapi/address_text.h"
#include "tests/mapi/mapi_fixture.h"

namespace {

class MapiFieldsTest : public MapiFixture {
  protected:
    void Read(const ScriptedMail& mail) {
        library.mailbox = {mail};
        ASSERT_EQ(mapi.MoveFirst(), 1);
    }
    // The raw text of a field, "(null)" if there is none; what the caller owns is deleted.
    std::string Text(int field) {
        void* data = this;
        EXPECT_EQ(mapi.GetMailField(static_cast<MailField>(field), data), 1);
        char* const text = static_cast<char*>(data);
        const std::string copy = text != nullptr ? text : "(null)";
        if ((field >= 2 && field <= 4) || field == 9 || field == 10) delete[] text;
        return copy;
    }
};

TEST_F(MapiFieldsTest, TheOriginatorsNameHoldsTheAddress) {
    const std::pair<ScriptedMail::Text, const char*> rows[] = {
        {"Name <a@b>", "a@b"}, {"", "(null)"}, {std::nullopt, "(null)"}};
    for (const auto& [name, address] : rows) {
        Read({.id = "A", .originator = name});
        for (int time = 0; time < 2; ++time) EXPECT_EQ(Text(1), address);
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
        EXPECT_EQ(Text(2), row.to);
        EXPECT_EQ(Text(3), row.cc);
        EXPECT_EQ(Text(4), row.bcc);
    }
}

TEST_F(MapiFieldsTest, HandsOutTheMessagesOwnTexts) {
    Read({.id = "0x0000000A",
          .subject = "S",
          .date = "2003/04/05 06:07",
          .note = "one\ntwo",
          .flags = 0x80000005});
    MapiMessage* message = nullptr;
    ASSERT_EQ(mapi.GetCurrentMessage(message), 1);
    void* data = nullptr;
    const auto is = [&](const char* field, const void* expected) {
        EXPECT_EQ(mapi.GetMailField(FieldOfId<MailField>(field), data), 1);
        EXPECT_EQ(data, expected) << field;
    };
    is("5", message->lpszSubject);
    is("6", message->lpszDateReceived);
    is("7x", message->lpszNoteText);
    is(" 8", message);
    is("11", mapi.MsgID());
    for (const char* unknown : {"0", "12", "-1", "", "x", "99999"}) is(unknown, nullptr);
    is(nullptr, nullptr);
    EXPECT_EQ(Text(9), "7");
    EXPECT_EQ(Text(10), "-2147483643") << "as a signed number";
    EXPECT_EQ(mapi.SetMailStatus(0x20001), 1);
    EXPECT_EQ(Text(10), "131073");
    EXPECT_EQ(mapi.GetMailStatus(), 0x20001);

    Read({.id = "A"});
    for (const int field : {1, 2, 3, 4, 5, 6, 7}) EXPECT_EQ(Text(field), "(null)") << field;
    EXPECT_EQ(Text(9), "0");
    EXPECT_EQ(Text(10), "0");
}

TEST_F(MapiFieldsTest, WithoutAMessageThereIsNothingToRead) {
    for (int field = 0; field <= 10; ++field) EXPECT_EQ(Text(field), "(null)") << field;
    EXPECT_EQ(mapi.SetMailStatus(1), 0);
    EXPECT_EQ(mapi.GetMailStatus(), -1);
    MapiMessage* message = nullptr;
    EXPECT_EQ(mapi.GetCurrentMessage(message), 0);
    mapi.DeleteCurrentAttachments();
}

}  // namespace
