#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <SQLiteCpp/SQLiteCpp.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "host/module/exit_code.h"
#include "host/state/state_file.h"
#include "platform/os/system.h"

namespace host {
namespace {

using ::testing::HasSubstr;

class StateTest : public ::testing::Test {
  protected:
    void SetUp() override {
        const auto& info = *::testing::UnitTest::GetInstance()->current_test_info();
        m_folder = std::filesystem::temp_directory_path() /
                   (std::string("kvsync-state-") + info.name() + std::to_string(std::rand()));
        std::filesystem::remove_all(m_folder);
        std::filesystem::create_directories(m_folder);
    }
    void TearDown() override { std::filesystem::remove_all(m_folder); }

    std::string Path() const { return (m_folder / "state.sqlite").string(); }
    platform::Result<std::unique_ptr<StateFile>> Open(bool mayWrite,
                                                      const std::string& scope = "s") {
        return StateFile::Open(platform::NativeFiles(), Path(), scope, mayWrite);
    }
    std::string Bytes() const {
        std::ifstream file(Path(), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    void Write(const std::string& bytes) const {
        std::ofstream(Path(), std::ios::binary | std::ios::trunc) << bytes;
    }

    std::filesystem::path m_folder;
};

RememberedPair Pair(const std::string& name) {
    RememberedPair pair;
    pair.eudora.item = {name + std::string("\0\xFF", 2), "-5"};
    pair.folder.item = {name + ".vcf", "3:4"};
    for (Field field : kAllFields) {
        pair.eudora.contact[field] = name + "\n\"\\\xC3\xBC" + std::string(FieldName(field));
        pair.folder.contact[field] = std::string(FieldName(field));
    }
    pair.uid = "urn:" + name;
    pair.beyond = 3;
    return pair;
}

void ExpectSame(const RememberedPair& a, const RememberedPair& b) {
    for (auto side : {&RememberedPair::eudora, &RememberedPair::folder}) {
        EXPECT_EQ((a.*side).item.id, (b.*side).item.id);
        EXPECT_EQ((a.*side).item.marker, (b.*side).item.marker);
        EXPECT_EQ((a.*side).contact, (b.*side).contact);
    }
    EXPECT_EQ(a.uid, b.uid);
    EXPECT_EQ(a.beyond, b.beyond);
}

TEST_F(StateTest, RemembersEachScopeByItself) {
    {
        auto state = *Open(true);
        ASSERT_TRUE(state->Save({{Pair("a"), Pair("b")}, {}, {{{"", "n", "f"}}}}));
        auto other = *Open(true, "t");
        ASSERT_TRUE(other->Save({{Pair("c")}, {}, std::vector<Intent>{}}));
    }
    auto state = *Open(true);
    auto remembered = *state->Load();
    ASSERT_EQ(remembered.pairs.size(), 2u);
    ExpectSame(remembered.pairs[0], Pair("a"));
    ASSERT_EQ(remembered.intents.size(), 1u);
    EXPECT_EQ(remembered.intents[0].folderId, "f");
    RememberedPair changed = Pair("z");
    changed.key = remembered.pairs[0].key;
    ASSERT_TRUE(state->Save({{changed}, {remembered.pairs[1].key}, {}}));
    remembered = *state->Load();
    ASSERT_EQ(remembered.pairs.size(), 1u);
    ExpectSame(remembered.pairs[0], changed);
    EXPECT_EQ(remembered.intents.size(), 1u);
    EXPECT_EQ((*(*Open(false, "t"))->Load()).pairs.size(), 1u);
}

TEST_F(StateTest, ReadingMakesNoFileAndChangesNone) {
    EXPECT_TRUE((*(*Open(false))->Load()).pairs.empty());
    EXPECT_FALSE((*Open(false))->Save({{Pair("a")}, {}, {}}));
    EXPECT_TRUE(StateLock::Take(platform::NativeFiles(), Path(), false));
    EXPECT_TRUE(std::filesystem::is_empty(m_folder));
    ASSERT_TRUE((*Open(true))->Save({{Pair("a")}, {}, {}}));
    const std::string bytes = Bytes();
    EXPECT_EQ((*(*Open(false))->Load()).pairs.size(), 1u);
    EXPECT_EQ((*(*Open(true))->Load()).pairs.size(), 1u);
    EXPECT_EQ(Bytes(), bytes);
}

// The files of a transaction under way are what a kill leaves: half the change in the state file,
// and a journal that undoes it.
TEST_F(StateTest, ReadsThePairsOfBeforeACutOffChangeAndTouchesNothing) {
    MemoryChange change;
    for (int i = 0; i < 200; ++i) change.put.push_back(Pair("n" + std::to_string(i)));
    ASSERT_TRUE((*Open(true))->Save(change));
    const std::string journal = Path() + "-journal", whole = Bytes();
    {
        const auto kept = m_folder / "kept";
        std::filesystem::create_directory(kept);
        SQLite::Database database(Path(), SQLite::OPEN_READWRITE);
        database.exec("PRAGMA cache_size = 1; BEGIN; UPDATE pair SET eudora_fields = 'torn'");
        for (const std::string& path : {Path(), journal}) {
            std::filesystem::copy(path, kept / std::filesystem::path(path).filename());
        }
        database.exec("ROLLBACK");
    }
    for (const std::string& path : {Path(), journal}) {
        std::filesystem::rename(m_folder / "kept" / std::filesystem::path(path).filename(), path);
    }
    const std::string torn = Bytes();
    ASSERT_NE(torn, whole);
    for (const bool mayWrite : {false, false, true}) {
        const auto remembered = *(*Open(mayWrite))->Load();
        ASSERT_EQ(remembered.pairs.size(), 200u);
        for (int i = 0; i < 200; ++i) ExpectSame(remembered.pairs[i], change.put[i]);
        EXPECT_EQ(std::filesystem::exists(journal), !mayWrite);
        EXPECT_EQ(Bytes(), mayWrite ? whole : torn);
    }
}

// The first change of all was cut off: nothing is remembered.
TEST_F(StateTest, ACutOffBeginningCountsAsEmpty) {
    {
        SQLite::Database database(Path(), SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE);
        database.exec(
            "PRAGMA cache_size = 1; BEGIN; CREATE TABLE t(b); INSERT INTO t "
            "WITH RECURSIVE n(i) AS (SELECT 1 UNION SELECT i + 1 FROM n LIMIT 99) "
            "SELECT zeroblob(4000) FROM n");
        for (const char* end : {"", "-journal"}) {
            std::filesystem::copy(Path() + end, Path() + end + ".kept");
        }
        database.exec("ROLLBACK");
    }
    for (const char* end : {"", "-journal"}) {
        std::filesystem::remove(Path() + end);
        std::filesystem::rename(Path() + end + ".kept", Path() + end);
    }
    const std::string torn = Bytes();
    ASSERT_FALSE(torn.empty());
    EXPECT_TRUE((*(*Open(false))->Load()).pairs.empty());
    EXPECT_EQ(Bytes(), torn);
}

TEST_F(StateTest, RefusesADamagedFileAndLeavesItAsItIs) {
    {
        auto state = *Open(true);
        MemoryChange change;
        for (int i = 0; i < 200; ++i) change.put.push_back(Pair("n" + std::to_string(i)));
        ASSERT_TRUE(state->Save(change));
    }
    const std::string whole = Bytes();
    std::string noHeader = whole, holed = whole, otherProgram = whole, later = whole;
    noHeader.replace(0, 16, "0123456789abcdef");
    holed.replace(8192, 4096, std::string(4096, '\xEE'));
    otherProgram.replace(68, 4, "abcd");
    later.replace(60, 4, std::string("\0\0\0\x09", 4));
    struct Case {
        std::string bytes;
        const char* line;
    };
    for (const auto& [bytes, line] :
         {Case{"no database at all, but long enough to look like one", "move it away"},
          Case{noHeader, "move it away"}, Case{holed, "move it away"},
          Case{whole.substr(0, whole.size() / 2), "move it away"},
          Case{otherProgram, "another program"}, Case{later, "later version"}}) {
        Write(bytes);
        for (const bool mayWrite : {false, true}) {
            auto state = Open(mayWrite);
            platform::Failure failure;
            if (state) {
                auto remembered = (*state)->Load();
                ASSERT_FALSE(remembered) << line;
                failure = remembered.Error();
            } else {
                failure = state.Error();
            }
            EXPECT_EQ(failure.code, platform::ErrorCode::kRefused);
            EXPECT_THAT(failure.Message(), HasSubstr(line));
            EXPECT_THAT(failure.Message(), HasSubstr(Path()));
            EXPECT_EQ(Bytes(), bytes);
        }
    }
}

TEST_F(StateTest, TheLockKeepsASecondRunOut) {
    auto& files = platform::NativeFiles();
    {
        auto first = StateLock::Take(files, Path(), true);
        ASSERT_TRUE(first);
        for (const bool mayWrite : {true, false}) {
            auto second = StateLock::Take(files, Path(), mayWrite);
            ASSERT_FALSE(second);
            EXPECT_EQ(second.Error().code, platform::ErrorCode::kRefused);
            EXPECT_THAT(second.Error().Message(), HasSubstr(Path()));
        }
    }
    EXPECT_TRUE(StateLock::Take(files, Path(), true));
}

}  // namespace
}  // namespace host
