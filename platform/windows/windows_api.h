#pragma once

// Includes the Windows headers without the macros that would rename our functions. Callers write
// the W or A form of a system function.
#include <windows.h>

#undef CopyFile
#undef CreateFile
#undef CreateProcess
#undef DeleteFile
#undef FindFirstFile
#undef FindWindow
#undef GetCurrentTime
#undef GetFileSize
#undef GetMessage
#undef GetObject
#undef GetShortPathName
#undef GetTempFileName
#undef LoadLibrary
#undef LoadString
#undef MessageBox
#undef MoveFile
#undef PeekMessage
#undef ReplaceFile
#undef SetEnvironmentVariable
#undef Yield
