#pragma once

#include <cstdint>

#include "frame/field.h"
#include "platform/mfc/archive.h"
#include "platform/mfc/ole_date_time.h"

// The settings of one configured translator; docs/formats/settings.md gives the bytes.
class CEudoraAppInfo {
  public:
    // Stores or loads all members but m_bLoaded. Throws ArchiveError when the archive ends early;
    // what was read by then stays.
    void Serialize(CArchive& archive);
    void SetLoaded(int loaded) { m_bLoaded = loaded; }
    int IsLoaded() const { return m_bLoaded; }
    // One line for the host to show, in Japanese (Shift-JIS) whatever the language of the bundle.
    CString GetSummaryText() const;

    COleDateTime m_dtStamp;  // stored and loaded, not used
    CREudoraFieldArray m_fields;
    std::int32_t m_bAttachments = 0;  // attachments reach the host at all
    std::int32_t m_bLimitAttachSize = 1;
    std::int32_t m_nAttachLimitKB = 5;
    CString m_csReserved;  // stored and loaded, not used
    std::int32_t m_bLimitMailSize = 1;
    std::int32_t m_bLimitMailAge = 1;
    std::int32_t m_nMailAgeDays = 7;
    std::int32_t m_nMailLimitKB = 32;

  private:
    std::int32_t m_bLoaded = 0;
};
