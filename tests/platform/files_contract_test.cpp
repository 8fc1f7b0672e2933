#include "tests/platform/files_contract.h"

#include <gmock/gmock.h>

#include <map>
#include <random>
#include <set>

#include "platform/os/safe_write.h"
#include "platform/testing/memory_files.h"
#include "platform/testing/memory_registry.h"
#include "tests/support/fault_sweep.h"
#include "tests/support/table.h"
#include "text/ascii.h"

namespace test {

using platform::ErrorCode;
using platform::OpenMode;
using platform::SeekFrom;
using platform::Share;
using platform::Status;
using platform::WriteWhole;
using platform::testing::FaultyFiles;
using platform::testing::MemoryFiles;

namespace {

FilesStore InMemory() {
    const auto files = std::make_shared<MemoryFiles>();
    files->MakeFolders("C:\\work");
    const std::string root = "C:\\work\\";
    return {files, *files, root, [=](const auto& name) { files->SetReadOnly(root + name); }};
}

// Files whose paths are the machine's own.
FilesStore OnThisMachine() {
    const auto folder = std::make_shared<TempFolder>();
    return {folder, platform::NativeFiles(), *folder / "", [=](const auto& name) {
                std::filesystem::permissions(*folder / name, std::filesystem::perms::owner_read);
            }};
}

// One side of a walk: a file system, and files that are open there.
struct Side {
    FilesStore store;
    std::unique_ptr<platform::File> open[3];

