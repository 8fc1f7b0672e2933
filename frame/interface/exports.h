#pragma once

#include "frame/interface/host_records.h"
#include "frame/interface/result_codes.h"

// The six exported functions of the module. A host looks them up by these names: four are exported
// under their plain names, two under the compiler's decorated names, which carry the argument
// types. The function types follow the names.

class CRRecordTranslator;

namespace exports {

inline constexpr const char* kInitTranslator = "InitTranslator";
inline constexpr const char* kInitTranslatorEx = "InitTranslatorEx";
inline constexpr const char* kUninitTranslator = "UninitTranslator";
inline constexpr const char* kGetTranslatorObject = "GetTranslatorObject";
inline constexpr const char* kRemoveTranslator =
    "_Z16RemoveTranslatorR15tagRENVSETTINGSR17tagRTRANSSETTINGSPci";
inline constexpr const char* kSelfDiagnose = "_Z12SelfDiagnosePK17tagRTRANSSETTINGSPci";

// Finds the language bundle and Eudora. *pWord receives 0. *ppUtil receives the module's global
// object, also after a failure; the host serves it back through CRHostContext::GetUtil.
using InitTranslatorFn = RRETURNCODE (*)(tagRENVSETTINGS* pEnv, RWORD* pWord,
                                         CEudoraTransUtil** ppUtil);
// Takes over the settings, then does what InitTranslator does. After a failure the oldest queued
// message is in the buffer: filled up with zero bytes, and without a closing zero if the message
// fills it. pszLanguage may be null.
using InitTranslatorExFn = RRETURNCODE (*)(tagRENVSETTINGS* pEnv, tagRTRANSSETTINGS* pSettings,
                                           const char* pszLanguage, RWORD* pWord,
                                           CEudoraTransUtil** ppUtil, char* pszMessage,
                                           int nLength);
// Ends the MAPI session and unloads its library. The language bundle stays.
using UninitTranslatorFn = RRETURNCODE (*)();
// A new translator object for the data kind: 1 address book, 20 mail, any other a plain object
// without records. The host deletes it through its virtual destructor.
using GetTranslatorObjectFn = RRETURNCODE (*)(unsigned long nKind, RWORD word,
                                              CRRecordTranslator** ppTranslator);
// Deletes the numbered settings files of the settings folder. The buffer is not touched.
using RemoveTranslatorFn = RRETURNCODE (*)(tagRENVSETTINGS& env, tagRTRANSSETTINGS& settings,
                                           char* pszMessage, int nLength);
using SelfDiagnoseFn = int (*)(const tagRTRANSSETTINGS* pSettings, char* pszMessage, int nLength);

}  // namespace exports
