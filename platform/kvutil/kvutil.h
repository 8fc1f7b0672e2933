#pragma once

#include <cstdint>

#include "frame/interface/result_codes.h"
#include "platform/mfc/collections.h"
#include "platform/os/dialogs.h"
#include "platform/os/registry.h"

// kvUtil: the library that the module and its host share. All functions give 0 on success unless
// stated otherwise. Texts are 8-bit in the system code page.

#if defined(_WIN32)
#if defined(KVUTIL_BUILD)
#define KVUTIL_API __declspec(dllexport)
#else
#define KVUTIL_API __declspec(dllimport)
#endif
#else
#define KVUTIL_API __attribute__((visibility("default")))
#endif

// Not 0 if logging is on. Off at first.
extern KVUTIL_API int g_bEnableLog;
// The log sink, a printf-style function; the level is 1 error, 3 warning, 4 value, 5 entry and
// exit. Writes to standard error at first; never null.
extern KVUTIL_API void (*g_pfnLog)(int level, const char* format, ...);

// Logs if logging is on; its arguments are not worked out otherwise.
#define KV_LOG(...)                                   \
    do {                                              \
        if (g_bEnableLog != 0) g_pfnLog(__VA_ARGS__); \
    } while (0)

// One attachment of a mail, as the text form carries it.
struct CRAttachmentInfo {
    std::uint32_t dwInfoFlag = 0;
    std::uint32_t bDeleteSource = 0;  // not 0: whoever copies csFilePath deletes it afterwards
    CString csDisplayName;
    CString csFileName;
    CString csFilePath;  // full path; empty means no file
};

// Text blocks that pass between module and host, on the heap of plain operator new; the receiver
// owns them. After a failure (2) `out` is null. FreeVornString takes null and blocks of operator
// new and sets the pointer to null.
KVUTIL_API RRETURNCODE AllocVornString(char*& out, int size);
KVUTIL_API RRETURNCODE AllocVornString(char*& out, const char* text);
KVUTIL_API RRETURNCODE FreeVornString(char*& text);

// Remembers a text as the last error. LastVornErrorString gives it back, "" if there is none; the
// pointer is valid until the next SetLastVornErrorString.
KVUTIL_API RRETURNCODE SetLastVornErrorString(const char* text);
KVUTIL_API const char* LastVornErrorString();

// Registry values, read and stored as platform/os/registry.h describes. 2 if the key or value is
// missing, of another type, or a text of more than `size` bytes with its closing zero.
KVUTIL_API RRETURNCODE ReadStrFromRegistry(const char* key, const char* value, CString& out,
                                           unsigned long size, platform::RegistryRoot root);
KVUTIL_API RRETURNCODE ReadDWordFromRegistry(const char* key, const char* value, unsigned long& out,
                                             platform::RegistryRoot root);
KVUTIL_API RRETURNCODE StoreDWordInRegistry(const char* key, const char* value,
                                            unsigned long number, platform::RegistryRoot root);

// The last `count` bytes of the text; one fewer if they would begin with the second byte of a
// character and `flag` is not 0.
KVUTIL_API CString VornRight(const char* text, int count, int flag);
// Replaces the first `count` occurrences of `find`, all of them if it is -1.
KVUTIL_API RRETURNCODE FindReplace(CString& text, const char* find, const char* replacement,
                                   int count);
// Copies `source` without the bytes listed in `characters`; `target` holds strlen(source) + 1.
KVUTIL_API RRETURNCODE StripChars(const char* source, char* target, const char* characters);
// The part of a Windows path behind the last separator, second bytes of characters left out.
KVUTIL_API RRETURNCODE GetFilename(const char* path, CString& out);
// A path for display: whole if it has at most `number` bytes or `number` is -1, else shortened in
// the middle with "...".
KVUTIL_API RRETURNCODE FormatFilename(const char* path, int number, CString& out);
// CRC-32 (IEEE 802.3, as in zlib) of `length` bytes, continued from `sum`, which starts at 0.
KVUTIL_API RRETURNCODE ComputeCheckSum(unsigned char* data, int length, unsigned int& sum,
                                       int flag);

// The text form of an attachment list: a line for each attachment, ended by LF, with five fields in
// the order of the record, separated by tabs. Numbers are decimal; a backslash, tab, CR and LF in a
// text is \\, \t, \r and \n. An empty list is the empty text. StrToAttachmentInfo replaces the list
// and accepts a last line without LF. It gives 2 for a line without five fields, with another
// escape, or with a control character in the path, as an unescaped backslash can produce; the list
// then has the elements before that line.
KVUTIL_API RRETURNCODE AttachmentInfoToStr(const CArray<CRAttachmentInfo>& list, CString& out);
KVUTIL_API RRETURNCODE StrToAttachmentInfo(const char* text, CArray<CRAttachmentInfo>& list);

// Sets the host's own way to show the module's dialogs, for instance in a terminal, for all
// libraries of the process that use kvUtil. The host owns the provider and sets null before
// destroying it. DialogProvider gives it, null if none is set.
KVUTIL_API void SetDialogProvider(platform::Dialogs* dialogs);
KVUTIL_API platform::Dialogs* DialogProvider();
