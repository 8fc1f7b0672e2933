#include <SQLiteCpp/SQLiteCpp.h>
#include <gtest/gtest.h>

#include "host/state/mail_state.h"
#include "host/state/state_file.h"
#include "platform/os/system.h"
#include "tests/platform/temp_folder.h"

namespace host {
namespace {

RememberedMail Mail(const std::string& name, MailLink link) {
    return {0,
            link,
            name + std::string("\0\xFF", 2),
            "131073",
            name + "@\xE9",
            "1.M2Q3." + name,
            "FS",
            std::uint64_t{1} << 40,
            "0123456789abcdef",
            name + " \xC3\xBC \"quoted\""};
}

auto Tied(const RememberedMail& mail) {
    return std::tie(mail.link, mail.id, mail.marker, mail.messageId, mail.unique, mail.flags,
                    mail.size, mail.content, mail.name);
}

class MailStateTest : public ::testing::Test {
  protected:
    std::string Path() const { return m_folder / "state.db"; }
    platform::Result<std::unique_ptr<MailState>> Open(bool mayWrite, const char* scope = "s") {
        return MailState::Open(platform::NativeFiles(), Path(), scope, mayWrite);
    }
    std::vector<RememberedMail> Load(const char* scope = "s") {
        return *(*Open(false, scope))->Load();
    }

    test::TempFolder m_folder;
};

TEST_F(MailStateTest, KeepsWhatItIsTold) {
    const std::vector<RememberedMail> mails = {
        Mail("a", MailLink::kInStep), Mail("b", MailLink::kPending), Mail("c", MailLink::kDropped),
        Mail("d", MailLink::kKept), RememberedMail{}};
    EXPECT_TRUE(Load().empty());
    ASSERT_TRUE((*Open(true))->Save({mails, {}, false}));
    ASSERT_TRUE((*Open(true, "t"))->Save({{Mail("t", MailLink::kPending)}, {}, false}));
    auto loaded = Load();
    ASSERT_EQ(loaded.size(), mails.size());
    for (std::size_t i = 0; i < mails.size(); ++i) EXPECT_EQ(Tied(loaded[i]), Tied(mails[i])) << i;
    loaded[0].marker = "1";
    ASSERT_TRUE((*Open(true))->Save({{loaded[0]}, {loaded[2].key, loaded[4].key}, true}));
    const auto after = Load();
    ASSERT_EQ(after.size(), 3u);
    EXPECT_EQ(after[0].marker, "1");
    EXPECT_EQ(after[1].link, MailLink::kInStep) << "settled";
    EXPECT_EQ(after[2].link, MailLink::kKept);
    EXPECT_EQ(Load("t")[0].link, MailLink::kPending) << "another scope";
    EXPECT_FALSE((*Open(false))->Save({mails, {}, false}));
}

// The tables as the first version made them.
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

TEST_F(MailStateTest, AnUpgradeKeepsTheMemoryOfContacts) {
    SQLite::Database(Path(), SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE).exec(kVersion1);
    const std::string before = test::ReadDisk(Path());
    EXPECT_TRUE(Load().empty());
    EXPECT_EQ(test::ReadDisk(Path()), before) << "reading upgrades nothing";
    for (int round = 0; round < 2; ++round) {
        ASSERT_TRUE((*Open(true))->Save({{Mail("a", MailLink::kInStep)}, {}, false}));
        EXPECT_EQ(Load().size(), round + 1u);
        auto contacts = StateFile::Open(platform::NativeFiles(), Path(), "s", true);
        const auto remembered = *(*contacts)->Load();
        ASSERT_EQ(remembered.pairs.size(), 1u);
        EXPECT_EQ(remembered.pairs[0].key, 7);
        EXPECT_EQ(remembered.pairs[0].folder.item.id, "a.vcf");
        EXPECT_EQ(remembered.pairs[0].beyond, 2);
        EXPECT_EQ(remembered.intents.size(), 1u);
    }
}

}  // namespace
}  // namespace host
