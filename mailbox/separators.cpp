#include "mailbox/separators.h"

#include <string>
#include <string_view>

#include "text/ascii.h"
#include "text/calendar.h"

namespace mailbox {

namespace {

constexpr std::string_view kStart = "\nFrom ???@??? ";
constexpr std::size_t kLongestDate = 64;

// Whether what stands behind the start is a date and the end of a line.
bool IsDate(std::string_view rest) {
    const std::string_view line = rest.substr(0, rest.find_first_of("\r\n"));
    return line.size() < kLongestDate && text::ReadMailDate(line).has_value();
}

}  // namespace

platform::Status FindSeparators(platform::File& mbx, std::uint64_t from,
                                const std::function<void(std::uint64_t)>& found) {
    constexpr std::size_t kPiece = 1 << 20;
    // The line end in front of the first line, which the file may lack.
    std::string piece(1, '\n');
    std::uint64_t offset = from;  // of what will be read next
    for (bool isAtEnd = false; !isAtEnd;) {
        const std::size_t held = piece.size();
        piece.resize(held + kPiece);
        const auto count = mbx.ReadAt(offset, {piece.data() + held, kPiece});
        if (!count) return count.Error();
        piece.resize(held + *count);
        offset += *count;
        isAtEnd = *count < kPiece;
        const std::uint64_t begin = offset - piece.size();  // one less than 0 at first
        // A line whose date may go on behind the piece waits for the next one.
        const std::size_t room = kStart.size() + kLongestDate;
        const std::size_t end = isAtEnd ? piece.size() : piece.size() - room;
        for (std::size_t at = 0; (at = piece.find(kStart, at)) < end; ++at) {
            if (IsDate(std::string_view(piece).substr(at + kStart.size()))) found(begin + at + 1);
        }
        piece.erase(0, end);
    }
    return {};
}

platform::Result<bool> HasSeparatorAt(platform::File& mbx, std::uint64_t offset) {
    const auto line = kStart.substr(1);
    std::string begin(line.size(), '\0');
    const auto count = mbx.ReadAt(offset, begin);
    if (!count) return count.Error();
    return begin == line;
}

}  // namespace mailbox
