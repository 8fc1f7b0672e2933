#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <random>
#include <vector>

#include "mailbox/append.h"
#include "mailbox/mailbox_index.h"
#include "mailbox/toc_file.h"
#include "mailstore/mail_date.h"
#include "platform/testing/fixed_clock.h"
#include "tests/mailstore/mailbox_builder.h"
#include "tests/support/table.h"

namespace {

using namespace std::string_literals;
using platform::Result;
using platform::Status;

// A file of any size: 'x' but for texts at some places. It takes what is written to it, and counts
// what is read.
class FarFile : public platform::File {
  public:
    explicit FarFile(std::uint64_t size, std::vector<std::pair<std::uint64_t, std::string>> t = {})
        : m_size(size), m_texts(std::move(t)) {}

    Result<std::size_t> Read(std::span<char> buffer) override {
        const auto left = m_size - std::min(m_position, m_size);
        const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(buffer.size(), left));
        std::fill_n(buffer.begin(), count, 'x');
        for (const auto& [place, text] : m_texts) {
            const auto from = std::max(place, m_position);
            if (from >= place + text.size() || from >= m_position + count) continue;
            text.copy(&buffer[from - m_position], count - (from - m_position), from - place);
        }
        m_position += count;
        total += count;
        largest = std::max(largest, buffer.size());
        return count;
    }
    Result<std::uint64_t> Seek(std::int64_t offset, platform::SeekFrom) override {
        return m_position = static_cast<std::uint64_t>(offset);
    }
    Result<std::uint64_t> Size() override { return m_size; }
    Status Write(std::string_view bytes) override {
        written += bytes.size();
        return {};
    }
    Status Truncate(std::uint64_t) override { return {}; }
    Status Flush() override { return {}; }
    Status Close() override { return {}; }

    std::size_t largest = 0;
    std::uint64_t total = 0, written = 0;

  private:
    std::uint64_t m_size, m_position = 0;
    std::vector<std::pair<std::uint64_t, std::string>> m_texts;
};

// The ids with their Message-IDs, "id text|" each.
std::string Index(platform::File& mbx, const MailboxBuilder& box) {
    const auto bytes = box.Toc();
    FarFile toc(bytes.size(), {{0, bytes}});
    std::string all;
    const auto last =
        mailbox::ReadIndex(mbx, toc, static_cast<std::uint32_t>(box.blocks.size()),
                           [&](std::uint32_t id, std::optional<std::string_view> text) {
                               if (text) all += std::to_string(id) + ' ' + std::string(*text) + '|';
                           });
    EXPECT_EQ(*last, box.blocks.back().dwMsgId);
    return all;
}

TEST(MailboxIndex, LongMailsAndBlocksThatLieOverOneAnotherCostLittle) {
    constexpr std::uint64_t kSize = 64 << 20;
    MailboxBuilder one, many;
    one.Block(7, 5, 0xFFFFFFFF);
    for (std::uint32_t i = 0; i < 2000; ++i) many.Block(i, i, 0xFFFFFFFF);
    const struct {
        const MailboxBuilder& box;
        std::vector<std::pair<std::uint64_t, std::string>> texts;
        const char* begins;
        std::uint64_t most;
    } rows[] = {{one, {{10, "Message-ID: <a>"}}, "", kSize},
                {one, {{10, "Message-ID: <a>"}, {kSize - 4, "To: "}}, "7 a|", kSize},
                {one, {{100, "Message-ID: <a>"}, {900, "To: "}}, "7 a|", 2048},
                {many, {}, "", 4 * kSize + 2000 * 65536},
                {many, {{kSize - 4, "To: "}}, "0 |1", 4 * kSize + 2000 * 65536}};
    for (const auto& row : rows) {
        FarFile mbx(kSize, row.texts);
        EXPECT_EQ(Index(mbx, row.box).substr(0, 4), row.begins);
        EXPECT_LE(mbx.total, row.most);
        EXPECT_LE(mbx.largest, 128U * 1024);
    }
}

// No mail reaches beyond four gigabytes.
TEST(Append, TakesWhatABlockCanTell) {
    constexpr std::uint64_t kLimit = 0xFFFFFFFF;
    const struct {
        std::uint64_t size;
        bool tells;
        std::size_t stored;
    } rows[] = {{kLimit - 30, false, 3},
                {kLimit - 30, true, 2},
                {kLimit - 29, false, 2},
                {kLimit + 1000, true, 0}};
    for (const auto& [size, tells, stored] : rows) {
        FarFile mbx(size), toc(0);
        const auto make = [](std::size_t, std::string& out) {
            out += "ten bytes\n";
            return mailbox::MsgBlock().Encode();
        };
        const auto header = mailbox::TocHeader::Decode(mailbox::NewTocHeader());
        const auto result = mailbox::AppendMails({mbx, toc, header, size, "", 0, tells}, 3, make);
        EXPECT_EQ(result.written, stored) << size;
        EXPECT_EQ(result.refused, 3 - stored) << size;
        EXPECT_EQ(mbx.written, stored * 10);
    }
}

