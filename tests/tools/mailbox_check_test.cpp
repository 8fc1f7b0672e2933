#include "tests/tools/mailbox_check.h"

#include <gtest/gtest.h>

#include <array>

namespace {

std::string U32(std::uint32_t number) {
    std::string bytes;
    for (int i = 0; i < 4; ++i, number >>= 8) bytes += static_cast<char>(number & 0xFF);
    return bytes;
}

// Two mails as the formats' pages tell, byte by byte.
struct Sample {
    Sample() {
        for (const std::uint32_t id : {7U, 8U}) Add(id);
    }
    void Add(std::uint32_t id) {
        const std::string text =
            "From ???@??"
            "? Wed Jan 02 02:03:55 1980\r\nMessage-ID: <a@b>\r\n"
            "Date: Wed, 02 Jan 1980 02:03:55 +0900\r\nTo: x\r\nFrom: me\r\nSubject: hi\r\n\r\n"
            "text\r\n\r\n\r\nAttachment Converted: \"C:\\E\\Attach\\a\"\r\n\r\n"
            "Attachment Converted: \"\"\r\n";
        std::string block = U32(static_cast<std::uint32_t>(mbx.size())) +
                            U32(static_cast<std::uint32_t>(text.size())) + U32(315561835);
        block += std::string("\1\0\0\x80\3\0", 6) + "05:03 PM 1/1/80 +0900";
        block.resize(50);
        block += "me";
        block.resize(114);
        block += "hi";
        block.resize(178);
        block += std::string(8, '\xFF') + std::string(6, '\0') + U32(id);
        block += std::string("\0\0\1\0\0\0\x5C\xFE\0\0\0\0\1\0", 14) + std::string(8, '\0');
        mbx += text;
        toc += block;
        toc[102] = static_cast<char>(toc[102] + 1);
    }
    std::vector<std::string> Faults(bool mayHaveLeftovers = false) const {
        const mailbox_check::Rules rules{0, mayHaveLeftovers, [](const std::string& path) {
                                             return path == "C:\\E\\Attach\\a";
                                         }};
        return mailbox_check::Check(mbx, toc, rules).faults;
    }

    std::string mbx, toc = std::string(72, '\0') + "\x08" + std::string(31, '\0');
};

TEST(MailboxCheck, TakesASoundMailboxForOne) {
    EXPECT_EQ(Sample().Faults(), std::vector<std::string>{});
    Sample killed;
    killed.mbx +=
        "From ???@??"
        "? We";
    killed.toc += "torn";
    EXPECT_EQ(killed.Faults(true), std::vector<std::string>{});
    EXPECT_EQ(killed.Faults().size(), 2U);
}

// But for what may as well be another state, time or id, and the bytes behind a text's end.
TEST(MailboxCheck, SeesEveryChangedByteOfABlock) {
    const Sample sample;
    for (const auto& [begin, end] : {std::pair{0U, 12U},
                                     {13U, 18U},
                                     {34U, 39U},
                                     {49U, 53U},
                                     {113U, 117U},
                                     {177U, 192U},
                                     {196U, 218U}}) {
        for (std::size_t at = begin; at < end; ++at) {
            Sample changed = sample;
            changed.toc[104 + 218 + at] = static_cast<char>(changed.toc[104 + 218 + at] ^ 1);
            EXPECT_FALSE(changed.Faults().empty()) << at;
        }
    }
}

TEST(MailboxCheck, NamesTheFault) {
    const auto after = [](const char* what, const std::string& with) {
        Sample sample;
        const auto at = sample.mbx.find(what);
        sample.mbx.replace(at, with.size(), with);
        const auto faults = sample.Faults();
        return faults.empty() ? "" : faults.front();
    };
    const std::array<const char*, 3> rows[] = {
        {"Wed Jan", "Thu Jan", "its separator has no date"},
        {"Jan 02 02", "Feb 30 02", "its separator has no date"},
        {"Message-ID", "Message-Id", "has no Message-ID line"},
        {"02 Jan", "03 Jan", "its Date line is another date than its separator"},
        {"+0900", "+0960", "its Date line has no zone"},
        {"Attach\\a", "Attach\\b", "no such attachment: C:\\E\\Attach\\b"},
        {"Subject: hi", "Subject: ho", "its block has another subject"},
        {"From ?", "from ?", "has no separator line"}};
    for (const auto& [what, with, fault] : rows) {
        EXPECT_EQ(after(what, with), std::string("mail 0: ") + fault);
    }
    Sample doubled;
    doubled.toc.replace(104 + 218 + 192, 4, doubled.toc, 104 + 192, 4);
    EXPECT_EQ(doubled.Faults().front(), "mail 1: its id is another mail's too");
    Sample miscounted;
    miscounted.toc[102] = 3;
    EXPECT_EQ(miscounted.Faults().front(), "fewer blocks than mails");
    Sample cut;
    cut.mbx.pop_back();
    EXPECT_EQ(cut.Faults().front(), "mail 1: reaches beyond the end of the texts");
}

}  // namespace
