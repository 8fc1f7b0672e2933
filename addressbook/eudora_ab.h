#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "addressbook/nickname_record.h"
#include "addressbook/record_map.h"
#include "frame/interface/field_ids.h"
#include "frame/interface/host_records.h"
#include "platform/mfc/collections.h"

class CEudoraTransUtil;

// The address book: all records of one nickname file in memory, with a current position and a
// current record, which may be a new one that is not in the map yet. A record's id is its nickname.
// Nothing reaches the file before SaveRecords. One traversal at a time. What throws, for want of
// memory, has changed nothing.
class CEudoraAB {
  public:
    // The module state to report to and to take the system from; the global object until then.
    void UseUtil(CEudoraTransUtil* util) { m_util = util; }

    // Reads the file. The path of the file in memory changes nothing: its records stand, unsaved
    // changes included. RRC_FAILED if the file cannot be opened, is larger than 2 GiB or does not
    // fit into memory; the file and the records that are there then stay. After a read error the
    // records before it are there, each Open queues the error, and SaveRecords refuses, for it
    // would lose the others.
    RRETURNCODE Open(LPCTSTR path);
    // Writes all records and what else the file held, as SaveNicknames does. On failure messages
    // with the file that failed are queued and the result is RRC_FAILED.
    RRETURNCODE SaveRecords();

    RRETURNCODE FindRecord(std::string_view nickname);  // RRC_NONE if there is none
    RRETURNCODE FirstRecord();                          // RRC_EOF if there is none
    RRETURNCODE NextRecord();                           // RRC_EOF at the end
    // The id at the position; after StoreRecord, of the record stored.
    const CString& CurrentKey() const { return m_csCurrentKey; }

    // The e-mail address is the first. Without a current record both give RRC_FAILED; what is no
    // field does nothing.
    RRETURNCODE GetRecordField(ContactField field, CString& out) const;
    RRETURNCODE SetRecordField(ContactField field, std::string_view value);
    // The change marker. `out` is left alone without a current record, and by an empty one.
    RRETURNCODE GetRecordChecksum(CString& out) const;

    // An empty record becomes the current one.
    RRETURNCODE NewRecord();
    // Puts the current record into its place. A new one gets a number behind a nickname that is
    // taken; with none free up to 998 it is dropped and the result is RRC_FAILED.
    RRETURNCODE StoreRecord();
    RRETURNCODE RemoveRecord(std::string_view nickname);  // RRC_FAILED if there is none
    RRETURNCODE RemoveRecord() noexcept;                  // the current one
    void ClearRecords() noexcept;

  private:
    CEudoraTransUtil& Util() const;
    unsigned CodePage() const;
    bool IsNew() const { return m_new != nullptr; }
    RRETURNCODE MakeCurrent(const addressbook::RecordMap::Position& place);
    void MakeChangeable();
    bool MakeUnique(std::string& nickname) const;

    CEudoraTransUtil* m_util = nullptr;
    CString m_csFilePath;
    bool m_incomplete = false;  // a read error cut the load short
    addressbook::RecordMap m_mapRecords;
    addressbook::RecordMap::Position m_itCurrent;
    NicknameRecord* m_pCurrent = nullptr;
    addressbook::RecordMap::Position m_home;  // of m_pCurrent, unless it is new
    CString m_csCurrentKey;
    std::unique_ptr<NicknameRecord> m_new;  // the current record while it is not in the map
};
