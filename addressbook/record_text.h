#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "addressbook/nickname_lines.h"

// The two lines of a record taken apart and written (docs/formats/nickname.md).
namespace addressbook {

// The texts of a note line in the order of writing; all but the note have a tag.
enum Part : std::size_t { kFax, kAddress, kPhone, kName, kNote, kParts };

// Views of a record's texts, in the file or in a NicknameRecord. Used for one record after another,
// it allocates nothing for each.
struct RecordText {
    std::array<std::string_view, kParts> parts;
    std::vector<std::string_view> mails;
    std::vector<std::string_view> tokens;  // room for the scan of a note line

    bool HasNoteContent() const;
};

// The parts of a record's two lines for which the record has no place. White space alone does not
// count.
struct Leftover {
    std::string tokens;     // of the note line, in its order, each in angle brackets
    std::string_view tail;  // of the alias line, behind a CR inside it; part of the file's bytes

    bool Any() const { return !tokens.empty() || !tail.empty(); }
    void AddToken(std::string_view token);
};

// Finds the texts of a record in its lines, in place of those that `record` held.
void ParseRecord(const Entry& entry, RecordText& record, Leftover& leftover);

// Writes a record's one or two lines in the normal form, without a line end behind the last.
void AppendRecord(std::string& out, std::string_view nickname, const RecordText& record);

// The number of bytes of an entry's lines without the last line end, if AppendRecord would write
// the same bytes; else 0.
std::size_t NormalSize(const Entry& entry);

}  // namespace addressbook
