#pragma once

#include "platform/os/registry.h"
#include "tests/platform/files_contract.h"

namespace test {

inline constexpr char kTestKey[] = "SOFTWARE\\Kv Test\\Values";

// The promises of platform::Registry: both kinds come back under names in any case, the later one
// counts, and one kind is not taken for the other. The key is new.
inline void KeepsWhatIsWritten(platform::Registry& registry, platform::RegistryRoot root) {
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
