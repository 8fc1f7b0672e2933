#pragma once

#include "frame/interface/host_records.h"
#include "frame/interface/result_codes.h"

// The translator object: one table of virtual operations to which the host binds by position. The
// order is the contract, the reserved operations included; host and module must be built with the
// same compiler. An operation whose level offers nothing answers RRC_NOT_SUPPORTED and leaves its
// arguments alone. Nothing throws. One thread at a time. Texts are in the system code page; paths
// are Windows paths.
//
// Value cells of GetField and SetField, by field type:
//   1  integer  std::int32_t
//   3  bool     std::int32_t, 0 or not 0
//   4  text     char*: GetField stores a block that the caller releases with FreeVornString, or
//               null for a field without value; SetField reads it and keeps no reference
//   5, 6, 7     date: double, an OLE automation date (days since 1899-12-30); kNoDate for none

// The application level: 16 operations, the destructor first.
class CRAppTranslator {
  public:
    // The host deletes the object through it.
    virtual ~CRAppTranslator() = default;
    virtual RRETURNCODE GetAppProperties(unsigned long* pProperties) = 0;
    // Selects the store that csSelection names, or the default one for an empty text, and gives its
    // path back. bConfigure not 0 shows the translator's dialog; RRC_CANCELLED if the user
    // dismisses it.
    virtual RRETURNCODE GetAppInfo(BOOL bConfigure, CRHostContext* pHost, CString& csSelection,
                                   RWORD word, CString& csSummary, RWORD word2) = 0;
    virtual RRETURNCODE GetAppInfo(BOOL bConfigure, CRHostContext* pHost, CString& csSelection,
                                   RWORD word, CString& csSummary) = 0;
    virtual RRETURNCODE GetAppInfo(BOOL bConfigure, RWORD value1, RWORD value2, RWORD value3,
                                   CString& csSelection, RWORD word, CString& csSummary,
                                   CEudoraTransUtil* pUtil) = 0;
    virtual RRETURNCODE Open(int nMode, RWORD word, RWORD word2, RWORD word3, CRHostContext* pHost,
                             RWORD word4) = 0;
    virtual RRETURNCODE Open(int nMode, RWORD word, RWORD word2, CRHostContext* pHost) = 0;
    virtual RRETURNCODE Open(int nMode, RWORD value2, RWORD value3, RWORD value4, RWORD word,
                             RWORD word2, RWORD value5, RWORD value6, RWORD value7,
                             CEudoraTransUtil* pUtil) = 0;
    // Ends the work on the store. Waiting changes of mails are carried out; those of contacts wait
    // for BatchUpdate.
    virtual RRETURNCODE Close(int nMode) = 0;
    virtual RRETURNCODE SaveSettings(RWORD /*word*/, tagRAPPINFO* /*pAppInfo*/, RWORD /*word2*/) {
        return RRC_NOT_SUPPORTED;
    }
    virtual RRETURNCODE ReservedOp1() { return RRC_NOT_SUPPORTED; }
    // Each takes the oldest message off its queue. RRC_NONE, with the text as it was, for an empty
    // queue.
    virtual RRETURNCODE GetFirstErrorMessage(CString& csMessage) = 0;
    virtual RRETURNCODE GetNextErrorMessage(CString& csMessage) = 0;
    virtual RRETURNCODE GetFirstWarningMessage(CString& csMessage) = 0;
    virtual RRETURNCODE GetNextWarningMessage(CString& csMessage) = 0;
    virtual RRETURNCODE ReservedOp2(RWORD) { return RRC_NOT_SUPPORTED; }
};

