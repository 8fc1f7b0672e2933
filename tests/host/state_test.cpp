#include <SQLiteCpp/SQLiteCpp.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/state/state_file.h"
#include "platform/os/system.h"
#include "tests/platform/temp_folder.h"

namespace host {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;

class StateTest : public ::testing::Test {
  protected:
    std::string Path() const { return m_folder / "state.db"; }
    std::string Journal() const { return Path() + "-journal"; }
    std::string Bytes() const { return test::ReadDisk(Path()); }
    host::base::Result<std::unique_ptr<state::PairMemory>> Open(bool mayWrite,
                                                                const char* scope = "s") {
        return state::OpenPairs(platform::NativeFiles(), Path(), scope, mayWrite);
    }
    host::base::Result<std::unique_ptr<state::MailMemory>> Mails(bool mayWrite,
                                                                 const char* scope = "s") {
        return state::OpenMails(platform::NativeFiles(), Path(), scope, mayWrite);
    }
    state::Remembered Load(const char* scope = "s") { return *(*Open(false, scope))->Load(); }
    std::vector<state::RememberedMail> LoadMails(const char* scope = "s") {
        return *(*Mails(false, scope))->Load();
    }
    void Execute(const std::string& sql) const {
        SQLite::Database(Path(), SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE).exec(sql);
    }
    // What a kill in the middle of this work leaves: half of it, and a journal that undoes it.
    void CutOff(const std::string& sql) const {
        std::string torn, journal;
        {
            SQLite::Database database(Path(), SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE);
            database.exec("PRAGMA cache_size = 1; BEGIN; " + sql);
            torn = Bytes(), journal = test::ReadDisk(Journal());
            database.exec("ROLLBACK");
        }
        test::WriteDisk(Path(), torn);
        test::WriteDisk(Journal(), journal);
    }

