#include "mailbox/toc_records.h"

#include <algorithm>
#include <array>

#include "platform/os/little_endian.h"
#include "text/ascii.h"
#include "text/double_byte.h"

namespace mailbox {

namespace {

// The offsets of a header's fields.
constexpr std::size_t kNameAt = 8, kTypeAt = 40, kHighestMsgIdAt = 72, kMbxSizeAt = 96,
                      kNumberOfMsgsAt = 102;
// The offsets and widths of a block's fields.
constexpr std::size_t kOffsetAt = 0, kLengthAt = 4, kSecondsAt = 8, kMarkLowAt = 14,
                      kMarkHighAt = 15, kPriorityAt = 16, kDateAt = 18, kFromAt = 50,
                      kSubjectAt = 114, kLabelAt = 186, kMsgIdAt = 192;
constexpr std::size_t kDateWidth = 32, kFromWidth = 64, kSubjectWidth = 64;

// What Eudora has in a block at places of its own.
struct OwnWord {
    std::size_t at;
    std::uint16_t value;
};
constexpr OwnWord kOwnWords[] = {{178, 0xFFFF}, {180, 0xFFFF}, {182, 0xFFFF},
                                 {184, 0xFFFF},  // default window
                                 {198, 0x0001}, {202, 0xFE5C}, {208, 0x0001}};

// The bytes of a new header that are not zero, in runs.
constexpr std::string_view kNewStart("\x30\x00\x91\x00\x7C\x0A", 6);
constexpr std::string_view kNewWindow("\x50\x00\x50\x00\x35\x02\x9F\x01", 8);
constexpr std::size_t kNewWindowAt = 46, kNewFilledAt = 54, kNewFilled = 16;
constexpr std::size_t kNewTwoAt = 70, kNewRulerAt = 84;

// The last byte of the field stays zero.
void PutText(std::string& bytes, std::size_t at, std::size_t width, std::string_view text) {
    text.copy(bytes.data() + at, std::min(text.size(), width - 1));
}

std::string TextAt(std::string_view bytes, std::size_t at, std::size_t width) {
    const std::string_view field = bytes.substr(at, width);
    return std::string(field.substr(0, field.find('\0')));
}

std::string Padded(std::string_view bytes, std::size_t size) {
    std::string whole(bytes.substr(0, size));
    whole.resize(size, '\0');
    return whole;
}

}  // namespace

TocHeader TocHeader::Decode(std::string_view bytes) {
    TocHeader header;
    header.bytes = Padded(bytes, kTocHeaderSize);
    header.wHighestMsgId = *platform::ReadU16(header.bytes, kHighestMsgIdAt);
    header.dwMbxSize = *platform::ReadU32(header.bytes, kMbxSizeAt);
    header.wNumberOfMsgs = *platform::ReadU16(header.bytes, kNumberOfMsgsAt);
    return header;
}

std::string TocHeader::Encode() const {
    std::string out = Padded(bytes, kTocHeaderSize);
    platform::WriteNumber(out, kHighestMsgIdAt, wHighestMsgId);
    platform::WriteNumber(out, kMbxSizeAt, dwMbxSize);
    platform::WriteNumber(out, kNumberOfMsgsAt, wNumberOfMsgs);
    return out;
}

std::uint16_t TocHeader::Version() const {
    return *platform::ReadU16(bytes, 0);
}

bool TocHeader::IsMacintosh() const {
    return bytes.starts_with(std::string_view("\x00\x01", 2));
}

std::string NewTocHeader(const MailboxKind& kind) {
    std::string bytes(kTocHeaderSize, '\0');
    kNewStart.copy(bytes.data(), kNewStart.size());
    kind.name.copy(bytes.data() + kNameAt, kind.name.size());
    bytes[kTypeAt] = kind.type;
    kNewWindow.copy(bytes.data() + kNewWindowAt, kNewWindow.size());
    std::fill_n(bytes.begin() + kNewFilledAt, kNewFilled, '\xFF');
    bytes[kNewTwoAt] = '\x02';
    bytes[kNewRulerAt] = '\x8C';
    return bytes;
}

MsgBlock MsgBlock::Decode(std::string_view bytes) {
    std::string padded;
    if (bytes.size() < kMsgBlockSize) bytes = padded = Padded(bytes, kMsgBlockSize);
    MsgBlock block;
    static_cast<MailPlace&>(block) = MailPlace::Decode(bytes);
    block.dwSeconds = *platform::ReadU32(bytes, kSecondsAt);
    block.bMarkLow = static_cast<std::uint8_t>(bytes[kMarkLowAt]);
    block.bMarkHigh = static_cast<std::uint8_t>(bytes[kMarkHighAt]);
    block.wPriority = *platform::ReadU16(bytes, kPriorityAt);
    block.wLabel = *platform::ReadU16(bytes, kLabelAt);
    block.szDate = TextAt(bytes, kDateAt, kDateWidth);
    block.szFrom = TextAt(bytes, kFromAt, kFromWidth);
    block.szSubject = TextAt(bytes, kSubjectAt, kSubjectWidth);
    return block;
}

std::string MsgBlock::Encode() const {
    std::string bytes(kMsgBlockSize, '\0');
    for (const OwnWord& word : kOwnWords) platform::WriteNumber(bytes, word.at, word.value);
    PutInto(bytes);
    platform::WriteNumber(bytes, kSecondsAt, dwSeconds);
    platform::WriteNumber(bytes, kStatusOffset, wStatus);
    bytes[kMarkLowAt] = static_cast<char>(bMarkLow);
    bytes[kMarkHighAt] = static_cast<char>(bMarkHigh);
    platform::WriteNumber(bytes, kPriorityAt, wPriority);
    platform::WriteNumber(bytes, kLabelAt, wLabel);
    PutText(bytes, kDateAt, kDateWidth, szDate);
    PutText(bytes, kFromAt, kFromWidth, szFrom);
    PutText(bytes, kSubjectAt, kSubjectWidth, szSubject);
    platform::WriteNumber(bytes, kMsgIdAt, dwMsgId);
    return bytes;
}

MsgBlock NewMsgBlock(std::string_view from, std::string_view subject, bool hasAttachments,
                     unsigned codePage) {
    const auto shown = [&](std::string_view text, std::size_t width) {
        return std::string(text.substr(0, text::WholeCharacterPrefix(text, width - 1, codePage)));
    };
    MsgBlock block;
    block.bMarkLow = hasAttachments ? 0x00 : 0xBE;
    block.bMarkHigh = hasAttachments ? 0x80 : 0x01;
    block.szFrom = shown(from, kFromWidth);
    block.szSubject = shown(subject, kSubjectWidth);
    return block;
}

MailPlace MailPlace::Decode(std::string_view bytes) {
    std::string padded;
    if (bytes.size() < kMsgBlockSize) bytes = padded = Padded(bytes, kMsgBlockSize);
    return {*platform::ReadU32(bytes, kOffsetAt), *platform::ReadU32(bytes, kLengthAt),
            *platform::ReadU32(bytes, kMsgIdAt), *platform::ReadU16(bytes, kStatusOffset)};
}

void MailPlace::PutInto(std::string& block) const {
    platform::WriteNumber(block, kOffsetAt, dwOffset);
    platform::WriteNumber(block, kLengthAt, dwLength);
}

void MailPlace::PutIdInto(std::string& block) const {
    platform::WriteNumber(block, kMsgIdAt, dwMsgId);
}

std::string IndexIdOf(std::uint32_t msgId) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    std::string text = "0x00000000";
    for (auto at = text.rbegin(); msgId != 0; ++at, msgId >>= 4) *at = kDigits[msgId & 0xF];
    return text;
}

std::uint32_t MsgIdOf(std::string_view indexId) {
    indexId = text::TrimmedFront(indexId, " \t\n\v\f\r");
    if (indexId.starts_with("0x") || indexId.starts_with("0X")) indexId.remove_prefix(2);
    std::uint32_t number = 0;
    for (const char letter : indexId) {
        const int value = text::HexValue(letter);
        if (value < 0) break;
        number = number << 4 | static_cast<std::uint32_t>(value);
    }
    return number;
}

std::optional<std::uint32_t> ExactMsgIdOf(std::string_view indexId) {
    const std::uint32_t id = MsgIdOf(indexId);
    if (IndexIdOf(id) != indexId) return std::nullopt;
    return id;
}

}  // namespace mailbox
