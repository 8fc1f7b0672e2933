#include <bit>
#include <random>

#include "tests/frame/frame_fixture.h"

namespace {

using platform::testing::Fault;

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
    for (const FieldRow& row : kMailFields) {
        CREudoraField field;
        field.Set(std::to_string(row.id).c_str(), row.id, row.stringId, row.name, row.type, row.tag,
                  false);
        info.m_fields.Add(field);
    }
    return info;
}

std::string Little(std::uint64_t value, int width) {
    std::string bytes;
    for (int i = 0; i < width; ++i) bytes += static_cast<char>(value >> (8 * i) & 0xFF);
    return bytes;
}

std::string ShortText(const std::string& text) {
    return static_cast<char>(text.size()) + text;
}

// The file of the mail fields and default options, put together by hand.
std::string MailFile() {
    std::string bytes = Little(0, 4) + Little(0, 8) + Little(std::size(kMailFields), 4);
    for (const FieldRow& row : kMailFields) {
        bytes += ShortText(std::to_string(row.id)) + Little(static_cast<unsigned>(row.id), 4) +
                 Little(static_cast<unsigned>(row.stringId), 4) + ShortText(row.name) +
                 Little(static_cast<unsigned>(row.type), 4) + Little(row.tag, 4) + Little(0, 4);
    }
    for (unsigned value : {0U, 1U, 5U}) bytes += Little(value, 4);
    bytes += ShortText("");
    for (unsigned value : {1U, 1U, 7U, 32U}) bytes += Little(value, 4);
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
    ASSERT_EQ(util.StoreSettings(info, kPath.c_str()), 1);
    EXPECT_EQ(machine.files.Get(kPath), MailFile());
    EXPECT_EQ(MailFile().size(), 359U);
    EXPECT_EQ(info.IsLoaded(), 1);
    EXPECT_EQ(machine.files.AllFiles(), std::vector<std::string>{kPath});
}

TEST_F(SettingsTest, EveryMemberComesBack) {
    CEudoraAppInfo info;
    CREudoraField special;
    special.Set("7", -3, -1, "\x83\x5C", 6, 0xFFFFFFFF, true);
    info.m_fields.Add(special);
    special.Set("7", 1, 2, "later", 3, 4, false);
    info.m_fields.Add(special);
    info.m_dtStamp = COleDateTime(36526.75);
    info.m_dtStamp.SetStatus(COleDateTime::kNull);
    info.m_csReserved = CString(std::string(300, 'r'));
    info.m_bAttachments = 1;
    info.m_bLimitAttachSize = -1;
    info.m_nAttachLimitKB = 0x7FFFFFFF;
    info.m_bLimitMailSize = 0;
    info.m_bLimitMailAge = 2;
    info.m_nMailAgeDays = -7;
    info.m_nMailLimitKB = 9;
    ASSERT_EQ(util.StoreSettings(info, kPath.c_str()), 1);
    CEudoraAppInfo loaded = MailInfo();
    // Trailing bytes are nobody's business.
    machine.files.Put(kPath, *machine.files.Get(kPath) + "tail");
    ASSERT_EQ(util.LoadSettings(kPath.c_str(), loaded), 1);
    EXPECT_EQ(Bytes(loaded), Bytes(info));
    EXPECT_EQ(loaded.IsLoaded(), 0);
    EXPECT_EQ(loaded.m_fields.Lookup("7"), 1);
    EXPECT_EQ(loaded.m_fields.Lookup("1"), -1);
    EXPECT_TRUE(loaded.m_fields.GetAt(0).m_bSpecial);
    EXPECT_EQ(loaded.m_nMailAgeDays, -7);
}

TEST_F(SettingsTest, AnyWordButZeroMakesAFieldSpecial) {
    std::string bytes = MailFile();
    const auto flag = 16 + 2 + 4 + 4 + 5 + 4 + 4;  // of the first descriptor
    bytes[flag + 3] = '\x40';
    CEudoraAppInfo info;
    CArchive archive{std::string_view(bytes)};
    info.Serialize(archive);
    EXPECT_TRUE(info.m_fields.GetAt(0).m_bSpecial);
    EXPECT_FALSE(info.m_fields.GetAt(1).m_bSpecial);
    EXPECT_EQ(Bytes(info)[flag], 1);
}

