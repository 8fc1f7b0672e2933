#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <optional>
#include <random>
#include <vector>

#include "mailbox/append.h"
#include "mailbox/mailbox_index.h"
#include "mailbox/toc_file.h"
#include "tests/mailstore/mailbox_builder.h"

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
        if (writesLeft == 0) return platform::Failure{};
        --writesLeft;
        written += bytes;
        calls += 'w';
        return {};
    }
    Status Truncate(std::uint64_t) override {
        calls += 't';
        return {};
    }
    Status Flush() override {
        calls += 'f';
        return {};
    }
    Status Close() override { return {}; }

    std::size_t largest = 0;
    std::uint64_t total = 0;
    std::string written, calls;
    int writesLeft = 1000;  // then all fail

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

TEST(MailboxIndex, LongMailsNeedLittleMemory) {
    constexpr std::uint64_t kSize = 200 << 20;
    const auto box = MailboxBuilder().Block(7, 5, 0xFFFFFFFF);
    FarFile silent(kSize, {{10, "Message-ID: <a>"}}),
        late(kSize, {{10, "Message-ID: <a>"}, {kSize - 4, "To: "}}),
        early(kSize, {{100, "Message-ID: <a>"}, {900, "To: "}});
    EXPECT_EQ(Index(silent, box), "");
    EXPECT_EQ(silent.total, kSize - 5);
    EXPECT_EQ(Index(late, box), "7 a|");
    EXPECT_LE(std::max(silent.largest, late.largest), 128U * 1024);
    EXPECT_EQ(Index(early, box), "7 a|");
    EXPECT_LE(early.total, 2048U) << "no more is read than the step needs";
}

TEST(MailboxIndex, BlocksThatLieOverOneAnotherDoNotMakeItReadForEver) {
    constexpr std::uint64_t kSize = 16 << 20;
    MailboxBuilder box;
    for (std::uint32_t i = 0; i < 2000; ++i) box.Block(i, i, 0xFFFFFFFF);
    FarFile silent(kSize), late(kSize, {{kSize - 4, "To: "}});
    EXPECT_EQ(Index(silent, box), "");
    EXPECT_NE(Index(late, box), "");
    EXPECT_LE(std::max(silent.total, late.total), 4 * kSize + 2000 * 65536);
}

TEST(Append, NoMailReachesBeyondFourGigabytes) {
    constexpr std::uint64_t kLimit = 0xFFFFFFFF;
    for (const auto& [size, tells, stored] : {std::tuple{kLimit - 30, false, 3U},
                                              {kLimit - 30, true, 2U},
                                              {kLimit - 29, false, 2U},
                                              {kLimit + 1000, true, 0U}}) {
        FarFile mbx(size), toc(0);
        const auto header = mailbox::TocHeader::Decode(mailbox::NewTocHeader());
        const auto result = mailbox::AppendMails({mbx, toc, header, size, "", 0, tells}, 3,
                                                 [](std::size_t, std::string& out) {
                                                     out += "ten bytes\n";
                                                     return mailbox::MsgBlock().Encode();
                                                 });
        EXPECT_EQ(result.written, stored) << size;
        EXPECT_EQ(result.refused, 3 - stored) << size;
        EXPECT_EQ(mbx.written.size(), stored * 10);
    }
}

// Nobody knows whether a header stands that could neither be written nor put back.
TEST(Append, EachStepIsOnTheDiskBeforeTheNext) {
    for (const bool fails : {false, true}) {
        FarFile mbx(0), toc(0);
        if (fails) toc.writesLeft = 1;
        const auto header = mailbox::TocHeader::Decode(mailbox::NewTocHeader());
        const auto result = mailbox::AppendMails(
            {mbx, toc, header, 0, "", 0, false}, 1,
            [](std::size_t, std::string&) { return mailbox::MsgBlock().Encode(); });
        EXPECT_EQ(mbx.calls, "wf");
        EXPECT_EQ(toc.calls, fails ? "twf" : "twfwf") << "blocks, flush, header, flush";
        EXPECT_EQ(fails ? result.uncertain : result.written, 1U);
    }
}

TEST(TocFile, BlocksThatItLacksAreZero) {
    MailboxBuilder box;
    for (std::uint32_t i = 1; i <= 1030; ++i) box.Block(i, 1, 1);
    const auto bytes = box.Toc();
    FarFile toc(bytes.size(), {{0, bytes}});
    const auto places = *mailbox::ReadPlaces(toc, 3000);
    EXPECT_EQ(places.size(), 3000U);
    EXPECT_EQ(places[1029].dwMsgId, 1030U);
    for (const std::size_t at : {1030U, 2500U}) EXPECT_EQ(places[at].End(), 0U) << at;
}

