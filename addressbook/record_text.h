#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "addressbook/nickname_lines.h"

namespace addressbook {

// The texts of a note line in the order of writing; all but the note have a tag.
enum Part : std::size_t { kFax, kAddress, kPhone, kName, kNote, kParts };

// The texts of a record where they lie, in the file or in a NicknameRecord. Meant to be used again
// for one record after the other, so that taking one apart allocates nothing.
struct RecordText {
    std::array<std::string_view, kParts> parts;
    std::vector<std::string_view> mails;
    std::vector<std::string_view> tokens;  // room for the scan of a note line

    bool HasNoteContent() const;
};

// What a record's two lines hold and the record has no place for. A part that is white space alone
// is no content.
struct Leftover {
    std::string tokens;     // of the note line, in its order, each in angle brackets
    std::string_view tail;  // of the alias line, behind a CR inside it; part of the file's bytes

    bool Any() const { return !tokens.empty() || !tail.empty(); }
    void AddToken(std::string_view token);
};

// Finds the texts of a record in its lines; what `record` held before is gone.
void ParseRecord(const Entry& entry, RecordText& record, Leftover& leftover);

// Writes a record's one or two lines in the normal form, without a line end behind the last.
void AppendRecord(std::string& out, std::string_view nickname, const RecordText& record);

// How many bytes the lines of an entry have without the last line end, if AppendRecord would write
// the very same; else 0.
std::size_t NormalSize(const Entry& entry);

}  // namespace addressbook