TEST_F(SettingsTest, AFileCutShortKeepsWhatWasRead) {
    CEudoraAppInfo other = MailInfo();
    other.m_nMailAgeDays = 70;
    other.m_nMailLimitKB = 320;
    const std::string whole = Bytes(other);
    for (std::size_t length = 0; length < whole.size(); ++length) {
        SCOPED_TRACE(length);
        machine.files.Put(kPath, whole.substr(0, length));
        LogCapture log;
        CEudoraAppInfo info;
        EXPECT_EQ(util.LoadSettings(kPath.c_str(), info), 0);
        EXPECT_TRUE(LogCapture::Has("1 Unable to load app info file " + kPath + "\n"));
        EXPECT_EQ(info.m_nMailAgeDays, length < 355 ? 7 : 70);
        EXPECT_EQ(info.m_nMailLimitKB, 32);
        EXPECT_EQ(info.m_fields.GetCount() == 11, length >= 359 - 29);
    }
    machine.files.Put(kPath, whole);
    CEudoraAppInfo info;
    EXPECT_EQ(util.LoadSettings(kPath.c_str(), info), 1);
    EXPECT_EQ(info.m_nMailLimitKB, 320);
}

TEST_F(SettingsTest, WhateverLoadsComesBackTheSame) {
    std::mt19937 random(20);
    int loadedCount = 0;
    for (int round = 0; round < 3000; ++round) {
        std::string bytes = round % 3 == 0 ? std::string(random() % 400, '\0') : MailFile();
        const unsigned changes = round % 3 == 0 ? 400 : 1 + random() % 4;
        for (unsigned i = 0; i < changes && !bytes.empty(); ++i) {
            bytes[random() % bytes.size()] = static_cast<char>(random());
        }
        machine.files.Put(kPath, bytes);
        CEudoraAppInfo info, again;
        if (util.LoadSettings(kPath.c_str(), info) == 0) continue;
        ++loadedCount;
        ASSERT_EQ(util.StoreSettings(info, kPath.c_str()), 1);
        ASSERT_EQ(util.LoadSettings(kPath.c_str(), again), 1);
        ASSERT_EQ(Bytes(again), Bytes(info)) << "round " << round;
    }
    EXPECT_GT(loadedCount, 500);
}

TEST_F(SettingsTest, MissingFileGivesNoLogLine) {
    LogCapture log;
    CEudoraAppInfo info;
    EXPECT_EQ(util.LoadSettings("C:\\set\\none.cfg", info), 0);
    EXPECT_TRUE(LogCapture::Lines().empty());
}

// Old is the content before the store, or nothing for a file that was not there.
TEST_F(SettingsTest, AFailingStoreLeavesOldOrNew) {
    CEudoraAppInfo info = MailInfo();
    for (const std::optional<std::string>& old : {std::optional<std::string>("old"), {}}) {
        for (const Fault fault : {Fault::kFail, Fault::kTornWrite, Fault::kKill}) {
            for (int n = 1;; ++n) {
                SCOPED_TRACE(testing::Message() << "fault " << int(fault) << " at " << n);
                (void)machine.files.Delete(kPath);
                if (old) machine.files.Put(kPath, *old);
                LogCapture log;
                machine.faults.Arm(fault, n);
                const int stored = util.StoreSettings(info, kPath.c_str());
                const bool fired = machine.faults.Fired();
                machine.faults.Disarm();
                const auto content = machine.files.Get(kPath);
                EXPECT_TRUE(content == old || content == MailFile());
                EXPECT_TRUE(stored == 0 || content == MailFile());
                EXPECT_EQ(stored == 0,
                          LogCapture::Has("1 Unable to store app info file " + kPath + "\n"));
                EXPECT_EQ(machine.files.OpenCount(), 0);
                if (fault != Fault::kKill) {
                    EXPECT_EQ(machine.files.AllFiles().size(), content ? 1U : 0U);
                }
                EXPECT_EQ(util.StoreSettings(info, kPath.c_str()), 1) << "retry";
                EXPECT_EQ(machine.files.Get(kPath), MailFile());
                EXPECT_EQ(machine.files.AllFiles().size(), 1U);
                if (!fired) break;
            }
        }
    }
}

