#include "tests/platform/files_contract.h"

#include <gmock/gmock.h>

#include <random>
#include <vector>

#include "platform/os/safe_write.h"
#include "platform/testing/memory_files.h"

namespace test {

using platform::ErrorCode;
using platform::OpenMode;
using platform::SeekFrom;
using platform::Share;
using ::testing::ElementsAre;

namespace {

class MemoryStore : public FilesStore {
  public:
    MemoryStore() { m_files.MakeFolders("C:\\work"); }
    platform::Files& Get() override { return m_files; }
    std::string Root() override { return "C:\\work\\"; }
    void MakeReadOnly(const std::string& path) override { m_files.SetReadOnly(path); }

  private:
    platform::testing::MemoryFiles m_files;
};

// Files whose paths are the machine's own.
class NativeStore : public FilesStore {
  public:
    platform::Files& Get() override { return platform::NativeFiles(); }
    std::string Root() override { return m_folder.Path().string() + Get().Separator(); }

  private:
    TempFolder m_folder;
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Memory, FilesContract, ::testing::Values(&MakeStore<MemoryStore>));
INSTANTIATE_TEST_SUITE_P(Native, FilesContract, ::testing::Values(&MakeStore<NativeStore>));

std::set<std::string> FilesContract::Names(std::string_view pattern) {
    const auto entries = m_files.List(m_store->Root(), pattern);
    EXPECT_TRUE(entries);
    std::set<std::string> names;
    for (const auto& entry : *entries) names.insert(entry.name + (entry.isFolder ? "/" : ""));
    EXPECT_EQ(names.size(), entries->size()) << "a name twice";
    return names;
}

TEST_P(FilesContract, OpenModes) {
    const std::string deep = At("none") + m_files.Separator() + "f";
    ASSERT_TRUE(m_files.CreateFolder(At("folder")));
    for (const auto mode : {OpenMode::kRead, OpenMode::kReadWrite, OpenMode::kCreateNew,
                            OpenMode::kReadWriteOrCreate}) {
        for (const bool exists : {true, false}) {
            SCOPED_TRACE(static_cast<int>(mode) * 10 + exists);
            (void)m_files.Delete(At("f"));
            if (exists) Put("f", "old");
            const bool mayMake = mode >= OpenMode::kCreateNew;
            const auto code = exists && mode == OpenMode::kCreateNew ? ErrorCode::kAlreadyExists
                              : !exists && !mayMake                  ? ErrorCode::kNotFound
                                                                     : std::optional<ErrorCode>();
            auto file = m_files.Open(At("f"), mode, Share::kNone);
            EXPECT_EQ(CodeOf(file), code);
            if (file) {
                EXPECT_EQ((*file)->Write("X").HasValue(), mode != OpenMode::kRead);
                (*file).reset();
            }
            const char* const kept = code || mode == OpenMode::kRead ? "old" : "Xld";
            EXPECT_EQ(m_files.Exists(At("f")) ? Content("f") : "", exists ? kept : code ? "" : "X");
        }
        EXPECT_EQ(CodeOf(m_files.Open(deep, mode, Share::kNone)), ErrorCode::kNotFound);
        EXPECT_EQ(CodeOf(m_files.Open("", mode, Share::kNone)), ErrorCode::kNotFound);
        if (mode == OpenMode::kCreateNew) continue;
        EXPECT_EQ(CodeOf(m_files.Open(At("folder"), mode, Share::kNone)), ErrorCode::kNotRegular);
    }
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
    Put("f", "kept");
    Put("other", "x");
    for (const Opening& a : openings) {
        for (const Opening& b : openings) {
            auto first = m_files.Open(At("f"), a.mode, a.share);
            ASSERT_TRUE(first);
            const bool excluded = a.Denies(b.mode) || b.Denies(a.mode);
            EXPECT_EQ(CodeOf(m_files.Open(At("f"), b.mode, b.share)),
                      excluded ? std::optional(ErrorCode::kSharingViolation) : std::nullopt);
            for (const auto& status : {m_files.Delete(At("f")), m_files.Move(At("f"), At("new")),
                                       m_files.Replace(At("other"), At("f"))}) {
                EXPECT_EQ(CodeOf(status), ErrorCode::kSharingViolation);
            }
            (*first).reset();
            EXPECT_TRUE(m_files.Open(At("f"), b.mode, b.share)) << "not free after closing";
        }
    }
    EXPECT_EQ(Content("f"), "kept");
}

// Random operations on one file against a string.
TEST_P(FilesContract, ContentFollowsAModel) {
    std::mt19937 random(7);
    auto opened = m_files.Open(At("f"), OpenMode::kCreateNew, Share::kNone);
    ASSERT_TRUE(opened);
    platform::File& file = **opened;
    std::string model;
    const auto seek = [&](std::size_t place, SeekFrom from, std::size_t base) {
        const auto offset = static_cast<std::int64_t>(place) - static_cast<std::int64_t>(base);
        EXPECT_EQ(*file.Seek(offset, from), place);
        return place;
    };
    std::size_t position = 0;
    for (int step = 0; step < 2000 && !HasFailure(); ++step) {
        SCOPED_TRACE(step);
        const std::size_t size = random() % 300, somewhere = random() % (model.size() + 50);
        std::vector<char> buffer(size);
        const auto expected = [&](std::size_t at) {
            return at < model.size() ? model.substr(at, size) : "";
        };
        switch (random() % 6) {
            case 0:
                ASSERT_TRUE(file.Write(std::string(size, 'x')));
                if (size > 0 && position > model.size()) model.resize(position);
                model.replace(std::min(position, model.size()), size, std::string(size, 'x'));
                position += size;
                break;
            case 1: {
                const auto count = file.Read(buffer);
                EXPECT_EQ(std::string(buffer.data(), *count), expected(position));
                position += *count;
                break;
            }
            case 2: {
                const auto count = file.ReadAt(somewhere, buffer);
                EXPECT_EQ(std::string(buffer.data(), *count), expected(somewhere));
                [[fallthrough]];  // since the position is anywhere now
            }
            case 3:
                position = seek(somewhere, SeekFrom::kBegin, 0);
                break;
            case 4:
                position = seek(somewhere, SeekFrom::kEnd, model.size());
                position = seek(position / 2, SeekFrom::kCurrent, position);
                break;
            default:
                ASSERT_TRUE(file.Truncate(somewhere));
                model.resize(somewhere, '\0');
        }
        EXPECT_EQ(*file.Size(), model.size());
    }
    EXPECT_FALSE(file.Seek(-1, SeekFrom::kBegin));
    char byte;
    EXPECT_FALSE(file.ReadAt(~std::uint64_t{0}, {&byte, 1}).ValueOr(0)) << "far behind the end";
    ASSERT_TRUE(file.Flush() && file.Close());
    EXPECT_EQ(Content("f"), model);
}

TEST_P(FilesContract, ReadOnlyFilesKeepTheirContent) {
    Put("fixed", "content");
    Put("new", "x");
    m_store->MakeReadOnly(At("fixed"));
    for (const auto mode : {OpenMode::kReadWrite, OpenMode::kReadWriteOrCreate}) {
        EXPECT_EQ(CodeOf(m_files.Open(At("fixed"), mode, Share::kNone)), ErrorCode::kAccessDenied);
    }
    for (const auto& status : {m_files.Replace(At("new"), At("fixed")),
                               platform::CopyInto(m_files, At("new"), At("fixed")),
                               platform::WriteWhole(m_files, At("fixed"), "y")}) {
        EXPECT_EQ(CodeOf(status), ErrorCode::kAccessDenied);
    }
    EXPECT_EQ(Content("fixed") + Content("new"), "contentx");
    EXPECT_TRUE(m_files.Stat(At("fixed"))->isReadOnly && !m_files.Stat(At("new"))->isReadOnly);
    EXPECT_TRUE(m_files.DeleteEvenReadOnly(At("fixed")));
    EXPECT_THAT(Names(), ElementsAre("new"));
}

TEST_P(FilesContract, OnlyReplaceAndCopyIntoOverwrite) {
    std::string large(3'000'000, '\0');
    std::mt19937 random(3);
    for (char& byte : large) byte = static_cast<char>(random());
    Put("a", large);
    Put("b", "2");
    ASSERT_TRUE(m_files.CreateFolder(At("folder")));
    const std::string deep = At("none") + m_files.Separator() + "c";
    for (const auto& [status, code] :
         {std::pair{m_files.Move(At("a"), At("b")), ErrorCode::kAlreadyExists},
          {m_files.Copy(At("a"), At("b")), ErrorCode::kAlreadyExists},
          {m_files.Move(At("none"), At("c")), ErrorCode::kNotFound},
          {m_files.Copy(At("none"), At("c")), ErrorCode::kNotFound},
          {m_files.Replace(At("none"), At("b")), ErrorCode::kNotFound},
          {m_files.Replace(At("a"), At("none")), ErrorCode::kNotFound},
          {m_files.Replace(At("a"), At("folder")), ErrorCode::kNotRegular},
          {m_files.Move(At("a"), deep), ErrorCode::kNotFound},
          {platform::CopyInto(m_files, At("none"), At("b")), ErrorCode::kNotFound},
          {platform::CopyInto(m_files, At("a"), At("a")), ErrorCode::kSharingViolation}}) {
        EXPECT_EQ(CodeOf(status), code);
    }
    EXPECT_TRUE(Content("a") == large && Content("b") == "2");
    ASSERT_TRUE(m_files.Copy(At("a"), At("c")) && platform::CopyInto(m_files, At("a"), At("b")));
    EXPECT_TRUE(Content("b") == large && Content("c") == large);
    Put("b", "2");
    ASSERT_TRUE(m_files.Replace(At("b"), At("c")) && m_files.Move(At("a"), At("d")));
    EXPECT_TRUE(Content("c") == "2" && Content("d") == large);
    EXPECT_THAT(Names(), ElementsAre("c", "d", "folder/"));
}

TEST_P(FilesContract, ListsByPattern) {
    for (const char* name : {"a.txt", "B.TXT", "ab.txt", "c.txtx", "d"}) Put(name, "");
    ASSERT_TRUE(m_files.CreateFolder(At("f.txt")));
    using Set = std::set<std::string>;
    for (const auto& [pattern, names] :
         {std::pair{"*.*", Set{"a.txt", "B.TXT", "ab.txt", "c.txtx", "d", "f.txt/"}},
          {"*.TxT", {"a.txt", "B.TXT", "ab.txt", "f.txt/"}},
          {"?.txt", {"a.txt", "B.TXT", "f.txt/"}},
          {"*b*", {"B.TXT", "ab.txt"}},
          {"D", {"d"}},
          {"a", {}}}) {
        EXPECT_EQ(Names(pattern), names) << pattern;
    }
    EXPECT_EQ(CodeOf(m_files.List(At("none"), "*")), ErrorCode::kNotFound);
    EXPECT_TRUE(CodeOf(m_files.List(At("d"), "*")));
}

TEST_P(FilesContract, FoldersAndPlacesOfTheirOwn) {
    EXPECT_EQ(CodeOf(m_files.CreateFolder(At("none") + m_files.Separator() + "x")),
              ErrorCode::kNotFound);
    const auto first = m_files.CreateTempFolder(m_store->Root(), "kv-");
    const auto second = m_files.CreateTempFolder(m_store->Root(), "kv-");
    ASSERT_TRUE(first && second);
    const std::string file = *first + m_files.Separator() + "f";
    EXPECT_TRUE(m_files.IsFree(file));
    ASSERT_TRUE(platform::WriteWhole(m_files, file, "x"));
    for (const auto& path : {*first, file}) {
        EXPECT_EQ(CodeOf(m_files.CreateFolder(path)), ErrorCode::kAlreadyExists);
        EXPECT_FALSE(m_files.IsFree(path));
    }
    EXPECT_TRUE(platform::LiesIn(m_files, file, *first));
    EXPECT_FALSE(platform::LiesIn(m_files, file, *second) ||
                 platform::LiesIn(m_files, *first, *first));
    EXPECT_FALSE(m_files.RemoveFolder(*first) || m_files.Delete(*first));
    EXPECT_TRUE(m_files.Stat(*first)->isFolder && m_files.Stat(*first)->size == 0);
    ASSERT_TRUE(m_files.Delete(file) && m_files.RemoveFolder(*first));
    EXPECT_EQ(CodeOf(m_files.Stat(*first)), ErrorCode::kNotFound);
    EXPECT_FALSE(m_files.CreateTempFolder(At("none"), "kv-"));

    const auto temp = m_files.TempFolder();
    ASSERT_TRUE(temp) << temp.Error().Message();
    EXPECT_EQ(temp->back(), m_files.Separator());
    std::set<std::string> paths;
    for (const std::string& folder : {*temp, *second, *second, *second}) {
        const auto path = m_files.CreateTempFile(folder, "abcdef");
        ASSERT_TRUE(path && paths.insert(*path).second);
        const std::string name = path->substr(path->size() - 11);
        EXPECT_TRUE(name.starts_with("abc") && name.ends_with(".tmp")) << *path;
        EXPECT_EQ(name.find_first_not_of("0123456789ABCDEF", 3), 7u) << name;
        EXPECT_EQ(m_files.Stat(*path)->size, 0u);
        EXPECT_TRUE(folder == *second || m_files.Delete(*path));
    }
    EXPECT_FALSE(m_files.CreateTempFile(At("none"), "abc"));
}

TEST_P(FilesContract, CaseOfNames) {
    const bool ignoresCase = m_files.Separator() == '\\';
    Put("NNdbase.txt", "1");
    EXPECT_EQ(m_files.Exists(At("nndbase.TXT")), ignoresCase);
    EXPECT_EQ(m_files.ShortPath(At("nnDBASE.txt")).HasValue(), ignoresCase);
    Put("nndbase.TXT", "2");
    EXPECT_EQ(Content("NNdbase.txt"), ignoresCase ? "2" : "1");
    EXPECT_EQ(Names().size(), ignoresCase ? 1u : 2u);
    ASSERT_TRUE(m_files.Move(At("nndbase.TXT"), At("NNDBASE.txt")));
    EXPECT_EQ(Content("NNDBASE.txt"), "2");
    EXPECT_EQ(CodeOf(m_files.Open(At("a*b"), OpenMode::kCreateNew, Share::kNone)),
              ignoresCase ? std::optional(ErrorCode::kInvalidArgument) : std::nullopt);
}

}  // namespace test
