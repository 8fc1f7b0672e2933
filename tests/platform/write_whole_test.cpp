#include <gmock/gmock.h>

#include "platform/testing/faulty_files.h"
#include "platform/testing/memory_files.h"
#include "tests/platform/files_contract.h"

namespace test {

using platform::ErrorCode;
using platform::Share;
using platform::WriteWhole;
using platform::testing::Fault;
using platform::testing::FaultyFiles;
using platform::testing::MemoryFiles;
using ::testing::AnyOf;
using ::testing::ElementsAre;

namespace {

const std::string kOld = "the old content";
const std::string kNew = "the new content, which is longer";

}  // namespace

// The n-th file operation fails, tears or is the last one: the file holds the old content or the
// new one, whole; the result says which unless the program is dead; and nothing is in the way of
// trying again.
TEST_P(FilesContract, WriteWholeSurvivesEveryFault) {
    for (const auto fault : {Fault::kFail, Fault::kTornWrite, Fault::kKill}) {
        for (const bool existed : {true, false}) {
            FaultyFiles faulty(m_files);
            for (int number = 1;; ++number) {
                SCOPED_TRACE(::testing::Message() << "fault " << int(fault) << " at " << number
                                                  << (existed ? ", replacing" : ", creating"));
                (void)m_files.Delete(At("f"));
                if (existed) Put("f", kOld);
                faulty.Arm(fault, number);
                const auto status = WriteWhole(faulty, At("f"), kNew);
                const bool fired = faulty.Fired();
                faulty.Disarm();
                if (status) {
                    EXPECT_EQ(Content("f"), kNew);
                } else if (existed) {
                    EXPECT_EQ(Content("f"), kOld);
                } else {
                    EXPECT_FALSE(m_files.Exists(At("f"))) << Content("f");
                }
                ASSERT_TRUE(WriteWhole(faulty, At("f"), kNew)) << "no second try";
                EXPECT_EQ(Content("f"), kNew);
                EXPECT_THAT(Names(), ElementsAre("f")) << "a side file is left";
                if (!fired) {
                    EXPECT_GT(number, 4);
                    break;
                }
            }
        }
    }
}

// A crash right after any operation keeps one of the two contents: the new one is on the disk
// before it takes the old one's place.
TEST(WriteWhole, SurvivesACrashOfTheMachine) {
    for (int number = 1;; ++number) {
        SCOPED_TRACE(number);
        MemoryFiles memory;
        memory.Put("C:\\f", kOld);
        FaultyFiles faulty(memory);
        faulty.Arm(Fault::kKill, number);
        const auto status = WriteWhole(faulty, "C:\\f", kNew);
        memory.Crash();
        EXPECT_THAT(*memory.Get("C:\\f"), AnyOf(status ? kNew : kOld, kNew));
        if (!faulty.Fired()) break;
    }
}

TEST(WriteWhole, KeepsTheOldContentOnEveryFullDisk) {
    for (std::size_t room = 0; room <= kNew.size(); ++room) {
        SCOPED_TRACE(room);
        MemoryFiles memory;
        memory.Put("C:\\f", kOld);
        memory.LimitDisk(kOld.size() + room);
        const auto status = WriteWhole(memory, "C:\\f", kNew);
        EXPECT_EQ(*memory.Get("C:\\f"), status ? kNew : kOld);
        EXPECT_EQ(CodeOf(status),
                  room < kNew.size() ? std::optional(ErrorCode::kNoSpace) : std::nullopt);
        EXPECT_THAT(memory.AllFiles(), ElementsAre("C:\\f"));
        EXPECT_EQ(memory.OpenCount(), 0);
    }
}

TEST(ReadWhole, RefusesWhatIsTooLargeAndWhatIsInUse) {
    MemoryFiles memory;
    memory.Put("C:\\f", "12345");
    EXPECT_EQ(CodeOf(platform::ReadWhole(memory, "C:\\f", 4)), ErrorCode::kTooLarge);
    EXPECT_EQ(*platform::ReadWhole(memory, "C:\\f", 5), "12345");
    auto writer = memory.Open("C:\\f", platform::OpenMode::kReadWrite, Share::kReadWrite);
    EXPECT_EQ(CodeOf(platform::ReadWhole(memory, "C:\\f", 5)), ErrorCode::kSharingViolation);
    EXPECT_TRUE(platform::ReadWhole(memory, "C:\\f", 5, Share::kReadWrite));
}

}  // namespace test