    test::TempFolder m_folder;
};

state::RememberedPair Pair(const std::string& name) {
    state::RememberedPair pair;
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

auto Tied(const state::RememberedPair& pair) {
    const auto& [a, b] = std::tie(pair.eudora, pair.folder);
    return std::tie(a.item.id, a.item.marker, a.contact, b.item.id, b.item.marker, b.contact,
                    pair.uid, pair.beyond);
}

state::RememberedMail Mail(const std::string& name, state::MailLink link) {
    const std::string bytes = name + std::string("\0\xFF\"\xC3\xBC", 5);
    return {0,
            link,
            bytes,
            "131073",
            name + "@\xE9",
            bytes + "M",
            "FS",
            std::uint64_t{1} << 40,
            bytes + "C",
            bytes + "N",
            "<" + name + "@x>"};
}

auto Tied(const state::RememberedMail& mail) {
    return std::tie(mail.link, mail.id, mail.marker, mail.messageId, mail.unique, mail.flags,
                    mail.size, mail.content, mail.name, mail.fileId);
}

TEST_F(StateTest, RemembersThePairsOfEachScope) {
    ASSERT_TRUE((*Open(true))->Save({{Pair("a"), Pair("b")}, {}, {{{"", "n", "f"}}}}));
    ASSERT_TRUE((*Open(true, "t"))->Save({{Pair("c")}, {}, std::vector<state::Intent>{}}));
    auto remembered = Load();
    ASSERT_EQ(remembered.pairs.size(), 2u);
    EXPECT_EQ(Tied(remembered.pairs[0]), Tied(Pair("a")));
    state::RememberedPair changed = Pair("z");
    changed.key = remembered.pairs[0].key;
    ASSERT_TRUE((*Open(true))->Save({{changed}, {remembered.pairs[1].key}, {{{"", "n", "g"}}}}));
    remembered = Load();
    ASSERT_EQ(remembered.pairs.size(), 1u);
    EXPECT_EQ(Tied(remembered.pairs[0]), Tied(changed));
    ASSERT_EQ(remembered.intents.size(), 1u);
    EXPECT_EQ(remembered.intents[0].folderId, "g") << "all are replaced";
    EXPECT_EQ(Load("t").pairs.size(), 1u);
}

TEST_F(StateTest, RemembersTheMailsOfEachScope) {
    const std::vector<state::RememberedMail> mails = {Mail("a", state::MailLink::kInStep),
                                                      Mail("b", state::MailLink::kPending),
                                                      Mail("c", state::MailLink::kDropped),
                                                      {}};
    state::MailMemoryChange change{mails, {}, false};
    ASSERT_TRUE((*Mails(true))->Save(change));
    for (const char* scope : {"t\nx", "tt\nx"}) {
        ASSERT_TRUE((*Mails(true, scope))->Save({{mails[1]}, {}, false}));
    }
    auto loaded = LoadMails();
    ASSERT_EQ(loaded.size(), mails.size());
    for (std::size_t i = 0; i < mails.size(); ++i) {
        EXPECT_EQ(Tied(loaded[i]), Tied(mails[i])) << i;
        EXPECT_EQ(loaded[i].key, change.put[i].key) << "told to who saved it";
    }
    loaded[0].marker = "1";
    ASSERT_TRUE((*Mails(true))->Save({{loaded[0]}, {loaded[2].key, loaded[3].key}, true}));
    const auto after = LoadMails();
    ASSERT_EQ(after.size(), 2u);
    EXPECT_EQ(after[0].marker, "1");
    EXPECT_EQ(after[1].link, state::MailLink::kInStep) << "settled";
    EXPECT_EQ(LoadMails("t\nx")[0].link, state::MailLink::kPending) << "another scope";
    ASSERT_TRUE(state::ForgetInBox(platform::NativeFiles(), Path(), "t"));
    EXPECT_EQ(LoadMails().size() + LoadMails("t\nx").size() + LoadMails("tt\nx").size(), 3u);
}

TEST_F(StateTest, ReadingMakesNoFileAndChangesNone) {
    EXPECT_TRUE(Load().pairs.empty());
    EXPECT_TRUE(LoadMails().empty());
    EXPECT_FALSE((*Open(false))->Save({{Pair("a")}, {}, {}}));
    EXPECT_TRUE(state::StateLock::Take(platform::NativeFiles(), Path(), false));
    EXPECT_TRUE(fs::is_empty(m_folder.Path()));
    ASSERT_TRUE((*Open(true))->Save({{Pair("a")}, {}, {}}));
    const std::string bytes = Bytes();
    EXPECT_EQ(Load().pairs.size(), 1u);
    EXPECT_EQ((*(*Open(true))->Load()).pairs.size(), 1u);
    EXPECT_EQ(Bytes(), bytes);
}

TEST_F(StateTest, ReadsThePairsOfBeforeACutOffChangeAndTouchesNothing) {
    state::MemoryChange change = ManyPairs();
    ASSERT_TRUE((*Open(true))->Save(change));
    const std::string whole = Bytes();
    CutOff("UPDATE pair SET eudora_fields = 'torn'");
    const std::string torn = Bytes();
    ASSERT_NE(torn, whole);
    for (const bool mayWrite : {false, false, true}) {
        const auto remembered = *(*Open(mayWrite))->Load();
        ASSERT_EQ(remembered.pairs.size(), 200u);
        for (int i = 0; i < 200; ++i) EXPECT_EQ(Tied(remembered.pairs[i]), Tied(change.put[i]));
        EXPECT_EQ(fs::exists(Journal()), !mayWrite);
        EXPECT_EQ(Bytes(), mayWrite ? whole : torn);
    }
}

// The first change of all was cut off: nothing is remembered.
TEST_F(StateTest, ACutOffBeginningCountsAsEmpty) {
    CutOff(
        "CREATE TABLE t(b); INSERT INTO t WITH RECURSIVE n(i) AS (SELECT 1 UNION SELECT i + 1 "
        "FROM n LIMIT 99) SELECT zeroblob(4000) FROM n");
    const std::string torn = Bytes();
    ASSERT_FALSE(torn.empty());
    EXPECT_TRUE(Load().pairs.empty());
    EXPECT_EQ(Bytes(), torn);
    // So does a file with nothing but a header.
    fs::remove(Journal());
    fs::remove(Path());
    Execute("PRAGMA user_version = 1; PRAGMA user_version = 0");
    ASSERT_FALSE(Bytes().empty());
    EXPECT_TRUE(Load().pairs.empty());
}

TEST_F(StateTest, RefusesADamagedFileAndLeavesItAsItIs) {
    ASSERT_TRUE((*Open(true))->Save(ManyPairs()));
    const std::string whole = Bytes();
    const auto with = [&](std::size_t at, const std::string& bytes) {
        return std::string(whole).replace(at, bytes.size(), bytes);
    };
    const std::pair<std::string, const char*> cases[] = {
        {"no database at all, but long enough to look like one", "move it away"},
        {with(0, "0123456789abcdef"), "move it away"},
        {with(8192, std::string(4096, '\xEE')), "move it away"},
        {whole.substr(0, whole.size() / 2), "move it away"},
        {with(68, "abcd"), "another program"},
        {with(60, std::string("\0\0\0\x09", 4)), "later version"}};
    for (const auto& [bytes, line] : cases) {
        test::WriteDisk(Path(), bytes);
        for (const bool mayWrite : {false, true}) {
            auto state = Open(mayWrite);
            const auto failure = state ? (*state)->Load().Error() : state.Error();
            EXPECT_EQ(failure.exit, host::base::ExitCode::kRefused);
            EXPECT_THAT(failure.Message(), HasSubstr(line));
            EXPECT_THAT(failure.Message(), HasSubstr(Path()));
            EXPECT_EQ(Bytes(), bytes);
        }
    }
}

// The tables as the first two versions made them.
constexpr const char* kVersion1 = R"(
    CREATE TABLE pair(
        key INTEGER PRIMARY KEY AUTOINCREMENT, scope BLOB NOT NULL,
        eudora_id BLOB NOT NULL, eudora_marker BLOB NOT NULL, eudora_fields TEXT NOT NULL,
        folder_id BLOB NOT NULL, folder_marker BLOB NOT NULL, folder_fields TEXT NOT NULL,
        uid BLOB NOT NULL, beyond INTEGER NOT NULL);
    CREATE INDEX pair_scope ON pair(scope);
    CREATE TABLE intent(
        scope BLOB NOT NULL, old_id BLOB NOT NULL, new_id BLOB NOT NULL,
        folder_id BLOB NOT NULL);
    INSERT INTO pair VALUES(7, x'73', x'61', x'2D35', '["a","","","","","",""]', x'612E766366',
        x'33', '["a","","","","","",""]', x'75', 2);
    INSERT INTO intent VALUES(x'73', x'61', x'62', x'63');
    PRAGMA application_id = 0x6B767379;
    PRAGMA user_version = 1;
)";
constexpr const char* kVersion2 = R"(
    CREATE TABLE mail(
        key INTEGER PRIMARY KEY AUTOINCREMENT, scope BLOB NOT NULL, link INTEGER NOT NULL,
        eudora_id BLOB NOT NULL, eudora_marker BLOB NOT NULL, message_id BLOB NOT NULL,
        file BLOB NOT NULL, flags BLOB NOT NULL, size INTEGER NOT NULL, content BLOB NOT NULL,
        name BLOB NOT NULL);
    CREATE INDEX mail_scope ON mail(scope, link);
    INSERT INTO mail VALUES(5, x'73', 0, x'61', x'31', x'62', x'63', x'53', 9, x'64', x'65');
    PRAGMA user_version = 2;
)";

