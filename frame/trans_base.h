#pragma once

#include <cstdint>

#include "frame/app_info.h"
#include "frame/interface/translators.h"
#include "frame/trans_util.h"

// What every translator shares: the settings record with the field list and its life cycle, the
// filter lists and their evaluation, field enumeration, messages, and the order of the editing
// hooks. Also, as it is, the object of a data kind without records: that one's MoveFirst and
// MoveNext give RRC_EOF.
//
// A derived MoveFirst or MoveNext goes to its record, gives RRC_EOF at the end, and otherwise ends
// with a call of the base's operation, whose result it returns: the base passes over records that
// fail the filters by calling MoveNext through the table, in a loop, however many they are.
class CREudoraTransBase : public CRRecordTranslator {
  public:
    CREudoraTransBase() = default;
    ~CREudoraTransBase() override;
    CREudoraTransBase(const CREudoraTransBase&) = delete;
    CREudoraTransBase& operator=(const CREudoraTransBase&) = delete;

    RRETURNCODE GetAppProperties(unsigned long* pProperties) override;
    RRETURNCODE GetAppInfo(BOOL bConfigure, CRHostContext* pHost, CString& csSelection, RWORD word,
                           CString& csSummary, RWORD word2) override;
    RRETURNCODE GetAppInfo(BOOL bConfigure, CRHostContext* pHost, CString& csSelection, RWORD word,
                           CString& csSummary) override;
    RRETURNCODE GetAppInfo(BOOL bConfigure, RWORD value1, RWORD value2, RWORD value3,
                           CString& csSelection, RWORD word, CString& csSummary,
                           CEudoraTransUtil* pUtil) override;
    RRETURNCODE Open(int nMode, RWORD word, RWORD word2, RWORD word3, CRHostContext* pHost,
                     RWORD word4) override;
    RRETURNCODE Open(int nMode, RWORD word, RWORD word2, CRHostContext* pHost) override;
    RRETURNCODE Open(int nMode, RWORD value2, RWORD value3, RWORD value4, RWORD word, RWORD word2,
                     RWORD value5, RWORD value6, RWORD value7, CEudoraTransUtil* pUtil) override;
    RRETURNCODE Close(int nMode) override;
    RRETURNCODE GetFirstErrorMessage(CString& csMessage) override;
    RRETURNCODE GetNextErrorMessage(CString& csMessage) override;
    RRETURNCODE GetFirstWarningMessage(CString& csMessage) override;
    RRETURNCODE GetNextWarningMessage(CString& csMessage) override;
    RRETURNCODE SetDateFilter(tagRDATEFILTER* pFilters, int nCount) override;
    RRETURNCODE SetTextFilter(tagRTEXTFILTER* pFilters, int nCount) override;
    RRETURNCODE SetBoolFilter(tagRBOOLFILTER* pFilters, int nCount) override;
    RRETURNCODE GetFirstFieldInfo(CString& csFieldId, CString& csFieldName, unsigned long* pType,
                                  unsigned long* pTag, unsigned short* pOrdinal) override;
    RRETURNCODE GetNextFieldInfo(CString& csFieldId, CString& csFieldName, unsigned long* pType,
                                 unsigned long* pTag, unsigned short* pOrdinal) override;
    RRETURNCODE GetRecordCount(long* pCount) override;
    RRETURNCODE GetFieldCount(long* pCount) override;
    RRETURNCODE MoveFirst() override;
    RRETURNCODE MoveNext() override;
    RRETURNCODE GoToRecord(LPCTSTR pszRecId) override;
    RRETURNCODE AddNewRecord(RWORD word) override;
    RRETURNCODE EditRecord() override;
    RRETURNCODE EditRecord(LPCTSTR pszRecId) override;
    RRETURNCODE UpdateRecord(CString& csRecordId, CString& csModifiedInfo) override;
    RRETURNCODE DeleteRecord() override;
    RRETURNCODE DeleteRecord(LPCTSTR pszRecId) override;
    RRETURNCODE DeleteAllRecords() override;
    RRETURNCODE GetRecordID(CString& csRecordId) override;
    RRETURNCODE GetModifiedInfo(CString& csModifiedInfo) override;
    RRETURNCODE GetField(LPCTSTR pszFieldId, unsigned long* pType, void* pCell) override;
    RRETURNCODE SetField(LPCTSTR pszFieldId, unsigned long* pType, void* pCell) override;
    RRETURNCODE IsOkToSetRecord(RWORD word, RFIELDCALLBACK pfnGetValue, void* pContext,
                                BOOL* pbOk) override;
    RRETURNCODE IsOkToProceed(RWORD word, RWORD word2, BOOL* pbOk) override;

    // The module's own hooks; the host does not call them.
    virtual RRETURNCODE IsAppModified(BOOL* pbModified);
    virtual int ShowOptions();  // not 0: the user cancelled; a failure is thrown
    virtual RRETURNCODE InitDefaultSettings();
    virtual int PassesFilters();
    virtual int PassesDateFilter();
    virtual int PassesTextFilter();
    virtual int PassesBoolFilter();
    virtual RRETURNCODE BuildFieldList();
    virtual RRETURNCODE ResetRecordState();
    virtual RRETURNCODE GetSpecialField(CREudoraField& field, void* pCell, BOOL* pbHandled);
    virtual RRETURNCODE SetSpecialField(CREudoraField& field, void* pCell, BOOL* pbHandled);
    virtual RRETURNCODE PrepareForAdd();
    virtual RRETURNCODE PrepareForEdit();
    virtual RRETURNCODE PrepareForUpdate();
    virtual RRETURNCODE FinishUpdate();

    // Writes the number RecCntFlag for the host into the registry; reports nothing.
    void SetBoxFileOpenFlagRegistry(unsigned long value);

  protected:
    // The one that the host handed in; the module's own before it did.
    CEudoraTransUtil& Util() { return m_pUtil != nullptr ? *m_pUtil : TransUtil(); }
    // Whether a MoveNext that runs now was called to pass over a record that fails the filters.
    bool IsFiltering() const { return m_filtering; }

    CEudoraTransUtil* m_pUtil = nullptr;  // set by GetAppInfo and Open
    RWORD m_dwHostValue = 0;              // kept for the host
    CString m_csSelection;                // path of the settings file in use
    CEudoraAppInfo m_appInfo;
    std::int32_t m_nFieldCursor = 0;
    tagRDATEFILTER* m_pDateFilters = nullptr;
    tagRTEXTFILTER* m_pTextFilters = nullptr;
    tagRBOOLFILTER* m_pBoolFilters = nullptr;
    std::int32_t m_nDateFilters = 0;
    std::int32_t m_nTextFilters = 0;
    std::int32_t m_nBoolFilters = 0;
    std::int32_t m_bAddNewRecord = 0;
    std::int32_t m_bBoxFileOpenFlag = 0;

  private:
    RRETURNCODE FilterStep();
    RRETURNCODE LoadOrMakeSettings(CString& csSelection, bool& isNew);
    RRETURNCODE DeleteUntilEnd();
    void FreeDateFilters();
    void FreeTextFilters();
    void FreeBoolFilters();

    bool m_filtering = false;  // a FilterStep runs and judges the records that MoveNext reaches
    bool m_reached = false;    // the MoveNext that it called has reached a record
};
