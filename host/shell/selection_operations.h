#pragma once

#include "host/shell/console.h"

namespace host::shell::operations {

// The module and the choice of a store.
void Init(Console& console, Arguments& arguments, Json& answer);
void Uninit(Console& console, Arguments& arguments, Json& answer);
void New(Console& console, Arguments& arguments, Json& answer);
void RemoveTranslator(Console& console, Arguments& arguments, Json& answer);
void SelfDiagnose(Console& console, Arguments& arguments, Json& answer);
void Properties(Console& console, Arguments& arguments, Json& answer);
void GetAppInfo(Console& console, Arguments& arguments, Json& answer);
void SaveSettings(Console& console, Arguments& arguments, Json& answer);
void Open(Console& console, Arguments& arguments, Json& answer);
void Close(Console& console, Arguments& arguments, Json& answer);
void Errors(Console& console, Arguments& arguments, Json& answer);
void Warnings(Console& console, Arguments& arguments, Json& answer);
void Reserved(Console& console, Arguments& arguments, Json& answer);

}  // namespace host::shell::operations
