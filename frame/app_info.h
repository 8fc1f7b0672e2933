#pragma once

#include <cstdint>

#include "frame/interface/host_records.h"
#include "frame/string_id.h"
#include "platform/mfc/archive.h"
#include "platform/mfc/collections.h"
#include "platform/mfc/ole_date_time.h"

// The settings of a translator with its field list. Texts are in the system code page;
// docs/formats/settings.md gives the bytes. Each Serialize stores or loads by the archive's
// direction, and throws ArchiveError when the archive ends early; what was read by then stays.

// Field types: the value of CREudoraField::m_nType and of the type word of GetField and SetField.
enum FieldType : std::int32_t {
    kFieldInteger = 1,
    kFieldBool = 3,
    kFieldText = 4,
    kFieldDateFirst = 5,
    kFieldDateLast = 7,  // 5 to 7 are dates, treated alike
};

// One field of a translator's records, as the host learns it. Copied by value.
struct CREudoraField {
    void Serialize(CArchive& archive);
    frame::StringId NameId() const { return static_cast<frame::StringId>(m_nStringId); }

    CString m_csFieldId;           // key of the field: the decimal text of a small number
    std::int32_t m_nNumber = 0;    // kept and persisted; decides nothing
    std::int32_t m_nStringId = 0;  // display name in the language bundle; 0 or less: none
    CString m_csDefaultName;       // display name if the string id gives nothing
    std::int32_t m_nType = 0;
    std::uint32_t m_dwTag = 0;  // the host's code for the field, handed on unchanged
    bool m_bSpecial = false;    // kept and persisted; decides nothing
};

// A translator's field list, in the order in which the host enumerates it.
class CREudoraFieldArray : public CArray<CREudoraField> {
  public:
    // The position of the last field with that id; -1 if there is none, and for null.
    int Lookup(LPCTSTR fieldId) const;
    // Loading replaces the contents.
    void Serialize(CArchive& archive);
};

// The options of the mail translator, which its dialog changes. Sizes are in KB of 1024 bytes, ages
// in days; a switch is 0 or not.
struct MailOptions {
    std::int32_t m_bAttachments = 0;  // attachments reach the host at all
    std::int32_t m_bLimitAttachSize = 1;
    std::int32_t m_nAttachLimitKB = 5;
    std::int32_t m_bLimitMailSize = 1;
    std::int32_t m_bLimitMailAge = 1;
    std::int32_t m_nMailAgeDays = 7;
    std::int32_t m_nMailLimitKB = 32;
};

// The settings record.
class CEudoraAppInfo : public MailOptions {
  public:
    // All members but m_isLoaded.
    void Serialize(CArchive& archive);
    // One line for the host to show, in Japanese (Shift-JIS) whatever the language of the bundle.
    CString GetSummaryText() const;

    COleDateTime m_dtStamp;  // stored and loaded, not used
    CREudoraFieldArray m_fields;
    CString m_csReserved;  // stored and loaded, not used
    bool m_isLoaded = false;
};
