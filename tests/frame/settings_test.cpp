#include "tests/frame/frame_fixture.h"

namespace {

const std::string kPath = "C:\\set\\EudoraAppInfo0001.cfg";

struct FieldRow {
    int id, stringId;
    const char* name;
    int type;
    unsigned tag;
};

constexpr FieldRow kMailFields[] = {{1, 41, "From", 4, 0x2BD},
                                    {2, 42, "To", 4, 0x800002BE},
                                    {3, 43, "cc", 4, 0x2BF},
                                    {4, 44, "bcc", 4, 0x2C0},
                                    {5, 45, "Subject", 4, 0x14},
                                    {6, 46, "Date", 7, 0x800002C2},
                                    {7, 47, "Body", 4, 0x15},
                                    {10, 0, "MailStatus", 1, 0x080002C6},
                                    {11, 0, "MessageId", 4, 0x080002C7},
                                    {9, 0, "Size", 1, 0x080002C3},
                                    {8, 0, "Attachment", 4, 0x0800001F}};

CREudoraField FieldOf(const FieldRow& row, bool special = false) {
    CREudoraField field;
    field.Set(std::to_string(row.id).c_str(), row.id, row.stringId, row.name, row.type, row.tag,
              special);
    return field;
}

CEudoraAppInfo MailInfo() {
    CEudoraAppInfo info;
    for (const FieldRow& row : kMailFields) info.m_fields.Add(FieldOf(row));
    return info;
}

// The file of the mail fields and these options, put together by hand.
std::string MailFile(unsigned days = 7, unsigned kilobytes = 32) {
    std::string bytes;
    const auto number = [&](std::uint64_t value, int width = 4) {
        for (int i = 0; i < width; ++i) bytes += static_cast<char>(value >> (8 * i) & 0xFF);
    };
    const auto text = [&](const std::string& value) {
        bytes += static_cast<char>(value.size()) + value;
    };
    number(0);
    number(0, 8);
    number(std::size(kMailFields));
    for (const FieldRow& row : kMailFields) {
        text(std::to_string(row.id));
        number(static_cast<unsigned>(row.id));
        number(static_cast<unsigned>(row.stringId));
        text(row.name);
        for (unsigned value : {static_cast<unsigned>(row.type), row.tag, 0U}) number(value);
    }
    for (unsigned value : {0U, 1U, 5U}) number(value);
    text("");
    for (unsigned value : {1U, 1U, days, kilobytes}) number(value);
    return bytes;
}

std::string Bytes(CEudoraAppInfo& info) {
    std::string bytes;
    CArchive archive(bytes);
    info.Serialize(archive);
    return bytes;
}

class SettingsTest : public FrameTest {};

TEST_F(SettingsTest, FileHasTheToldBytes) {
    CEudoraAppInfo info = MailInfo();
    info.SetLoaded(1);
    machine.files.Put(kPath, "old");
    machine.files.LimitDisk(200);
    EXPECT_FALSE(util.StoreSettings(info, kPath.c_str()));
    machine.files.LimitDisk({});
    machine.files.SetReadOnly(kPath);
    EXPECT_FALSE(util.StoreSettings(info, kPath.c_str()));
    EXPECT_EQ(machine.files.Get(kPath), "old");
    machine.files.SetReadOnly(kPath, false);
    ASSERT_TRUE(util.StoreSettings(info, kPath.c_str()));
    EXPECT_EQ(machine.files.Get(kPath), MailFile());
    EXPECT_EQ(MailFile().size(), 359U);
    EXPECT_EQ(info.IsLoaded(), 1);
    EXPECT_EQ(machine.files.AllFiles(), std::vector<std::string>{kPath});
}

TEST_F(SettingsTest, EveryMemberComesBack) {
    CEudoraAppInfo info;
    info.m_fields.Add(FieldOf({7, -1, "\x83\x5C", 6, 0xFFFFFFFF}, true));
    info.m_fields.Add(FieldOf({7, 2, "later", 3, 4}));
    info.m_dtStamp = COleDateTime(36526.75);
    info.m_dtStamp.SetStatus(COleDateTime::kNull);
    info.m_csReserved = CString(std::string(300, 'r'));
    info.m_bLimitAttachSize = -1;
    info.m_nAttachLimitKB = 0x7FFFFFFF;
    info.m_bLimitMailAge = 2;
    info.m_nMailAgeDays = -7;
    ASSERT_TRUE(util.StoreSettings(info, kPath.c_str()));
    // Any word but zero makes a field special, and trailing bytes are nobody's business.
    std::string bytes = *machine.files.Get(kPath) + "tail";
    const auto later = bytes.find("later") + 5 + 4 + 4;
    bytes[later + 3] = '\x40';
    machine.files.Put(kPath, bytes);
    CEudoraAppInfo loaded = MailInfo();
    ASSERT_TRUE(util.LoadSettings(kPath.c_str(), loaded));
    EXPECT_TRUE(loaded.m_fields.GetAt(0).m_bSpecial);
    EXPECT_TRUE(loaded.m_fields.GetAt(1).m_bSpecial);
    std::string expected = Bytes(info);
    expected[later] = 1;
    EXPECT_EQ(Bytes(loaded), expected);
    EXPECT_EQ(loaded.IsLoaded(), 0);
    EXPECT_EQ(loaded.m_nMailAgeDays, -7);
    EXPECT_EQ(loaded.m_fields.Lookup("7"), 1) << "the latest of an id counts";
    for (const char* unknown : {"1", "07", "", "7 ", static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(loaded.m_fields.Lookup(unknown), -1);
    }
}

TEST_F(SettingsTest, AFileCutShortKeepsWhatWasRead) {
    const std::string whole = MailFile(70, 320);
    for (std::size_t length = 0; length < whole.size(); ++length) {
        SCOPED_TRACE(length);
        machine.files.Put(kPath, whole.substr(0, length));
        LogCapture log;
        CEudoraAppInfo info;
        EXPECT_FALSE(util.LoadSettings(kPath.c_str(), info));
        EXPECT_TRUE(LogCapture::Has("1 Unable to load app info file " + kPath + "\n"));
        EXPECT_EQ(info.m_nMailAgeDays, length < 355 ? 7 : 70);
        EXPECT_EQ(info.m_nMailLimitKB, 32);
        EXPECT_EQ(info.m_fields.GetCount() == 11, length >= 359 - 29);
    }
    LogCapture log;
    CEudoraAppInfo info;
    machine.files.Put(kPath, MailFile(71) + std::string(16 << 20, 'x'));
    EXPECT_TRUE(util.LoadSettings(kPath.c_str(), info)) << "the front of a large file";
    EXPECT_EQ(info.m_nMailAgeDays, 71);
    EXPECT_FALSE(util.LoadSettings("C:\\set\\none.cfg", info));
    EXPECT_TRUE(LogCapture::Lines().empty()) << "a missing file is no failure";
}

TEST_F(SettingsTest, NumbersFillTheFirstGapAndDeletionStopsThere) {
    const auto path = [&](int number) { return util.SettingsPath(number).Str(); };
    EXPECT_EQ(path(0xABCD), "C:\\set\\EudoraAppInfoABCD.cfg");
    using Numbers = std::vector<int>;
    // What is there, the next number, and what DeleteAllSettings leaves.
    for (const auto& [present, next, left] : {std::tuple{Numbers{1, 3}, 2, Numbers{3}},
                                              {{2, 3}, 1, {2, 3}},
                                              {{1, 2, 3, 4, 5, 6, 7, 8, 9}, 10, {}}}) {
        for (int number : present) machine.files.Put(path(number), "x");
        CString found;
        EXPECT_TRUE(util.NextSettingsPath(found));
        EXPECT_EQ(found.Str(), path(next));
        util.DeleteAllSettings();
        std::vector<std::string> paths;
        for (int number : left) paths.push_back(path(number));
        EXPECT_EQ(machine.files.AllFiles(), paths);
        for (const auto& file : paths) (void)machine.files.Delete(file);
    }
    struct FullFolder : platform::testing::MemoryFiles {
        platform::Result<platform::FileInfo> Stat(std::string_view) override {
            return platform::FileInfo{};
        }
    } full;
    CEudoraTransUtil other(machine.Over(full));
    CString kept("as it was");
    EXPECT_FALSE(other.NextSettingsPath(kept));
    EXPECT_EQ(kept.Str(), "as it was");
}

TEST(AppInfoTest, SummaryTellsTheLimitsInShiftJis) {
    const std::string days =
        "\x8D\xC5\x8B\xDF\x82\xCC"
        "7\x93\xFA\x8A\xD4, ";
    const std::string size = "\x8D\xC5\x91\xE5: 32KB, ", attach = "\x93\x59\x95\x74: ";
    using Row = std::tuple<int, int, int, int, std::string>;
    for (const auto& [age, kilobytes, attachments, limit, text] :
         {Row{1, 1, 0, 1, days + size + attach + "No"}, Row{0, 0, 0, 0, attach + "No"},
          Row{0, 1, 1, 0, size + attach + "Yes"}, Row{1, 0, 1, 1, days + attach + "5KB"}}) {
        CEudoraAppInfo info;
        info.m_bLimitMailAge = age;
        info.m_bLimitMailSize = kilobytes;
        info.m_bAttachments = attachments;
        info.m_bLimitAttachSize = limit;
        EXPECT_EQ(info.GetSummaryText().Str(), text);
    }
}

}  // namespace
