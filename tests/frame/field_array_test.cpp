#include <gtest/gtest.h>

#include "frame/field.h"

namespace {

CREudoraField Named(const char* id, const char* name) {
    CREudoraField field;
    field.Set(id, 1, 2, name, kFieldText, 3, false);
    return field;
}

TEST(FieldArrayTest, LookUpIsExactAndTheLatestOfAnIdCounts) {
    CREudoraFieldArray fields;
    EXPECT_EQ(fields.Add(Named("1", "a")), 0);
    EXPECT_EQ(fields.Add(Named("x", "b")), 1);
    EXPECT_EQ(fields.Add(Named("1", "c")), 2);
    EXPECT_EQ(fields.GetCount(), 3);
    EXPECT_EQ(fields.Lookup("1"), 2);
    EXPECT_EQ(fields.GetAt(0).m_csDefaultName.Str(), "a");
    for (const char* unknown : {"X", "01", "", "1 ", static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(fields.Lookup(unknown), -1);
    }
    std::string bytes;
    CArchive out(bytes);
    fields.Serialize(out);
    CREudoraFieldArray loaded;
    loaded.Add(Named("old", ""));
    CArchive in{std::string_view(bytes)};
    loaded.Serialize(in);
    EXPECT_EQ(loaded.GetCount(), 3);
    EXPECT_EQ(loaded.Lookup("1"), 2);
    EXPECT_EQ(loaded.Lookup("old"), -1);
    loaded.RemoveAll();
    EXPECT_EQ(loaded.Lookup("1"), -1);
    EXPECT_EQ(loaded.GetCount(), 0);
}

}  // namespace
