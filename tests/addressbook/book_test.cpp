#include <algorithm>

#include "addressbook/field_text.h"
#include "tests/addressbook/book_fixture.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/fault_sweep.h"
#include "tests/support/table.h"

using platform::testing::Fault;

namespace {

const std::string kName39(39, 'n');

Texts Keys(CEudoraAB& book) {
    Texts keys;
    for (auto r = book.FirstRecord(); r == RRC_OK; r = book.NextRecord()) {
        keys.push_back(book.CurrentKey().Str());
    }
    return keys;
}

// What stands where a random file seldom leads, and how each save writes it.
TEST_F(BookTest, WritesTheNormalFormOnceAndForAll) {
    for (const auto& [content, saved] : test::Rows<2>("normal forms")) {
        EXPECT_EQ(Resaved(content), saved) << content;
        EXPECT_EQ(Resaved(saved), saved);
    }
}

// Records that agree in their first eight, sixteen and more bytes, in every order.
TEST_F(BookTest, SortsLongCommonBeginnings) {
    std::string content;
    for (int i = 999; i >= 0; --i) {
        content += "alias person-with-a-long-name-" + std::to_string(i * 7 % 1000) + " x\n";
        content += "alias " + std::string(static_cast<std::size_t>(i % 39 + 1), 'p') + " x\n";
    }
    CEudoraAB book;
    Load(book, content);
    const auto keys = Keys(book);
    EXPECT_EQ(keys.size(), 1000U + 39U);
    EXPECT_TRUE(std::ranges::is_sorted(keys));
    for (const auto& key : keys) ASSERT_EQ(book.FindRecord(key), RRC_OK) << key;
    EXPECT_EQ(book.FindRecord("person-w"), RRC_NONE);
}

// The room is made for the records that are there, not for as many as a long tail could hold.
TEST_F(BookTest, TakesMemoryByTheRecords) {
    std::string content;
    for (int i = 1000; i < 5200; ++i) content += "alias b" + std::to_string(i) + " \n";
    content += "alias z " + std::string(1 << 23, 'x');
    CEudoraAB book;
    book.UseUtil(&util);
    machine.files.Put(kBookPath, content);
    const auto before = test::BytesRequested();
    ASSERT_EQ(book.Open(kBookPath), RRC_OK);
    EXPECT_LT(test::BytesRequested() - before, 1U << 20);
}

TEST_F(BookTest, WithoutAFreeNumberTheRecordIsDropped) {
    std::string content = "alias s x\nalias " + kName39 + " x\n";
    for (int i = 1; i <= 997; ++i) content += "alias s" + std::to_string(i) + " x\n";
    CEudoraAB book;
    Load(book, content);
    Add(book, "s", "last");
    EXPECT_EQ(book.CurrentKey(), "s998");
    book.NewRecord();
    book.SetRecordField(ContactField::kName, kName39 + "n");
    EXPECT_EQ(book.StoreRecord(), RRC_OK);
    EXPECT_EQ(book.CurrentKey().Str(), std::string(38, 'n') + "1");
    book.NewRecord();
    book.SetRecordField(ContactField::kNickname, "s");
    EXPECT_EQ(book.StoreRecord(), RRC_FAILED);
    EXPECT_EQ(Keys(book).size(), 1001U);
}

// The note line of a later duplicate may be about somebody else.
TEST_F(BookTest, RenamesNoOtherNickname) {
    CEudoraAB book;
    Load(book, "alias bo 1\nalias bo 2\nnote bobby x\n");
    Edit(book, "bo", ContactField::kNickname, "al");
    EXPECT_EQ(book.SaveRecords(), RRC_OK);
    EXPECT_EQ(Saved(), "alias al 1\r\nalias al 2\r\nnote bobby x");
}

TEST_F(BookTest, CutsNicknamesAtWholeCharacters) {
    using addressbook::CutNickname;
    std::string pairs;
    for (int i = 0; i < 30; ++i) pairs += "\x83\x5c";
    EXPECT_EQ(CutNickname(pairs, 932).size(), 38U);  // 39 would cut the twentieth in half
    EXPECT_EQ(CutNickname(pairs, 1252).size(), 27U);
    EXPECT_EQ(CutNickname("a" + pairs, 932).size(), 39U);
    EXPECT_EQ(CutNickname(std::string(26, 'x') + pairs, 932).size(), 28U);
}

// Of a file with a bad place the records before it are there, but never written over the whole.
TEST_F(BookTest, AFileIsReadUpToItsBadPlaceAndNeverWrittenBack) {
    std::string content;
    while (content.size() < 600000)
        content += "alias n" + std::to_string(content.size()) + " x\r\n";
    for (const std::size_t place : {0U, 5000U, 262144U, 599999U}) {
        CEudoraAB book;
        book.UseUtil(&util);
        machine.files.Put(kBookPath, content);
        machine.files.SetBadFrom(kBookPath, place);
        for (int opening = 0; opening < 2; ++opening) {
            EXPECT_EQ(book.Open(kBookPath), RRC_OK);
            EXPECT_EQ(DrainErrors(), Texts{"read error"});
        }
        const auto read = static_cast<std::ptrdiff_t>(place / 512 * 512);
        EXPECT_EQ(std::ssize(Keys(book)),
                  std::count(content.begin(), content.begin() + read, '\n'));
        EXPECT_EQ(book.SaveRecords(), RRC_FAILED);
        EXPECT_EQ(DrainErrors(), (Texts{std::string("cannot open ") + kBookPath, "read error"}));
        EXPECT_TRUE(Saved() == content);
    }
}

// Any operation of an opening that fails: a result, or a part of the records and a message.
TEST_F(BookTest, AnyFailureOfAnOpeningIsTold) {
    const auto play = [&](Fault fault, int n) {
        CEudoraAB book;
        book.UseUtil(&util);
        machine.files.Put(kBookPath, std::string(300000, '\n'));
        machine.faults.Arm(fault, n);
        const auto result = book.Open(kBookPath);
        const bool fired = machine.faults.Disarm();
        EXPECT_EQ(result != RRC_OK || !DrainErrors().empty(), fired);
        EXPECT_EQ(book.SaveRecords() != RRC_OK, fired);
        DrainErrors();
        return fired;
    };
    test::ForEveryFault(play, 4, {Fault::kFail});
}

}  // namespace
