#pragma once

#include <string>
#include <string_view>

#include "addressbook/nickname_lines.h"
#include "addressbook/nickname_record.h"
#include "addressbook/note_line.h"

namespace addressbook {

// Finds the texts of a record in its lines.
void ParseRecord(const Entry& entry, RecordText& record, Leftover& leftover);
// Fills an empty record from its lines.
void ReadRecord(const Entry& entry, NicknameRecord& record, Leftover& leftover);

// Writes a record's one or two lines in the normal form, without a line end behind the last.
void AppendRecord(std::string& out, std::string_view key, const RecordText& record);

// Whether the entry's lines stand in the file just as AppendRecord would write them.
bool IsNormal(const Entry& entry);

// The bytes of an entry's lines, without the last line end.
std::string_view BytesOf(std::string_view text, const Entry& entry);

}  // namespace addressbook
