#include "tests/platform/files_contract.h"

#include "platform/os/safe_write.h"

#include <gmock/gmock.h>

#include <random>
#include <tuple>
#include <vector>

namespace test {

using platform::ErrorCode;
using platform::OpenMode;
using platform::Share;
using ::testing::ElementsAre;

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(FilesContract);

std::set<std::string> FilesContract::Names(std::string_view pattern) {
    auto entries = m_files.List(m_store->Root(), pattern);
    EXPECT_TRUE(entries);
    std::set<std::string> names;
    for (const auto& entry : *entries) names.insert(entry.name + (entry.isFolder ? "/" : ""));
    EXPECT_EQ(names.size(), entries->size()) << "a name twice";
    return names;
}

TEST_P(FilesContract, OpenModes) {
    using Code = std::optional<ErrorCode>;
    constexpr auto kMissing = ErrorCode::kNotFound, kThere = ErrorCode::kAlreadyExists;
    // The mode, what comes of a file, what comes of none, and the content after writing an X.
    for (const auto& [mode, ifThere, ifMissing, content] :
         {std::tuple{OpenMode::kRead, Code(), Code(kMissing), "old"},
          {OpenMode::kReadWrite, {}, kMissing, "Xld"},
          {OpenMode::kCreateNew, kThere, {}, "old"},
          {OpenMode::kReadWriteOrCreate, {}, {}, "Xld"}}) {
        for (const bool exists : {true, false}) {
            SCOPED_TRACE(static_cast<int>(mode) * 10 + exists);
            (void)m_files.Delete(At("f"));
            if (exists) Put("f", "old");
            auto file = m_files.Open(At("f"), mode, Share::kNone);
            const auto code = exists ? ifThere : ifMissing;
            EXPECT_EQ(CodeOf(file), code);
            if (file) {
                EXPECT_EQ((*file)->Write("X").HasValue(), mode != OpenMode::kRead);
                (*file).reset();
            }
            EXPECT_EQ(m_files.Exists(At("f")), exists || !code);
            if (exists || !code) {
                EXPECT_EQ(Content("f"), exists ? content : "X");
            }
        }
    }
}

TEST_P(FilesContract, WhatIsNoFileCannotBeOpened) {
    ASSERT_TRUE(m_files.CreateFolder(At("folder")));
    const std::string deep = At("none") + m_files.Separator() + "f";
    for (const auto mode : {OpenMode::kRead, OpenMode::kReadWrite, OpenMode::kReadWriteOrCreate}) {
        EXPECT_EQ(CodeOf(m_files.Open(At("folder"), mode, Share::kNone)), ErrorCode::kNotRegular);
        EXPECT_EQ(CodeOf(m_files.Open(deep, mode, Share::kNone)), ErrorCode::kNotFound);
        EXPECT_EQ(CodeOf(m_files.Open("", mode, Share::kNone)), ErrorCode::kNotFound);
    }
    EXPECT_THAT(Names(), ElementsAre("folder/"));
}

// Every pair of openings: the second is granted exactly if neither denies what the other does.
TEST_P(FilesContract, SharingModes) {
    struct Opening {
        OpenMode mode;
        Share share;
        bool Denies(OpenMode other) const {
            return share == Share::kNone || (share == Share::kRead && other != OpenMode::kRead);
        }
    };
    std::vector<Opening> openings;
    for (const auto mode : {OpenMode::kRead, OpenMode::kReadWrite, OpenMode::kReadWriteOrCreate}) {
        for (const auto share : {Share::kNone, Share::kRead, Share::kReadWrite}) {
            openings.push_back({mode, share});
        }
    }
    for (std::size_t i = 0; i < openings.size() * openings.size(); ++i) {
        SCOPED_TRACE(i);
        const Opening &a = openings[i / openings.size()], &b = openings[i % openings.size()];
        Put("f", "");
        auto first = m_files.Open(At("f"), a.mode, a.share);
        ASSERT_TRUE(first);
        if (a.mode != OpenMode::kRead) {
            ASSERT_TRUE((*first)->Write("kept"));
        }
        const bool excluded = a.Denies(b.mode) || b.Denies(a.mode);
        auto second = m_files.Open(At("f"), b.mode, b.share);
        EXPECT_EQ(CodeOf(second),
                  excluded ? std::optional(ErrorCode::kSharingViolation) : std::nullopt);
        if (!excluded) continue;
        EXPECT_EQ(*(*first)->Size(), a.mode != OpenMode::kRead ? 4u : 0u);
        (*first).reset();
        EXPECT_TRUE(m_files.Open(At("f"), b.mode, b.share)) << "not free after closing";
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
    EXPECT_EQ(Content("other") + Content("open"), "xcontent");
    ASSERT_TRUE((*file)->Close());
    EXPECT_TRUE(m_files.Delete(At("open")));
    EXPECT_THAT(Names(), ElementsAre("other"));
}

// Random operations on one file against a string.
TEST_P(FilesContract, ContentFollowsAModel) {
    std::mt19937 random(7);
    auto opened = m_files.Open(At("f"), OpenMode::kCreateNew, Share::kNone);
    ASSERT_TRUE(opened);
    platform::File& file = **opened;
    std::string model;
    std::size_t position = 0;
    for (int step = 0; step < 2000; ++step) {
        SCOPED_TRACE(step);
        const std::size_t size = random() % 300, somewhere = random() % (model.size() + 50);
        switch (random() % 6) {
            case 0:
                ASSERT_TRUE(file.Write(std::string(size, 'x')));
                if (size > 0 && position > model.size()) model.resize(position);
                model.replace(std::min(position, model.size()), size, std::string(size, 'x'));
                position += size;
                break;
            case 1:
            case 2: {
                const bool isAtPlace = random() % 2 != 0;
                if (isAtPlace) position = somewhere;
                std::vector<char> buffer(size);
                const auto count = isAtPlace ? file.ReadAt(somewhere, buffer) : file.Read(buffer);
                ASSERT_TRUE(count);
                ASSERT_EQ(std::string(buffer.data(), *count),
                          position < model.size() ? model.substr(position, size) : "");
                position += *count;
                if (!isAtPlace) break;
                [[fallthrough]];  // since the position is anywhere now
            }
            case 3:
                position = somewhere;
                ASSERT_EQ(
                    *file.Seek(static_cast<std::int64_t>(position), platform::SeekFrom::kBegin),
                    position);
                break;
            case 4:
                position = std::min(somewhere, model.size());
                ASSERT_EQ(*file.Seek(static_cast<std::int64_t>(position) -
                                         static_cast<std::int64_t>(model.size()),
                                     platform::SeekFrom::kEnd),
                          position);
                ASSERT_EQ(*file.Seek(0, platform::SeekFrom::kCurrent), position);
                break;
            default:
                ASSERT_TRUE(file.Truncate(somewhere));
                model.resize(somewhere, '\0');
        }
        ASSERT_EQ(*file.Size(), model.size());
    }
    EXPECT_FALSE(file.Seek(-1, platform::SeekFrom::kBegin));
    char byte;
    EXPECT_FALSE(file.ReadAt(~std::uint64_t{0}, {&byte, 1}).ValueOr(0)) << "far behind the end";
    ASSERT_TRUE(file.Flush());
    ASSERT_TRUE(file.Close());
    EXPECT_EQ(Content("f"), model);
}

TEST_P(FilesContract, ReplaceTakesThePlaceOrLeavesBoth) {
    Put("new", "new content");
    EXPECT_EQ(CodeOf(m_files.Replace(At("new"), At("none"))), ErrorCode::kNotFound);
    Put("old", "old content");
    EXPECT_EQ(CodeOf(m_files.Replace(At("none"), At("old"))), ErrorCode::kNotFound);
    ASSERT_TRUE(m_files.CreateFolder(At("folder")));
    EXPECT_EQ(CodeOf(m_files.Replace(At("new"), At("folder"))), ErrorCode::kNotRegular);
    EXPECT_EQ(Content("new") + Content("old"), "new contentold content");
    ASSERT_TRUE(m_files.Replace(At("new"), At("old")));
    EXPECT_EQ(Content("old"), "new content");
    EXPECT_THAT(Names(), ElementsAre("folder/", "old"));
}

TEST_P(FilesContract, ReadOnlyFilesKeepTheirContent) {
    Put("fixed", "content");
    Put("new", "x");
    m_store->MakeReadOnly(At("fixed"));
    for (const auto mode : {OpenMode::kReadWrite, OpenMode::kReadWriteOrCreate}) {
        EXPECT_EQ(CodeOf(m_files.Open(At("fixed"), mode, Share::kNone)), ErrorCode::kAccessDenied);
    }
    EXPECT_EQ(CodeOf(m_files.Replace(At("new"), At("fixed"))), ErrorCode::kAccessDenied);
    EXPECT_EQ(CodeOf(platform::CopyInto(m_files, At("new"), At("fixed"))),
              ErrorCode::kAccessDenied);
    EXPECT_EQ(CodeOf(platform::WriteWhole(m_files, At("fixed"), "y")), ErrorCode::kAccessDenied);
    EXPECT_EQ(Content("fixed") + Content("new"), "contentx");
    EXPECT_TRUE(m_files.Stat(At("fixed"))->isReadOnly);
    EXPECT_FALSE(m_files.Stat(At("new"))->isReadOnly);
    EXPECT_THAT(Names(), ElementsAre("fixed", "new"));
    EXPECT_TRUE(m_files.DeleteEvenReadOnly(At("fixed")));
    EXPECT_THAT(Names(), ElementsAre("new"));
}

TEST_P(FilesContract, MoveAndCopyNeverOverwriteAndCopyIntoDoes) {
    std::string large(3'000'000, '\0');
    std::mt19937 random(3);
    for (char& byte : large) byte = static_cast<char>(random());
    Put("a", large);
    Put("b", "2");
    EXPECT_EQ(CodeOf(m_files.Move(At("a"), At("b"))), ErrorCode::kAlreadyExists);
    EXPECT_EQ(CodeOf(m_files.Move(At("none"), At("c"))), ErrorCode::kNotFound);
    EXPECT_EQ(CodeOf(m_files.Move(At("a"), At("none") + m_files.Separator() + "c")),
              ErrorCode::kNotFound);
    EXPECT_EQ(Content("b"), "2");
    ASSERT_TRUE(m_files.Move(At("a"), At("c")));
    EXPECT_EQ(CodeOf(m_files.Copy(At("c"), At("b"))), ErrorCode::kAlreadyExists);
    EXPECT_EQ(CodeOf(m_files.Copy(At("none"), At("new"))), ErrorCode::kNotFound);
    EXPECT_EQ(Content("b"), "2");
    ASSERT_TRUE(m_files.Copy(At("c"), At("new")));
    ASSERT_TRUE(platform::CopyInto(m_files, At("c"), At("b")));
    EXPECT_TRUE(Content("new") == large);
    EXPECT_FALSE(platform::CopyInto(m_files, At("c"), At("c")));
    EXPECT_EQ(CodeOf(platform::CopyInto(m_files, At("none"), At("b"))), ErrorCode::kNotFound);
    EXPECT_TRUE(Content("c") == large && Content("b") == large) << "emptied for a copy of nothing";
    EXPECT_THAT(Names(), ElementsAre("b", "c", "new"));
}

TEST_P(FilesContract, ListsByPattern) {
    for (const char* name : {"a.txt", "B.TXT", "ab.txt", "c.txtx", "d", "e.toc"}) Put(name, "");
    ASSERT_TRUE(m_files.CreateFolder(At("f.txt")));
    using Set = std::set<std::string>;
    for (const auto& [pattern, names] :
         {std::pair{"*", Set{"a.txt", "B.TXT", "ab.txt", "c.txtx", "d", "e.toc", "f.txt/"}},
          {"*.TxT", {"a.txt", "B.TXT", "ab.txt", "f.txt/"}},
          {"?.txt", {"a.txt", "B.TXT", "f.txt/"}},
          {"a*", {"a.txt", "ab.txt"}},
          {"*b*", {"B.TXT", "ab.txt"}},
          {"D", {"d"}},
          {"a", {}}}) {
        EXPECT_EQ(Names(pattern), names) << pattern;
    }
    EXPECT_EQ(Names("*.*"), Names("*"));
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

TEST_P(FilesContract, PlacesAreTold) {
    const auto first = m_files.CreateTempFolder(m_store->Root(), "kv-");
    const auto second = m_files.CreateTempFolder(m_store->Root(), "kv-");
    ASSERT_TRUE(first && second);
    EXPECT_NE(*first, *second);
    const std::string file = *first + m_files.Separator() + "f";
    EXPECT_TRUE(m_files.IsFree(file));
    ASSERT_TRUE(platform::WriteWhole(m_files, file, "x"));
    for (const auto& [path, folder, lies] : {std::tuple{file, *first, true},
                                             {file, m_store->Root(), true},
                                             {file, *second, false},
                                             {*first, *first, false},
                                             {*first + "2", *first, false}}) {
        EXPECT_EQ(platform::LiesIn(m_files, path, folder), lies) << path << " in " << folder;
    }
    EXPECT_FALSE(m_files.IsFree(file) || m_files.IsFree(*first));
    EXPECT_FALSE(m_files.CreateTempFolder(At("none"), "kv-"));
}

TEST_P(FilesContract, TempFilesAreNewEmptyAndNamedInTheUsualForm) {
    const auto temp = m_files.TempFolder();
    ASSERT_TRUE(temp) << temp.Error().Message();
    EXPECT_EQ(temp->back(), m_files.Separator());
    std::set<std::string> paths;
    for (int i = 0; i < 100; ++i) {
        const std::string folder = i > 0 ? m_store->Root() : *temp;
        auto path = m_files.CreateTempFile(folder, "abcdef");
        ASSERT_TRUE(path) << path.Error().Message();
        EXPECT_TRUE(paths.insert(*path).second) << *path;
        ASSERT_TRUE(path->starts_with(folder)) << *path;
        const std::string name = path->substr(folder.size());
        EXPECT_TRUE(name.starts_with("abc") && name.ends_with(".tmp") && name.size() > 7) << name;
        EXPECT_EQ(name.find_first_not_of("0123456789ABCDEFabcdef", 3), name.size() - 4) << name;
        EXPECT_EQ(m_files.Stat(*path)->size, 0u);
        EXPECT_TRUE(i > 0 || m_files.Delete(*path));
    }
    EXPECT_FALSE(m_files.CreateTempFile(At("none"), "abc"));
}

TEST_P(FilesContract, CaseOfNames) {
    const bool ignoresCase = m_files.Separator() == '\\';
    Put("NNdbase.txt", "1");
    EXPECT_EQ(m_files.Exists(At("nndbase.TXT")), ignoresCase);
    EXPECT_EQ(m_files.ShortPath(At("nnDBASE.txt")).HasValue(), ignoresCase);
    EXPECT_EQ(m_files.Open(At("nndbase.TXT"), OpenMode::kCreateNew, Share::kNone).HasValue(),
              !ignoresCase);
    Put("nndbase.TXT", "2");
    EXPECT_EQ(Content("NNdbase.txt"), ignoresCase ? "2" : "1");
    EXPECT_EQ(Names().size(), ignoresCase ? 1u : 2u);
    ASSERT_TRUE(m_files.Move(At("nndbase.TXT"), At("NNDBASE.txt")));
    EXPECT_EQ(Content("NNDBASE.txt"), "2");
    ASSERT_TRUE(m_files.Delete(At("NNDBASE.txt")));
    EXPECT_EQ(Names().size(), ignoresCase ? 0u : 1u);
    EXPECT_EQ(CodeOf(m_files.ShortPath(At("none"))), ErrorCode::kNotFound);
    EXPECT_EQ(CodeOf(m_files.Open(At("a*b"), OpenMode::kCreateNew, Share::kNone)),
              ignoresCase ? std::optional(ErrorCode::kInvalidArgument) : std::nullopt);
}

}  // namespace test