TEST_F(StateTest, AnUpgradeKeepsWhatEarlierVersionsRemembered) {
    for (const std::size_t version : {1u, 2u}) {
        fs::remove(Path());
        Execute(std::string(kVersion1) + (version == 2 ? kVersion2 : ""));
        const std::string before = Bytes();
        for (std::size_t saved = 0; saved < 3; ++saved) {
            const auto remembered = Load();
            ASSERT_EQ(remembered.pairs.size(), 1u);
            EXPECT_EQ(remembered.pairs[0].key, 7);
            EXPECT_EQ(remembered.pairs[0].folder.item.id, "a.vcf");
            EXPECT_EQ(remembered.pairs[0].beyond, 2);
            EXPECT_EQ(remembered.intents.size(), 1u);
            const auto mails = LoadMails();
            ASSERT_EQ(mails.size(), saved + version - 1);
            if (version == 2) {
                state::RememberedMail old{
                    5, state::MailLink::kInStep, "a", "1", "b", "c", "S", 9, "d", "e", ""};
                EXPECT_EQ(Tied(mails[0]), Tied(old));
                EXPECT_EQ(mails[0].key, old.key);
            }
            if (saved == 0) {
                EXPECT_EQ(Bytes(), before) << "reading upgrades nothing";
            } else {
                EXPECT_EQ(mails.back().fileId, "<new@x>");
            }
            ASSERT_TRUE((*Mails(true))->Save({{Mail("new", state::MailLink::kKept)}, {}, false}));
        }
    }
}

TEST_F(StateTest, TheLockKeepsASecondRunOut) {
    const auto run = Open(true);
    ASSERT_TRUE(run);
    for (const bool mayWrite : {true, false}) {
        const auto second = state::StateLock::Take(platform::NativeFiles(), Path(), mayWrite);
        ASSERT_FALSE(second);
        EXPECT_EQ(second.Error().exit, host::base::ExitCode::kRefused);
        EXPECT_THAT(second.Error().Message(), HasSubstr(Path()));
    }
    EXPECT_FALSE(Open(true, "t"));
    EXPECT_FALSE(Mails(false));
}

}  // namespace
}  // namespace host
