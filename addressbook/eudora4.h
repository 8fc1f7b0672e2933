#pragma once

#include "addressbook/eudora_ab.h"
#include "frame/trans_base.h"

// The address-book translator: the contacts of one nickname file as records of seven text fields.
// GetAppInfo selects the file by a Windows path in the system code page. The nickname is a field
// and the record id. Changes stay in memory until BatchUpdate writes the file and reports the
// change markers. Only text filters hide records; each matches anywhere in its field, in any case.
class CREudora4 : public CREudoraTransBase {
  public:
    RRETURNCODE GetAppProperties(unsigned long* pProperties) override;
    using CREudoraTransBase::GetAppInfo;
    RRETURNCODE GetAppInfo(BOOL bConfigure, RWORD value1, RWORD value2, RWORD value3,
                           CString& csSelection, RWORD word, CString& csSummary,
                           CEudoraTransUtil* pUtil) override;
    using CREudoraTransBase::Open;
    RRETURNCODE Open(int nMode, RWORD value2, RWORD value3, RWORD value4, RWORD word, RWORD word2,
                     RWORD value5, RWORD value6, RWORD value7, CEudoraTransUtil* pUtil) override;
    RRETURNCODE Close(int nMode) override;
    RRETURNCODE GetRecordCount(long* pCount) override;
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
    RRETURNCODE BatchUpdate(CRBatchSink* pSink) override;
    RRETURNCODE GetRecordID(CString& csRecordId) override;
    RRETURNCODE GetModifiedInfo(CString& csModifiedInfo) override;
    RRETURNCODE GetField(LPCTSTR pszFieldId, unsigned long* pType, void* pCell) override;
    RRETURNCODE SetField(LPCTSTR pszFieldId, unsigned long* pType, void* pCell) override;
    RRETURNCODE IsOkToSetRecord(RWORD word, RFIELDCALLBACK pfnGetValue, void* pContext,
                                BOOL* pbOk) override;

  private:
    RRETURNCODE BuildFieldList();
    RRETURNCODE SkipFilteredOut(RRETURNCODE result);
    bool IsFilteredOut();
    RRETURNCODE CheckField(const CREudoraField& field, LPCTSTR text);

    CString m_csNicknameFile;
    CEudoraAB m_AddressBook;
    CStringArray m_arrUpdatedIDs;  // since the last BatchUpdate that worked, repeats included
    CStringArray m_arrDeletedIDs;
};
