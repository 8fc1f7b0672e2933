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
// Nothing is written before SaveRecords. One traversal at a time. A lack of memory is thrown and
// changes nothing. Texts, and the path, a Windows path, are in the system code page.
class CEudoraAB {
  public:
    // Sets the module state that gets messages and has the system; until then the global object.
    void UseUtil(CEudoraTransUtil* util) { m_util = util; }

    // Reads the file. For the file already in memory it does nothing: unsaved changes stay.
    // RRC_FAILED, with the former file and records unchanged, if the file cannot be opened, is
    // larger than 2 GiB or does not fit into memory. After a read error the records before it are
    // there, each Open queues the error, and SaveRecords refuses, as it would lose the others.
    RRETURNCODE Open(LPCTSTR path);
    // Writes all records and the carried lines, as SaveNicknames does. A failure is RRC_FAILED with
    // messages that name the file; its content is the old one, and changes stay in memory.
    RRETURNCODE SaveRecords();

    RRETURNCODE FindRecord(std::string_view nickname);  // RRC_NONE if there is none
    RRETURNCODE FirstRecord();                          // RRC_EOF if there is none
    RRETURNCODE NextRecord();                           // RRC_EOF at the end
    // The id at the position; after StoreRecord, of the record stored.
    const CString& CurrentKey() const { return m_csCurrentKey; }

    // Fields of the current record; the e-mail field is its first address. RRC_FAILED without a
    // current record; an unknown field does nothing.
    RRETURNCODE GetRecordField(ContactField field, CString& out) const;
    RRETURNCODE SetRecordField(ContactField field, std::string_view value);
    // The change marker. `out` stays as it was without a current record, and for an empty record.
    RRETURNCODE GetRecordChecksum(CString& out) const;

    // Makes an empty record the current one.
    RRETURNCODE NewRecord();
    // Puts the current record into the map. A new one whose nickname is taken gets a number up to
    // 998 behind it; if none is free the record is dropped and the result is RRC_FAILED.
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
