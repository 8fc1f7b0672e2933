#pragma once

#include <string>
#include <vector>

#include "addressbook/eudora4.h"
#include "tests/frame/frame_fixture.h"

inline constexpr const char* kBookPath = "C:\\Eudora\\nndbase.txt";

using Texts = std::vector<std::string>;

// A machine in memory with one nickname file and the messages of the address book.
class BookTest : public FrameTest {
  protected:
    BookTest() {
        machine.files.MakeFolders("C:\\Eudora");
        LoadStrings(
            {{1, "cannot open %s"}, {13, "read error"}, {19, "disk full"}, {20, "no memory"}});
        util.csNicknamePath = kBookPath;
    }

    std::string Saved() const { return machine.files.Get(kBookPath).value_or("no file"); }

    // Opens a file of that content.
    void Load(CEudoraAB& book, std::string_view content) {
        machine.files.Put(kBookPath, content);
        book.UseUtil(&util);
        ASSERT_EQ(book.Open(kBookPath), RRC_OK);
    }
    std::string Resaved(std::string_view content) {
        CEudoraAB book;
        Load(book, content);
        EXPECT_EQ(book.SaveRecords(), RRC_OK);
        return Saved();
    }
};

inline void Edit(CEudoraAB& book, const char* id, ContactField field, const char* value) {
    ASSERT_EQ(book.FindRecord(id), RRC_OK) << id;
    book.SetRecordField(field, value);
    EXPECT_EQ(book.StoreRecord(), RRC_OK);
}

inline void Add(CEudoraAB& book, const char* nickname, const char* address) {
    ASSERT_EQ(book.NewRecord(), RRC_OK);
    book.SetRecordField(ContactField::kNickname, nickname);
    book.SetRecordField(ContactField::kEmail, address);
    EXPECT_EQ(book.StoreRecord(), RRC_OK);
}