TEST_F(SettingsTest, AFullDiskOrAReadOnlyFileKeepsTheOldContent) {
    CEudoraAppInfo info = MailInfo();
    machine.files.Put(kPath, "old");
    machine.files.LimitDisk(200);
    EXPECT_EQ(util.StoreSettings(info, kPath.c_str()), 0);
    machine.files.LimitDisk({});
    machine.files.SetReadOnly(kPath);
    EXPECT_EQ(util.StoreSettings(info, kPath.c_str()), 0);
    EXPECT_EQ(machine.files.Get(kPath), "old");
    EXPECT_EQ(machine.files.AllFiles(), std::vector<std::string>{kPath});
}

TEST_F(SettingsTest, NumbersFillTheFirstGapAndDeletionStopsThere) {
    struct Row {
        std::vector<int> present;
        const char* next;
        std::vector<int> left;  // after DeleteAllSettings
    };
    const Row rows[] = {{{}, "0001", {}},
                        {{1, 3}, "0002", {3}},
                        {{2, 3}, "0001", {2, 3}},
                        {{1, 2, 3, 4, 5, 6, 7, 8, 9}, "000A", {}}};
    const auto path = [&](int number) {
        CString out;
        EXPECT_EQ(util.MakeSettingsPath(out, number), 1);
        return out.Str();
    };
    EXPECT_EQ(path(0xABCD), "C:\\set\\EudoraAppInfoABCD.cfg");
    for (const Row& row : rows) {
        SCOPED_TRACE(row.next);
        for (int number : row.present) machine.files.Put(path(number), "x");
        CString next;
        EXPECT_EQ(util.NextSettingsPath(next), 1);
        EXPECT_EQ(next.Str(), "C:\\set\\EudoraAppInfo" + std::string(row.next) + ".cfg");
        EXPECT_EQ(util.DeleteAllSettings(), 0);
        std::vector<std::string> left;
        for (int number : row.left) left.push_back(path(number));
        EXPECT_EQ(machine.files.AllFiles(), left);
        for (const auto& file : left) (void)machine.files.Delete(file);
    }
    util.csSettingsDir.Empty();
    EXPECT_EQ(path(1), "\\EudoraAppInfo0001.cfg");
}

TEST_F(SettingsTest, NoFreeNumberLeavesThePathAlone) {
    struct FullFolder : platform::testing::MemoryFiles {
        platform::Result<platform::FileInfo> Stat(std::string_view) override {
            return platform::FileInfo{};
        }
    } full;
    platform::System crowded{
        full,         machine.registry, machine.processes, machine.libraries, machine.dialogs,
        machine.clock};
    CEudoraTransUtil other(crowded);
    CString path("as it was");
    EXPECT_EQ(other.NextSettingsPath(path), 0);
    EXPECT_EQ(path.Str(), "as it was");
}

TEST(AppInfoTest, SummaryTellsTheLimitsInShiftJis) {
    const std::string days7 =
        "\x8D\xC5\x8B\xDF\x82\xCC"
        "7\x93\xFA\x8A\xD4";
    const std::string size32 = "\x8D\xC5\x91\xE5: 32KB";
    const std::string attach = "\x93\x59\x95\x74: ";
    struct Row {
        int age, size, attachments, limit;
        std::string text;
    };
    const Row rows[] = {{1, 1, 0, 1, days7 + ", " + size32 + ", " + attach + "No"},
                        {0, 0, 0, 0, attach + "No"},
                        {0, 1, 1, 0, size32 + ", " + attach + "Yes"},
                        {1, 0, 1, 1, days7 + ", " + attach + "5KB"},
                        {0, 0, 0, 1, attach + "No"}};
    for (const Row& row : rows) {
        CEudoraAppInfo info;
        info.m_bLimitMailAge = row.age;
        info.m_bLimitMailSize = row.size;
        info.m_bAttachments = row.attachments;
        info.m_bLimitAttachSize = row.limit;
        EXPECT_EQ(info.GetSummaryText().Str(), row.text);
    }
}

}  // namespace
