#pragma once

#include <cstdint>
#include <new>
#include <span>

#include "frame/app_info.h"
#include "frame/interface/translators.h"
#include "frame/trans_util.h"
#include "platform/os/not_copied.h"

namespace frame {

// Filter records of the host, which this object owns. They are freed with their texts when others
// replace them or the object is destroyed.
template <class Record>
class FilterList : platform::NotCopied {
  public:
    ~FilterList() { TakeOver(nullptr, 0); }

    // Replaces the records. With count 0 the pointer stays the host's and is not freed.
    void TakeOver(Record* records, int count) {
        for (Record& record : m_records) {
            ::operator delete(record.pszFieldId);
            if constexpr (requires { record.pszText; }) ::operator delete(record.pszText);
        }
        if (!m_records.empty()) ::operator delete(m_records.data());
        m_records = {};
        if (records != nullptr && count > 0) {
            m_records = std::span(records, static_cast<std::size_t>(count));
        }
    }

    auto begin() const { return m_records.begin(); }
    auto end() const { return m_records.end(); }

  private:
    std::span<Record> m_records;
};

}  // namespace frame

// What the translators share: the settings record with the field list and its life cycle, the
// filter lists, field enumeration, messages, and editing and deleting by id. Names and meanings of
// the arguments stand in frame/interface/translators.h.
//
// By itself it serves data kinds without records: settings can be made and kept, fields are empty,
// and a walk ends at once.
class CREudoraTransBase : public CRRecordTranslator {
  public:
    CREudoraTransBase() = default;
    CREudoraTransBase(const CREudoraTransBase&) = delete;
    CREudoraTransBase& operator=(const CREudoraTransBase&) = delete;

    RRETURNCODE GetAppProperties(unsigned long*) override;
    RRETURNCODE GetAppInfo(BOOL, CRHostContext*, CString&, RWORD, CString&, RWORD) override;
    RRETURNCODE GetAppInfo(BOOL, CRHostContext*, CString&, RWORD, CString&) override;
    RRETURNCODE GetAppInfo(BOOL, RWORD, RWORD, RWORD, CString&, RWORD, CString&,
                           CEudoraTransUtil*) override;
    RRETURNCODE Open(int, RWORD, RWORD, RWORD, CRHostContext*, RWORD) override;
    RRETURNCODE Open(int, RWORD, RWORD, CRHostContext*) override;
    RRETURNCODE Open(int, RWORD, RWORD, RWORD, RWORD, RWORD, RWORD, RWORD, RWORD,
                     CEudoraTransUtil*) override;
    RRETURNCODE Close(int) override;
    // The queues are the module's own, whatever the host handed in: messages can be fetched from
    // an object that was never opened.
    RRETURNCODE GetFirstErrorMessage(CString&) override;
    RRETURNCODE GetNextErrorMessage(CString&) override;
    RRETURNCODE GetFirstWarningMessage(CString&) override;
    RRETURNCODE GetNextWarningMessage(CString&) override;
    RRETURNCODE SetDateFilter(tagRDATEFILTER*, int) override;
    RRETURNCODE SetTextFilter(tagRTEXTFILTER*, int) override;
    RRETURNCODE SetBoolFilter(tagRBOOLFILTER*, int) override;
    RRETURNCODE GetFirstFieldInfo(CString&, CString&, unsigned long*, unsigned long*,
                                  unsigned short*) override;
    RRETURNCODE GetNextFieldInfo(CString&, CString&, unsigned long*, unsigned long*,
                                 unsigned short*) override;
    RRETURNCODE GetFieldCount(long*) override;
    RRETURNCODE GetRecordCount(long*) override;
    RRETURNCODE MoveFirst() override;
    RRETURNCODE MoveNext() override;
    RRETURNCODE GoToRecord(LPCTSTR) override;
    RRETURNCODE AddNewRecord(RWORD) override;
    RRETURNCODE EditRecord() override;
    RRETURNCODE EditRecord(LPCTSTR) override;
    RRETURNCODE UpdateRecord(CString&, CString&) override;
    RRETURNCODE DeleteRecord() override;
    RRETURNCODE DeleteRecord(LPCTSTR) override;
    RRETURNCODE DeleteAllRecords() override;
    RRETURNCODE GetRecordID(CString&) override;
    RRETURNCODE GetModifiedInfo(CString&) override;
    // Numbers and dates stay as the caller preset them; a text is the empty one.
    RRETURNCODE GetField(LPCTSTR, unsigned long*, void*) override;
    RRETURNCODE SetField(LPCTSTR, unsigned long*, void*) override;
    RRETURNCODE IsOkToSetRecord(RWORD, RFIELDCALLBACK, void*, BOOL*) override;
    RRETURNCODE IsOkToProceed(RWORD, RWORD, BOOL*) override;

    // Writes the number RecCntFlag for the host into the registry; reports nothing.
    void SetBoxFileOpenFlagRegistry(unsigned long value);

  protected:
    // The module's own hooks; the host does not call them.
    virtual int ShowOptions() { return 0; }  // not 0: the user cancelled; a failure is thrown
    virtual RRETURNCODE InitDefaultSettings() { return RRC_OK; }
    virtual int PassesFilters() { return 1; }
    virtual RRETURNCODE PrepareForUpdate() { return RRC_OK; }

    // Ends a derived MoveFirst or MoveNext that has reached a record; `operation` is its name in
    // the log. Records for which PassesFilters gives 0 are passed over by virtual calls of
    // MoveNext, in a loop and not recursively.
    RRETURNCODE EndMove(const char* operation);

    // The object that the host handed in; until then the module's own.
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
    RRETURNCODE LoadOrMakeSettings(CString& csSelection, bool& isNew);
    RRETURNCODE DeleteUntilEnd();
    bool HasField(LPCTSTR fieldId) const;

    std::int32_t m_nFieldCursor = 0;
    bool m_filtering = false;  // an EndMove runs and judges the records that MoveNext reaches
    bool m_reached = false;    // the MoveNext that it called has reached a record
};
