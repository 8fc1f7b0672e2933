#pragma once

#include <cstdint>

#include "frame/interface/result_codes.h"
#include "platform/mfc/collections.h"

// Records and objects that the host passes into the module. Texts are zero-ended, in the system
// code page; paths are Windows paths. The host owns the records; the module keeps no pointer to
// them unless stated.

class CEudoraTransUtil;

// A word as wide as a pointer that the module takes, keeps or passes on without looking at it.
using RWORD = std::uintptr_t;
using BOOL = std::int32_t;
using LPCTSTR = const char*;

// The environment of the module.
struct tagRENVSETTINGS {
    const char* pszEnvDir;   // second choice for the folder of the language bundles
    const char* pszEnvText;  // kept, not used
};

// A null text leaves the value that an earlier call gave.
struct tagRTRANSSETTINGS {
    RWORD reserved;              // not read
    const char* pszSettingsDir;  // settings files, and first choice for the language bundles
    const char* pszTransText;    // kept, not used
    const char* pszAltLanguage;  // language code, tried after the main one
};

// The settings that SaveSettings stores.
struct tagRAPPINFO {
    RWORD reserved;            // not read
    const char* pszSelection;  // path of the settings file
};

// The operations that the module calls on the host's context, each filling one word. The host's
// table may have more operations behind them.
class CRHostContext {
  public:
    virtual void GetContextValue1(RWORD* value) = 0;
    virtual void GetContextValue2(RWORD* value) = 0;
    virtual void GetContextValue3(RWORD* value) = 0;
    virtual void GetContextValue4(RWORD* value) = 0;
    // The CEudoraTransUtil* that InitTranslator gave the host.
    virtual void GetUtil(RWORD* value) = 0;
    virtual void GetContextValue5(RWORD* value) = 0;
    virtual void GetContextValue6(RWORD* value) = 0;
    virtual void GetContextValue7(RWORD* value) = 0;

  protected:
    ~CRHostContext() = default;
};

// Receives the results of BatchUpdate. The texts are valid during the call only.
class CRBatchSink {
  public:
    virtual void Reserved() = 0;  // never called
    virtual void RecordStored(const char* id, const char* sameId, const char* modifiedInfo) = 0;
    virtual void RecordDeleted(const char* id) = 0;

  protected:
    ~CRBatchSink() = default;
};

// Gives IsOkToSetRecord the values of a record to be stored: sets *ppCell to the value cell of the
// field, and *pbHasField to 1 if the record has the field; it may change the preset *pType. The
// mail translator ends with any result but RRC_OK and gives it back; the address book ignores the
// result.
using RFIELDCALLBACK = RRETURNCODE (*)(void* pContext, const char* pszFieldId, void** ppCell,
                                       unsigned long* pType, BOOL* pbHasField);

// Filter records. The host allocates an array with operator new and each text block with
// AllocVornString or operator new; a Set...Filter operation takes over all of them.
#pragma pack(push, 4)
struct tagRDATEFILTER {
    char* pszFieldId;
    double dtStart;  // OLE automation date; inclusive
    double dtEnd;    // OLE automation date; inclusive
    BOOL bSkip;      // not 0: the entry is ignored
};
#pragma pack(pop)

struct tagRTEXTFILTER {
    char* pszFieldId;
    char* pszText;
    BOOL bSubstring;  // not 0: search inside the field; 0: compare the whole field
};

struct tagRBOOLFILTER {
    char* pszFieldId;
    BOOL bValue;
};

// In a date cell: no date.
inline constexpr double kNoDate = 1.7e308;
