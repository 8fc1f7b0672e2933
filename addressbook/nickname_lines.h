#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// The lines of a nickname file (docs/formats/nickname.md): bytes in the system code page. All
// results are views into the file's text, which outlives them.
namespace addressbook {

inline constexpr std::size_t kMaxNickname = 39;  // bytes that a record holds
inline constexpr std::string_view kSpaces = " \t\r\n\v\f";

// A set of bytes that end a token.
class ByteSet {
  public:
    constexpr explicit ByteSet(std::string_view bytes) {
        for (const char byte : bytes) m_has[static_cast<unsigned char>(byte)] = true;
    }
    constexpr bool Has(char byte) const { return m_has[static_cast<unsigned char>(byte)]; }

  private:
    bool m_has[256] = {};
};

// A cursor over one line that takes tokens as strtok does. Each scan may use another set; it
// consumes the byte that ends its token.
class TokenScan {
  public:
    explicit TokenScan(std::string_view line) : m_line(line) {}

    // Skips bytes of the set and takes those up to the next one. Empty: the line ended first.
    std::string_view Next(const ByteSet& set) {
        while (m_at < m_line.size() && set.Has(m_line[m_at])) ++m_at;
        const std::size_t begin = m_at;
        while (m_at < m_line.size() && !set.Has(m_line[m_at])) ++m_at;
        const auto token = m_line.substr(begin, m_at - begin);
        if (m_at < m_line.size()) ++m_at;
        return token;
    }
    // What is behind the cursor.
    std::string_view Rest() const { return m_line.substr(m_at); }

  private:
    std::string_view m_line;
    std::size_t m_at = 0;
};

// One line of a nickname file.
struct Line {
    std::string_view bytes;  // up to the LF, which is not in it; a CR before it is
    bool ended = false;      // by an LF; the last line may lack it

    // The bytes without the line end, to which one CR directly before the LF belongs.
    std::string_view Text() const;
};

// The first two tokens of an entry line. Any first word counts as "alias".
struct EntryHead {
    std::string_view nickname;  // empty: the line names no record; one of CRs alone is empty too
    std::string_view rest;      // where the address list is scanned from
    bool quoted = false;        // the byte at index 6 is a double quote

    // Whether a note line behind it belongs to it.
    bool TakesNote() const;
};
EntryHead ScanEntryHead(std::string_view line);

// An entry line and the note line directly behind it, if it has one.
struct Entry {
    std::size_t at = 0;    // where the entry begins in the text
    std::size_t next = 0;  // where the next one begins
    Line line, note;
    EntryHead head;

    bool HasNote() const { return !note.bytes.empty(); }
};

// The entry whose line begins at `at`, inside the text. A note line belongs to the entry above,
// whichever nickname it has; only a group without quotes and a line without a nickname take none.
Entry EntryAt(std::string_view text, std::size_t at);

// Entries whose nickname begins with "group", in any case, are lists of recipients.
bool IsGroupName(std::string_view nickname);
// Whether a nickname can be held: not too long, and no zero byte in it.
bool FitsRecord(std::string_view nickname);
bool IsNoteLine(std::string_view line);

// Appends the beginning of a record's line: `word`, the nickname, in double quotes if it has a
// blank, and a blank.
void AppendHead(std::string& out, std::string_view word, std::string_view nickname);

}  // namespace addressbook
