#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// The records of a .toc file, as docs/formats/toc.md describes them: one header, then a block for
// each mail, all numbers little-endian, nothing aligned. Texts are bytes in the system code page.
// Bytes without a meaning here are kept as they are.
namespace mailbox {

// Sizes and offsets in bytes, and the most mails that a file holds.
inline constexpr std::size_t kTocHeaderSize = 104;
inline constexpr std::size_t kMsgBlockSize = 218;
inline constexpr std::size_t kStatusOffset = 12;  // in a block
inline constexpr std::uint32_t kMostMsgs = 65535;

// Where the block of mail `index`, counted from 0, lies in the file.
constexpr std::uint64_t BlockOffset(std::uint32_t index) {
    return kTocHeaderSize + std::uint64_t{kMsgBlockSize} * index;
}

struct TocHeader {
    std::string bytes;  // all of them: what is not a field below is carried
    std::uint16_t wHighestMsgId = 0;
    std::uint32_t dwMbxSize = 0;  // of the .mbx file, and 1; the in-box of ours has 0
    std::uint16_t wNumberOfMsgs = 0;

    // Bytes that are missing at the end count as zero.
    static TocHeader Decode(std::string_view bytes);
    std::string Encode() const;
    // A small number in files of Eudora for Windows.
    std::uint16_t Version() const;
    // Whether the file is one of Eudora for Macintosh, whose records are others.
    bool IsMacintosh() const;
};

// A mailbox of Eudora's own.
struct MailboxKind {
    std::string_view name;  // of both files, without extension
    char type;              // as the header has it
};
inline constexpr MailboxKind kInBox{"In", 0}, kOutBox{"Out", 1}, kTrash{"Trash", 3};

// The 104 bytes of a new mailbox without mails.
std::string NewTocHeader(const MailboxKind& kind = kInBox);

// States at kStatusOffset that we ask for or write, in files of Eudora 7; docs/formats/toc.md has
// all.
enum class MailState : std::uint16_t { kUnread = 0, kQueued = 7, kSent = 8 };

// What an index of the mails needs of a block, for reading many.
struct MailPlace {
    std::uint32_t dwOffset = 0;  // of the mail's separator line in the .mbx file
    std::uint32_t dwLength = 0;  // bytes of the mail, separator line and last line end included
    std::uint32_t dwMsgId = 0;
    std::uint16_t wStatus = 0;

    // Bytes that are missing at the end count as zero.
    static MailPlace Decode(std::string_view bytes);
    // Where the mail's bytes end in the .mbx file.
    std::uint64_t End() const { return std::uint64_t{dwOffset} + dwLength; }
    // Writes offset and length, and nothing else, into the bytes of a whole block.
    void PutInto(std::string& block) const;
    // Writes the id alone.
    void PutIdInto(std::string& block) const;
};

struct MsgBlock : MailPlace {
    std::uint32_t dwSeconds = 0;  // seconds since 1970-01-01 00:00 UTC
    std::uint8_t bMarkLow = 0;
    std::uint8_t bMarkHigh = 0;   // 0x80: has attachments
    std::uint16_t wPriority = 3;  // 1 is the highest, 3 is normal, 5 the lowest
    std::uint16_t wLabel = 0;     // the number of its label; 0 for none
    std::string szDate;           // at most 31 bytes
    std::string szFrom;           // at most 63 bytes
    std::string szSubject;        // at most 63 bytes

    // Bytes that are missing at the end count as zero.
    static MsgBlock Decode(std::string_view bytes);
    // A block as it stands for a mail that we add ourselves. The texts must fit.
    std::string Encode() const;
};

// The block of a new mail without place, state, date and id. Long texts are cut at whole characters
// of the code page.
MsgBlock NewMsgBlock(std::string_view from, std::string_view subject, bool hasAttachments,
                     unsigned codePage);

// The index id, the name of a mail outside its file: "0x" and eight upper-case hexadecimal digits.
std::string IndexIdOf(std::uint32_t msgId);
// The number of an index id, read as "%X" reads it: an optional "0x", hexadecimal digits in any
// case, anything behind them. 0 without digits.
std::uint32_t MsgIdOf(std::string_view indexId);
// The number of an index id in exactly the form of IndexIdOf; nothing for any other text.
std::optional<std::uint32_t> ExactMsgIdOf(std::string_view indexId);

}  // namespace mailbox
