#include "platform/posix/pe_strings.h"

#include <gmock/gmock.h>

#include <random>

#include "tests/platform/files_contract.h"
#include "tests/platform/pe_builder.h"

namespace test {

using platform::ErrorCode;
using platform::posix::PeStrings;

TEST(PeStrings, ReadsBothWidthsAndPrefersTheNeutralLanguage) {
    for (const bool is64Bit : {false, true}) {
        SCOPED_TRACE(is64Bit);
        PeBuilder builder;
        builder.is64Bit = is64Bit;
        builder.strings[0x409] = {{1, u"english"}, {79, u"In"}, {83, u"only english"}};
        builder.strings[0x411] = {{1, u"japanese"}, {200, u"\u8868"}};
        builder.strings[0] = {{1, u"neutral"}, {65535, std::u16string(5000, u'x')}};
        auto strings = PeStrings::Parse(builder.Build());
        ASSERT_TRUE(strings);
        EXPECT_TRUE(strings->Text(1) == u"neutral");
        EXPECT_TRUE(strings->Text(79) + strings->Text(83) == u"Inonly english");
        EXPECT_TRUE(strings->Text(200) == u"\u8868");
        EXPECT_EQ(strings->Text(65535).size(), 5000u);
        for (const unsigned id : {0u, 2u, 80u, 201u, 5000u, 0xFFFFFFFFu}) {
            EXPECT_TRUE(strings->Text(id).empty()) << id;
        }
    }
}

TEST(PeStrings, RefusesWhatIsNoLibrary) {
    const std::string good = PeBuilder().Build();
    const auto with = [&](std::size_t offset, std::string_view bytes) {
        std::string file = good;
        return file.replace(offset, bytes.size(), bytes);
    };
    // Among them a ROM image, more sections than there are bytes, an optional header behind the
    // end.
    for (const auto& bad :
         {std::string(), std::string("MZ"), std::string(100'000, '\0'), with(0, "ZM"),
          with(0x3C, "\xFF\xFF\xFF\xFF"), with(0x40, "NE"), with(0x58, "\x07\x01"),
          with(0x46, "\xFF\xFF"), with(0x54, "\xFF\xFF"), good.substr(0, 0x58)}) {
        EXPECT_EQ(CodeOf(PeStrings::Parse(bad)), ErrorCode::kCorrupt) << bad.size();
    }
}

// Whatever is cut off, a text is the right one or missing; nothing outside the file is read (the
// sanitizers watch), whatever is spoilt.
TEST(PeStrings, DamageGivesNoForeignText) {
    PeBuilder builder;
    builder.strings[0] = {{1, u"first"}, {20, u"second"}, {79, u"third"}};
    const std::string good = builder.Build();
    std::mt19937 random(5);
    for (std::size_t round = 0; round < 20'000; ++round) {
        std::string file = good.substr(0, round < good.size() ? round : good.size());
        for (unsigned i = random() % 3 + 1; round >= good.size() && i > 0; --i) {
            file[random() % file.size()] = static_cast<char>(random());
        }
        const auto strings = PeStrings::Parse(file);
        if (!strings) continue;
        for (const unsigned id : {0u, 1u, 20u, 79u, 4000u}) {
            const std::u16string found = strings->Text(id);
            EXPECT_LE(found.size() * 2, file.size());
            EXPECT_TRUE(round >= good.size() || found.empty() || found == builder.strings[0][id]);
        }
    }
}

// A folder that leads back to itself is no way to go round for ever.
TEST(PeStrings, CirclesEnd) {
    PeBuilder builder;
    builder.strings[0] = {{1, u"x"}};
    std::string file = builder.Build();
    for (std::size_t entry : {0x200u + 16 + 4, 0x200u + 24 + 16 + 4, 0x200u + 48 + 16 + 4}) {
        std::string circle = file;
        circle.replace(entry, 4, std::string("\0\0\0\x80", 4));
        const auto strings = PeStrings::Parse(circle);
        ASSERT_TRUE(strings);
        EXPECT_TRUE(strings->Text(1).empty());
    }
}

}  // namespace test