// The record level: 55 further operations.
class CRRecordTranslator : public CRAppTranslator {
  public:
    virtual RRETURNCODE ReservedOp3(RWORD, RWORD) { return RRC_NOT_SUPPORTED; }
    virtual RRETURNCODE ReservedOp4(RWORD) { return RRC_NOT_SUPPORTED; }
    virtual RRETURNCODE ReservedOp5(RWORD) { return RRC_NOT_SUPPORTED; }
    virtual RRETURNCODE ReservedOp6() { return RRC_NOT_SUPPORTED; }
    virtual RRETURNCODE ReservedOp7(RWORD) { return RRC_NOT_SUPPORTED; }
    virtual RRETURNCODE ReservedOp8(RWORD) { return RRC_NOT_SUPPORTED; }
    virtual RRETURNCODE ReservedOp9(RWORD) { return RRC_NOT_SUPPORTED; }
    virtual RRETURNCODE SetDateFilter(tagRDATEFILTER* pFilters, int nCount) = 0;
    virtual RRETURNCODE SetTextFilter(tagRTEXTFILTER* pFilters, int nCount) = 0;
    virtual RRETURNCODE SetBoolFilter(tagRBOOLFILTER* pFilters, int nCount) = 0;
    virtual RRETURNCODE ReservedOp10(RWORD, RWORD, RWORD, RWORD) { return RRC_NOT_SUPPORTED; }
    // Walk over the field list of the settings; RRC_NONE behind the last field.
    virtual RRETURNCODE GetFirstFieldInfo(CString& csFieldId, CString& csFieldName,
                                          unsigned long* pType, unsigned long* pTag,
                                          unsigned short* pOrdinal) = 0;
    virtual RRETURNCODE GetNextFieldInfo(CString& csFieldId, CString& csFieldName,
                                         unsigned long* pType, unsigned long* pTag,
                                         unsigned short* pOrdinal) = 0;
    virtual RRETURNCODE ReservedOp11(RWORD) { return RRC_NOT_SUPPORTED; }
    virtual RRETURNCODE ReservedOp12(RWORD) { return RRC_NOT_SUPPORTED; }
    virtual RRETURNCODE ReservedOp13(RWORD) { return RRC_NOT_SUPPORTED; }
    virtual RRETURNCODE GetRecordCount(long* pCount) = 0;
    virtual RRETURNCODE GetFieldCount(long* pCount) = 0;
    virtual RRETURNCODE ReservedOp14(RWORD) { return RRC_NOT_SUPPORTED; }
    virtual RRETURNCODE ReservedOp15(RWORD) { return RRC_NOT_SUPPORTED; }
    // Walk over the records that pass the filters; RRC_EOF behind the last one.
    virtual RRETURNCODE MoveFirst() = 0;
    virtual RRETURNCODE MoveNext() = 0;
    virtual RRETURNCODE ReservedOp16() { return RRC_NOT_SUPPORTED; }
    virtual RRETURNCODE ReservedOp17() { return RRC_NOT_SUPPORTED; }
    virtual RRETURNCODE GoToRecord(LPCTSTR pszRecId) = 0;
    virtual RRETURNCODE ReservedOp18(RWORD) { return RRC_NOT_SUPPORTED; }
    virtual RRETURNCODE AddNewRecord(RWORD word) = 0;
    virtual RRETURNCODE EditRecord() = 0;
    virtual RRETURNCODE EditRecord(LPCTSTR pszRecId) = 0;
    // Ends the record that AddNewRecord or EditRecord began; gives its id and change marker.
    virtual RRETURNCODE UpdateRecord(CString& csRecordId, CString& csModifiedInfo) = 0;
    virtual RRETURNCODE DeleteRecord() = 0;
    virtual RRETURNCODE DeleteRecord(LPCTSTR pszRecId) = 0;
    virtual RRETURNCODE DeleteAllRecords() = 0;
    virtual RRETURNCODE BatchUpdate(CRBatchSink* /*pSink*/) { return RRC_NOT_SUPPORTED; }
    virtual RRETURNCODE ReservedOp19(RWORD) { return RRC_NOT_SUPPORTED; }
    virtual RRETURNCODE ReservedOp20(RWORD) { return RRC_NOT_SUPPORTED; }
    virtual RRETURNCODE ReservedOp21(RWORD) { return RRC_NOT_SUPPORTED; }
    virtual RRETURNCODE GetRecordID(CString& csRecordId) = 0;
    virtual RRETURNCODE GetModifiedInfo(CString& csModifiedInfo) = 0;
    virtual RRETURNCODE GetField(LPCTSTR pszFieldId, unsigned long* pType, void* pCell) = 0;
    virtual RRETURNCODE SetField(LPCTSTR pszFieldId, unsigned long* pType, void* pCell) = 0;
    virtual RRETURNCODE IsOkToSetRecord(RWORD word, RFIELDCALLBACK pfnGetValue, void* pContext,
                                        BOOL* pbOk) = 0;
    virtual RRETURNCODE IsOkToProceed(RWORD word, RWORD word2, BOOL* pbOk) = 0;
    virtual RRETURNCODE ReservedOp22(RWORD, RWORD, RWORD, RWORD, RWORD) {
        return RRC_NOT_SUPPORTED;
    }
    virtual RRETURNCODE ReservedOp23(RWORD, RWORD) { return RRC_NOT_SUPPORTED; }
    virtual RRETURNCODE ReservedOp24(RWORD, RWORD) { return RRC_NOT_SUPPORTED; }
    virtual RRETURNCODE ReservedOp25(RWORD, RWORD) { return RRC_NOT_SUPPORTED; }
    virtual RRETURNCODE ReservedOp26(RWORD, RWORD) { return RRC_NOT_SUPPORTED; }
    virtual RRETURNCODE ReservedOp27(RWORD, RWORD) { return RRC_NOT_SUPPORTED; }
    virtual RRETURNCODE ReservedOp28(RWORD, RWORD) { return RRC_NOT_SUPPORTED; }
    virtual RRETURNCODE ReservedOp29(RWORD) { return RRC_NOT_SUPPORTED; }
    virtual RRETURNCODE ReservedOp30(RWORD) { return RRC_NOT_SUPPORTED; }
    virtual RRETURNCODE ReservedOp31(RWORD) { return RRC_NOT_SUPPORTED; }
    virtual RRETURNCODE ReservedOp32(RWORD) { return RRC_NOT_SUPPORTED; }
    virtual RRETURNCODE ReservedOp33(RWORD) { return RRC_NOT_SUPPORTED; }
};
