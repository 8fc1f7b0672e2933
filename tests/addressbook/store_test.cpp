#include <string>

#include "addressbook/field_text.h"
#include "platform/kvutil/kvutil.h"
#include "tests/addressbook/book_fixture.h"

namespace {

class StoreTest : public BookTest {};

Texts Keys(CEudoraAB& book) {
    Texts keys;
    for (auto r = book.FirstRecord(); r == RRC_OK; r = book.NextRecord()) {
        keys.push_back(book.CurrentKey().Str());
    }
    return keys;
}

TEST_F(StoreTest, WithoutAFreeNumberTheRecordIsDropped) {
    std::string content = "alias s x\n";
    for (int i = 1; i <= 997; ++i) content += "alias s" + std::to_string(i) + " x\n";
    CEudoraAB book;
    Load(book, content);
    Add(book, "s", "last");
    EXPECT_EQ(book.CurrentKey(), "s998");
    book.NewRecord();
    book.SetRecordField(ContactField::kNickname, "s");
    EXPECT_EQ(book.StoreRecord(), RRC_FAILED);
    Add(book, "t", "goes on");
    EXPECT_EQ(Keys(book).size(), 1000U);
}

TEST_F(StoreTest, NicknameComesFromTheName) {
    CEudoraAB book;
    Load(book, "alias " + std::string(39, 'n') + " a\n");
    for (const auto& [name, nickname] :
         {std::pair{std::string(50, 'n'), std::string(38, 'n') + "1"},
          {" Smith, John,", "Smith  John"}}) {
        book.NewRecord();
        book.SetRecordField(ContactField::kName, name);
        EXPECT_EQ(book.StoreRecord(), RRC_OK);
        EXPECT_EQ(book.CurrentKey().Str(), nickname);
    }
    EXPECT_EQ(book.FindRecord("Smith  John"), RRC_OK);
    book.SetRecordField(ContactField::kName, "Jo");
    book.SetRecordField(ContactField::kNickname, "");
    EXPECT_EQ(book.StoreRecord(), RRC_OK);
    EXPECT_EQ(Keys(book).front(), "Jo");
}

TEST_F(StoreTest, RemovingMovesToTheEntryBehind) {
    CEudoraAB book;
    Load(book, "alias a 1\nalias b 2\nalias c 3\nalias d 4\n");
    Edit(book, "b", ContactField::kName, "changed");
    EXPECT_EQ(book.RemoveRecord("a"), RRC_OK);
    EXPECT_EQ(book.CurrentKey(), "a");
    EXPECT_EQ(book.RemoveRecord(), RRC_OK);
    EXPECT_EQ(book.NextRecord(), RRC_OK);
    EXPECT_EQ(book.CurrentKey(), "c");
    EXPECT_EQ(book.RemoveRecord("a"), RRC_FAILED);
    EXPECT_EQ(book.RemoveRecord("b"), RRC_OK);
    EXPECT_EQ(Keys(book), (Texts{"c", "d"}));
    book.NewRecord();
    EXPECT_EQ(book.RemoveRecord(), RRC_OK);
    EXPECT_EQ(Keys(book), (Texts{"c", "d"}));
    // Removing what was just stored, while the position is at the end.
    Add(book, "n", "x");
    EXPECT_EQ(book.RemoveRecord(), RRC_OK);
    EXPECT_EQ(Keys(book), (Texts{"c", "d"}));
}

TEST_F(StoreTest, EmptyValuesActByField) {
    CEudoraAB book;
    Load(book, "alias a 1,2\nnote a <fax:f><address:d><phone:p><name:n>o\n");
    ASSERT_EQ(book.FindRecord("a"), RRC_OK);
    for (const int field : {2, 3, 4, 5, 6, 7, 0, 8}) {
        EXPECT_EQ(book.SetRecordField(static_cast<ContactField>(field), ""), RRC_OK);
    }
    std::string fields;
    for (int i = 1; i <= 7; ++i) fields += Field(book, i) + "|";
    EXPECT_EQ(fields, "a|n|d|p|f||o|");
    book.SaveRecords();
    EXPECT_EQ(Saved(), "alias a ,2\r\nnote a <fax:f><address:d><phone:p><name:n>o");
}

TEST_F(StoreTest, MarkerCoversAllTextsAndTheNicknamesLength) {
    const auto marker = [&](const char* content) {
        CEudoraAB book;
        Load(book, content);
        EXPECT_EQ(book.FirstRecord(), RRC_OK);
        CString text("untouched");
        book.GetRecordChecksum(text);
        return text.Str();
    };
    std::string text =
        "nadpfo\x02"
        "12";
    unsigned sum = 0;
    ComputeCheckSum(reinterpret_cast<unsigned char*>(text.data()), static_cast<int>(text.size()),
                    sum, 1);
    const char* full = "alias ab 1,2\nnote ab <name:na><address:d><phone:p><fax:f>o\n";
    EXPECT_EQ(marker(full), std::to_string(static_cast<int>(sum)));
    EXPECT_EQ(marker("alias ab \n"), marker("alias xy \n"));
    EXPECT_NE(marker("alias ab \n"), marker("alias abc \n"));
    EXPECT_NE(marker("alias ab 1\n"), marker("alias ab 1,1\n"));
}

TEST(FieldText, CutsNicknamesAtWholeCharacters) {
    using addressbook::CutNickname;
    EXPECT_EQ(CutNickname(std::string(40, 'x'), 1252).size(), 27U);
    std::string pairs;
    for (int i = 0; i < 30; ++i) pairs += "\x83\x5c";
    EXPECT_EQ(CutNickname(pairs, 932).size(), 38U);  // 39 would cut the twentieth in half
    EXPECT_EQ(CutNickname(pairs, 1252).size(), 27U);
    EXPECT_EQ(CutNickname("a" + pairs, 932).size(), 39U);
    EXPECT_EQ(CutNickname(std::string(26, 'x') + pairs, 932).size(), 28U);
}

}  // namespace
