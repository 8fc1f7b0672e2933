#pragma once

#include "frame/trans_base.h"

namespace frame {

// The object of a data kind without records: its settings can be made and kept, its fields are
// empty, and a walk is at its end at once.
class PlainTranslator : public CREudoraTransBase {
  public:
    RRETURNCODE Close(int nMode) override;
    RRETURNCODE MoveFirst() override;
    RRETURNCODE MoveNext() override;
    RRETURNCODE GoToRecord(LPCTSTR pszRecId) override;
    RRETURNCODE AddNewRecord(RWORD word) override;
    using CREudoraTransBase::EditRecord;
    RRETURNCODE EditRecord() override;
    using CREudoraTransBase::DeleteRecord;
    RRETURNCODE DeleteRecord() override;
    RRETURNCODE GetRecordID(CString& csRecordId) override;
    RRETURNCODE GetModifiedInfo(CString& csModifiedInfo) override;
    // Numbers and dates stay as the caller preset them; a text is the empty one.
    RRETURNCODE GetField(LPCTSTR pszFieldId, unsigned long* pType, void* pCell) override;
    RRETURNCODE SetField(LPCTSTR pszFieldId, unsigned long* pType, void* pCell) override;
    RRETURNCODE IsOkToSetRecord(RWORD word, RFIELDCALLBACK pfnGetValue, void* pContext,
                                BOOL* pbOk) override;

  private:
    bool HasField(LPCTSTR fieldId) const;
};

}  // namespace frame