// What a scan gives, the plain way: nothing without "To: ", else the id.
std::optional<std::string> AtOnce(std::string_view text) {
    text = text.substr(0, text.find('\0'));
    const auto to = text.find("To: ");
    if (to == text.npos) return std::nullopt;
    text = text.substr(0, to);
    for (const std::string_view marker : {"Message-ID: <", "Message-Id: <"}) {
        const auto at = text.find(marker);
        if (at == text.npos) continue;
        text = text.substr(at + marker.size());
        text = text.substr(std::min(text.find_first_not_of('>'), text.size()));
        return std::string(text.substr(0, text.find('>')));
    }
    return "";
}

// Texts out of fragments of what is looked for, cut anywhere.
TEST(MessageIdScan, PiecesMakeNoDifference) {
    const std::string fragments[] = {
        "Message-ID: <", "Message-Id: <", "Message-I", "D: <", "d: <",      "To: ",
        "\0"s,           "To:",           "T",         "o: ",  ">",         "<",
        "a@b",           "\r\n",          "\r",        "Mess", "age-ID: <", "yyyyyyyyy"};
    std::mt19937 random(7);
    const auto below = [&](std::size_t limit) { return random() % limit; };
    int answered = 0;
    for (int round = 0; round < 60000; ++round) {
        std::string text;
        for (auto count = below(14); count > 0; --count) {
            // What ends the search is to be rarer than the rest.
            const auto pick = below(std::size(fragments));
            text += (pick == 5 || pick == 6) && below(2) != 0 ? "a@b" : fragments[pick];
        }
        if (below(3) != 0) text += "To: ";
        const std::size_t pieces[] = {1 + below(6), 1 + below(20), 1 + below(3)};
        mailbox::MessageIdScan scan;
        std::size_t turn = 0;
        for (std::string_view rest = text; !rest.empty();) {
            const auto size = std::min(pieces[turn++ % 3], rest.size());
            if (scan.Feed(rest.substr(0, size))) break;
            rest.remove_prefix(size);
        }
        const auto wanted = AtOnce(text);
        answered += wanted && !wanted->empty();
        ASSERT_EQ(scan.FoundTo(), wanted.has_value()) << text;
        ASSERT_TRUE(!wanted || scan.MessageId() == *wanted) << text;
    }
    EXPECT_GT(answered, 10000) << "the texts have become dull";
}

TEST(TocRecords, HeaderCarriesWhatItDoesNotKnow) {
    EXPECT_EQ(mailbox::NewTocHeader(), "\x30\0\x91\0\x7C\x0A\0\0In"s + std::string(36, '\0') +
                                           "\x50\0\x50\0\x35\2\x9F\1"s + std::string(16, '\xFF') +
                                           '\2' + std::string(13, '\0') + '\x8C' +
                                           std::string(19, '\0'));
    for (const std::size_t size : {0U, 73U, 103U, 104U, 300U}) {
        std::string bytes(size, '\xA5');
        auto header = mailbox::TocHeader::Decode(bytes);
        bytes.resize(mailbox::kTocHeaderSize, '\0');
        EXPECT_EQ(header.Encode(), bytes) << size;
        header.wHighestMsgId = 0x1234;
        header.wNumberOfMsgs = 0xFEDC;
        bytes.replace(72, 2, "\x34\x12").replace(102, 2, "\xDC\xFE");
        EXPECT_EQ(header.Encode(), bytes) << size;
    }
}

TEST(TocRecords, ShownTextsEndWithAWholeCharacter) {
    const std::string kanji = "\x8A\xBF", a62(62, 'a'), a61(61, 'a');
    for (const auto& [text, held] :
         {std::pair{a62 + "aa", a62 + "a"}, {a61 + kanji, a61 + kanji}, {a62 + kanji + "b", a62}}) {
        const auto bytes = mailbox::NewMsgBlock(text, text, false, 932).Encode();
        const auto block = mailbox::MsgBlock::Decode(bytes.substr(0, 190));
        EXPECT_EQ(block.szFrom, held);
        EXPECT_EQ(block.szSubject, held);
    }
}

TEST(TocRecords, IdsAsTexts) {
    EXPECT_EQ(mailbox::IndexIdOf(0xABCDEF09U), "0xABCDEF09");
    EXPECT_EQ(mailbox::IndexIdOf(1), "0x00000001");
    const std::pair<const char*, std::uint32_t> rows[] = {
        {"0x", 0U},      {"x12", 0U},    {"0Xff", 0xFF},
        {" \t12", 0x12}, {"12g4", 0x12}, {"0xdeadBEEF", 0xDEADBEEF}};
    for (const auto& [text, number] : rows) EXPECT_EQ(mailbox::MsgIdOf(text), number) << text;
}

}  // namespace
