#pragma once

#include "host/shell/console.h"

namespace host::shell::operations {

// Fields, filters, walking, reading and changing records.
void Fields(Console& console, Arguments& arguments, Json& answer);
void FieldCount(Console& console, Arguments& arguments, Json& answer);
void RecordCount(Console& console, Arguments& arguments, Json& answer);
void TextFilter(Console& console, Arguments& arguments, Json& answer);
void DateFilter(Console& console, Arguments& arguments, Json& answer);
void BoolFilter(Console& console, Arguments& arguments, Json& answer);
void MoveFirst(Console& console, Arguments& arguments, Json& answer);
void MoveNext(Console& console, Arguments& arguments, Json& answer);
void GoTo(Console& console, Arguments& arguments, Json& answer);
void GetRecordID(Console& console, Arguments& arguments, Json& answer);
void GetModifiedInfo(Console& console, Arguments& arguments, Json& answer);
void GetField(Console& console, Arguments& arguments, Json& answer);
void IsOk(Console& console, Arguments& arguments, Json& answer);
void IsOkToProceed(Console& console, Arguments& arguments, Json& answer);
void Add(Console& console, Arguments& arguments, Json& answer);
void Edit(Console& console, Arguments& arguments, Json& answer);
void SetField(Console& console, Arguments& arguments, Json& answer);
void Update(Console& console, Arguments& arguments, Json& answer);
void Delete(Console& console, Arguments& arguments, Json& answer);
void DeleteAll(Console& console, Arguments& arguments, Json& answer);
void BatchUpdate(Console& console, Arguments& arguments, Json& answer);

}  // namespace host::shell::operations
