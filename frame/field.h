#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "frame/interface/host_records.h"
#include "frame/string_id.h"
#include "platform/mfc/archive.h"
#include "platform/mfc/collections.h"

// Field types: the value of CREudoraField::m_nType and of the type word of GetField and SetField.
enum FieldType : std::int32_t {
    kFieldInteger = 1,
    kFieldBool = 3,
    kFieldText = 4,
    kFieldDateFirst = 5,
    kFieldDateLast = 7,  // 5 to 7 are dates, treated alike
};

// One field of a translator's records, as the host learns it. Copied by value.
class CREudoraField {
  public:
    void Set(LPCTSTR fieldId, std::int32_t number, std::int32_t stringId, LPCTSTR defaultName,
             std::int32_t type, std::uint32_t tag, bool special);
    // Throws ArchiveError when the archive ends early.
    void Serialize(CArchive& archive);

    frame::StringId NameId() const { return static_cast<frame::StringId>(m_nStringId); }

    CString m_csFieldId;           // key of the field: the decimal text of a small number
    std::int32_t m_nNumber = 0;    // kept and persisted; decides nothing
    std::int32_t m_nStringId = 0;  // display name in the language bundle; 0 or less: none
    CString m_csDefaultName;       // display name if the string id gives nothing
    std::int32_t m_nType = 0;
    std::uint32_t m_dwTag = 0;  // the host's code for the field, handed on unchanged
    bool m_bSpecial = false;    // offered to GetSpecialField and SetSpecialField first
};

// A translator's field list, in the order in which the host enumerates it.
class CREudoraFieldArray {
  public:
    // Gives the position. With an id that is there already, the look-up gives the new position from
    // then on and the old descriptor is reached by enumeration only.
    int Add(const CREudoraField& field);
    int Lookup(LPCTSTR fieldId) const;  // -1 if there is no such id
    CREudoraField GetAt(int position) const { return m_items[static_cast<std::size_t>(position)]; }
    int GetCount() const { return static_cast<int>(m_items.size()); }
    void RemoveAll();
    // Loading replaces the contents. Throws ArchiveError when the archive ends early.
    void Serialize(CArchive& archive);

  private:
    std::vector<CREudoraField> m_items;
    std::unordered_map<std::string, int> m_mapIndex;
};
