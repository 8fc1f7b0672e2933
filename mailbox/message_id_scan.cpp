#include "mailbox/message_id_scan.h"

#include <algorithm>

namespace mailbox {

namespace {

constexpr std::string_view kTo = "To: ";
constexpr std::size_t kHeld = std::string_view("Message-ID: <").size() - 1;

}  // namespace

void MessageIdScan::Line::Append(std::string_view bytes) {
    if (text.empty()) bytes.remove_prefix(std::min(bytes.find_first_not_of('>'), bytes.size()));
    const auto end = bytes.find('>');
    text += bytes.substr(0, end);
    ended = end != std::string_view::npos;
}

// The first `heldBefore` bytes of the window were in the last one too; the bytes from `safe` on may
// belong to a "To: ", which would end the text.
void MessageIdScan::Line::Scan(std::string_view window, std::size_t heldBefore, std::size_t safe) {
    std::size_t from = heldBefore - pending;
    if (!seen) {
        const auto at = window.find(marker);
        if (at == std::string_view::npos) return;
        seen = true;
        from = at + marker.size();
    }
    if (!ended && from < safe) Append(window.substr(from, safe - from));
    pending = window.size() - std::max(from, safe);
}

bool MessageIdScan::ScanWindow(std::string_view window) {
    const std::size_t heldBefore = m_held.size();
    const auto to = window.find(kTo);
    const auto zero = window.substr(0, to).find('\0');
    m_foundTo = to != std::string_view::npos && zero == std::string_view::npos;
    const bool isLast = m_foundTo || zero != std::string_view::npos;
    if (isLast) window = window.substr(0, std::min(to, zero));
    const std::size_t safe =
        isLast ? window.size() : window.size() - std::min(window.size(), kTo.size() - 1);
    // Nothing can take the place of a first spelling that was seen.
    m_upper.Scan(window, heldBefore, safe);
    if (!m_upper.seen) m_lower.Scan(window, heldBefore, safe);
    return isLast;
}

bool MessageIdScan::Feed(std::string_view bytes) {
    std::string joined;
    if (!m_held.empty()) bytes = joined = m_held + std::string(bytes);
    if (ScanWindow(bytes)) return true;
    m_held = bytes.substr(bytes.size() - std::min(bytes.size(), kHeld));
    return false;
}

std::string_view MessageIdScan::MessageId() const {
    return m_upper.seen ? m_upper.text : m_lower.text;
}

}  // namespace mailbox