    std::string At(std::size_t place) const {
        constexpr const char* kNames[] = {"a", "b.txt", "c", "folder/in", "folder", "none/x"};
        return store.At(kNames[place % 6]);
    }
};

// What can be done with names, as tables of steps call it.
using NamedStep = Status (*)(platform::Files&, const std::string& from, const std::string& to);
const std::map<std::string, NamedStep> kNamedSteps = {
    {"delete", [](auto& files, auto& a, auto&) { return files.Delete(a); }},
    {"remove folder", [](auto& files, auto& a, auto&) { return files.RemoveFolder(a); }},
    {"create folder", [](auto& files, auto& a, auto&) { return files.CreateFolder(a); }},
    {"move", [](auto& files, auto& a, auto& b) { return files.Move(a, b); }},
    {"copy", [](auto& files, auto& a, auto& b) { return files.Copy(a, b); }},
    {"replace", [](auto& files, auto& a, auto& b) { return files.Replace(a, b); }},
    {"copy into", [](auto& files, auto& a, auto& b) { return platform::CopyInto(files, a, b); }},
    {"write whole", [](auto& files, auto& a, auto&) { return WriteWhole(files, a, "whole"); }}};

// An operation at random. What it gives.
std::string Step(Side& side, std::mt19937 random) {
    auto& files = side.store.files;
    const std::size_t place = random() % 6;
    const std::string a = side.At(place), b = side.At(place + 1 + random() % 5);
    auto& file = side.open[random() % 3];
    const std::uint64_t offset = random() % 500, size = random() % (offset < 50 ? 200'000 : 300);
    std::string bytes(size, static_cast<char>(random()));
    // Which failure it is when several things stand in the way is each system's own matter.
    const auto told = [](const Status& status) { return status ? "done" : "refused"; };
    const std::function<std::string()> onFile[] = {
        [&] { return told(file->Write(bytes)) + std::to_string(*file->Size()); },
        [&] { return file->Truncate(size) && file->Flush() ? "cut" : "not cut"; },
        [&] { return bytes.substr(0, file->Read(bytes).ValueOr(0)); },
        [&] {
            const auto count = file->ReadAt(offset, bytes).ValueOr(0);
            return std::to_string(*file->Seek(0, SeekFrom::kBegin)) + bytes.substr(0, count);
        },
        [&] {
            const auto at = file->Seek(static_cast<std::int64_t>(offset) - 200,
                                       static_cast<SeekFrom>(random() % 3));
            return at ? std::to_string(*at) : "refused";
        },
        [&] { return told(std::exchange(file, {})->Close()); }};
    const auto kind = random() % 13;
    if (kind < kNamedSteps.size()) {
        const auto& [name, step] = *std::next(kNamedSteps.begin(), kind);
        return name == "move" && files.List(a, "*") ? "" : told(step(files, a, b));
    }
    if (kind == kNamedSteps.size()) {
        for (auto& open : side.open) open.reset();
    }
    if (file) return onFile[random() % std::size(onFile)]();
    auto opened = files.Open(a, OpenMode(random() % 4), Share(random() % 3));
    if (!opened) return Reason(opened);
    file = *std::move(opened);
    return "open";
}

// All that can be seen.
std::string Look(const Side& side) {
    std::string seen;
    for (std::size_t place = 0; place < 6; ++place) {
        const auto info = side.store.files.Stat(side.At(place));
        seen += info ? std::to_string(info->size) + (info->isFolder ? " folder" : " file") : "none";
        if (!info || info->isFolder) continue;
        const auto content = platform::ReadWhole(side.store.files, side.At(place), 1 << 30);
        seen += content ? *content : Reason(content);
    }
    return seen;
}

}  // namespace

INSTANTIATE_TEST_SUITE_P(Memory, FilesContract, ::testing::Values(&InMemory));
INSTANTIATE_TEST_SUITE_P(Native, FilesContract, ::testing::Values(&OnThisMachine));
INSTANTIATE_TEST_SUITE_P(Native, FilesWalk, ::testing::Values(&OnThisMachine));

void FilesContract::Put(std::string_view name, std::string_view content) {
    (void)m_files.Delete(At(name));
    auto file = m_files.Open(At(name), OpenMode::kCreateNew, Share::kNone);
    ASSERT_TRUE(file && (*file)->Write(content) && (*file)->Close());
}

std::string FilesContract::Content(std::string_view name) {
    auto content = platform::ReadWhole(m_files, At(name), 1 << 28);
    return content ? *content : content.Error().Message();
}

std::string FilesContract::Names(std::string_view pattern) {
    const auto entries = m_files.List(m_store.root, pattern);
    EXPECT_TRUE(entries);
    std::multiset<std::string> names;
    for (const auto& entry : *entries) names.insert(entry.name + (entry.isFolder ? "/" : ""));
    return text::Joined({names.begin(), names.end()}, " ");
}

// Openings, what is done with the open files and with names, at random: every file system gives and
// leaves what the one in memory does.
TEST_P(FilesWalk, DoesWhatFilesInMemoryDo) {
    Side tested{m_store, {}}, model{InMemory(), {}};
    std::mt19937 random(7);
    for (int step = 0; step < 3000 && !HasFailure(); ++step) {
        SCOPED_TRACE(step);
        random.discard(20);
        EXPECT_EQ(Step(tested, random), Step(model, random));
        EXPECT_EQ(Look(tested), Look(model));
    }
}

TEST_P(FilesContract, SaysWhatIsInTheWay) {
    for (const char* name : {"a", "b", "held", "fixed"}) Put(name, name);
    ASSERT_TRUE(m_files.CreateFolder(At("folder")));
    m_store.makeReadOnly("fixed");
    const auto held = m_files.Open(At("held"), OpenMode::kRead, Share::kReadWrite);
    for (const auto& [name, from, to, reason] : Rows<4>("steps that are refused")) {
        EXPECT_EQ(Reason(kNamedSteps.at(name)(m_files, At(from), At(to))), reason)
            << name << " " << from << " " << to;
    }
    for (const auto mode : {OpenMode::kReadWrite, OpenMode::kReadWriteOrCreate}) {
        EXPECT_EQ(CodeOf(m_files.Open(At("fixed"), mode, Share::kNone)), ErrorCode::kAccessDenied);
    }
    EXPECT_EQ(CodeOf(m_files.Open("", OpenMode::kRead, Share::kNone)), ErrorCode::kNotFound);
    EXPECT_EQ(Content("a") + Content("b") + Content("held") + Content("fixed"), "abheldfixed");
    EXPECT_TRUE(m_files.IsReadOnly(At("fixed")) && !m_files.IsReadOnly(At("a")));
    EXPECT_FALSE(m_files.IsReadOnly(At("none")));
    const bool isKept = CodeOf(m_files.Delete(At("fixed"))) == ErrorCode::kAccessDenied;
    EXPECT_EQ(isKept, m_files.Separator() == '\\') << "as on Windows";
    EXPECT_EQ(m_files.DeleteEvenReadOnly(At("fixed")).HasValue(), isKept);
    EXPECT_EQ(Names(), "a b folder/ held");
}

TEST_P(FilesContract, NamesHavePatternsAndOnWindowsNoCase) {
    for (const char* name : {"a.txt", "B.TXT", "ab.txt", "c.txtx", "d"}) Put(name, "1");
    ASSERT_TRUE(m_files.CreateFolder(At("f.txt")));
    for (const auto& [pattern, names] : Rows<2>("names that match")) {
        EXPECT_EQ(Names(pattern), names) << pattern;
    }
    EXPECT_EQ(CodeOf(m_files.List(At("none"), "*")), ErrorCode::kNotFound);
    EXPECT_TRUE(CodeOf(m_files.List(At("d"), "*")));

    const bool ignoresCase = m_files.Separator() == '\\';
    EXPECT_EQ(m_files.Exists(At("b.txt")), ignoresCase);
    EXPECT_EQ(m_files.ShortPath(At("b.TXT")).HasValue(), ignoresCase);
    Put("b.txt", "2");
    EXPECT_EQ(Content("B.TXT"), ignoresCase ? "2" : "1");
    ASSERT_TRUE(m_files.Move(At("b.txt"), At("b.TXT")));
    EXPECT_EQ(Content("b.TXT"), "2");
    // Wine keeps the old spelling.
    EXPECT_EQ(text::Lowered(Names("b.txt")), ignoresCase ? "b.txt" : "b.txt b.txt");
    EXPECT_EQ(CodeOf(m_files.Open(At("a*b"), OpenMode::kCreateNew, Share::kNone)),
              ignoresCase ? std::optional(ErrorCode::kInvalidArgument) : std::nullopt);
}

TEST_P(FilesContract, FoldersAndPlacesOfTheirOwn) {
    const auto first = m_files.CreateTempFolder(m_store.root, "kv-");
    const auto second = m_files.CreateTempFolder(m_store.root, "kv-");
    const auto temp = m_files.TempFolder();
    ASSERT_TRUE(first && second && temp);
    EXPECT_EQ(temp->back(), m_files.Separator());
    std::set<std::string> paths;
    for (const std::string& folder : {*temp, *second, *second, *second}) {
        const auto path = m_files.CreateTempFile(folder, "abcdef");
        ASSERT_TRUE(path && paths.insert(*path).second);
        EXPECT_THAT(*path, ::testing::MatchesRegex(".*.abc\\w\\w\\w\\w.tmp"));
        EXPECT_EQ(m_files.Stat(*path)->size, 0u);
        EXPECT_EQ(platform::LiesIn(m_files, *path, *second), folder == *second);
        EXPECT_TRUE(folder == *second || m_files.Delete(*path));
    }
    ASSERT_TRUE(m_files.CreateFolder(*first + "x"));
    EXPECT_FALSE(platform::LiesIn(m_files, *first, *first) ||
                 platform::LiesIn(m_files, *first + "x", *first));
    EXPECT_TRUE(m_files.IsFree(*first + m_files.Separator() + "f"));
    EXPECT_FALSE(m_files.IsFree(*first) || m_files.IsFree(*paths.rbegin()));
    EXPECT_FALSE(m_files.CreateTempFile(At("none"), "abc") ||
                 m_files.CreateTempFolder(At("none"), "kv-"));
}

namespace {

const std::string kOld = "the old content";
const std::string kNew = "the new content, which is longer";

Status Save(platform::Files& files, const std::string& path, const std::string& copied) {
    if (copied.empty()) return WriteWhole(files, path, kNew);
    platform::SafeWrite write(files, path);
    auto status = write.BeginAsCopyOf(copied);
    return status ? write.Commit() : status;
}

}  // namespace

// The n-th file operation fails, tears or is the last one: the file holds the old content or the
// new one, whole; the result says which unless the program is dead; and nothing is in the way of
// trying again.
TEST_P(FilesContract, ASafeWriteSurvivesEveryFault) {
    FaultyFiles faulty(m_files);
    Put("from", kNew);
    for (const std::string& copied : {std::string(), At("from")}) {
        for (const bool existed : {true, false}) {
            SCOPED_TRACE(copied + (existed ? " existed" : ""));
            const auto play = [&](Fault fault, int number) {
                (void)m_files.Delete(At("f"));
                if (existed) Put("f", kOld);
                faulty.Arm(fault, number);
                const auto status = Save(faulty, At("f"), copied);
                const bool fired = faulty.Disarm();
                EXPECT_EQ(m_files.Exists(At("f")) ? Content("f") : "", status    ? kNew
                                                                       : existed ? kOld
                                                                                 : "");
                EXPECT_TRUE(Save(faulty, At("f"), copied)) << "no second try";
                EXPECT_EQ(Content("f"), kNew);
                EXPECT_EQ(Names(), "f from") << "a side file is left";
                return fired;
            };
            ForEveryFault(play, 4);
        }
    }
}

// A crash right after any operation keeps one of the two contents: the new one is on the disk
// before it takes the old one's place. A full disk keeps the old one.
TEST(SafeWrite, SurvivesACrashOfTheMachineAndAFullDisk) {
    for (int number = 1; number <= static_cast<int>(kNew.size()); ++number) {
        for (const char* copied : {"", "C:\\from"}) {
            MemoryFiles memory;
            memory.Put("C:\\f", kOld);
            memory.Put("C:\\from", kNew);
            FaultyFiles faulty(memory);
            faulty.Arm(Fault::kKill, number);
            const auto status = Save(faulty, "C:\\f", copied);
            memory.Crash();
            EXPECT_TRUE(*memory.Get("C:\\f") == kNew || (!status && *memory.Get("C:\\f") == kOld))
                << number << copied;
        }
        MemoryFiles small;
        small.Put("C:\\f", kOld);
        small.LimitDisk(kOld.size() + static_cast<std::size_t>(number) - 1);
        EXPECT_EQ(CodeOf(WriteWhole(small, "C:\\f", kNew)), ErrorCode::kNoSpace);
        EXPECT_EQ(*small.Get("C:\\f"), kOld);
        EXPECT_EQ(static_cast<int>(small.AllFiles().size()) + small.OpenCount(), 1);
    }
}

// What comes or goes under the name between beginning and end is neither lost nor made again.
TEST(SafeWrite, LeavesAloneWhatAnotherProgramDidMeanwhile) {
    for (const bool existed : {true, false}) {
        MemoryFiles memory;
        if (existed) memory.Put("C:\\f", kOld);
        {
            platform::SafeWrite write(memory, "C:\\f");
            ASSERT_TRUE(write.Begin() && write.Write(kNew));
            existed ? (void)memory.Delete("C:\\f") : memory.Put("C:\\f", "theirs");
            EXPECT_EQ(CodeOf(write.Commit()),
                      existed ? ErrorCode::kNotFound : ErrorCode::kAlreadyExists);
        }
        EXPECT_EQ(memory.Get("C:\\f").value_or("gone"), existed ? "gone" : "theirs");
        EXPECT_EQ(memory.AllFiles().size(), existed ? 0u : 1u);
    }
}

TEST(ReadWhole, RefusesWhatIsTooLarge) {
    MemoryFiles memory;
    memory.Put("C:\\f", "12345");
    EXPECT_EQ(CodeOf(platform::ReadWhole(memory, "C:\\f", 4)), ErrorCode::kTooLarge);
    EXPECT_EQ(*platform::ReadWhole(memory, "C:\\f", 5) + *platform::ReadFront(memory, "C:\\f", 2),
              "1234512");
}

TEST(RegistryContract, Memory) {
    platform::testing::MemoryRegistry registry;
    KeepsWhatIsWritten(registry, platform::RegistryRoot::kLocalMachine);
}

void KeepsWhatIsWritten(platform::Registry& registry, platform::RegistryRoot root) {
    constexpr auto kMissing = platform::ErrorCode::kNotFound;
    const char* const otherCase = "software\\KV TEST\\values";
    EXPECT_EQ(CodeOf(registry.ReadText(root, kTestKey, "Name")), kMissing);
    for (const std::string& text :
         {std::string(), std::string("%PATH%"), std::string("C:\\\xC4rger \x80 \xFF\n\"q\""),
          std::string(255, 'a'), std::string(256, 'b'), std::string(70'000, 'c')}) {
        SCOPED_TRACE(text.size());
        ASSERT_TRUE(registry.WriteText(root, kTestKey, "Name", text));
        ASSERT_TRUE(registry.WriteText(root, kTestKey, "", "default"));
        EXPECT_EQ(*registry.ReadText(root, otherCase, "nAME"), text);
        EXPECT_EQ(*registry.ReadText(root, kTestKey, ""), "default");
        EXPECT_EQ(CodeOf(registry.ReadNumber(root, kTestKey, "Name")), kMissing);
    }
    ASSERT_TRUE(registry.WriteNumber(root, kTestKey, "Name", 0xFFFFFFFE));
    EXPECT_EQ(*registry.ReadNumber(root, otherCase, "nAME"), 0xFFFFFFFEu);
    EXPECT_EQ(CodeOf(registry.ReadText(root, kTestKey, "Name")), kMissing);
    EXPECT_EQ(CodeOf(registry.ReadNumber(root, kTestKey, "Missing")), kMissing);
}

}  // namespace test
