#include "frame/app_info.h"

#include <string>

namespace {

// Shift-JIS.
constexpr const char* kDaysBefore = "\x8D\xC5\x8B\xDF\x82\xCC";  // "in the last"
constexpr const char* kDaysAfter = "\x93\xFA\x8A\xD4";           // "days"
constexpr const char* kAtMost = "\x8D\xC5\x91\xE5: ";            // "at most"
constexpr const char* kAttachments = "\x93\x59\x95\x74: ";       // "attachments"

}  // namespace

void CEudoraAppInfo::Serialize(CArchive& archive) {
    auto status = static_cast<std::int32_t>(m_dtStamp.m_status);
    archive.Number(status);
    m_dtStamp.m_status = static_cast<COleDateTime::Status>(status);
    archive.Double(m_dtStamp.m_date);
    m_fields.Serialize(archive);
    archive.Number(m_bAttachments);
    archive.Number(m_bLimitAttachSize);
    archive.Number(m_nAttachLimitKB);
    archive.Text(m_csReserved);
    archive.Number(m_bLimitMailSize);
    archive.Number(m_bLimitMailAge);
    archive.Number(m_nMailAgeDays);
    archive.Number(m_nMailLimitKB);
}

CString CEudoraAppInfo::GetSummaryText() const {
    std::string text;
    if (m_bLimitMailAge != 0) {
        text += kDaysBefore + std::to_string(m_nMailAgeDays) + kDaysAfter + ", ";
    }
    if (m_bLimitMailSize != 0) text += kAtMost + std::to_string(m_nMailLimitKB) + "KB, ";
    text += kAttachments;
    if (m_bAttachments == 0) {
        text += "No";
    } else {
        text += m_bLimitAttachSize != 0 ? std::to_string(m_nAttachLimitKB) + "KB" : "Yes";
    }
    return text;
}
