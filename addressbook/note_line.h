#pragma once

#include <string>
#include <string_view>

#include "addressbook/nickname_record.h"

namespace addressbook {

// What a record's two lines hold and the record has no place for. A part that is white space alone
// is no content.
struct Leftover {
    std::string tokens;     // of the note line, in its order, each in angle brackets
    std::string_view tail;  // of the alias line, behind a CR inside it; part of the file's bytes

    bool Any() const { return !tokens.empty() || !tail.empty(); }
    void AddToken(std::string_view token);
};

// Finds the content of a note line (its bytes up to the LF) of the record of that nickname.
void ParseNoteLine(std::string_view line, std::string_view nickname, RecordText& record,
                   Leftover& leftover);

// Writes "note ", nickname and the content in its normal form.
void AppendNoteLine(std::string& out, std::string_view nickname, const RecordText& record);

// Whether the text behind nickname and blank of a note line is in the normal form: the tags in
// their order, none empty, then the note.
bool IsNormalNote(std::string_view content);

// The part of a nickname that a note line can carry in front of its first delimiter.
std::string_view CarriedName(std::string_view nickname);

}  // namespace addressbook
