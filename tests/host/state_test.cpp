#include <SQLiteCpp/SQLiteCpp.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/state/state_file.h"
#include "platform/os/system.h"
#include "tests/platform/temp_folder.h"

namespace host {
namespace {

namespace fs = std::filesystem;
using state::MailLink;
using state::RememberedMail;
using state::RememberedPair;
using ::testing::HasSubstr;

class StateTest : public ::testing::Test {
  protected:
    // A folder that is in step with `eudora`.
    std::string Folder(const std::string& eudora) const { return m_folder / ("with-" + eudora); }
    // Memories whose run has begun, if it may write.
    auto Pairs(bool mayWrite, const std::string& eudora = "s") {
        return Begun(mayWrite, state::OpenPairs(platform::NativeFiles(), m_path,
                                                {eudora, Folder(eudora)}, mayWrite));
    }
    auto Mails(bool mayWrite, const std::string& eudora = "s") {
        return Begun(mayWrite, state::OpenMails(platform::NativeFiles(), m_path,
                                                {eudora, Folder(eudora)}, mayWrite));
    }
    template <class Memory>
    Memory Begun(bool mayWrite, Memory memory) {
        for (const char* eudora : {"s", "t", "tt"}) {
            if (mayWrite) fs::create_directory(Folder(eudora));
        }
        if (memory && mayWrite && !(*memory)->IsCurrent()) {
            EXPECT_TRUE((*memory)->Begin({}));
        }
        return memory;
    }
    state::Remembered Load(const std::string& scope = "s") {
        return *(*Pairs(false, scope))->Load();
    }
    std::vector<RememberedMail> LoadMails(const std::string& scope = "s") {
        return *(*Mails(false, scope))->Load();
    }
    std::string Bytes() const { return test::ReadDisk(m_path); }
    // Carries that out, or leaves what a kill in the middle of it does: half of it, and a journal
    // that undoes it.
    void Execute(const std::string& sql, bool isCutOff = false) const {
        std::string torn, journal;
        {
            SQLite::Database database(m_path, SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE);
            database.exec((isCutOff ? "PRAGMA cache_size = 1; BEGIN; " : "") + sql);
            if (!isCutOff) return;
            torn = Bytes(), journal = test::ReadDisk(m_journal);
            database.exec("ROLLBACK");
        }
        test::WriteDisk(m_path, torn);
        test::WriteDisk(m_journal, journal);
    }

