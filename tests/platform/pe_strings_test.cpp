#include "platform/prefix/pe_strings.h"

#include <gmock/gmock.h>

#include <random>

#include "platform/os/little_endian.h"
#include "tests/platform/files_contract.h"

namespace test {

using platform::ErrorCode;
using platform::ReadU16;
using platform::ReadU32;
using platform::prefix::PeStrings;

namespace {

std::uint32_t Optional(const std::string& file) {
    return *ReadU32(file, 0x3C) + 24;
}

// The same library for 64-bit machines: its header is 16 bytes longer, the gap behind it shorter.
std::string Widened(std::string file) {
    const std::uint32_t optional = Optional(file);
    platform::WriteU16(file, optional, 0x20B);
    const auto size = static_cast<std::uint16_t>(*ReadU16(file, optional - 4) + 16);
    platform::WriteU16(file, optional - 4, size);
    file.insert(optional + 92, 16, '\0');
    return file.erase(*ReadU32(file, optional + 60), 16);
}

}  // namespace

TEST(PeStrings, ReadsBothWidthsAndPrefersTheNeutralLanguage) {
    const std::string narrow = ReadDisk(KV_TEST_STRINGS);
    for (const auto& file : {narrow, Widened(narrow)}) {
        const auto strings = PeStrings::Parse(file);
        ASSERT_TRUE(strings);
        EXPECT_TRUE(strings->Text(1) + strings->Text(32) == u"plainneutral");
        EXPECT_TRUE(strings->Text(17) == u"\u65E5\u672C\U0001F600x");
        for (const unsigned id : {0u, 2u, 33u, 5999u, 0xFFFFFFFFu}) {
            EXPECT_TRUE(strings->Text(id).empty()) << id;
        }
    }
}

TEST(PeStrings, RefusesWhatIsNoLibrary) {
    const std::string good = ReadDisk(KV_TEST_STRINGS);
    const std::size_t optional = Optional(good);
    for (const std::size_t place : {std::size_t{0}, std::size_t{0x3F}, optional - 24, optional,
                                    optional - 17, optional - 3}) {
        std::string bad = good;
        bad[place] = '\xFF';
        EXPECT_EQ(CodeOf(PeStrings::Parse(bad)), ErrorCode::kCorrupt) << place;
    }
    EXPECT_EQ(CodeOf(PeStrings::Parse(good.substr(0, optional))), ErrorCode::kCorrupt);
}

// Whatever is cut off, a text is the right one or missing; whatever is spoilt, nothing outside the
// file is read (the sanitizers watch), and a folder that leads to itself is not followed for ever.
TEST(PeStrings, DamageGivesNoForeignText) {
    const std::string good = ReadDisk(KV_TEST_STRINGS);
    const auto whole = PeStrings::Parse(good);
    std::mt19937 random(5);
    for (std::size_t round = 0; round < good.size() + 10'000; ++round) {
        std::string file = good.substr(0, round);
        for (unsigned i = random() % 9 + 1; round >= good.size() && i > 0; --i) {
            file[random() % file.size()] = static_cast<char>(random() % 2 * random());
        }
        const auto strings = PeStrings::Parse(file);
        if (!strings) continue;
        for (const unsigned id : {0u, 1u, 17u, 32u, 6000u}) {
            const std::u16string found = strings->Text(id);
            EXPECT_LE(found.size() * 2, file.size());
            EXPECT_TRUE(round >= good.size() || found.empty() || found == whole->Text(id));
        }
    }
}

}  // namespace test
