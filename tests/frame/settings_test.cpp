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

CEudoraAppInfo MailInfo() {
    CEudoraAppInfo info;
    for (const auto& [id, stringId, name, type, tag] : kMailFields) {
        info.m_fields.Add({std::to_string(id), id, stringId, name, type, tag});
    }
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

using SettingsTest = FrameTest;

TEST_F(SettingsTest, FileHasTheToldBytesOrTheOldOnes) {
    CEudoraAppInfo info = MailInfo();
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
    EXPECT_EQ(machine.files.AllFiles(), std::vector<std::string>{kPath});
}

// The replay of fuzz/corpus/settings holds that all else comes back.
TEST_F(SettingsTest, FieldsComeBackInTheirOrder) {
    CEudoraAppInfo info, loaded = MailInfo();
    info.m_fields.Add({"7", -1, -1, "\x83\x5C", 6, 0xFFFFFFFF, true});
    info.m_fields.Add({"7", 2, 2, "later", 3, 4, true});
    info.m_nMailAgeDays = -7;
    ASSERT_TRUE(util.StoreSettings(info, kPath.c_str()));
    // Any word but zero makes a field special, and trailing bytes are nobody's business.
    std::string bytes = *machine.files.Get(kPath) + "tail";
    bytes[bytes.find("later") + 16] = '\x40';
    machine.files.Put(kPath, bytes);
    ASSERT_TRUE(util.LoadSettings(kPath.c_str(), loaded));
    EXPECT_TRUE(loaded.m_fields.GetAt(0).m_bSpecial && loaded.m_fields.GetAt(1).m_bSpecial);
    EXPECT_EQ(loaded.m_fields.GetSize(), 2);
    EXPECT_EQ(loaded.m_nMailAgeDays, -7);
    EXPECT_EQ(loaded.m_fields.Lookup("7"), 1) << "the latest of an id counts";
    for (const char* unknown : {"1", "07", "", "7 ", static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(loaded.m_fields.Lookup(unknown), -1);
    }
}

TEST_F(SettingsTest, AFileCutShortKeepsWhatWasRead) {
    const std::string whole = MailFile(70, 320);
    CEudoraAppInfo large;
    for (std::size_t length = 0; length < whole.size(); ++length) {
        SCOPED_TRACE(length);
        machine.files.Put(kPath, whole.substr(0, length));
        LogCapture log;
        CEudoraAppInfo info;
        EXPECT_FALSE(util.LoadSettings(kPath.c_str(), info));
        EXPECT_TRUE(LogCapture::Has("1 Unable to load app info file " + kPath + "\n"));
        EXPECT_EQ(info.m_nMailAgeDays, length < 355 ? 7 : 70);
        EXPECT_EQ(info.m_fields.GetSize() == 11, length >= 359 - 29);
    }
    LogCapture log;
    machine.files.Put(kPath, MailFile(71) + std::string(16 << 20, 'x'));
    EXPECT_TRUE(util.LoadSettings(kPath.c_str(), large)) << "the front of a large file";
    EXPECT_EQ(large.m_nMailAgeDays, 71);
    EXPECT_FALSE(util.LoadSettings("C:\\set\\none.cfg", large));
    EXPECT_TRUE(LogCapture::Lines().empty()) << "a missing file is no failure";
}

TEST_F(SettingsTest, NumbersFillTheFirstGapAndDeletionStopsThere) {
    const auto path = [&](int number) { return util.SettingsPath(number).Str(); };
    for (int number : {1, 2, 3, 4, 5, 6, 7, 8, 9, 0xABCD}) machine.files.Put(path(number), "x");
    CString found;
    EXPECT_TRUE(util.NextSettingsPath(found));
    EXPECT_EQ(found, "C:\\set\\EudoraAppInfo000A.cfg");
    util.DeleteAllSettings();
    EXPECT_EQ(machine.files.AllFiles(), std::vector<std::string>{"C:\\set\\EudoraAppInfoABCD.cfg"});
    struct FullFolder : platform::testing::MemoryFiles {
        platform::Result<platform::FileInfo> Stat(std::string_view) override {
            return platform::FileInfo{};
        }
    } full;
    EXPECT_FALSE(CEudoraTransUtil(machine.Over(full)).NextSettingsPath(found));
    EXPECT_EQ(found, "C:\\set\\EudoraAppInfo000A.cfg") << "untouched";
}

TEST_F(SettingsTest, SummaryTellsTheLimitsInShiftJis) {
    const std::string days =
        "\x8D\xC5\x8B\xDF\x82\xCC"
        "7\x93\xFA\x8A\xD4, ";
    const std::string size = "\x8D\xC5\x91\xE5: 32KB, ", attach = "\x93\x59\x95\x74: ";
    using Row = std::tuple<int, int, int, int, std::string>;
    for (const auto& [age, kilobytes, attachments, limit, text] :
         {Row{1, 1, 0, 1, days + size + attach + "No"}, Row{0, 1, 1, 0, size + attach + "Yes"},
          Row{1, 0, 1, 1, days + attach + "5KB"}}) {
        CEudoraAppInfo info;
        info.m_bLimitMailAge = age;
        info.m_bLimitMailSize = kilobytes;
        info.m_bAttachments = attachments;
        info.m_bLimitAttachSize = limit;
        EXPECT_EQ(info.GetSummaryText().Str(), text);
    }
}

}  // namespace
