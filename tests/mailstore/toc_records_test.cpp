#include "mailbox/toc_records.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

using namespace mailbox;

namespace {

std::string RandomBytes(std::mt19937& random, std::size_t size) {
    std::string bytes(size, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random());
    return bytes;
}

// Bytes with zeros among them.
template <std::size_t kSize>
std::string Bytes(const char (&bytes)[kSize]) {
    return {bytes, kSize - 1};
}

TEST(TocRecords, NewHeader) {
    EXPECT_EQ(mailbox::NewTocHeader(), Bytes("\x30\0\x91\0\x7C\x0A\0\0In") + std::string(36, '\0') +
                                           Bytes("\x50\0\x50\0\x35\2\x9F\1") +
                                           std::string(16, '\xFF') + '\2' + std::string(13, '\0') +
                                           '\x8C' + std::string(19, '\0'));
}

TEST(TocRecords, HeaderCarriesWhatItDoesNotKnow) {
    std::mt19937 random(1);
    for (const std::size_t size : {0U, 1U, 72U, 73U, 74U, 102U, 103U, 104U, 300U}) {
        std::string bytes = RandomBytes(random, size);
        auto header = mailbox::TocHeader::Decode(bytes);
        bytes.resize(mailbox::kTocHeaderSize, '\0');
        EXPECT_EQ(header.Encode(), bytes) << size;
        EXPECT_EQ(header.wNumberOfMsgs, static_cast<unsigned char>(bytes[102]) +
                                            256U * static_cast<unsigned char>(bytes[103]))
            << size;
        header.wHighestMsgId = 0x1234;
        header.wNumberOfMsgs = 0xFEDC;
        bytes.replace(72, 2, "\x34\x12").replace(102, 2, "\xDC\xFE");
        EXPECT_EQ(header.Encode(), bytes) << size;
    }
}

TEST(TocRecords, DamagedBlocksDecodeAsIfFilledWithZeros) {
    std::mt19937 random(2);
    for (std::size_t size = 0; size <= mailbox::kMsgBlockSize; ++size) {
        const std::string bytes = RandomBytes(random, size);
        const std::string whole = bytes + std::string(mailbox::kMsgBlockSize - size, '\0');
        const auto cut = mailbox::MsgBlock::Decode(bytes),
                   filled = mailbox::MsgBlock::Decode(whole);
        EXPECT_EQ(cut.Encode(), filled.Encode()) << size;
        const auto place = mailbox::MailPlace::Decode(bytes);
        EXPECT_EQ(place.dwOffset, filled.dwOffset) << size;
        EXPECT_EQ(place.dwLength, filled.dwLength) << size;
        EXPECT_EQ(place.dwMsgId, filled.dwMsgId) << size;
    }
    const auto full = mailbox::MsgBlock::Decode(std::string(mailbox::kMsgBlockSize, 'x'));
    EXPECT_EQ(full.szDate.size() + full.szFrom.size() + full.szSubject.size(), 32U + 64U + 64U);
}

TEST(TocRecords, ShownTextsEndWithAWholeCharacter) {
    const std::string kanji = "\x8A\xBF", a62(62, 'a'), a61(61, 'a'), halves(60, '\xB1');
    for (const auto& [text, held] : {std::pair{a62, a62},
                                     {a62 + "aa", a62 + "a"},
                                     {a61 + kanji, a61 + kanji},
                                     {a62 + kanji + "b", a62},
                                     {"a" + kanji + halves + "\xB1", "a" + kanji + halves}}) {
        const auto block =
            mailbox::MsgBlock::Decode(mailbox::NewMsgBlock(text, text, false, 932).Encode());
        EXPECT_EQ(block.szFrom, held);
        EXPECT_EQ(block.szSubject, held);
    }
}

TEST(TocRecords, IdsAsTexts) {
    for (const auto& [number, text] : {std::pair{0U, "0x00000000"},
                                       {1U, "0x00000001"},
                                       {0xABCDEF09U, "0xABCDEF09"},
                                       {0xFFFFFFFFU, "0xFFFFFFFF"}}) {
        EXPECT_EQ(mailbox::IndexIdOf(number), text);
        EXPECT_EQ(mailbox::MsgIdOf(text), number);
    }
    const std::pair<const char*, std::uint32_t> rows[] = {
        {"", 0U},       {"0x", 0U},      {"x12", 0U},    {"<a@b>", 0U},
        {"0Xff", 0xFF}, {" \t12", 0x12}, {"12g4", 0x12}, {"deadBEEF", 0xDEADBEEF}};
    for (const auto& [text, number] : rows) {
        EXPECT_EQ(mailbox::MsgIdOf(text), number) << text;
    }
}

}  // namespace
