#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "platform/os/files.h"

namespace mailbox {

// Finds the Message-ID of a stored mail in its bytes, which come in pieces of any size. What counts
// is the text before the first "To: ", wherever that stands; the text ends at a zero byte. In it
// the first "Message-ID: <" is looked for, and if there is none the first "Message-Id: <"; the id
// is what stands behind it, without leading ">", up to the next ">" or the "To: ". Holds a few
// bytes and the id, however long the mail is.
class MessageIdScan {
  public:
    // True when no more bytes are needed.
    bool Feed(std::string_view bytes);
    // Whether a "To: " was found. A mail without has no place in an index of ids.
    bool FoundTo() const { return m_foundTo; }
    // The id; empty if there is none.
    std::string_view MessageId() const;

  private:
    // One spelling of the line and the text behind its first occurrence.
    struct Line {
        std::string_view marker;
        bool seen = false;
        bool ended = false;
        std::size_t pending = 0;  // last bytes of the window that the text may go on with
        std::string text = {};

        void Scan(std::string_view window, std::size_t heldBefore, std::size_t safe);
        void Append(std::string_view bytes);
    };

    bool ScanWindow(std::string_view window);

    Line m_upper{"Message-ID: <"};
    Line m_lower{"Message-Id: <"};
    std::string m_held;  // the end of the last window, where a marker may have begun
    bool m_foundTo = false;
};

// Called for each block, in order. The Message-ID is empty if the mail has none, and there is
// nothing for a mail that has no place in an index of ids. The text is valid during the call.
using IndexedMail =
    std::function<void(std::uint32_t msgId, std::optional<std::string_view> messageId)>;

// Reads `count` blocks of a .toc file, and of each mail in the .mbx file as much as its Message-ID
// needs. Gives the id in the last block, 0 for no block.
//
// Nothing in the files is trusted: a block that the .toc lacks is all zero, a mail ends where the
// .mbx file does, and memory does not depend on what a block claims. Blocks that lie over one
// another cannot make it read without end: a mail that would take the bytes read far beyond the
// size of the .mbx file counts as one without "To: ".
platform::Result<std::uint32_t> ReadIndex(platform::File& mbx, platform::File& toc,
                                          std::uint32_t count, const IndexedMail& found);

}  // namespace mailbox
