#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "platform/os/files.h"

namespace mailbox {

// Finds the Message-ID of a stored mail in its bytes, which come in pieces of any size. Only the
// text before the first "To: ", wherever that stands, or before the first zero byte counts. The id
// begins behind the first "Message-ID: <", else behind the first "Message-Id: <", without leading
// ">", and ends at the next ">" or at the "To: ". Memory holds a few bytes and the id, however long
// the mail is.
class MessageIdScan {
  public:
    // True when no more bytes are needed.
    bool Feed(std::string_view bytes);
    // Whether a "To: " was found. A mail without one has no place in an index of ids.
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

// Called for each block, in order. The Message-ID is empty for a mail without one, and nothing for
// a mail without "To: ", which has no place in the index. The text is valid during the call.
using IndexedMail =
    std::function<void(std::uint32_t msgId, std::optional<std::string_view> messageId)>;

// Reads `count` blocks of a .toc file, and each mail in the .mbx file up to its Message-ID. Gives
// the id in the last block, 0 without blocks. A failure ends the reading; mails found by then have
// been handed over.
//
// Nothing in the files is trusted: a missing block is all zero, a mail ends at the end of the .mbx
// file, and memory does not depend on a block's length. Overlapping blocks cannot make it read
// without end: once far more bytes are read than the .mbx file has, a mail counts as one without
// "To: ".
platform::Result<std::uint32_t> ReadIndex(platform::File& mbx, platform::File& toc,
                                          std::uint32_t count, const IndexedMail& found);

}  // namespace mailbox