// Texts out of pieces of what is looked for, cut anywhere. What ends the search is rarer.
TEST(MessageIdScan, PiecesMakeNoDifference) {
    const std::string_view whole = "Message-ID: <a@b>\r\nMessage-Id: <To:o: ";
    std::mt19937 random(7);
    for (int round = 0; round < 60000; ++round) {
        std::string text;
        for (auto count = random() % 14; count > 0; --count) {
            const bool isMarker = random() % 2 == 0;
            if (isMarker) text += whole.substr(random() % 2 * 19, 13);
            if (!isMarker) text += whole.substr(random() % whole.size(), 1 + random() % 5);
            if (random() % 16 == 0) text += random() % 2 == 0 ? "To: "s : "\0"s;
        }
        if (random() % 3 != 0) text += "To: ";
        const auto longest = 1 + random() % 20;
        mailbox::MessageIdScan scan;
        for (std::string_view rest = text; !rest.empty();) {
            const auto size = std::min<std::size_t>(1 + random() % longest, rest.size());
            if (scan.Feed(rest.substr(0, size))) break;
            rest.remove_prefix(size);
        }
        const auto wanted = PlainMessageId(text);
        ASSERT_EQ(scan.FoundTo(), wanted.has_value()) << text;
        ASSERT_TRUE(!wanted || scan.MessageId() == *wanted) << text;
    }
}

TEST(TocRecords, CarryWhatTheyDoNotKnow) {
    EXPECT_EQ(mailbox::NewTocHeader(), "\x30\0\x91\0\x7C\x0A\0\0In"s + std::string(36, '\0') +
                                           "\x50\0\x50\0\x35\2\x9F\1"s + std::string(16, '\xFF') +
                                           '\2' + std::string(13, '\0') + '\x8C' +
                                           std::string(19, '\0'));
    for (const std::size_t size : {0U, 73U, 103U, 300U}) {
        std::string bytes(size, '\xA5');
        auto header = mailbox::TocHeader::Decode(bytes);
        header.wHighestMsgId = 0x1234;
        header.wNumberOfMsgs = 0xFEDC;
        bytes.resize(mailbox::kTocHeaderSize, '\0');
        EXPECT_EQ(header.Encode(), bytes.replace(72, 2, "\x34\x12").replace(102, 2, "\xDC\xFE"));
    }
    const std::string kanji = "\x8A\xBF", a62(62, 'a'), a61(61, 'a');
    for (const auto& [text, held] :
         {std::pair{a62 + "aa", a62 + "a"}, {a61 + kanji, a61 + kanji}, {a62 + kanji + "b", a62}}) {
        const auto bytes = mailbox::NewMsgBlock(text, text, false, 932).Encode();
        const auto block = mailbox::MsgBlock::Decode(bytes.substr(0, 190));
        EXPECT_EQ(block.szFrom + block.szSubject, held + held) << "ends with a whole character";
    }
    EXPECT_EQ(mailbox::MsgIdOf(" \t12g4"), 0x12U);
    EXPECT_EQ(mailbox::MsgIdOf("0XdeadBEEF"), 0xDEADBEEFU);
}

// A zone that has left out the time.
class LeapingClock : public platform::testing::FixedClock {
  public:
    std::optional<std::chrono::seconds> StandardOffset(std::chrono::sys_seconds) override {
        return std::nullopt;
    }
};

TEST(MailDate, AllFormsInManyZones) {
    using T = std::string;
    for (const auto& [standard, offset, text, separator, shown, seconds, isJapanese] :
         test::Table<int, int, T, T, T, std::uint32_t, bool>("dates of the mailbox")) {
        platform::testing::FixedClock clock;
        clock.offset = std::chrono::minutes(offset);
        clock.standardOffset = std::chrono::minutes(standard);
        const auto date =
            mailstore::ConvertMailDate(text.empty() ? nullptr : text.c_str(), clock, isJapanese);
        EXPECT_EQ(date.separatorDate, separator);
        EXPECT_EQ(date.szDate, shown);
        EXPECT_EQ(date.dwSeconds, seconds) << shown;
    }
    LeapingClock clock;
    clock.offset = std::chrono::hours(-10);
    EXPECT_EQ(mailstore::ConvertMailDate("29129", clock, false).line,
              "Date: Mon, 01 Oct 1979 00:00:00 -1000");
}

TEST(MailDate, FivePiecesMakeADate) {
    for (const auto& [text, date] : test::Rows<2>("dates of the library")) {
        const auto parsed = mailstore::ParseDate(text);
        EXPECT_EQ(parsed.has_value(), date != "none") << text;
        EXPECT_TRUE(!parsed || *parsed == std::stod(date)) << text;
    }
}

}  // namespace
