#include <gmock/gmock.h>

#include "platform/os/safe_write.h"
#include "platform/testing/memory_files.h"
#include "platform/testing/memory_registry.h"
#include "tests/platform/registry_contract.h"
#include "tests/support/fault_sweep.h"

namespace test {

using platform::ErrorCode;
using platform::Status;
using platform::WriteWhole;
using platform::testing::FaultyFiles;
using platform::testing::MemoryFiles;
using ::testing::ElementsAre;

namespace {

const std::string kOld = "the old content";
const std::string kNew = "the new content, which is longer";

Status CopyWhole(platform::Files& files, const std::string& path, const std::string& from) {
    platform::SafeWrite write(files, path);
    auto status = write.BeginAsCopyOf(from);
    return status ? write.Commit() : status;
}

}  // namespace

// The n-th file operation fails, tears or is the last one: the file holds the old content or the
// new one, whole; the result says which unless the program is dead; and nothing is in the way of
// trying again.
TEST_P(FilesContract, ASafeWriteSurvivesEveryFault) {
    FaultyFiles faulty(m_files);
    const auto write = [&](bool isCopy) {
        return isCopy ? CopyWhole(faulty, At("f"), At("from")) : WriteWhole(faulty, At("f"), kNew);
    };
    Put("from", kNew);
    for (int round = 0; round < 4; ++round) {
        const bool existed = round % 2 == 0, isCopy = round < 2;
        const auto play = [&](Fault fault, int number) {
            (void)m_files.Delete(At("f"));
            if (existed) Put("f", kOld);
            faulty.Arm(fault, number);
            const auto status = write(isCopy);
            const bool fired = faulty.Disarm();
            EXPECT_EQ(m_files.Exists(At("f")), status || existed);
            if (status || existed) {
                EXPECT_EQ(Content("f"), status ? kNew : kOld);
            }
            EXPECT_TRUE(write(isCopy)) << "no second try";
            EXPECT_EQ(Content("f"), kNew);
            EXPECT_THAT(Names(), ElementsAre("f", "from")) << "a side file is left";
            return fired;
        };
        SCOPED_TRACE(round);
        ForEveryFault(play, 4);
    }
}

// A crash right after any operation keeps one of the two contents: the new one is on the disk
// before it takes the old one's place. A full disk keeps the old one.
TEST(SafeWrite, SurvivesACrashOfTheMachineAndAFullDisk) {
    for (int number = 1; number <= static_cast<int>(kNew.size()); ++number) {
        for (const bool isCopy : {true, false}) {
            SCOPED_TRACE(::testing::Message() << number << " of a copy: " << isCopy);
            MemoryFiles memory;
            memory.Put("C:\\f", kOld);
            memory.Put("C:\\from", kNew);
            FaultyFiles faulty(memory);
            faulty.Arm(Fault::kKill, number);
            const auto status =
                isCopy ? CopyWhole(faulty, "C:\\f", "C:\\from") : WriteWhole(faulty, "C:\\f", kNew);
            memory.Crash();
            EXPECT_TRUE(*memory.Get("C:\\f") == kNew || (!status && *memory.Get("C:\\f") == kOld));
        }
        MemoryFiles small;
        small.Put("C:\\f", kOld);
        small.LimitDisk(kOld.size() + static_cast<std::size_t>(number) - 1);
        EXPECT_EQ(CodeOf(WriteWhole(small, "C:\\f", kNew)), ErrorCode::kNoSpace);
        EXPECT_EQ(*small.Get("C:\\f"), kOld);
        EXPECT_THAT(small.AllFiles(), ElementsAre("C:\\f"));
        EXPECT_EQ(small.OpenCount(), 0);
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

}  // namespace test