    test::TempFolder m_folder;
    const std::string m_path = m_folder / "state.db", m_journal = m_path + "-journal";
};

RememberedPair Pair(const std::string& name) {
    RememberedPair pair;
    pair.eudora.item = {name + std::string("\0\xFF", 2), "-5"};
    pair.folder.item = {name + ".vcf", "3:4"};
    for (base::Field field : base::kAllFields) {
        pair.eudora.contact[field] = name + "\n\"\\\xC3\xBC" + std::string(base::FieldName(field));
        pair.folder.contact[field] = std::string(base::FieldName(field));
    }
    pair.uid = "urn:" + name;
    pair.beyond = 3;
    return pair;
}

state::MemoryChange ManyPairs() {
    state::MemoryChange change;
    for (int i = 0; i < 200; ++i) change.put.push_back(Pair("n" + std::to_string(i)));
    return change;
}

RememberedMail Mail(const std::string& name, MailLink link) {
    const std::string bytes = name + std::string("\0\xFF\"\xC3\xBC", 5);
    return {0,
            link,
            bytes,
            "131073",
            name + "@\xE9",
            bytes + "M",
            "FS",
            1ull << 40,
            bytes + "C",
            bytes + "N",
            "<" + name + "@x>",
            state::MailLack::kAttachments};
}

template <class Row>
void ExpectSame(const std::vector<Row>& loaded, const std::vector<Row>& expected) {
    EXPECT_EQ(loaded, expected);
}

TEST_F(StateTest, RemembersWhatWasSavedInEachScope) {
    state::MemoryChange pairs{{Pair("a"), Pair("b")}, {}, {{{"", "n", "f"}}}};
    ASSERT_TRUE((*Pairs(true))->Save(pairs));
    ASSERT_TRUE((*Pairs(true, "t"))->Save({{Pair("c")}, {}, std::vector<state::Intent>{}}));
    RememberedPair changed = Pair("z");
    changed.key = pairs.put[0].key;
    ASSERT_TRUE((*Pairs(true))->Save({{changed}, {pairs.put[1].key}, {{{"", "n", "g"}}}}));
    ExpectSame(Load().pairs, {changed});
    ExpectSame(Load().intents, {{"", "n", "g"}});
    EXPECT_EQ(Load("t").pairs.size(), 1u);

    state::MailMemoryChange mails{{Mail("a", MailLink::kInStep),
                                   Mail("b", MailLink::kPending),
                                   Mail("c", MailLink::kDropped),
                                   {}},
                                  {},
                                  false};
    ASSERT_TRUE((*Mails(true))->Save(mails));
    ExpectSame(LoadMails(), mails.put);
    for (const char* eudora : {"t", "tt"})
        ASSERT_TRUE((*Mails(true, eudora))->Save({{Mail("b", MailLink::kPending)}, {}, false}));
    auto& all = mails.put;
    all[0].marker = "1";
    ASSERT_TRUE((*Mails(true))->Save({{all[0]}, {all[2].key, all[3].key}, true}));
    all[1].link = MailLink::kInStep;
    ExpectSame(LoadMails(), {all[0], all[1]});
    EXPECT_EQ(LoadMails("t")[0].link, MailLink::kPending) << "another scope";
    ASSERT_TRUE(state::ForgetEudora(platform::NativeFiles(), m_path, "t"));
    EXPECT_EQ(LoadMails().size() + LoadMails("t").size() + LoadMails("tt").size(), 3u);
    EXPECT_TRUE(Load("t").pairs.empty());
    ASSERT_TRUE((*Pairs(true))->Forget());
    EXPECT_TRUE(Load().pairs.empty() && Load().intents.empty());
}

TEST_F(StateTest, ReadsThePairsOfBeforeACutOffChangeAndTouchesNothing) {
    state::MemoryChange change = ManyPairs();
    ASSERT_TRUE((*Pairs(true))->Save(change));
    const std::string whole = Bytes();
    Execute("UPDATE pair SET eudora_fields = 'torn'", true);
    const std::string torn = Bytes();
    ASSERT_NE(torn, whole);
    for (const bool mayWrite : {false, false, true}) {
        ExpectSame((*Pairs(mayWrite))->Load()->pairs, change.put);
        EXPECT_EQ(fs::exists(m_journal), !mayWrite);
        EXPECT_EQ(Bytes(), mayWrite ? whole : torn);
    }
}

// Reading makes no file. When the first change of all was cut off nothing is remembered, nor with
// nothing but a header.
TEST_F(StateTest, ACutOffBeginningCountsAsEmpty) {
    EXPECT_TRUE(Load().pairs.empty() && LoadMails().empty());
    EXPECT_FALSE((*Pairs(false))->Save({{Pair("a")}, {}, {}}));
    EXPECT_TRUE(fs::is_empty(m_folder.Path()));
    Execute(
        "CREATE TABLE t(b); INSERT INTO t WITH RECURSIVE n(i) AS (SELECT 1 UNION SELECT i + 1 "
        "FROM n LIMIT 99) SELECT zeroblob(4000) FROM n",
        true);
    const std::string torn = Bytes();
    ASSERT_FALSE(torn.empty());
    EXPECT_TRUE(Load().pairs.empty());
    EXPECT_EQ(Bytes(), torn);
    fs::remove(m_journal);
    fs::remove(m_path);
    Execute("PRAGMA user_version = 1; PRAGMA user_version = 0");
    ASSERT_FALSE(Bytes().empty());
    EXPECT_TRUE(Load().pairs.empty());
}

TEST_F(StateTest, RefusesADamagedFileAndLeavesItAsItIs) {
    ASSERT_TRUE((*Pairs(true))->Save(ManyPairs()));
    const std::string whole = Bytes();
    const auto with = [&](std::size_t at, const std::string& bytes) {
        return std::string(whole).replace(at, bytes.size(), bytes);
    };
    const std::pair<std::string, const char*> cases[] = {
        {"no database at all, but long enough to look like one", "move it away"},
        {with(8192, std::string(4096, '\xEE')), "move it away"},
        {whole.substr(0, whole.size() / 2), "move it away"},
        {with(68, "abcd"), "another program"},
        {with(60, std::string("\0\0\0\x09", 4)), "later version"}};
    for (const auto& [bytes, line] : cases) {
        test::WriteDisk(m_path, bytes);
        for (const bool mayWrite : {false, true}) {
            const auto memory = Pairs(mayWrite);
            const auto failure = memory ? (*memory)->Load().Error() : memory.Error();
            EXPECT_EQ(failure.exit, base::ExitCode::kRefused);
            EXPECT_THAT(failure.Message(), HasSubstr(line));
            EXPECT_THAT(failure.Message(), HasSubstr(m_path));
            EXPECT_EQ(Bytes(), bytes);
        }
    }
}

TEST_F(StateTest, AnUpgradeKeepsWhatEarlierVersionsRemembered) {
    for (const bool hasMails : {false, true}) {
        fs::remove(m_path);
        fs::remove_all(Folder("s"));
        const fs::path folder = fs::path(KV_TABLES).parent_path();
        std::string sql = test::ReadDisk(folder / "state_version1.sql");
        if (hasMails) sql += test::ReadDisk(folder / "state_version2.sql");
        const std::string scope = "CAST('s' || char(10) || '" + Folder("s") + "' AS BLOB)";
        for (std::size_t at; (at = sql.find("SCOPE,")) != sql.npos;) sql.replace(at, 5, scope);
        Execute(sql);
        const std::string before = Bytes();
        RememberedPair pair{7, {{"a", "-5"}, {{"a"}}}, {{"a.vcf", "3"}, {{"a"}}}, "u", 2};
        std::vector<RememberedMail> mails;
        if (hasMails)
            mails = {{5, MailLink::kInStep, "a", "1", "b", "c", "S", 9, "d", "e", "", {}}};
        for (int saved = 0; saved < 3; ++saved) {
            ExpectSame(Load().pairs, {pair});
            ExpectSame(Load().intents, {{"a", "b", "c"}});
            ExpectSame(LoadMails(), mails);
            EXPECT_EQ(Bytes() == before, saved == 0) << "reading upgrades nothing";
            state::MailMemoryChange change{{Mail("new", MailLink::kKept)}, {}, false};
            ASSERT_TRUE((*Mails(true))->Save(change));
            mails.push_back(change.put[0]);
        }
    }
}

TEST_F(StateTest, TheLockKeepsASecondRunOut) {
    const auto run = Pairs(true);
    for (const bool mayWrite : {true, false}) {
        const auto failure = Mails(mayWrite, "t").Error();
        EXPECT_EQ(failure.exit, base::ExitCode::kRefused);
        EXPECT_THAT(failure.Message(), HasSubstr(m_path));
        const auto other =
            state::OpenPairs(platform::NativeFiles(), m_path + "2", {"t", Folder("s")}, mayWrite);
        EXPECT_EQ(other.Error().exit, base::ExitCode::kRefused);
        EXPECT_THAT(other.Error().Message(), HasSubstr(Folder("s")));
    }
}

}  // namespace
}  // namespace host
