#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace addressbook {

// One line of a nickname file.
struct Line {
    std::string_view bytes;  // up to the LF, which is not in it; a CR before it is
    bool ended = false;      // by an LF; the last line may lack it
    std::size_t next = 0;    // where the next line begins

    // The bytes without the line end, to which one CR directly before the LF belongs.
    std::string_view Text() const;
};

// The line that begins at `at`, which must be inside `text`.
Line LineAt(std::string_view text, std::size_t at);

// What the first two tokens of a record line say.
struct EntryHead {
    std::string_view nickname;  // empty: the line names no record
    std::size_t rest = 0;       // where the address list is scanned from
    bool quoted = false;        // the byte at index 6 is a double quote
};

// Any first word serves as "alias". A nickname of CRs alone is a mere line end and names nothing.
EntryHead ScanEntryHead(std::string_view line);

// Entries whose nickname begins with "group", in any case, are lists of recipients.
bool IsGroupName(std::string_view nickname);
// Whether a nickname can be held: not too long, and no zero byte in it.
bool FitsRecord(std::string_view nickname);
bool IsNoteLine(std::string_view line);

// An entry line and the note line directly behind it, if it has one.
struct Entry {
    Line line;
    EntryHead head;
    bool hasNote = false;
    Line note;

    std::size_t Next() const { return hasNote ? note.next : line.next; }
};

// The entry whose line begins at `at`. A note line belongs to the entry above, whichever nickname
// it has; only a group without quotes and a line without a nickname take none.
Entry EntryAt(std::string_view text, std::size_t at);

// The nickname as both lines of a record have it: in double quotes if and only if it has a blank.
void AppendNickname(std::string& out, std::string_view nickname);

}  // namespace addressbook
