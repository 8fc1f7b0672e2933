#include "tests/platform/files_contract.h"

#include <gmock/gmock.h>

#include <random>
#include <vector>

namespace test {

using platform::ErrorCode;
using platform::File;
using platform::OpenMode;
using platform::Share;
using platform::Status;
using ::testing::ElementsAre;
using ::testing::UnorderedElementsAre;

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(FilesContract);

std::set<std::string> FilesContract::Names(std::string_view pattern) {
    auto entries = m_files.List(m_store->Root(), pattern);
    EXPECT_TRUE(entries);
    std::set<std::string> names;
    if (entries) {
        for (const auto& entry : *entries) names.insert(entry.name + (entry.isFolder ? "/" : ""));
        EXPECT_EQ(names.size(), entries->size()) << "a name twice";
    }
    return names;
}

TEST_P(FilesContract, OpenModes) {
    struct Case {
        OpenMode mode;
        bool exists;
        std::optional<ErrorCode> error;
        std::string contentAfterWritingX;
    };
    const Case cases[] = {
        {OpenMode::kRead, true, {}, "old"},
        {OpenMode::kRead, false, ErrorCode::kNotFound, ""},
        {OpenMode::kReadWrite, true, {}, "Xld"},
        {OpenMode::kReadWrite, false, ErrorCode::kNotFound, ""},
        {OpenMode::kCreate, true, {}, "X"},
        {OpenMode::kCreate, false, {}, "X"},
        {OpenMode::kCreateNew, true, ErrorCode::kAlreadyExists, "old"},
        {OpenMode::kCreateNew, false, {}, "X"},
        {OpenMode::kReadWriteOrCreate, true, {}, "Xld"},
        {OpenMode::kReadWriteOrCreate, false, {}, "X"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(static_cast<int>(c.mode) * 10 + c.exists);
        (void)m_files.Delete(At("f"));
        if (c.exists) Put("f", "old");
        auto file = m_files.Open(At("f"), c.mode, Share::kNone);
        EXPECT_EQ(CodeOf(file), c.error);
        if (file) {
            const auto written = CodeOf((*file)->Write("X"));
            EXPECT_EQ(written.has_value(), c.mode == OpenMode::kRead);
            (*file).reset();
        }
        EXPECT_EQ(m_files.Exists(At("f")), c.exists || !c.error);
        if (m_files.Exists(At("f"))) {
            EXPECT_EQ(Content("f"), c.contentAfterWritingX);
        }
    }
}

TEST_P(FilesContract, WhatIsNoFileCannotBeOpened) {
    ASSERT_TRUE(m_files.CreateFolder(At("folder")));
    for (const auto mode : {OpenMode::kRead, OpenMode::kReadWrite, OpenMode::kCreate}) {
        EXPECT_EQ(CodeOf(m_files.Open(At("folder"), mode, Share::kNone)), ErrorCode::kAccessDenied);
        const std::string deep = At("none") + m_files.Separator() + "f";
        EXPECT_EQ(CodeOf(m_files.Open(deep, mode, Share::kNone)), ErrorCode::kNotFound);
        EXPECT_EQ(CodeOf(m_files.Open("", mode, Share::kNone)), ErrorCode::kNotFound);
    }
    EXPECT_THAT(Names(), ElementsAre("folder/"));
}

// Every pair of openings: the second is granted exactly if neither denies what the other does,
// and one that is refused changes nothing, not even when it would have emptied the file.
TEST_P(FilesContract, SharingModes) {
    constexpr OpenMode kModes[] = {OpenMode::kRead, OpenMode::kReadWrite, OpenMode::kCreate,
                                   OpenMode::kReadWriteOrCreate};
    constexpr Share kShares[] = {Share::kNone, Share::kRead, Share::kReadWrite};
    const auto denies = [](Share share, OpenMode other) {
        return share == Share::kNone || (share == Share::kRead && other != OpenMode::kRead);
    };
    for (const auto firstMode : kModes) {
        for (const auto firstShare : kShares) {
            for (const auto secondMode : kModes) {
                for (const auto secondShare : kShares) {
                    SCOPED_TRACE(::testing::Message()
                                 << int(firstMode) << int(firstShare) << " then " << int(secondMode)
                                 << int(secondShare));
                    Put("f", "");
                    auto first = m_files.Open(At("f"), firstMode, firstShare);
                    ASSERT_TRUE(first);
                    if (firstMode != OpenMode::kRead) {
                        ASSERT_TRUE((*first)->Write("kept"));
                    }
                    const bool excluded =
                        denies(firstShare, secondMode) || denies(secondShare, firstMode);
                    auto second = m_files.Open(At("f"), secondMode, secondShare);
                    EXPECT_EQ(CodeOf(second), excluded ? std::optional(ErrorCode::kSharingViolation)
                                                       : std::nullopt);
                    if (excluded && firstMode != OpenMode::kRead) {
                        auto size = (*first)->Size();
                        ASSERT_TRUE(size);
                        EXPECT_EQ(*size, 4u);
                    }
                    (*first).reset();
                    if (!second) {
                        auto again = m_files.Open(At("f"), secondMode, secondShare);
                        EXPECT_TRUE(again) << "not free after closing";
                    }
                }
            }
        }
    }
}

TEST_P(FilesContract, AnOpenFileStaysWhereItIs) {
    Put("open", "content");
    Put("other", "x");
    auto file = m_files.Open(At("open"), OpenMode::kRead, Share::kReadWrite);
    ASSERT_TRUE(file);
    EXPECT_EQ(CodeOf(m_files.Delete(At("open"))), ErrorCode::kSharingViolation);
    EXPECT_EQ(CodeOf(m_files.Move(At("open"), At("new"))), ErrorCode::kSharingViolation);
    EXPECT_EQ(CodeOf(m_files.Replace(At("other"), At("open"))), ErrorCode::kSharingViolation);
    EXPECT_EQ(Content("other"), "x");
    EXPECT_EQ(Content("open"), "content");
    ASSERT_TRUE((*file)->Close());
    EXPECT_TRUE(m_files.Delete(At("open")));
    EXPECT_THAT(Names(), ElementsAre("other"));
}

// Random operations on one file against a string.
TEST_P(FilesContract, ContentFollowsAModel) {
    std::mt19937 random(7);
    const auto below = [&](std::size_t limit) { return random() % limit; };
    auto file = m_files.Open(At("f"), OpenMode::kCreateNew, Share::kNone);
    ASSERT_TRUE(file);
    std::string model;
    std::size_t position = 0;
    for (int step = 0; step < 2000; ++step) {
        SCOPED_TRACE(step);
        switch (below(5)) {
            case 0: {
                const std::string bytes(below(300), static_cast<char>(random()));
                ASSERT_TRUE((*file)->Write(bytes));
                if (!bytes.empty() && position > model.size()) model.resize(position);
                model.replace(std::min(position, model.size()), bytes.size(), bytes);
                position += bytes.size();
                break;
            }
            case 1: {
                std::vector<char> buffer(below(500));
                auto count = (*file)->Read(buffer);
                ASSERT_TRUE(count);
                const std::string expected =
                    position < model.size() ? model.substr(position, buffer.size()) : "";
                ASSERT_EQ(std::string(buffer.data(), *count), expected);
                position += *count;
                break;
            }
            case 2: {
                const auto offset = static_cast<std::int64_t>(below(model.size() + 50));
                auto where = (*file)->Seek(offset, platform::SeekFrom::kBegin);
                ASSERT_TRUE(where);
                ASSERT_EQ(*where, static_cast<std::uint64_t>(offset));
                position = static_cast<std::size_t>(offset);
                break;
            }
            case 3: {
                const auto back = static_cast<std::int64_t>(below(model.size() + 1));
                auto where = (*file)->Seek(-back, platform::SeekFrom::kEnd);
                ASSERT_TRUE(where);
                position = model.size() - static_cast<std::size_t>(back);
                ASSERT_EQ(*where, position);
                ASSERT_TRUE((*file)->Seek(0, platform::SeekFrom::kCurrent));
                break;
            }
            case 4: {
                const auto size = below(model.size() + 100);
                ASSERT_TRUE((*file)->Truncate(size));
                model.resize(size, '\0');
                break;
            }
        }
        auto size = (*file)->Size();
        ASSERT_TRUE(size);
        ASSERT_EQ(*size, model.size());
    }
    EXPECT_FALSE((*file)->Seek(-1, platform::SeekFrom::kBegin));
    ASSERT_TRUE((*file)->Flush());
    ASSERT_TRUE((*file)->Close());
    EXPECT_EQ(Content("f"), model);
}

TEST_P(FilesContract, ReplaceTakesThePlaceOrLeavesBoth) {
    Put("new", "new content");
    EXPECT_EQ(CodeOf(m_files.Replace(At("new"), At("none"))), ErrorCode::kNotFound);
    Put("old", "old content");
    EXPECT_EQ(CodeOf(m_files.Replace(At("none"), At("old"))), ErrorCode::kNotFound);
    ASSERT_TRUE(m_files.CreateFolder(At("folder")));
    EXPECT_EQ(CodeOf(m_files.Replace(At("new"), At("folder"))), ErrorCode::kAccessDenied);
    EXPECT_EQ(Content("new"), "new content");
    EXPECT_EQ(Content("old"), "old content");
    ASSERT_TRUE(m_files.Replace(At("new"), At("old")));
    EXPECT_EQ(Content("old"), "new content");
    EXPECT_THAT(Names(), UnorderedElementsAre("folder/", "old"));
}

TEST_P(FilesContract, ReadOnlyFilesKeepTheirContent) {
    Put("fixed", "content");
    Put("new", "x");
    m_store->MakeReadOnly(At("fixed"));
    for (const auto mode :
         {OpenMode::kReadWrite, OpenMode::kCreate, OpenMode::kReadWriteOrCreate}) {
        EXPECT_EQ(CodeOf(m_files.Open(At("fixed"), mode, Share::kNone)), ErrorCode::kAccessDenied);
    }
    EXPECT_EQ(CodeOf(m_files.Replace(At("new"), At("fixed"))), ErrorCode::kAccessDenied);
    EXPECT_EQ(CodeOf(m_files.Copy(At("new"), At("fixed"))), ErrorCode::kAccessDenied);
    EXPECT_EQ(CodeOf(platform::WriteWhole(m_files, At("fixed"), "y")), ErrorCode::kAccessDenied);
    EXPECT_EQ(Content("fixed"), "content");
    EXPECT_EQ(Content("new"), "x");
    EXPECT_TRUE(m_files.Stat(At("fixed"))->isReadOnly);
    EXPECT_FALSE(m_files.Stat(At("new"))->isReadOnly);
    EXPECT_THAT(Names(), UnorderedElementsAre("fixed", "new"));
}

TEST_P(FilesContract, MoveNeverOverwrites) {
    Put("a", "1");
    Put("b", "2");
    EXPECT_EQ(CodeOf(m_files.Move(At("a"), At("b"))), ErrorCode::kAlreadyExists);
    EXPECT_EQ(CodeOf(m_files.Move(At("none"), At("c"))), ErrorCode::kNotFound);
    EXPECT_EQ(CodeOf(m_files.Move(At("a"), At("none") + m_files.Separator() + "c")),
              ErrorCode::kNotFound);
    EXPECT_EQ(Content("a") + Content("b"), "12");
    ASSERT_TRUE(m_files.Move(At("a"), At("c")));
    EXPECT_EQ(Content("c"), "1");
    EXPECT_THAT(Names(), UnorderedElementsAre("b", "c"));
}

TEST_P(FilesContract, CopyOverwrites) {
    std::string large(3'000'000, '\0');
    std::mt19937 random(3);
    for (char& byte : large) byte = static_cast<char>(random());
    Put("large", large);
    Put("target", "something longer than nothing");
    ASSERT_TRUE(m_files.Copy(At("large"), At("target")));
    EXPECT_TRUE(Content("target") == large);
    ASSERT_TRUE(m_files.Copy(At("large"), At("created")));
    EXPECT_TRUE(Content("created") == large);
    EXPECT_FALSE(m_files.Copy(At("large"), At("large")));
    EXPECT_TRUE(Content("large") == large);
    EXPECT_EQ(CodeOf(m_files.Copy(At("none"), At("target"))), ErrorCode::kNotFound);
    EXPECT_TRUE(Content("target") == large) << "emptied for a copy of nothing";
}

TEST_P(FilesContract, ListsByPattern) {
    for (const char* name : {"a.txt", "B.TXT", "ab.txt", "c.txtx", "d", "e.toc"}) Put(name, "");
    ASSERT_TRUE(m_files.CreateFolder(At("f.txt")));
    struct Case {
        const char* pattern;
        std::set<std::string> names;
    };
    const std::set<std::string> all{"a.txt", "B.TXT", "ab.txt", "c.txtx", "d", "e.toc", "f.txt/"};
    const Case cases[] = {
        {"*", all},
        {"*.*", all},
        {"*.TxT", {"a.txt", "B.TXT", "ab.txt", "f.txt/"}},
        {"?.txt", {"a.txt", "B.TXT", "f.txt/"}},
        {"a*", {"a.txt", "ab.txt"}},
        {"*b*", {"B.TXT", "ab.txt"}},
        {"D", {"d"}},
        {"a", {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.pattern);
        EXPECT_EQ(Names(c.pattern), c.names);
    }
    EXPECT_EQ(CodeOf(m_files.List(At("none"), "*")), ErrorCode::kNotFound);
    EXPECT_TRUE(CodeOf(m_files.List(At("d"), "*")));
}

TEST_P(FilesContract, Folders) {
    const std::string inner = std::string("folder") + m_files.Separator() + "inner";
    EXPECT_EQ(CodeOf(m_files.CreateFolder(At(inner))), ErrorCode::kNotFound);
    ASSERT_TRUE(m_files.CreateFolder(At("folder")));
    EXPECT_EQ(CodeOf(m_files.CreateFolder(At("folder"))), ErrorCode::kAlreadyExists);
    Put(inner, "x");
    EXPECT_EQ(CodeOf(m_files.CreateFolder(At(inner))), ErrorCode::kAlreadyExists);
    EXPECT_FALSE(m_files.RemoveFolder(At("folder")));
    EXPECT_FALSE(m_files.Delete(At("folder")));
    EXPECT_EQ(Content(inner), "x");
    EXPECT_TRUE(m_files.Stat(At("folder"))->isFolder);
    EXPECT_EQ(m_files.Stat(At("folder"))->size, 0u);
    ASSERT_TRUE(m_files.Delete(At(inner)));
    ASSERT_TRUE(m_files.RemoveFolder(At("folder")));
    EXPECT_EQ(CodeOf(m_files.Stat(At("folder"))), ErrorCode::kNotFound);
    EXPECT_EQ(CodeOf(m_files.Delete(At("folder"))), ErrorCode::kNotFound);
}

TEST_P(FilesContract, TempFilesAreNewEmptyAndNamedInTheUsualForm) {
    const std::string folder = m_store->Root();
    std::set<std::string> paths;
    for (int i = 0; i < 200; ++i) {
        auto path = m_files.CreateTempFile(folder, "abcdef");
        ASSERT_TRUE(path) << path.Error().Message();
        EXPECT_TRUE(paths.insert(*path).second) << *path;
        ASSERT_TRUE(path->starts_with(folder)) << *path;
        const std::string name = path->substr(folder.size());
        EXPECT_TRUE(name.starts_with("abc") && name.ends_with(".tmp") && name.size() > 7) << name;
        EXPECT_EQ(name.find_first_not_of("0123456789ABCDEFabcdef", 3), name.size() - 4) << name;
        auto info = m_files.Stat(*path);
        ASSERT_TRUE(info);
        EXPECT_EQ(info->size, 0u);
    }
    EXPECT_FALSE(m_files.CreateTempFile(At("none"), "abc"));
    auto temp = m_files.TempFolder();
    ASSERT_TRUE(temp) << temp.Error().Message();
    EXPECT_EQ(temp->back(), m_files.Separator());
    auto inTemp = m_files.CreateTempFile(*temp, "kv");
    ASSERT_TRUE(inTemp) << inTemp.Error().Message();
    EXPECT_TRUE(m_files.Delete(*inTemp));
}

TEST_P(FilesContract, NamesWithoutRegardToCase) {
    if (!m_store->IgnoresCase()) GTEST_SKIP() << "a file system with case";
    Put("NNdbase.txt", "1");
    EXPECT_EQ(Content("nnDBASE.TXT"), "1");
    Put("nndbase.TXT", "2");
    EXPECT_THAT(Names(), ElementsAre("NNdbase.txt"));
    EXPECT_EQ(CodeOf(m_files.Open(At("nndbase.txt"), OpenMode::kCreateNew, Share::kNone)),
              ErrorCode::kAlreadyExists);
    ASSERT_TRUE(m_files.Move(At("nndbase.txt"), At("NNDBASE.txt")));
    if (m_store->ShowsNewCase()) {
        EXPECT_THAT(Names(), ElementsAre("NNDBASE.txt"));
    }
    EXPECT_EQ(CodeOf(m_files.Open(At("a*b"), OpenMode::kCreate, Share::kNone)),
              ErrorCode::kInvalidArgument);
    EXPECT_TRUE(m_files.ShortPath(At("nndbase.txt")));
    EXPECT_EQ(CodeOf(m_files.ShortPath(At("none"))), ErrorCode::kNotFound);
    ASSERT_TRUE(m_files.Delete(At("nndbase.txt")));
    EXPECT_THAT(Names(), ElementsAre());
}

}  // namespace test
