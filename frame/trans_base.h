#pragma once

#include <cstdint>

#include "frame/app_info.h"
#include "frame/filter_list.h"
#include "frame/interface/translators.h"
#include "frame/trans_util.h"

// What the translators share: the settings record with the field list and its life cycle, the
// filter lists, field enumeration, messages, and editing and deleting by id.
//
// A derived MoveFirst or MoveNext goes to its record, gives RRC_EOF at the end, and otherwise ends
// with a call of the base's operation, whose result it returns: the base passes over records for
// which PassesFilters gives 0 by calling MoveNext through the table, in a loop, however many they
// are.
class CREudoraTransBase : public CRRecordTranslator {
  public:
    CREudoraTransBase() = default;
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
    // The queues are the module's own, whatever the host handed in: messages can be fetched from
    // an object that was never opened.
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
    RRETURNCODE GetFieldCount(long* pCount) override;
    RRETURNCODE GetRecordCount(long* pCount) override;
    RRETURNCODE MoveFirst() override;
    RRETURNCODE MoveNext() override;
    using CRRecordTranslator::EditRecord;
    RRETURNCODE EditRecord(LPCTSTR pszRecId) override;
    RRETURNCODE UpdateRecord(CString& csRecordId, CString& csModifiedInfo) override;
    using CRRecordTranslator::DeleteRecord;
    RRETURNCODE DeleteRecord(LPCTSTR pszRecId) override;
    RRETURNCODE DeleteAllRecords() override;
    RRETURNCODE IsOkToProceed(RWORD word, RWORD word2, BOOL* pbOk) override;

    // Writes the number RecCntFlag for the host into the registry; reports nothing.
    void SetBoxFileOpenFlagRegistry(unsigned long value);

  protected:
    // The module's own hooks; the host does not call them.
    virtual int ShowOptions() { return 0; }  // not 0: the user cancelled; a failure is thrown
    virtual RRETURNCODE InitDefaultSettings() { return RRC_OK; }
    virtual int PassesFilters() { return 1; }
    virtual RRETURNCODE PrepareForUpdate() { return RRC_OK; }

    // The one that the host handed in; the module's own before it did.
    CEudoraTransUtil& Util() const { return m_pUtil != nullptr ? *m_pUtil : TransUtil(); }
    // Whether a MoveNext that runs now was called to pass over a record that fails the filters.
    bool IsFiltering() const { return m_filtering; }

    CEudoraTransUtil* m_pUtil = nullptr;  // set by GetAppInfo and Open
    RWORD m_dwHostValue = 0;              // kept for the host
    CString m_csSelection;                // path of the settings file in use
    CEudoraAppInfo m_appInfo;
    frame::FilterList<tagRDATEFILTER> m_dateFilters;
    frame::FilterList<tagRTEXTFILTER> m_textFilters;
    frame::FilterList<tagRBOOLFILTER> m_boolFilters;
    std::int32_t m_bAddNewRecord = 0;
    std::int32_t m_bBoxFileOpenFlag = 0;

  private:
    RRETURNCODE FilterStep();
    RRETURNCODE LoadOrMakeSettings(CString& csSelection, bool& isNew);
    RRETURNCODE DeleteUntilEnd();

    std::int32_t m_nFieldCursor = 0;
    bool m_filtering = false;  // a FilterStep runs and judges the records that MoveNext reaches
    bool m_reached = false;    // the MoveNext that it called has reached a record
};
