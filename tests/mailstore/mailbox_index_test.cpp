#include "mailbox/mailbox_index.h"
#include "mailbox/append.h"
#include "mailbox/toc_file.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <optional>
#include <vector>

#include "tests/mailstore/mailbox_builder.h"

namespace {

using platform::ErrorCode;
using platform::Failure;
using platform::File;
using platform::Result;
using platform::Status;

// A file of any size whose bytes are made when they are read; counts what was asked for.
class MadeFile : public File {
  public:
    MadeFile(std::uint64_t size, std::function<void(std::uint64_t at, std::span<char>)> make)
        : m_size(size), m_make(std::move(make)) {}

    Result<std::size_t> Read(std::span<char> buffer) override {
        largest = std::max(largest, buffer.size());
        ++reads;
        const auto left = m_size - std::min(m_position, m_size);
        const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(buffer.size(), left));
        m_make(m_position, buffer.first(count));
        m_position += count;
        total += count;
        return count;
    }
    Result<std::uint64_t> Seek(std::int64_t offset, platform::SeekFrom) override {
        return m_position = static_cast<std::uint64_t>(offset);
    }
    Result<std::uint64_t> Size() override { return m_size; }
    Status Write(std::string_view) override { return Failure{ErrorCode::kNotSupported, ""}; }
    Status Truncate(std::uint64_t) override { return Failure{ErrorCode::kNotSupported, ""}; }
    Status Flush() override { return {}; }
    Status Close() override { return {}; }

    std::size_t largest = 0;
    std::uint64_t total = 0, reads = 0;

  private:
    std::uint64_t m_size, m_position = 0;
    std::function<void(std::uint64_t, std::span<char>)> m_make;
};

MadeFile FileOf(const std::string& content) {
    return {content.size(), [content](std::uint64_t at, std::span<char> out) {
                content.copy(out.data(), out.size(), static_cast<std::size_t>(at));
            }};
}

// Fills a part of a file with 'x' but for texts at some places.
auto Mostly(std::vector<std::pair<std::uint64_t, std::string>> texts) {
    return [texts](std::uint64_t at, std::span<char> out) {
        std::fill(out.begin(), out.end(), 'x');
        for (const auto& [place, text] : texts) {
            for (std::size_t i = 0; i < text.size(); ++i) {
                if (place + i >= at && place + i - at < out.size()) out[place + i - at] = text[i];
            }
        }
    };
}

struct Index {
    std::vector<std::pair<std::uint32_t, std::string>> mails;
    std::optional<std::uint32_t> last;
};

Index Read(File& mbx, const MailboxBuilder& box) {
    auto toc = FileOf(box.Toc());
    Index index;
    const auto header = mailbox::ReadTocHeader(toc);
    const auto last =
        mailbox::ReadIndex(mbx, toc, header->wNumberOfMsgs,
                           [&](std::uint32_t id, std::optional<std::string_view> text) {
                               if (text) index.mails.emplace_back(id, *text);
                           });
    if (last) index.last = *last;
    return index;
}

TEST(MailboxIndex, LongMailsNeedLittleMemory) {
    constexpr std::uint64_t kSize = 200 << 20;
    MailboxBuilder box;
    box.Block(7, 5, 0xFFFFFFFF);
    MadeFile silent(kSize, Mostly({{10, "Message-ID: <a>"}}));
    EXPECT_TRUE(Read(silent, box).mails.empty());
    EXPECT_EQ(silent.total, kSize - 5);
    MadeFile late(kSize, Mostly({{10, "Message-ID: <a>"}, {kSize - 4, "To: "}}));
    EXPECT_EQ(Read(late, box).mails, (decltype(Index::mails){{7, "a"}}));
    EXPECT_LE(std::max(silent.largest, late.largest), 128U * 1024);
    MadeFile early(kSize, Mostly({{100, "Message-ID: <a>"}, {900, "To: "}}));
    EXPECT_EQ(Read(early, box).mails, (decltype(Index::mails){{7, "a"}}));
    EXPECT_LE(early.total, 2048U) << "no more is read than the step needs";
}

TEST(MailboxIndex, BlocksThatLieOverOneAnotherDoNotMakeItReadForEver) {
    constexpr std::uint64_t kSize = 16 << 20;
    for (const bool hasTo : {false, true}) {
        MailboxBuilder box;
        for (std::uint32_t i = 0; i < 2000; ++i) box.Block(i, i, 0xFFFFFFFF);
        MadeFile file(kSize, hasTo ? Mostly({{kSize - 4, "To: "}}) : Mostly({}));
        const auto index = Read(file, box);
        EXPECT_LE(file.total, 4 * kSize + 2000 * 65536) << hasTo;
        EXPECT_EQ(index.mails.empty(), !hasTo);
        EXPECT_EQ(index.last, 1999U);
    }
}

// Heads of many sizes: each mail is read once or, when it has a longer head than the others, twice.
TEST(MailboxIndex, OneReadForAMail) {
    for (const std::size_t head : {100U, 900U, 1500U, 3000U, 7000U}) {
        MailboxBuilder box;
        for (std::uint32_t i = 0; i < 2000; ++i) {
            box.Mail(i + 1, std::string(head, 'h') + "Message-ID: <" + std::to_string(i) +
                                ">\r\nTo: x\r\n" + std::string(9000, 'b'));
        }
        auto file = FileOf(box.mbx);
        const auto index = Read(file, box);
        EXPECT_EQ(index.mails.size(), 2000U);
        EXPECT_EQ(index.mails.back().second, "1999");
        EXPECT_LE(file.reads, 2000U + 100) << head;
        EXPECT_LE(file.total, 2000 * (2 * head + 1024) + (1U << 20)) << head;
    }
}

// A file that is as long as it says and takes everything.
class FarFile : public MadeFile {
  public:
    explicit FarFile(std::uint64_t size) : MadeFile(size, [](auto, auto) {}) {}
    Status Write(std::string_view bytes) override {
        written += bytes;
        return {};
    }
    Status Truncate(std::uint64_t) override { return {}; }

    std::string written;
};

TEST(Append, NoMailReachesBeyondFourGigabytes) {
    constexpr std::uint64_t kLimit = 0xFFFFFFFF;
    for (const auto& [size, tells, stored] : {std::tuple{kLimit - 30, false, 3U},
                                              {kLimit - 30, true, 2U},
                                              {kLimit - 29, false, 2U},
                                              {kLimit - 10, false, 1U},
                                              {kLimit, false, 0U},
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
        EXPECT_FALSE(result.failure);
        EXPECT_EQ(mbx.written.size(), stored * 10);
    }
}

}  // namespace
